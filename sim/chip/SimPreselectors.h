#pragma once

/// The preselectors of a chip: small field entries that decide which packets a group sees.
///
/// Operations answer as those of all subsystems do (`sim/chip/README.md`). Each answers
/// BCM_E_NOT_FOUND if there is no preselector of that id.

#include "sim/chip/FieldCriteria.h"
#include "sim/chip/IdSequence.h"

#include <cstdint>
#include <map>

namespace Sim {

/// The preselectors of a chip; see the top of this header.
class SimPreselectors
{
  public:
    /// What changes when a preselector does: each one by its id.
    using State = std::map< bcm_field_presel_t, FieldCriteria >;

    /// Ids of preselectors leave the bit free that tells them from entries.
    static constexpr uint32_t greatestId = 0x3FFFFFFF;

    /// The numbering must outlive this.
    SimPreselectors( const SdkNumbering& numbering, uint32_t capacity );

    /// Makes a preselector and writes its id to presel. Answers BCM_E_PARAM if presel is null,
    /// BCM_E_FULL if all preselectors are in use.
    int create( bcm_field_presel_t* presel );

    /// Gives one back. "Not found" if there is none of that id.
    int destroy( bcm_field_presel_t presel );

    /// Sets a qualifier, in place of an earlier value. Answers BCM_E_PARAM if the value is an
    /// enumerator that there is not.
    int
    qualify( bcm_field_presel_t presel, bcm_field_qualify_t qualifier, const FieldMatch& match );

    /// Sets the source classes that have a mask, in place of all earlier ones. Answers BCM_E_PARAM
    /// if data or mask is null.
    int qualifySourceClasses( bcm_field_presel_t presel,
                              const bcm_field_src_class_t* data,
                              const bcm_field_src_class_t* mask );

    /// Whether there is such a preselector.
    [[nodiscard]] bool has( bcm_field_presel_t presel ) const
    {
        return preselectors_.contains( presel );
    }

    /// How many there are.
    [[nodiscard]] uint32_t used() const { return static_cast< uint32_t >( preselectors_.size() ); }

    /// How many there can be.
    [[nodiscard]] uint32_t capacity() const { return capacity_; }

    /// Adds an object "preselector ID" for each.
    void addTo( ChipSnapshot& snapshot ) const;

    /// All that there are, for snapshots.
    [[nodiscard]] const State& state() const { return preselectors_; }

    void stateIs( const State& state ) { preselectors_ = state; }

  private:
    const SdkNumbering& numbering_;
    const uint32_t capacity_;
    IdSequence ids_{ greatestId };
    State preselectors_;
};

} // namespace Sim

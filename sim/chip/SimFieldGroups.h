#pragma once

/// The field groups of a chip: those that were made, and the compression groups, which are there
/// from the start and cannot be destroyed.
///
/// Operations answer as those of all subsystems do (`sim/chip/README.md`).

#include "sim/chip/ChipSnapshot.h"
#include "sim/chip/IdSequence.h"
#include "sim/chip/UseChecks.h"
#include "sim/values/SdkNumbering.h"

#include <cstdint>
#include <initializer_list>
#include <map>

namespace Sim {

/// The field groups of a chip; see the top of this header.
class SimFieldGroups
{
  public:
    /// What changes when a group is made or destroyed: each one by its id.
    using State = std::map< bcm_field_group_t, bcm_field_group_config_t >;

    /// `capacity` counts the groups that are made. The numbering must outlive this.
    SimFieldGroups( const SdkNumbering& numbering, uint32_t capacity );

    /// Makes a group: of the id config->group, or, if that is 0, of one that the chip chooses and
    /// writes there. Answers BCM_E_PARAM if config is null, if there are flags (the chip knows
    /// none), if the id is negative, or if mode, mode type, packet type, a qualifier or an action
    /// is none (mode type and packet type may be 0: not given); BCM_E_EXISTS if there is a
    /// group of that id; BCM_E_FULL if no more can be made.
    int create( bcm_field_group_config_t* config );

    /// Fills in what the group was made with. Answers BCM_E_PARAM if config is null,
    /// BCM_E_NOT_FOUND if there is no such group.
    int get( bcm_field_group_t group, bcm_field_group_config_t* config ) const;

    /// Fills in the group's qualifiers. Answers BCM_E_PARAM if qset is null, BCM_E_NOT_FOUND if
    /// there is no such group.
    int getQualifiers( bcm_field_group_t group, bcm_field_qset_t* qset ) const;

    /// Destroys a group. Answers BCM_E_NOT_FOUND if there is none of that id, BCM_E_PARAM if it is
    /// a compression group, BCM_E_BUSY if it is in use.
    int destroy( bcm_field_group_t group );

    /// The group; null if there is none of that id.
    [[nodiscard]] const bcm_field_group_config_t* find( bcm_field_group_t group ) const;

    /// Whether it is one of the compression groups, which exist from the start.
    [[nodiscard]] bool isCompression( bcm_field_group_t group ) const
    {
        return compression_.contains( group );
    }

    /// How many compression groups there are.
    [[nodiscard]] uint32_t compressionCount() const
    {
        return static_cast< uint32_t >( compression_.size() );
    }

    /// Who uses groups says so here.
    [[nodiscard]] UseChecks< bcm_field_group_t >& useChecks() { return useChecks_; }

    /// How many there are, besides the compression groups.
    [[nodiscard]] uint32_t used() const { return static_cast< uint32_t >( made_.size() ); }

    /// How many there can be, besides the compression groups.
    [[nodiscard]] uint32_t capacity() const { return capacity_; }

    /// Adds an object "field group ID" for each that was made.
    void addTo( ChipSnapshot& snapshot ) const;

    /// All that there are, for snapshots.
    [[nodiscard]] const State& state() const { return made_; }

    void stateIs( const State& state ) { made_ = state; }

  private:
    void addCompressionGroup( bcm_field_group_t group,
                              std::initializer_list< bcm_field_qualify_t > qualifiers );
    [[nodiscard]] bool isValid( const bcm_field_group_config_t& config ) const;
    [[nodiscard]] ChipSnapshot::Fields fieldsOf( const bcm_field_group_config_t& config ) const;

    const SdkNumbering& numbering_;
    const uint32_t capacity_;
    IdSequence ids_;
    UseChecks< bcm_field_group_t > useChecks_;
    State compression_;
    State made_;
};

} // namespace Sim

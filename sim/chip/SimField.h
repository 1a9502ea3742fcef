#pragma once

/// The field processor of a chip: groups, their entries, and preselectors.
///
/// The qualify functions of the SDK set a qualifier of an entry or of a preselector: bit 30 of the
/// entry argument tells which. Everything that concerns only one of the three is asked of it
/// directly. Operations answer as those of all subsystems do (`sim/chip/README.md`).
///
///     bcm_field_entry_t entry = 0;
///     field.entries().create( 246, &entry );
///     field.qualify( entry, { numbering.bcmFieldQualifyEtherType }, MaskedNumber{ 0x800, 0xFFFF }
///     ); field.entries().install( entry );

#include "sim/chip/ChipSnapshot.h"
#include "sim/chip/SimFieldEntries.h"
#include "sim/chip/SimFieldGroups.h"
#include "sim/chip/SimPreselectors.h"
#include "sim/profiles/ChipProfile.h"
#include "sim/values/SdkNumbering.h"

#include <cstdint>

namespace Sim {

/// A qualifier, and what can have it.
struct FieldQualifier
{
    /// Who may ask for a qualifier.
    enum Users
    {
        entries,
        entriesAndPreselectors,
    };

    bcm_field_qualify_t number; ///< the SDK's value
    Users users = entries;      ///< who may ask for it
};

/// Groups, entries and preselectors of a chip; see the top of this header.
class SimField
{
  public:
    /// All that they hold; compares for equality.
    struct State
    {
        SimFieldGroups::State groups;        ///< of the groups
        SimFieldEntries::State entries;      ///< of the entries
        SimPreselectors::State preselectors; ///< of the preselectors
    };

    /// The bit of an entry argument that says that it is a preselector.
    static constexpr bcm_field_entry_t preselectorBit = 0x40000000;

    /// The numbering must outlive this.
    SimField( const SdkNumbering& numbering, const ChipProfile::Field& capacities );
    SimField( const SimField& ) = delete;
    SimField& operator=( const SimField& ) = delete;

    /// The groups.
    [[nodiscard]] SimFieldGroups& groups() { return groups_; }

    /// The groups.
    [[nodiscard]] const SimFieldGroups& groups() const { return groups_; }

    /// The entries.
    [[nodiscard]] SimFieldEntries& entries() { return entries_; }

    /// The entries.
    [[nodiscard]] const SimFieldEntries& entries() const { return entries_; }

    /// The preselectors.
    [[nodiscard]] SimPreselectors& preselectors() { return preselectors_; }

    /// The preselectors.
    [[nodiscard]] const SimPreselectors& preselectors() const { return preselectors_; }

    /// Sets a qualifier, in place of an earlier value. Answers BCM_E_NOT_FOUND if there is no such
    /// entry or preselector, BCM_E_UNAVAIL if preselectors cannot have the qualifier, BCM_E_PARAM
    /// if the entry's group does not, or if the value is an enumerator that there is not.
    int
    qualify( bcm_field_entry_t entry, const FieldQualifier& qualifier, const FieldMatch& match );

    /// The same for a value of `length` bytes. Answers BCM_E_PARAM, too, if data or mask is null.
    int qualifyBytes( bcm_field_entry_t entry,
                      const FieldQualifier& qualifier,
                      int length,
                      const uint8_t* data,
                      const uint8_t* mask );

    /// The same for a set of ports. Answers BCM_E_PARAM, too, if data or mask is null.
    int qualifyPorts( bcm_field_entry_t entry,
                      const FieldQualifier& qualifier,
                      const _shr_pbmp* data,
                      const _shr_pbmp* mask );

    /// Sets the source classes that have a mask, in place of all earlier ones. Answers as above.
    int qualifySourceClasses( bcm_field_entry_t entry,
                              const bcm_field_src_class_t* data,
                              const bcm_field_src_class_t* mask );

    /// Sets a user-defined field, in place of an earlier value of it. Answers as above, and
    /// BCM_E_PARAM if there are not 1 to 16 bytes or if the id is not above 0.
    int qualifyUdf( bcm_field_entry_t entry,
                    bcm_udf_id_t udfId,
                    int length,
                    const uint8_t* data,
                    const uint8_t* mask );

    /// Reads a user-defined field back: at most maxLength bytes; actualLength is how many there
    /// are. Answers BCM_E_PARAM if a pointer is null or maxLength is not above 0, BCM_E_NOT_FOUND
    /// if there is no such entry or it does not have that field, BCM_E_UNAVAIL for a preselector.
    int getUdf( bcm_field_entry_t entry,
                bcm_udf_id_t udfId,
                int maxLength,
                uint8_t* data,
                uint8_t* mask,
                int* actualLength ) const;

    /// Adds an object for each group that was made, each entry and each preselector.
    void addTo( ChipSnapshot& snapshot ) const;

    /// All that they hold, for snapshots.
    [[nodiscard]] State state() const;

    void stateIs( const State& state );

  private:
    /// Why a preselector is refused what only entries can have.
    [[nodiscard]] int refusalOfPreselector( bcm_field_entry_t entry ) const;

    SimFieldGroups groups_;
    SimFieldEntries entries_;
    SimPreselectors preselectors_;
};

} // namespace Sim

#pragma once

/// The entries of a chip's field groups, those of the compression groups among them.
///
/// An entry is made in software and written to the hardware by installing it; what is changed
/// after that reaches the hardware when it is installed again. Removing it takes it out of the
/// hardware and leaves it in software.
///
/// Operations answer as those of all subsystems do (`sim/chip/README.md`). Each answers
/// BCM_E_NOT_FOUND if there is no entry of that id.

#include "sim/chip/FieldCriteria.h"
#include "sim/chip/SimFieldGroups.h"
#include "sim/chip/SoftError.h"

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace Sim {

/// What an entry does with a packet, for one action.
struct FieldAction
{
    uint32_t param0; ///< the first parameter
    uint32_t param1; ///< the second parameter

    [[nodiscard]] bool operator==( const FieldAction& ) const = default;
};

/// An entry of a group.
struct FieldEntry
{
    /// What the hardware holds of it.
    enum class Hardware
    {
        none,
        current,
        outdated, ///< it was changed after it was installed
    };

    bcm_field_group_t group = 0;                         ///< the group that it belongs to
    int priority = 0;                                    ///< the greatest wins
    Hardware hardware = Hardware::none;                  ///< what the hardware has of it
    FieldCriteria criteria;                              ///< what it matches
    std::map< bcm_field_action_t, FieldAction > actions; ///< what it does
    std::map< int, bcm_policer_t > policers;             ///< by level

    /// What the hardware holds of an entry that is outdated; null otherwise.
    std::shared_ptr< const FieldEntry > installed = nullptr;

    /// The entry as packets meet it, if it is in the hardware.
    [[nodiscard]] const FieldEntry& inHardware() const { return installed ? *installed : *this; }
};

/// Is told what the hardware holds of entries.
class HardwareListener
{
  public:
    virtual ~HardwareListener() = default;

    /// The hardware holds the entry, in place of what it held of it.
    virtual void installed( bcm_field_entry_t entry, const FieldEntry& what ) = 0;

    /// The hardware holds the entry no more.
    virtual void removed( bcm_field_entry_t entry ) = 0;

    /// The hardware may hold anything else: look at all entries.
    virtual void replaced() = 0;
};

/// The entries of all groups; see the top of this header.
class SimFieldEntries
{
  public:
    /// How many entries there can be.
    struct Capacities
    {
        uint32_t perGroup;            ///< of each group that is made
        uint32_t perCompressionGroup; ///< of each compression group
    };

    /// What changes when an entry does.
    struct State
    {
        std::map< bcm_field_entry_t, FieldEntry > entries;    ///< all entries
        std::map< bcm_field_group_t, uint32_t > countByGroup; ///< how many entries each group has
        /// How many entries each policer is attached to.
        std::map< bcm_policer_t, uint32_t > attachmentsByPolicer;
    };

    /// The levels that policers can be attached at: 0 and 1.
    static constexpr int policerLevels = 2;

    /// Ids of entries are below the bit that tells preselectors from entries.
    static constexpr uint32_t greatestId = 0x3FFFFFFF;

    /// Numbering and groups must outlive this.
    SimFieldEntries( const SdkNumbering& numbering,
                     const SimFieldGroups& groups,
                     const Capacities& capacities );

    /// Makes an entry and writes its id to entry. Answers BCM_E_PARAM if entry is null,
    /// BCM_E_NOT_FOUND if there is no such group, BCM_E_FULL if the group has no room.
    int create( bcm_field_group_t group, bcm_field_entry_t* entry );

    /// Destroys an entry, and takes it out of the hardware. Answers BCM_E_BUSY if it is in use.
    int destroy( bcm_field_entry_t entry );

    /// Writes an entry to the hardware, or what has changed of it.
    int install( bcm_field_entry_t entry );

    /// Takes an entry out of the hardware. Answers BCM_E_NOT_FOUND if it is not there.
    int remove( bcm_field_entry_t entry );

    /// Sets the priority; BCM_E_PARAM if it is negative.
    int priorityIs( bcm_field_entry_t entry, int priority );

    /// Sets a qualifier, in place of an earlier value. Answers BCM_E_PARAM if the group does not
    /// have that qualifier, or if the value is an enumerator that there is not.
    int qualify( bcm_field_entry_t entry, bcm_field_qualify_t qualifier, const FieldMatch& match );

    /// Sets the source classes that have a mask, in place of all earlier ones. Answers BCM_E_PARAM
    /// if data or mask is null or if the group does not have one of these qualifiers.
    int qualifySourceClasses( bcm_field_entry_t entry,
                              const bcm_field_src_class_t* data,
                              const bcm_field_src_class_t* mask );

    /// Sets a user-defined field. Answers BCM_E_PARAM if the group has neither the qualifier of
    /// user-defined fields nor one of their chunks.
    int qualifyUdf( bcm_field_entry_t entry, bcm_udf_id_t udfId, const MaskedBytes& match );

    /// Adds an action. Answers BCM_E_PARAM if it is none or if the group's actions are given and
    /// it is not among them, BCM_E_EXISTS if the entry has it already.
    int addAction( bcm_field_entry_t entry, bcm_field_action_t action, const FieldAction& what );

    /// Adds an action that assigns a class. Answers as above, and BCM_E_PARAM if classInfo is null
    /// or its action assigns no class.
    int addClass( bcm_field_entry_t entry, const bcm_field_class_info_t* classInfo );

    /// Attaches a policer. Answers BCM_E_PARAM if there is no such level, BCM_E_EXISTS if a policer
    /// is attached at that level.
    int attachPolicer( bcm_field_entry_t entry, int level, bcm_policer_t policerId );

    /// Detaches the policer of a level. Answers BCM_E_PARAM if there is no such level,
    /// BCM_E_NOT_FOUND if no policer is attached there.
    int detachPolicer( bcm_field_entry_t entry, int level );

    /// The entry; null if there is none of that id.
    [[nodiscard]] const FieldEntry* find( bcm_field_entry_t entry ) const;

    /// Whether the entry is in the hardware, outdated or not.
    [[nodiscard]] bool isInstalled( bcm_field_entry_t entry ) const;

    /// Whether the policer is attached to any entry.
    [[nodiscard]] bool isPolicerAttached( bcm_policer_t policerId ) const
    {
        return state_.attachmentsByPolicer.contains( policerId );
    }

    /// Whether any entry asks for the range checker's range.
    [[nodiscard]] bool isRangeUsed( bcm_range_t rangeId ) const;

    /// Whether any entry asks for the user-defined field.
    [[nodiscard]] bool isUdfUsed( bcm_udf_id_t udfId ) const;

    /// How many entries a group has.
    [[nodiscard]] uint32_t countIn( bcm_field_group_t group ) const;

    /// Changes a bit of an entry that the hardware holds, in the hardware and in what is read back
    /// (`SoftError.h`). False if there is no such bit.
    bool flip( bcm_field_entry_t entry, const SoftError& error );

    /// Tells all listeners that anything may have changed.
    void tellReplaced() const;

    /// Tells the listener of all changes from now on, until it is taken away.
    void listenerIs( HardwareListener& listener ) { listeners_.push_back( &listener ); }

    void listenerDel( HardwareListener& listener ) { std::erase( listeners_, &listener ); }

    /// Who uses entries says so here.
    [[nodiscard]] UseChecks< bcm_field_entry_t >& useChecks() { return useChecks_; }

    /// How many entries there are in the groups that were made.
    [[nodiscard]] uint32_t used() const;

    /// How many entries all groups together can hold.
    [[nodiscard]] uint32_t capacity() const { return groups_.capacity() * capacities_.perGroup; }

    /// How many entries there are in the compression groups.
    [[nodiscard]] uint32_t compressionUsed() const;

    /// How many entries all compression groups together can hold.
    [[nodiscard]] uint32_t compressionCapacity() const
    {
        return groups_.compressionCount() * capacities_.perCompressionGroup;
    }

    /// Adds an object "field entry ID" for each.
    void addTo( ChipSnapshot& snapshot ) const;

    /// All that they hold, for snapshots.
    [[nodiscard]] const State& state() const { return state_; }

    void stateIs( const State& state );

  private:
    [[nodiscard]] FieldEntry* findToChange( bcm_field_entry_t entry );
    [[nodiscard]] uint32_t capacityOf( bcm_field_group_t group ) const;
    [[nodiscard]] bool groupHas( const FieldEntry& entry, bcm_field_qualify_t qualifier ) const;
    [[nodiscard]] bool groupHasUdfs( const FieldEntry& entry ) const;
    [[nodiscard]] bool groupTakes( const FieldEntry& entry, bcm_field_action_t action ) const;
    [[nodiscard]] ChipSnapshot::Fields fieldsOf( const FieldEntry& entry ) const;
    void discountPolicer( bcm_policer_t policerId );
    void tellRemoved( bcm_field_entry_t entry ) const;

    const SdkNumbering& numbering_;
    const SimFieldGroups& groups_;
    const Capacities capacities_;
    IdSequence ids_{ greatestId };
    UseChecks< bcm_field_entry_t > useChecks_;
    std::vector< HardwareListener* > listeners_;
    State state_;
};

} // namespace Sim

#pragma once

/// A TCAM manager's way with the entries of groups: the SDK calls that are the agent's own.
///
/// The manager owns the record of each entry: what it asks of a packet, what it does with it, and
/// whether it is in the hardware. An entry is made in software with all that belongs to it, and
/// then installed; between the two it can be given counters. When one step of making it is refused,
/// or throws, what was done of it is undone in reverse, and the chip is as before.
///
/// All operations are called with the agent's activity lock held, after `buildTranslationMaps()`,
/// by any thread; `Overlap.h` tells how they stay right while the lock is free. Operations that
/// change one entry take turns, those on other entries do not. That the SDK refuses to make or to
/// install an entry, or to attach something to it, is a result (`lastRefusal` tells the call); a
/// mismatch that the audit finds, and any failure while something is taken away, end the process.
///
///     Reference::EntryManager manager( unit );
///     EntryDesc desc;
///     desc.group = group;
///     desc.qualifiers.destinationPort = Masked< U16 >{ 80, 0xFFFF };
///     desc.actions = { { ActionType::drop } };
///     const auto entry = manager.create( desc );
///     if ( entry && manager.install( *entry ) ) { ... manager.destroy( *entry ); }

#include "agent/tcam/CounterTypes.h"
#include "agent/tcam/PolicerHelper.h"
#include "reference/EntryActions.h"
#include "reference/EntryQualifiers.h"

#include <cstddef>
#include <optional>
#include <unordered_map>
#include <utility>

namespace Reference {

/// What an entry is wanted for.
struct EntryDesc
{
    bcm_field_group_t group = 0; ///< the SDK's group that it belongs to
    int priority = 0;           ///< among the entries of the group, the greatest wins; not negative
    EntryQualifiers qualifiers; ///< what it matches
    EntryActions actions;       ///< what it does with it
    std::optional< PeloraTcam::PolicerId > policer; ///< the policer it gets, if any

    friend bool operator==( const EntryDesc&, const EntryDesc& ) = default;
};

/// Owns the records of TCAM entries; see the top of this header.
class EntryManager
{
  public:
    /// The SDK's id of an entry.
    using EntryId = PeloraTcam::TcamEntryId;

    /// `unit` is the chip's SDK unit.
    explicit EntryManager( Agent::U32 unit );

    /// Makes an entry, which is not in the hardware yet. Nothing when the SDK refuses one of the
    /// calls.
    [[nodiscard]] std::optional< EntryId > create( const EntryDesc& desc );

    /// The same; takes the descriptor over, unless the SDK refuses.
    [[nodiscard]] std::optional< EntryId > create( EntryDesc&& desc );

    /// Writes an entry to the hardware. False when the SDK refuses; the entry stays as it was then.
    /// False as well when the id is none of this manager's, for example because another thread has
    /// destroyed the entry or is doing so: `lastRefusal` then has this function of the SDK, which
    /// was not called, with BCM_E_NOT_FOUND.
    [[nodiscard]] bool install( EntryId entryId );

    /// Takes an entry out of the hardware; it can be installed again. False when it is not there or
    /// when the id is none of this manager's.
    bool remove( EntryId entryId );

    /// Takes an entry out of the hardware and destroys it, after what this manager has attached to
    /// it is detached. Nobody else may have anything attached to it. False when the id is none of
    /// this manager's.
    bool destroy( EntryId entryId );

    /// Attaches a policer to an entry that has none, or a statistic. False when the SDK refuses, or
    /// when the id is none of this manager's, as with `install`. An entry that is in the hardware
    /// is written to it again with its policer.
    [[nodiscard]] bool attachPolicer( EntryId entryId, PeloraTcam::PolicerId policerId );
    [[nodiscard]] bool attachStatistic( EntryId entryId, int statId );

    /// Detaches what was attached. False when there is none, or when the id is none of this
    /// manager's.
    bool detachPolicer( EntryId entryId );
    bool detachStatistic( EntryId entryId );

    /// Compares every entry with the chip: that it is in the hardware if it should be, its
    /// qualifiers, priority, actions, policer, and the statistic that this manager attached. A
    /// mismatch ends the process. Gives the number of entries compared; those that change or go
    /// meanwhile are left out.
    std::size_t audit() const;

    /// The call that the last `create`, `install` or `attach...` failed at, or would have failed
    /// at; valid until the next SDK call.
    [[nodiscard]] const SdkRefusal& lastRefusal() const { return lastRefusal_; }

    /// How many entries the manager holds, in all groups or in one.
    [[nodiscard]] std::size_t size() const { return records_.size(); }

    /// How many entries of the group there are.
    [[nodiscard]] std::size_t size( bcm_field_group_t group ) const;

    /// What an entry was made with; null for an id that is none of this manager's. It is valid
    /// until the next operation, or the next SDK call.
    [[nodiscard]] const EntryDesc* find( EntryId entryId ) const;

    /// Whether an entry is in the hardware.
    [[nodiscard]] bool isInstalled( EntryId entryId ) const;

  private:
    struct Record : TakesTurns
    {
        explicit Record( EntryDesc&& wanted )
            : desc( std::move( wanted ) )
        {}

        EntryDesc desc;
        std::optional< int > statistic;
        bool installed = false;
        bool outdated = false; ///< what is installed: writing it again threw
    };

    using Records = std::unordered_map< EntryId, Record >;
    using EntryTurn = Turn< Records >;

    [[nodiscard]] std::optional< EntryId > make( const EntryDesc& desc );
    void record( EntryId entryId, EntryDesc&& desc );
    void undo( EntryId entryId, bcm_field_group_t group );
    void forgetOneOf( bcm_field_group_t group );
    [[nodiscard]] bool program( bcm_field_entry_t entry, const EntryDesc& desc );
    [[nodiscard]] bool addActions( bcm_field_entry_t entry, const EntryActions& actions );
    [[nodiscard]] bool attach( bcm_field_entry_t entry, PeloraTcam::PolicerId policerId );
    bool remove( const EntryTurn& turn );
    bool detachPolicer( const EntryTurn& turn );
    bool detachStatistic( const EntryTurn& turn );
    void writeAgain( const EntryTurn& turn );
    [[nodiscard]] bool accepted( std::string_view function, int rc );
    [[nodiscard]] bool isKnown( const EntryTurn& turn, std::string_view function );
    void verify( bcm_field_entry_t entry, const Record& record, const StillSeen& stillSeen ) const;
    void verifyActions( bcm_field_entry_t entry,
                        const EntryActions& actions,
                        const StillSeen& stillSeen ) const;
    void verifyAttachments( bcm_field_entry_t entry,
                            const Record& record,
                            const StillSeen& stillSeen ) const;

    const int unit_;
    Records records_;
    std::unordered_map< bcm_field_group_t, std::size_t > entriesByGroup_;
    SdkRefusal lastRefusal_;
};

} // namespace Reference

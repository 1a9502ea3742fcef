#pragma once

/// A TCAM manager's way with the entries of the compression tables.
///
/// The manager owns the software collection: which value of which table has which class id, under
/// which entry of the chip, and how many users share it. Equal values share one class id; the chip
/// hears of the first user and of the last, and a class id that is free is used again. It talks to
/// the chip through a compression helper, which only takes a released entry out of the hardware;
/// the manager then destroys it. For its audit it reads the entries back itself.
///
/// The helper takes a full table for a fatal failure, so the manager counts and never asks for more
/// than it may. No room, in the hardware or among the class ids, is a result; a mismatch that the
/// audit finds, an unknown table, and whatever else goes wrong in the chip ends the process. An
/// exception of the SDK leaves the record as it was, or as far as it got; what is out of the
/// hardware already is shared with nobody.
///
/// A packet gets the class of one entry of a table. So of the values in a table no two may match
/// the same packet: before a prefix is given a class, ask `overlapsAnother`.
///
/// All operations are called with the agent's activity lock held, by any thread; `Overlap.h` tells
/// how they stay right while the lock is free.
///
///     Reference::CompressionManager manager( helper, sameLimits( { 128, 1, 0xFFFF } ) );
///     const CompressionKey tcp( 6 );
///     const auto classId = manager.acquire( PeloraCompressionTableType::ipProto, tcp );
///     if ( classId ) { manager.release( PeloraCompressionTableType::ipProto, tcp ); }

#include "agent/base/Ptr.h"
#include "agent/tcam/CompressionHelper.h"
#include "agent/tcam/IdPool.h"
#include "reference/Overlap.h"
#include "reference/PrefixSet.h"

#include <array>
#include <cstddef>
#include <map>
#include <optional>

namespace Reference {

/// What one table may use.
struct CompressionLimits
{
    std::size_t entries = 0;     ///< of the chip
    Agent::U32 firstClassId = 1; ///< a packet that no entry matches has class 0
    Agent::U32 classIds = 0;     ///< so many, the first and following
};

/// The capacity of each table; one without an entry has none.
using CompressionLimitsByTable =
    std::map< PeloraTcam::PeloraCompressionTableType, CompressionLimits >;

/// The same limits for each of the six tables.
[[nodiscard]] CompressionLimitsByTable sameLimits( const CompressionLimits& limits );

/// Whether a table has room for one more value, and if not, what it lacks.
enum class CompressionRoom : Agent::U8
{
    free,
    noEntry,
    noClassId,
};

/// The class of a value, as one user of it has it.
struct CompressionClass
{
    Agent::U64 entryId = 0; ///< of the chip
    Agent::U32 classId = 0;
    PeloraTcam::PeloraCompressionTableType table = PeloraTcam::PeloraCompressionTableType::invalid;
    bool isNew = false; ///< made for this user
};

/// Owns the records of compressed values; see the top of this header.
class CompressionManager
{
  public:
    /// The table that a value is compressed in.
    using Table = PeloraTcam::PeloraCompressionTableType;
    /// The value: an EtherType, a protocol, a port or a prefix.
    using Key = PeloraTcam::CompressionKey;

    /// `helper` is not null. A table without limits has no room.
    CompressionManager( Agent::Ptr< PeloraTcam::PeloraTcamCompressionHelperBase > helper,
                        const CompressionLimitsByTable& limits );

    /// The class id of a value: that of an equal one with one more user, or a new one. Nothing when
    /// there is no room; `room` tells why. Of a number only the bits of the table's field count, of
    /// an address only those of the prefix. With `wanted` a new one is that class id; nothing when
    /// it is not free, or when the value has another one.
    [[nodiscard]] std::optional< Agent::U32 >
    acquire( Table table, const Key& key, std::optional< Agent::U32 > wanted = std::nullopt );

    /// The same, with what gives it back without another look at the value.
    [[nodiscard]] std::optional< CompressionClass >
    acquireClass( Table table, const Key& key, std::optional< Agent::U32 > wanted = std::nullopt );

    /// The class of a value that has one, with one more user; nothing when it has none.
    [[nodiscard]] std::optional< CompressionClass > shareClass( Table table, const Key& key );

    /// Takes one user away; the last one takes the entry out of the chip and frees the class id.
    /// False when the table has no such value.
    bool release( Table table, const Key& key );

    /// The same for the class of a value; false when there is no such class.
    bool release( const CompressionClass& taken );

    /// Whether a table can take one more value.
    [[nodiscard]] CompressionRoom room( Table table ) const;

    /// Whether an address table has another prefix that contains this one or lies in it, also one
    /// on its way into the chip or out of it; false for the other tables.
    [[nodiscard]] bool overlapsAnother( Table table, const Key& key ) const;

    /// Compares every record with the chip: value, class id, and that the hardware holds it. A
    /// mismatch ends the process. Gives the number of records compared. What its last user lets go
    /// of meanwhile, it gives back.
    std::size_t audit() const;

    /// How many values the manager holds, in all tables or in one.
    [[nodiscard]] std::size_t size() const { return records_.size(); }

    /// How many values the table holds, with those on their way into the chip or out of it.
    [[nodiscard]] std::size_t size( Table table ) const;

    /// The class id of a value; nothing when the table does not have it.
    [[nodiscard]] std::optional< Agent::U32 > classId( Table table, const Key& key ) const;

    /// How many users a value has; 0 when the table does not have it.
    [[nodiscard]] std::size_t users( Table table, const Key& key ) const;

  private:
    /// A value of a table, as the chip sees it.
    struct Place
    {
        Table table;
        Key key;

        friend bool operator==( const Place&, const Place& ) = default;
    };

    struct PlaceHash
    {
        std::size_t operator()( const Place& place ) const;
    };

    struct Entry
    {
        Agent::U32 classId = 0;
        bool takenOut = false; ///< of the hardware, but not yet destroyed
    };

    using Records = SharedRecords< Place, Agent::U64, Entry, PlaceHash >;
    using Record = Records::Record;

    struct TableState
    {
        std::size_t capacity = 0;
        std::size_t used = 0;
        PeloraTcam::IdPool classIds;
        PrefixSet prefixes;
    };

    /// A place in a table and a class id, for a value on its way into the chip.
    class Reservation;

    [[nodiscard]] static Place placeOf( Table table, const Key& key );
    [[nodiscard]] static CompressionClass oneMoreUser( Record& record );
    [[nodiscard]] std::optional< CompressionClass > make( const Place& place,
                                                          std::optional< Agent::U32 > wanted );
    [[nodiscard]] TableState* stateOf( Table table ) const;
    [[nodiscard]] const Record* find( Table table, const Key& key ) const;
    [[nodiscard]] auto givingBack() const;
    void giveBack( Record& record ) const;
    [[nodiscard]] int unit() const;
    [[nodiscard]] bool verify( const Record& record ) const;
    void verifyValue( Table table, const Key& key, bcm_field_entry_t entry ) const;

    static constexpr std::size_t tables = 7; // With the invalid one, which has no room.

    const Agent::Ptr< PeloraTcam::PeloraTcamCompressionHelperBase > helper_;
    // An audit gives back what its last user lets go of.
    mutable std::array< TableState, tables > tables_;
    mutable Records records_;
};

} // namespace Reference

#pragma once

/// What a TCAM entry asks of a packet, and how it is written to the chip and compared with it.
///
/// A field can be matched by its value or by the class that the field's compression table gives it;
/// what is not asked for matches everything. The fields of packet-filter rules have members of
/// their own; all others are in a list. The entry's group must have the qualifiers.
///
///     EntryQualifiers qualifiers;
///     qualifiers.source = IpPrefix{ IpAddress::v4( 0x0A000000 ), 8 };
///     qualifiers.destinationPort = Masked< U16 >{ 80, 0xFFFF };

#include "agent/tcam/CompressionHelper.h"
#include "agent/tcam/QualifierType.h"
#include "agent/tcam/RangeCheckerHelper.h"
#include "reference/QualifierMatch.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>
#include <optional>
#include <utility>
#include <vector>

namespace Reference {

/// The packet must be in a range checker's range, or outside of it.
struct EntryRange
{
    PeloraTcam::RangeCheckerId id = PeloraTcam::invalidRangeCheckerId;
    bool outside = false;

    friend auto operator<=>( const EntryRange&, const EntryRange& ) = default;
};

/// Class ids by compression table, in the order of the tables. It takes no memory of its own: every
/// entry has one.
class TableClasses
{
  public:
    using Table = PeloraTcam::PeloraCompressionTableType;
    using Row = std::pair< Table, Agent::U32 >;
    using value_type = Row;
    using const_iterator = const Row*;

    TableClasses() = default;

    /// Of several rows of one table the first counts; no more than six tables (an assertion failure
    /// otherwise, here and below).
    TableClasses( std::initializer_list< Row > rows );

    /// Adds a class, unless the table has one.
    void emplace( Table table, Agent::U32 classId );

    /// Takes the class of a table away, if it has one.
    void erase( Table table );

    [[nodiscard]] std::size_t size() const { return count_; }

    [[nodiscard]] bool empty() const { return count_ == 0; }

    [[nodiscard]] const Row* begin() const { return rows_.data(); }

    [[nodiscard]] const Row* end() const { return rows_.data() + count_; }

    friend bool operator==( const TableClasses& left, const TableClasses& right )
    {
        return std::ranges::equal( left, right );
    }

  private:
    std::array< Row, 6 > rows_{};
    std::size_t count_ = 0;
};

struct EntryQualifiers
{
    std::optional< IpPrefix > source;
    std::optional< IpPrefix > destination;
    std::optional< Masked< Agent::U16 > > etherType;
    std::optional< Masked< Agent::U8 > > protocol;
    std::optional< Masked< Agent::U16 > > sourcePort;
    std::optional< Masked< Agent::U16 > > destinationPort;
    std::vector< EntryRange > ranges; ///< all of them
    /// By compression table; the ids have 16 bits.
    TableClasses classes;
    /// All of them; none that one of the members above stands for, and none twice.
    std::vector< QualifierMatch > others;

    friend bool operator==( const EntryQualifiers&, const EntryQualifiers& ) = default;
};

/// The qualifier of the class that a compression table gives: each table has a class field of its
/// own in the key.
[[nodiscard]] PeloraTcam::QualifierType
classQualifier( PeloraTcam::PeloraCompressionTableType table );

/// Writes the qualifiers of an entry that has none. Gives the first call that the SDK refused,
/// after which it makes no more. Called with the agent's activity lock held.
[[nodiscard]] SdkRefusal
qualifyEntry( int unit, bcm_field_entry_t entry, const EntryQualifiers& qualifiers );

/// Compares the qualifiers of an entry that are asked for, all its ranges and all its classes with
/// the chip; a mismatch ends the process, unless the entry has changed meanwhile. Called with the
/// agent's activity lock held.
void verifyQualifiers( int unit,
                       bcm_field_entry_t entry,
                       const EntryQualifiers& qualifiers,
                       const StillSeen& stillSeen = {} );

} // namespace Reference

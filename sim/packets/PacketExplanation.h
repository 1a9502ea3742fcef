#pragma once

/// Why a packet hits what it hits: what was read of it, and which entries lost and why.
///
/// An explanation compares entries one after the other, each qualifier by itself; it shares the
/// values of fields with a lookup, and nothing of keys and indexes.

#include "sim/packets/PacketPath.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Sim {

/// A qualifier of an entry that the packet does not have as the entry wants it.
struct Mismatch
{
    std::string qualifier; ///< without what all of them start with: "DstIp", "RangeCheck", "udf3"
    std::string wanted;    ///< as snapshots show it
    std::string found;     ///< the packet's value, or "absent"

    [[nodiscard]] bool operator==( const Mismatch& ) const = default;
};

/// All that an entry or a preselector asks for and the packet does not have, by qualifier.
[[nodiscard]] std::vector< Mismatch >
mismatchesOf( const FieldCriteria& criteria, const SimulatedChip& chip, const PacketView& view );

/// An entry that lost.
struct LosingEntry
{
    bcm_field_entry_t entry = 0;
    int priority = 0;
    bool matches = false;  ///< it matches, and ranks below the winner
    std::string qualifier; ///< the first that did not match
    std::string wanted;    ///< of it
    std::string found;     ///< of it

    [[nodiscard]] bool operator==( const LosingEntry& ) const = default;
};

/// What a group made of the packet.
struct GroupExplanation
{
    bcm_field_group_t group = 0;
    std::optional< bcm_field_entry_t > winner;
    /// The nearest first: of the fewest qualifiers that did not match, and of these the best.
    std::vector< LosingEntry > nearest;
};

/// What a range checker found.
struct RangeFinding
{
    uint32_t rangeId = 0;
    uint32_t value = 0; ///< what it looks at
    bool inside = false;
};

/// What was extracted for a user-defined field.
struct UdfFinding
{
    bcm_udf_id_t udfId = 0;
    std::vector< uint8_t > bytes; ///< empty if the field is absent
};

/// Why a packet hits what it hits; see the top of this header.
struct PacketExplanation
{
    /// What the headers say: names and values, in the order of the packet.
    std::vector< std::pair< std::string, std::string > > headers;
    /// The classes that the compression tables give: the class field's name and the class id.
    std::vector< std::pair< std::string, uint32_t > > classes;
    std::vector< RangeFinding > ranges;     ///< of all range checkers
    std::vector< UdfFinding > udfs;         ///< of all user-defined fields
    std::vector< GroupExplanation > groups; ///< in the order of `PacketPath::groups()`
};

/// Explains what `path.find( packet )` finds: for each group so many losers.
[[nodiscard]] PacketExplanation
explain( const PacketPath& path, const Packet& packet, std::size_t losers = 3 );

} // namespace Sim

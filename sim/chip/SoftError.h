#pragma once

/// A bit of what a chip holds that changes by itself, as memory cells do.
///
/// The chip acts on the changed value from then on, and reads it back: neither the SDK nor the
/// agent has been told.

#include <string>
#include <string_view>

namespace Sim {

/// Which bit changes; see the top of this header.
struct SoftError
{
    /// As a snapshot names it: "field entry 5" (of a group or a compression table), "range checker
    /// 1" or "policer 2".
    std::string object;

    /// As a snapshot names it: of a range checker "min" or "max"; of a policer "ckbits_sec",
    /// "ckbits_burst", "pkbits_sec" or "pkbits_burst"; of an entry "priority", a qualifier with
    /// data and mask ("DstIp"), "udf3", or one of those with ".mask" for the mask instead of the
    /// data.
    std::string field;

    unsigned bit = 0; ///< from 0, the least significant one
};

/// An object's kind and id: "range checker" and 1 of "range checker 1".
struct SnapshotName
{
    std::string_view kind;
    unsigned id = 0; ///< 0 if the name has none
};

/// The parts of a snapshot's name of an object.
[[nodiscard]] SnapshotName partsOf( std::string_view object );

/// What is wrong with it, whatever the chip holds: an unknown kind of object or field, or a bit
/// that the field cannot have; empty if nothing is.
[[nodiscard]] std::string objectionTo( const SoftError& error );

} // namespace Sim

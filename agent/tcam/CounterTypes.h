#pragma once

/// What the counters of a TCAM entry count, and the records of them.

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"
#include "agent/tcam/EnumeratorNames.h"
#include "agent/tcam/StageType.h"
#include "agent/tcam/TcamGroup.h"

#include <map>
#include <ostream>
#include <string_view>

namespace PeloraTcam {

/// What a counter counts: odd types bytes, even types packets. A byte type and the packet type
/// that follows it count the same packets.
enum class CounterType : Agent::U8
{
    invalid = 0,
    bytes = 1,
    packets = 2,
    redBytes = 3,
    redPackets = 4,
    greenBytes = 5,
    greenPackets = 6,
    yellowBytes = 7,
    yellowPackets = 8,
};

/// The table of names behind `nameOfEnumerator()`.
template<>
struct EnumeratorNames< CounterType >
{
    static constexpr std::string_view enumeration = "CounterType"; ///< the name of the type
    /// One row an enumerator.
    static constexpr EnumeratorName rows[] = {
        { "invalid", 0 },      { "bytes", 1 },       { "packets", 2 },
        { "redBytes", 3 },     { "redPackets", 4 },  { "greenBytes", 5 },
        { "greenPackets", 6 }, { "yellowBytes", 7 }, { "yellowPackets", 8 },
    };
};

/// Prints the name, or "CounterType(N)" for a value that has none.
AGENT_EXPORT std::ostream& operator<<( std::ostream& stream, CounterType type );

/// Whether bit `type` of a mask of counter types is set.
constexpr bool isTypeInMask( CounterType type, Agent::U32 mask )
{
    const auto number = static_cast< unsigned >( type );
    return number < 32 && ( mask >> number & 1U ) != 0;
}

/// Types 1, 3, 5 and 7.
constexpr bool isByteType( CounterType type )
{
    return isTypeInMask( type, 0xAA );
}

/// Types 2, 4, 6 and 8.
constexpr bool isPacketType( CounterType type )
{
    return isTypeInMask( type, 0x154 );
}

/// The packet type that shares a hardware counter with a type: a byte type's successor, any other
/// type itself.
constexpr CounterType packetTypeOfPair( CounterType type )
{
    return isByteType( type ) ? static_cast< CounterType >( static_cast< unsigned >( type ) + 1 )
                              : type;
}

/// The counter types that an entry has or wants; iterated in ascending order.
using CounterSet = std::map< CounterType, bool >;

/// The counter types of an entry with the values that the agent recorded; iterated in ascending
/// order.
using CounterStatus = std::map< CounterType, Agent::U64 >;

/// Prints "{bytes, packets}".
AGENT_EXPORT std::ostream& operator<<( std::ostream& stream, const CounterSet& set );

/// Prints "{bytes: 64, packets: 1}".
AGENT_EXPORT std::ostream& operator<<( std::ostream& stream, const CounterStatus& status );

/// The SDK's id of a TCAM entry.
using TcamEntryId = Agent::U32;

/// The priority of a TCAM group.
using TcamGroupPriority = Agent::U32;

/// The counters of one entry. The default stands for none.
struct CounterInfo
{
    Agent::U32 counterId = 0;             ///< the helper's number of the counter; 0 for none
    StageType stage = StageType::invalid; ///< of the entry's group
    CounterSet counterSet;                ///< what is counted
    LogicalGroupId logicalGroupId = 0;    ///< the agent's id of the entry's group
    Agent::U32 statId = 0;                ///< id of the statistic, on HSDK of the entry; 0 for none
    TcamEntryId entryId = 0;              ///< the SDK's id of the entry

    friend bool operator==( const CounterInfo&, const CounterInfo& ) = default;
};

} // namespace PeloraTcam

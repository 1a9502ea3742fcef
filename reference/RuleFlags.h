#pragma once

/// The 16 bits that a packet-filter rule can ask for besides addresses, protocol and ports.
///
/// Of a TCP packet the high byte is the flags byte of the header (RFC 9293) and the low byte is 0;
/// of an ICMP packet the high byte is the type and the low byte the code (RFC 792, RFC 4443); of
/// any other packet all are 0. So they mean nothing without a protocol, and a rule that asks for
/// what cannot be told is refused: it must not match more packets than it says.
///
/// All functions are pure.

#include "reference/QualifierMatch.h"

#include <optional>
#include <string_view>

namespace Reference {

/// Why a rule is refused for what it asks for.
inline constexpr std::string_view noTcpFlags = "bits that are no TCP flags";
inline constexpr std::string_view flagsOfSeveralProtocols = "flags without an exact protocol";
inline constexpr std::string_view flagsOfNoPacket = "flags that no packet of its protocol has";

/// Whether a rule was refused for what it asks for, which no entry can match, and not because the
/// chip lacked something.
[[nodiscard]] bool isUnmatchable( std::string_view refusal );

/// How an entry asks for the flags of a rule.
struct FlagsMatch
{
    std::string_view refusal;              ///< empty if it can
    std::optional< QualifierMatch > match; ///< nothing if all packets of the protocol have them
};

/// `isV6` says of which version of IP the rule's packets are: each has an ICMP of its own.
[[nodiscard]] FlagsMatch
flagsMatch( Masked< Agent::U8 > protocol, Masked< Agent::U16 > flags, bool isV6 );

/// What an entry asks for that is for all packets of that version of IP.
[[nodiscard]] QualifierMatch everyPacketOfIp( bool isV6 );

} // namespace Reference

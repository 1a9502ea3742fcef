#pragma once

/// Packet-filter rule sets in the text form of the ClassBench generator, one rule a line:
///
///     @SRC-PREFIX DST-PREFIX SPORT-LOW : SPORT-HIGH DPORT-LOW : DPORT-HIGH PROTO/MASK FLAGS/MASK
///     @175.212.181.112/28 172.105.239.56/30 88 : 88 1024 : 65535 0x11/0xFF 0x0000/0x0000
///
/// Blanks and tabs separate the fields; empty lines are passed over. Prefixes are dotted IPv4
/// with a length of 0 to 32, ports are decimal from 0 to 65535 with low <= high, protocol and flags
/// are hexadecimal with 8 and 16 bits. The high byte of the flags is the flags byte of a TCP
/// header, or the type of an ICMP header, whose code is the low byte. Anything else is a
/// `Input::InputError` with the file, line and column of the offence and what was expected there.
///
///     const Tool::RuleSet rules = Tool::readRuleSet( "fw1_1k.rules" );

#include "agent/base/BaseTypes.h"

#include <compare>
#include <string>
#include <string_view>
#include <vector>

namespace Tool {

struct Ipv4Prefix
{
    Agent::U32 address = 0; ///< as written, also the bits behind the length
    Agent::U8 length = 0;   ///< 0 to 32

    friend bool operator==( const Ipv4Prefix&, const Ipv4Prefix& ) = default;
};

/// Both bounds belong to the range.
struct PortRange
{
    Agent::U16 low = 0;
    Agent::U16 high = 0;

    friend auto operator<=>( const PortRange&, const PortRange& ) = default;
};

/// A value of which only the bits in the mask count.
template< class Value >
struct Masked
{
    Value value = 0;
    Value mask = 0;

    friend bool operator==( const Masked&, const Masked& ) = default;
};

struct Rule
{
    Ipv4Prefix source;
    Ipv4Prefix destination;
    PortRange sourcePorts;
    PortRange destinationPorts;
    Masked< Agent::U8 > protocol;
    Masked< Agent::U16 > tcpFlags; ///< or ICMP type and code

    friend bool operator==( const Rule&, const Rule& ) = default;
};

struct RuleSet
{
    std::string file;
    std::vector< Rule > rules;
    std::vector< int > lines = {}; ///< where in the file each rule stands, from 1
};

/// Reads a rule set from a text; `file` is the name that messages give it.
[[nodiscard]] RuleSet parseRuleSet( std::string_view text, const std::string& file );

/// Reads a rule set from a file.
[[nodiscard]] RuleSet readRuleSet( const std::string& path );

} // namespace Tool

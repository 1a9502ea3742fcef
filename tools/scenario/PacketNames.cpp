#include "tools/scenario/PacketNames.h"

#include "tools/scenario/EnumeratorReader.h"

#include <array>
#include <fmt/format.h>

namespace Tool {

namespace {

/// As assigned by the IEEE Registration Authority.
constexpr std::array< PacketName, 19 > etherTypes{ {
    { "none", 0x0000 },          { "ipv4", 0x0800 },
    { "ipv6", 0x86DD },          { "arp", 0x0806 },
    { "rarp", 0x8035 },          { "vlan", 0x8100 },
    { "qinq", 0x88A8 },          { "mpls", 0x8847 },
    { "mplsMulticast", 0x8848 }, { "pppoeDiscovery", 0x8863 },
    { "pppoeSession", 0x8864 },  { "slowProtocols", 0x8809 },
    { "eapol", 0x888E },         { "lldp", 0x88CC },
    { "macsec", 0x88E5 },        { "ptp", 0x88F7 },
    { "cfm", 0x8902 },           { "fcoe", 0x8906 },
    { "roce", 0x8915 },
} };

/// As assigned by IANA; 0 is no protocol here, but any of them.
constexpr std::array< PacketName, 17 > ipProtocols{ {
    { "any", 0 },
    { "icmp", 1 },
    { "igmp", 2 },
    { "ipip", 4 },
    { "tcp", 6 },
    { "udp", 17 },
    { "ipv6", 41 },
    { "rsvp", 46 },
    { "gre", 47 },
    { "esp", 50 },
    { "ah", 51 },
    { "icmpv6", 58 },
    { "ospf", 89 },
    { "pim", 103 },
    { "vrrp", 112 },
    { "l2tp", 115 },
    { "sctp", 132 },
} };

/// Empty for a number without a name.
std::string_view nameOf( std::uint16_t number, std::span< const PacketName > names )
{
    for ( const auto& [ name, named ] : names ) {
        if ( named == number ) {
            return name;
        }
    }
    return {};
}

template< class Number >
Number readNamed( const Input::YamlNode& node, std::span< const PacketName > names )
{
    if ( looksLikeANumber( node ) ) {
        Number number = 0;
        node.read( number );
        return number;
    }
    std::uint16_t number = 0;
    node.read( number, names );
    return static_cast< Number >( number );
}

} // namespace

std::span< const PacketName > etherTypeNames()
{
    return etherTypes;
}

std::span< const PacketName > ipProtocolNames()
{
    return ipProtocols;
}

std::uint16_t readEtherType( const Input::YamlNode& node )
{
    return readNamed< std::uint16_t >( node, etherTypes );
}

std::uint8_t readIpProtocol( const Input::YamlNode& node )
{
    return readNamed< std::uint8_t >( node, ipProtocols );
}

std::string etherTypeText( std::uint16_t etherType )
{
    const std::string_view name = nameOf( etherType, etherTypes );
    return name.empty() ? fmt::format( "0x{:04X}", etherType )
                        : fmt::format( "{} (0x{:04X})", name, etherType );
}

std::string ipProtocolText( std::uint8_t protocol )
{
    const std::string_view name = nameOf( protocol, ipProtocols );
    return name.empty() ? fmt::format( "{}", protocol ) : fmt::format( "{} ({})", name, protocol );
}

} // namespace Tool

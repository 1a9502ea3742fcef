#pragma once

/// Packets written by hand, as hexadecimal text.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace PacketTest {

using Packet = std::vector< std::uint8_t >;

/// The bytes of a hexadecimal text; blanks do not count.
[[nodiscard]] inline Packet packetOf( std::string_view hex )
{
    std::string digits;
    for ( const char digit : hex ) {
        digits += digit == ' ' ? "" : std::string( 1, digit );
    }
    Packet packet;
    for ( std::size_t at = 0; at + 1 < digits.size(); at += 2 ) {
        packet.push_back(
            static_cast< std::uint8_t >( std::stoul( digits.substr( at, 2 ), nullptr, 16 ) ) );
    }
    return packet;
}

// Pieces; a packet is some of them in a row.

inline const std::string macs = "020000000001 020000000002 ";
inline const std::string tag = "8100 0064 ";
inline const std::string serviceTag = "88a8 00c8 ";
inline const std::string isIp4 = "0800 ";
inline const std::string isIp6 = "86dd ";
inline const std::string isArp = "0806 ";

/// An IPv4 header of 20 bytes; the protocol is given as two digits.
[[nodiscard]] inline std::string ip4Header( std::string_view protocol )
{
    return "45 00 0064 0001 0000 40 " + std::string( protocol ) + " 0000 0a000001 0a000002 ";
}

/// An IPv4 header of 24 bytes, with a router alert.
[[nodiscard]] inline std::string ip4HeaderWithOption( std::string_view protocol )
{
    return "46 00 0064 0001 0000 40 " + std::string( protocol ) +
           " 0000 0a000001 0a000002 94040000 ";
}

/// An IPv6 header of 40 bytes.
[[nodiscard]] inline std::string ip6Header( std::string_view next )
{
    return "60000000 0040 " + std::string( next ) +
           " 40 20010db8000000000000000000000001 20010db8000000000000000000000002 ";
}

/// An IPv6 routing header of 24 bytes.
[[nodiscard]] inline std::string ip6Routing( std::string_view next )
{
    return std::string( next ) + " 02 00 00 00000000 20010db8000000000000000000000003 ";
}

inline const std::string tcpHeader = "0016 c000 00000001 00000002 5010 2000 0000 0000 ";
inline const std::string tcpHeaderWithOptions =
    "0016 c000 00000001 00000002 8010 2000 0000 0000 0101080a0000000100000002 ";
inline const std::string udpHeader = "0035 c000 0020 0000 ";
inline const std::string icmpHeader = "0800 0000 0001 0001 ";
inline const std::string greOfIp4 = "0000 0800 ";
inline const std::string greOfIp6WithKeyAndSequence = "3000 86dd 00000007 00000001 ";
inline const std::string greOfEthernet = "0000 6558 ";
inline const std::string arpRequest = "0001 0800 06 04 0001 020000000002 0a000002 "
                                      "000000000000 0a000001 ";
inline const std::string payload = "a0a1a2a3 a4a5a6a7 a8a9aaab acadaeaf ";

} // namespace PacketTest

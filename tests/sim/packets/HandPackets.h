#pragma once

/// Packets written by hand, as hexadecimal text.

#include "sim/packets/PacketHeaders.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace SimPacketTest {

using Bytes = std::vector< std::uint8_t >;

/// The bytes of a hexadecimal text; blanks do not count.
[[nodiscard]] inline Bytes bytesOf( std::string_view hex )
{
    std::string digits;
    for ( const char digit : hex ) {
        digits += digit == ' ' ? "" : std::string( 1, digit );
    }
    Bytes bytes;
    for ( std::size_t at = 0; at + 1 < digits.size(); at += 2 ) {
        bytes.push_back(
            static_cast< std::uint8_t >( std::stoul( digits.substr( at, 2 ), nullptr, 16 ) ) );
    }
    return bytes;
}

[[nodiscard]] inline Sim::PacketHeaders headersOf( std::string_view hex )
{
    return Sim::readHeaders( bytesOf( hex ) );
}

// Pieces; a packet is some of them in a row.

inline const std::string macs = "020000000002 020000000001 ";
inline const std::string isIp4 = "0800 ";
inline const std::string isIp6 = "86dd ";

/// 10.0.0.1 to 10.0.0.2, 20 bytes, 100 with what it carries; the protocol as two digits.
[[nodiscard]] inline std::string ip4( std::string_view protocol )
{
    return "45 b9 0064 0001 4000 40 " + std::string( protocol ) + " 0000 0a000001 0a000002 ";
}

/// 2001:db8::1 to 2001:db8::2, 40 bytes; the next header as two digits.
[[nodiscard]] inline std::string ip6( std::string_view next )
{
    return "6b912345 0040 " + std::string( next ) +
           " 3f 20010db8000000000000000000000001 20010db8000000000000000000000002 ";
}

inline const std::string tcp = "0400 0050 00000001 00000002 5012 2000 0000 0000 ";
inline const std::string udp = "0400 0035 0020 0000 ";
inline const std::string payload = "a0a1a2a3 a4a5a6a7 ";

/// 8 bytes of UDP to that port, as four digits.
[[nodiscard]] inline std::string udpTo( std::string_view port )
{
    return "c000 " + std::string( port ) + " 0020 0000 ";
}

} // namespace SimPacketTest

#pragma once

/// Text traces: one packet a line, as decimal numbers with blanks or tabs between them.
///
///     167772161 3221225985 1024 80 6 512
///
/// The columns are the source and the destination IPv4 address, the source and the destination
/// port, the protocol, and, if there is a sixth column, 16 bits of flags: for TCP the high byte is
/// the flags byte of the header, so 512 is SYN; for ICMP the high byte is the type and the low byte
/// the code. More columns are not looked at. A line that is blank or wrong is a `Input::InputError`
/// at its place.

#include "sim/packets/Packet.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Tool {

/// A packet of a trace.
struct TracePacket
{
    std::uint32_t source = 0;
    std::uint32_t destination = 0;
    std::uint16_t sourcePort = 0;
    std::uint16_t destinationPort = 0;
    std::uint16_t flags = 0; ///< 0 if the line has none
    std::uint8_t protocol = 0;
    bool hasFlags = false;

    friend bool operator==( const TracePacket&, const TracePacket& ) = default;
};

/// The packets of a trace's text; `file` is what errors call it. The last line may end without a
/// line feed.
[[nodiscard]] std::vector< TracePacket > parseTrace( std::string_view text,
                                                     const std::string& file );

/// The packets of a file. One that cannot be read is a `Input::InputError` at its beginning.
[[nodiscard]] std::vector< TracePacket > readTrace( const std::string& path );

/// Makes an Ethernet frame of a packet: the headers of IPv4 and of TCP, UDP, SCTP or ICMP, with a
/// right checksum of IPv4, and nothing behind them. Of other protocols there is no layer 4, so the
/// ports are not in the bytes. `packet` keeps its memory, its time, its port and what is given.
void writePacket( const TracePacket& from, Sim::Packet& packet );

/// The same as a new packet.
[[nodiscard]] Sim::Packet packetOf( const TracePacket& from );

} // namespace Tool

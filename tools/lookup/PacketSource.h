#pragma once

/// The packets of which somebody wants to know what they meet: descriptions, captures and text
/// traces, all read before anything is done with them.
///
///     const auto source = tracedPackets( readTrace( "web.trace" ), "web.trace" );
///     const auto writer = source->writer( numbering );
///     for ( std::size_t index = 0; index < source->size(); ++index ) {
///         path.find( writer->packet( index ), hits );
///     }

#include "sim/packets/Packet.h"
#include "sim/values/SdkNumbering.h"
#include "tools/traffic/TraceFile.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace Tool {

/// Makes the packets of a source one after the other, in memory that is used again. For one thread.
class PacketWriter
{
  public:
    PacketWriter() = default;
    PacketWriter( const PacketWriter& ) = delete;
    PacketWriter& operator=( const PacketWriter& ) = delete;
    virtual ~PacketWriter() = default;

    /// The packet of that index, from 0; valid until the next call.
    [[nodiscard]] virtual const Sim::Packet& packet( std::size_t index ) = 0;
};

/// Packets, in order. Any number of threads may use it.
class PacketSource
{
  public:
    PacketSource() = default;
    PacketSource( const PacketSource& ) = delete;
    PacketSource& operator=( const PacketSource& ) = delete;
    virtual ~PacketSource() = default;

    [[nodiscard]] virtual std::size_t size() const = 0;

    /// What a packet is called: its description, "web.trace:17", or "office.pcap, packet 3".
    [[nodiscard]] virtual std::string nameOf( std::size_t index ) const = 0;

    /// A writer for a thread. Source and numbering must outlive it.
    [[nodiscard]] virtual std::unique_ptr< PacketWriter >
    writer( const Sim::SdkNumbering& numbering ) const = 0;
};

/// The packets that descriptions stand for. A fault in one is an `Input::InputError` in the file
/// "--packet", in the line that is the number of the description, from 1.
[[nodiscard]] std::unique_ptr< const PacketSource >
describedPackets( const std::vector< std::string >& descriptions );

/// The packets of a capture; `-` is standard input. Their time counts from the first one. Whatever
/// is wrong with the file is an `Input::InputError`.
[[nodiscard]] std::unique_ptr< const PacketSource > capturedPackets( const std::string& path );

/// The packets of a text trace; `-` is standard input. Of a protocol without ports, the ports are
/// given as they stand in the trace. Whatever is wrong with the file is an `Input::InputError`.
[[nodiscard]] std::unique_ptr< const PacketSource > tracedPackets( const std::string& path );

/// All packets of a capture. Their time counts from the first one; one that was captured before
/// that has its time.
[[nodiscard]] std::vector< Sim::Packet > readCapture( const std::string& path );

} // namespace Tool

#pragma once

/// Packet captures, in the formats pcap and pcapng, of Ethernet.
///
///     Capture capture( "office.pcap" );
///     Sim::Packet packet;
///     while ( capture.next( packet ) ) { ... }

#include "sim/packets/Packet.h"

#include <cstdint>
#include <memory>
#include <string>

namespace Tool {

/// A capture that is being read, packet by packet. Whatever is wrong with it is a
/// `Input::InputError` at the beginning of the file, which says behind how many packets.
class Capture
{
  public:
    /// Opens a file; `-` is standard input.
    explicit Capture( const std::string& path );
    ~Capture();
    Capture( const Capture& ) = delete;
    Capture& operator=( const Capture& ) = delete;

    /// Reads the next packet into `packet`: its bytes as far as they were captured, its length on
    /// the wire, and when it was captured, in nanoseconds since 1970. The port and what is given
    /// stay as they are. False at the end.
    [[nodiscard]] bool next( Sim::Packet& packet );

    /// How many packets have been read.
    [[nodiscard]] std::uint64_t packets() const { return packets_; }

  private:
    struct File;

    [[noreturn]] void fail( const std::string& message ) const;

    std::string path_;
    std::unique_ptr< File > file_;
    std::uint64_t packets_ = 0;
};

} // namespace Tool

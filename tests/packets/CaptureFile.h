#pragma once

/// Packet captures, read with libpcap.

#include "tests/packets/HandPackets.h"

#include <filesystem>
#include <vector>

namespace PacketTest {

/// The folder of the captures; empty if there is none: see README.md.
[[nodiscard]] std::filesystem::path capturesFolder();

/// The packets of a capture, as far as they were captured; none if their link is not Ethernet.
/// Throws std::runtime_error if the file cannot be read.
[[nodiscard]] std::vector< Packet > packetsOf( const std::filesystem::path& capture );

} // namespace PacketTest

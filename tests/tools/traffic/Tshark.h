#pragma once

/// What tshark says of the packets of a capture: what the reading of headers is held against.

#include <filesystem>
#include <string>
#include <vector>

namespace TrafficTest {

/// The values of one field in one packet, as tshark prints them, in the order of the headers.
using FieldValues = std::vector< std::string >;

/// The fields of one packet, in the order in which they were asked for.
using PacketFields = std::vector< FieldValues >;

/// Asks tshark for fields of every packet of a capture. Fragments and streams are not put together,
/// and protocols that carry packets and are no tunnels that `Sim::readHeaders` knows are left out.
/// Throws std::runtime_error if tshark fails.
[[nodiscard]] std::vector< PacketFields > tsharkFields( const std::filesystem::path& capture,
                                                        const std::vector< std::string >& fields );

} // namespace TrafficTest

#pragma once

/// The fields in which the reading of headers is compared with tshark.

#include "sim/packets/PacketHeaders.h"
#include "tests/tools/traffic/Tshark.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace TrafficTest {

/// A packet and what was read of it.
struct ReadPacket
{
    std::span< const std::uint8_t > bytes;
    Sim::PacketHeaders headers;
};

/// A field by tshark's name, and its values in a packet: those of the outer layer first.
struct ComparedField
{
    std::string name;
    FieldValues ( *valuesIn )( const ReadPacket& );
};

[[nodiscard]] const std::vector< ComparedField >& comparedFields();

/// The names of the fields.
[[nodiscard]] std::vector< std::string > comparedFieldNames();

/// A value as it is compared: numbers in decimal, whether they were hexadecimal or not, and
/// whatever else as it is.
[[nodiscard]] std::string comparable( const std::string& value );

} // namespace TrafficTest

#pragma once

/// The agent's names for integers of a stated width.

#include <cstdint>

namespace Agent {

/// Integers of a known width, as the agent names them.
using U8 = std::uint8_t;
using U16 = std::uint16_t;
using U32 = std::uint32_t;
using U64 = std::uint64_t;
using S32 = std::int32_t;

} // namespace Agent

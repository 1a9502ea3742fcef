#pragma once

/// The SDK's set macros, as functions.
///
/// The macros answer nothing, so a member that does not fit cannot be reported to the caller as
/// a return code. A chip's SDK would write beyond the set; here it is an exception
/// (std::out_of_range, std::length_error), so that the mistake is seen. A member that cannot be
/// in a set is not in it.

#include "sdk/SdkTypes.h"

#include <array>
#include <cstdint>
#include <span>

namespace Sim {

/// The words of a qualifier or action set: the number of members, then the members in rising
/// order.
using SetWords = std::array< uint32_t, 256 >;

/// Adds a member, once however often it is added. Throws std::length_error when 255 others are
/// in the set.
void addToSet( SetWords& words, uint32_t member );

/// The members, in rising order; valid for as long as the words are.
[[nodiscard]] std::span< const uint32_t > membersOf( const SetWords& words );

[[nodiscard]] bool isInSet( const SetWords& words, uint32_t member );

/// Adds a port, from 0 to 511; throws std::out_of_range for any other.
void addPort( _shr_pbmp& ports, int port );

/// The number of characters of a port bitmap's text, with the terminating one.
inline constexpr uint32_t portBitmapTextSize = 2 + 8 * 16 + 1;

/// Writes "0x" and all words in hexadecimal, the one with the highest ports first, terminated.
void writePortBitmap( const _shr_pbmp& ports, char* text );

/// Adds a chunk, from 0 to 31; throws std::out_of_range for any other.
void addChunk( bcm_udf_cbmp_t& chunks, int chunk );

[[nodiscard]] bool hasChunk( const bcm_udf_cbmp_t& chunks, int chunk );

} // namespace Sim

#pragma once

/// What a fuzz target is: one function that takes any bytes.
///
/// A target ends the process when something is wrong, by `require`, by an assertion of the code
/// under test, or by a sanitizer; it returns otherwise. It keeps no state from one input to the
/// next. libFuzzer calls it, or `ReplayMain.cpp` where there is no libFuzzer.

#include "tests/soak/Require.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// The target. Gives 0. Named as libFuzzer looks for it.
extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* data, std::size_t size );

namespace Fuzz {

using Soak::require;

/// The input as text, or as whatever bytes it is.
inline std::string_view textOf( const std::uint8_t* data, std::size_t size )
{
    return { reinterpret_cast< const char* >( data ), size };
}

} // namespace Fuzz

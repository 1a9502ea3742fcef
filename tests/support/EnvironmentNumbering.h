#pragma once

/// The numbering of the SDK that the test command asks for: the environment variable
/// PELORA_SDK_NUMBERING, or the default numbering if it is not set.

#include "sim/SdkNumbering.h"

#include <cstdlib>

namespace TestSupport {

[[nodiscard]] inline Sim::SdkNumbering environmentNumbering()
{
    const char* text = std::getenv( "PELORA_SDK_NUMBERING" );
    return Sim::SdkNumbering::fromText( text == nullptr ? "default" : text );
}

} // namespace TestSupport

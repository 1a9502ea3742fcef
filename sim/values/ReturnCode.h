#pragma once

/// The SDK's return codes, by name: the same in every build of the SDK.
///
///     if ( full ) {
///         return ReturnCode::BCM_E_FULL;
///     }

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Sim {

/// The return codes of the SDK, which every build of it numbers alike.
struct ReturnCode
{
    /// A return code: 0 for success, negative for a failure.
#define SDK_RETURN_CODE( name, value, text ) static constexpr int name = value;
#include "sdk/SdkEnumerators.def"

    /// The SDK's text for a return code; "Unknown error" for a number that is none.
    [[nodiscard]] static const char* text( int rc );

    /// The name of a return code; its number for one that is none.
    [[nodiscard]] static std::string name( int rc );

    /// The return code of that name; nothing if there is none.
    [[nodiscard]] static std::optional< int > fromName( std::string_view wanted );

    /// The names of all return codes, in the SDK's order.
    [[nodiscard]] static std::vector< std::string > names();
};

} // namespace Sim

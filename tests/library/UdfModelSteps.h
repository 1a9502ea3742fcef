#pragma once

/// How many steps the random tests of user-defined fields make.

#include <cstdlib>
#include <string_view>

namespace LibraryTest {

/// The steps of all runs of a test together: a million; fewer under a shuffled numbering, whose
/// values are all that is different, and in a build without optimisation. PELORA_UDF_MODEL_STEPS
/// asks for another number.
inline unsigned long stepsOfAllRuns()
{
    if ( const char* const asked = std::getenv( "PELORA_UDF_MODEL_STEPS" ) ) {
        return std::strtoul( asked, nullptr, 10 );
    }
#ifdef __OPTIMIZE__
    constexpr unsigned long steps = 1'000'000;
#else
    constexpr unsigned long steps = 200'000;
#endif
    const char* const numbering = std::getenv( "PELORA_SDK_NUMBERING" );
    const bool isDefault = numbering == nullptr || std::string_view( numbering ) == "default";
    return isDefault ? steps : steps / 10;
}

} // namespace LibraryTest

// The helpers, driven by the reference managers on a small simulated chip of any kind: each byte is
// a decision of what is done next, with which numbers, and what goes wrong. Each operation must end
// as it has to, and at the end, with all given back, the chip and the process hold what they held
// before.

#include "tests/fuzz/FuzzTarget.h"
#include "tests/fuzz/TightChips.h"
#include "tests/soak/MixedSteps.h"

namespace Fuzz {
namespace {

// More would only make an input slow that a shorter one says as well.
constexpr std::uint64_t mostOperations = 64;

/// The chip is compared before and after one operation in sixteen: that takes longer than most
/// operations. An input can choose each.
constexpr Soak::MixedSteps::Rates rates{ { .faultOneIn = 4, .watchOneIn = 16 }, 32 };

} // namespace
} // namespace Fuzz

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* data, std::size_t size )
{
    Fuzz::ByteChoices choices( data, size );
    Soak::Tally tally;
    {
        Soak::MixedSteps steps( Fuzz::anyProfile( choices ), choices, tally, Fuzz::rates );
        while ( choices.areThereMore() && tally.operations < Fuzz::mostOperations ) {
            steps.step();
        }
        steps.end();
    }
    Soak::requireNoHelpers();
    return 0;
}

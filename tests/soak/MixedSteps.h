#pragma once

/// Operations of all kinds on one chip, mixed at random.
///
///     Tally tally;
///     RandomChoices choices( 1 );
///     MixedSteps steps( Sim::builtInProfile( "hsdk" ), choices, tally, {} );
///     steps.step();   // any number of times
///     steps.end();    // all given back; the chip is as at the start
///
/// Whatever is not as it must be ends the process. Keeps the activity lock; one at a time.

#include "tests/soak/CompressionSteps.h"
#include "tests/soak/EntrySteps.h"
#include "tests/soak/GroupSteps.h"
#include "tests/soak/PolicerSteps.h"
#include "tests/soak/RangeCheckerSteps.h"
#include "tests/soak/RuleSetSteps.h"
#include "tests/soak/UdfSteps.h"

#include <string_view>

namespace Soak {

class MixedSteps
{
  public:
    struct Rates
    {
        TroubleMaker::Rates trouble;
        unsigned auditOneIn = 4096; ///< how often everything is audited
    };

    MixedSteps( const Sim::ChipProfile& profile,
                Choices& choices,
                Tally& tally,
                const Rates& rates );

    /// One operation of one kind, and what it takes besides.
    void step();

    /// Compares everything that is recorded with the chip.
    void audit();

    /// Gives everything back, and requires that nothing is left.
    void end();

  private:
    [[nodiscard]] Steps& anyKind();
    [[nodiscard]] std::vector< Steps* > kinds();

    Choices& choices_;
    Tally& tally_;
    const Rates rates_;
    AgentOnChip agent_;
    TroubleMaker trouble_;
    RangeCheckerSteps rangeCheckers_;
    PolicerSteps policers_;
    EntrySteps entries_;
    CompressionSteps compression_;
    UdfSteps udfs_;
    GroupSteps groups_;
    RuleSetSteps ruleSets_;
};

} // namespace Soak

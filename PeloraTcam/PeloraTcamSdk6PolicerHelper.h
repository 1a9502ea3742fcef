#pragma once

/// Programs the policers of a chip that is driven through SDK-6.
///
/// The SDK chooses the policers' ids. An exhausted policer table, any other failure of the SDK, an
/// unknown mode, and a mismatch found by verification end the process.
///
/// The agent holds the helper by `Ptr` and calls it with the activity lock held.
///
///     Ptr< PeloraTcamSdk6PolicerHelper > helper(
///         new PeloraTcamSdk6PolicerHelper( pipeId, fapId ) );
///     const PolicerId id = helper->getPolicer( policer, stageIfp() );
///     ...
///     helper->releasePolicer( id, stageIfp() );

#include "agent/base/RegisteredClass.h"
#include "agent/tcam/PolicerHelper.h"
#include "sdk/SdkTypes.h"

namespace PeloraTcam {

/// The policer helper of SDK-6.
class PELORA_TCAM_EXPORT PeloraTcamSdk6PolicerHelper
    : public Agent::RegisteredClass< PeloraTcamSdk6PolicerHelper, PeloraTcamPolicerHelper >
{
  public:
    /// `pipeId`: the chip's pipe; the value of `fapId` is the chip's SDK unit.
    PeloraTcamSdk6PolicerHelper( U8 pipeId, FapId fapId );
    ~PeloraTcamSdk6PolicerHelper() override;

    [[nodiscard]] const Agent::ModuleRecord& typeData() const override;

    /// Creates a policer and gives its id, which is not 0 (an assertion failure otherwise). The
    /// stage does not matter, here and below.
    PolicerId getPolicer( const Policer& policer, StageType stage ) override;

    /// Destroys a policer.
    void releasePolicer( PolicerId policerId, StageType stage ) override;

    /// Reads the policer back and asserts that it is the one recorded: mode, committed rate and
    /// burst, whether it is colour-aware, and in mode 1 also peak rate and burst.
    void verifyTcamSanity( const Agent::Ptr< const PolicerData >& policerData ) override;

    void handleInitialized() override;

    /// The SDK's configuration for a policer. A mode other than 0, 1 and 2 is an assertion
    /// failure.
    [[nodiscard]] bcm_policer_config_t getBcmPolicerConfig( const Policer& policer ) const;

    /// Counts the live helpers of this class.
    static Agent::AllocationTracker memAllocationTracker_;
};

} // namespace PeloraTcam

#pragma once

/// Programs the policers of a chip that is driven through HSDK.
///
/// As the SDK-6 helper, but the agent's id manager chooses the policers' ids, one pool a stage; an
/// exhausted pool is a result and not fatal.
///
///     const PolicerId id = helper->getPolicer( policer, stageIfp() );
///     if ( id != invalidPolicerId ) { ...; helper->releasePolicer( id, stageIfp() ); }

#include "PeloraTcam/PeloraTcamSdk6PolicerHelper.h"

namespace PeloraTcam {

/// The policer helper of HSDK: that of SDK-6, except for what the header's top names.
class PELORA_TCAM_EXPORT PeloraTcamHsdkPolicerHelper
    : public Agent::RegisteredClass< PeloraTcamHsdkPolicerHelper, PeloraTcamSdk6PolicerHelper >
{
  public:
    /// `pipeId`: the chip's pipe; the value of `fapId` is the chip's SDK unit.
    PeloraTcamHsdkPolicerHelper( U8 pipeId, FapId fapId );
    ~PeloraTcamHsdkPolicerHelper() override;

    [[nodiscard]] const Agent::ModuleRecord& typeData() const override;

    /// Creates a policer under an id of the stage's pool and gives the id; `invalidPolicerId` when
    /// the pool has none left. A failure of the SDK is fatal; the id stays taken, also when
    /// the SDK throws.
    PolicerId getPolicer( const Policer& policer, StageType stage ) override;

    /// Destroys a policer and gives its id back to the stage's pool.
    void releasePolicer( PolicerId policerId, StageType stage ) override;

    /// Counts the live helpers of this class.
    static Agent::AllocationTracker memAllocationTracker_;
};

} // namespace PeloraTcam

#pragma once

/// Programs the range checkers of a chip that is driven through SDK-6.
///
/// The agent constructs one for each pipe of a chip, holds it by `Ptr`, and calls it with the
/// activity lock held. The helper keeps nothing of what it allocated: ids go to the caller, who
/// hands them back. Running out of range checkers is a result; any other failure of the SDK, an
/// unknown range type, and a mismatch found by verification end the process.
///
///     Ptr< PeloraTcamSdk6RangeCheckerHelper > helper(
///         new PeloraTcamSdk6RangeCheckerHelper( pipeId, fapId, model ) );
///     const RangeCheckerId id = helper->getRangeChecker( { 1024, 65535, RangeType::l4SrcPort } );
///     if ( id != invalidRangeCheckerId ) { ...; helper->releaseRangeChecker( id ); }

#include "agent/base/RegisteredClass.h"
#include "agent/tcam/RangeCheckerHelper.h"

namespace PeloraTcam {

/// The range checker helper of SDK-6; HSDK chips use it too.
class PELORA_TCAM_EXPORT PeloraTcamSdk6RangeCheckerHelper
    : public Agent::RegisteredClass< PeloraTcamSdk6RangeCheckerHelper,
                                     PeloraTcamRangeCheckerHelper >
{
  public:
    /// `pipeId` is the instance of the range checkers in the chip (0 to 255), the value of
    /// `fapId` is the chip's SDK unit, `model` is kept for the reader of the attribute.
    PeloraTcamSdk6RangeCheckerHelper( U8 pipeId,
                                      FapId fapId,
                                      const PeloraCentral::PeloraModel& model );
    ~PeloraTcamSdk6RangeCheckerHelper() override;

    [[nodiscard]] const Agent::ModuleRecord& typeData() const override;

    /// Allocates a range checker and gives its id. When the SDK refuses, the reason is traced at
    /// level 0 and `invalidRangeCheckerId` is given. A range type other than 1, 2 and 3 is an
    /// assertion failure, before the SDK is asked.
    RangeCheckerId getRangeChecker( const RangeCheckerDesc& desc ) override;

    /// Gives a range checker back; an id that the chip does not know is fatal.
    void releaseRangeChecker( RangeCheckerId rangeCheckerId ) override;

    /// Reads the range checker back and asserts that it is the one recorded.
    void
    verifyTcamSanity( const Agent::Ptr< const RangeCheckerData >& rangeCheckerData ) const override;

    void handleInitialized() override;

    /// Counts the live helpers of this class.
    static Agent::AllocationTracker memAllocationTracker_;
};

} // namespace PeloraTcam

#pragma once

/// The UDF helper of chips driven through HSDK, which have a flexible parser. It is thin: an
/// operation traces its call and forwards to the functions of `PeloraTcamHsdkUdfEntryHelper.h`.
/// Made, called and dropped on the agent's thread with the activity lock held.
///
///     auto helper = udfFlexParserHsdkHelperFactory( moduleId, pipeId, lagHashingSupported );
///     const QualIdList quals = helper->programUdfInHw( udfDesc );

#include "agent/base/RegisteredClass.h"
#include "agent/tcam/UdfHelper.h"

namespace PeloraTcam {

/// Programs UDFs through the flexible parser. It cannot feed LAG hashing: the two LAG-hashing
/// operations are assertion failures.
///
/// Programming and removing choose the abstract packet format by the descriptor's `appType` and,
/// for a MAC ACL, its `ethType`: a removal needs both as they were. A MAC ACL with the EtherType of
/// IPv4, and an unknown application type, are assertion failures before any SDK call. Programming,
/// removing and verifying work on the unit `moduleId()`, the others on the unit they are given.
/// `pipeId()` and `lagHashingSupported()` do not count.
class PELORA_TCAM_EXPORT UdfFlexParserHsdkHelper
    : public Agent::RegisteredClass< UdfFlexParserHsdkHelper, UdfHelperBase >
{
  public:
    /// See `UdfHelperBase`: unit, pipe 0 to 255, and whether fields may feed the LAG hash.
    UdfFlexParserHsdkHelper( U16 moduleId, U8 pipeId, bool lagHashingSupported );
    ~UdfFlexParserHsdkHelper() override;

    /// A new helper; `moduleId`: the SDK unit; `pipeId`: the pipe; `lagHashingSupported`:
    /// whether the chip can use UDFs for LAG hashing.
    [[nodiscard]] static Agent::Ptr< UdfFlexParserHsdkHelper >
    UdfFlexParserHsdkHelperIs( U16 moduleId, U8 pipeId, bool lagHashingSupported );

    [[nodiscard]] const Agent::ModuleRecord& typeData() const override;

    UdfChunkPosList getUdfChunkPosList( U32 unit, const QualIdList& quals ) override;
    QualIdList programUdfInHw( const UdfDesc& udfDesc ) override;
    void removeUdfFromHw( const UdfDesc& udfDesc, const QualIdList& quals ) override;
    void verifyProgrammedUdf( const UdfDesc& udfDesc, const QualIdList& quals ) const override;
    void verifyLagHashingUdf( const UdfDesc& udfDesc, const QualIdList& quals ) const override;
    UdfIdList getAllProgrammedUdfIds( U32 unit ) const override;
    UdfIdList getAllProgrammedLagHashingUdfIds( U32 unit ) const override;
    void handleInitialized() override;

    /// Counts the live helpers of this class.
    static Agent::AllocationTracker memAllocationTracker_;
};

/// A new helper, as `UdfFlexParserHsdkHelper::UdfFlexParserHsdkHelperIs` makes it.
[[nodiscard]] PELORA_TCAM_EXPORT Agent::Ptr< UdfFlexParserHsdkHelper >
udfFlexParserHsdkHelperFactory( U16 moduleId, U8 pipeId, bool lagHashingSupported );

} // namespace PeloraTcam

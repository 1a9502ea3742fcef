#pragma once

/// The UDF helpers of chips that are driven through SDK-6: one for chips with the SDK's UDF module,
/// one for chips with a flexible parser. Both are thin: an operation traces its call and forwards
/// to the functions of `PeloraTcamSdk6UdfEntryHelper.h`, which say what fails how. Made, called and
/// dropped on the agent's thread with the activity lock held.
///
///     auto helper = udfModuleHelperFactory( moduleId, pipeId, lagHashingSupported );
///     const QualIdList quals = helper->programUdfInHw( udfDesc );

#include "agent/base/RegisteredClass.h"
#include "agent/tcam/UdfHelper.h"

namespace PeloraTcam {

/// Programs UDFs through the SDK's UDF module. Owns the map of packet formats, so that UDFs with
/// the same packet description share one; the map is not filled from the hardware.
class PELORA_TCAM_EXPORT UdfModuleHelper
    : public Agent::RegisteredClass< UdfModuleHelper, UdfHelperBase, PktFmtIdToUdfId::Ptr >
{
  public:
    /// See `UdfHelperBase`: unit, pipe 0 to 255, and whether fields may feed the LAG hash.
    UdfModuleHelper( U16 moduleId, U8 pipeId, bool lagHashingSupported );
    ~UdfModuleHelper() override;

    /// A new helper. `moduleId`: the SDK unit; `pipeId`: the pipe; `lagHashingSupported`: whether
    /// the chip can use UDFs for LAG hashing.
    [[nodiscard]] static Agent::Ptr< UdfModuleHelper >
    UdfModuleHelperIs( U16 moduleId, U8 pipeId, bool lagHashingSupported );

    [[nodiscard]] const Agent::ModuleRecord& typeData() const override;

    UdfChunkPosList getUdfChunkPosList( U32 unit, const QualIdList& quals ) override;
    QualIdList programUdfInHw( const UdfDesc& udfDesc ) override;
    void removeUdfFromHw( const UdfDesc& udfDesc, const QualIdList& quals ) override;
    void verifyProgrammedUdf( const UdfDesc& udfDesc, const QualIdList& quals ) const override;
    void verifyLagHashingUdf( const UdfDesc& udfDesc, const QualIdList& quals ) const override;
    UdfIdList getAllProgrammedUdfIds( U32 unit ) const override;
    UdfIdList getAllProgrammedLagHashingUdfIds( U32 unit ) const override;
    void handleInitialized() override;

    /// The map of packet formats; null after `pktFmtIdToUdfIdDel()`.
    [[nodiscard]] PktFmtIdToUdfId::Ptr pktFmtIdToUdfId() const { return state(); }

    /// The map of packet formats, made first if there is none.
    PktFmtIdToUdfId::Ptr pktFmtIdToUdfIdIs();
    /// Takes the map out and gives it to the caller; null if there was none.
    PktFmtIdToUdfId::Ptr pktFmtIdToUdfIdDel();

    /// Serves "pktFmtIdToUdfId": read, create and remove.
    static int attributeOperation( Agent::Node& node,
                                   const Agent::FieldDescriptor& field,
                                   Agent::AttributeOperation operation,
                                   void* result );

    /// Counts the live helpers of this class.
    static Agent::AllocationTracker memAllocationTracker_;
};

/// A new helper, as `UdfModuleHelper::UdfModuleHelperIs` makes it.
[[nodiscard]] PELORA_TCAM_EXPORT Agent::Ptr< UdfModuleHelper >
udfModuleHelperFactory( U16 moduleId, U8 pipeId, bool lagHashingSupported );

/// Programs UDFs through the flexible parser. It cannot feed LAG hashing: the two LAG-hashing
/// operations are assertion failures.
///
/// Programming and removing choose the abstract packet format by the descriptor's `appType` and,
/// for a MAC ACL, its `ethType`: a removal needs both as they were. A MAC ACL with the EtherType of
/// IPv4, and an unknown application type, are assertion failures before any SDK call. Programming,
/// removing and verifying work on the unit `moduleId()`, the others on the unit they are given.
/// `pipeId()` and `lagHashingSupported()` do not count.
class PELORA_TCAM_EXPORT UdfFlexParserHelper
    : public Agent::RegisteredClass< UdfFlexParserHelper, UdfHelperBase >
{
  public:
    /// See `UdfHelperBase`: unit, pipe 0 to 255, and whether fields may feed the LAG hash.
    UdfFlexParserHelper( U16 moduleId, U8 pipeId, bool lagHashingSupported );
    ~UdfFlexParserHelper() override;

    /// A new helper; arguments as those of `UdfModuleHelper`.
    [[nodiscard]] static Agent::Ptr< UdfFlexParserHelper >
    UdfFlexParserHelperIs( U16 moduleId, U8 pipeId, bool lagHashingSupported );

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

/// A new helper, as `UdfFlexParserHelper::UdfFlexParserHelperIs` makes it.
[[nodiscard]] PELORA_TCAM_EXPORT Agent::Ptr< UdfFlexParserHelper >
udfFlexParserHelperFactory( U16 moduleId, U8 pipeId, bool lagHashingSupported );

} // namespace PeloraTcam

#include "PeloraTcam/PeloraTcamUdfHsdkHelper.h"

#include "PeloraTcam/PeloraTcamHsdkUdfEntryHelper.h"
#include "PeloraTcam/UdfChunks.h"
#include "PeloraTcam/UdfLogMessages.h"
#include "agent/base/Assert.h"
#include "agent/base/RingTrace.h"
#include "sdk/SdkCall.h"

#include <array>

namespace PeloraTcam {

namespace {

constexpr Agent::FieldDescriptor attributes[] = {
    { "lagHashingSupported" }, { "moduleId" }, { "pipeId" } };

const Agent::TypeRecord types[] = {
    Agent::createdType< &UdfFlexParserHsdkHelper::UdfFlexParserHsdkHelperIs >(
        "PeloraTcam::UdfFlexParserHsdkHelper", attributes ) };

const Agent::RegisteredModule module( "PeloraTcam/PeloraTcamUdfHsdkHelper", types );

// Not used here: every source file that programs user-defined fields has them.
const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );
const UdfLogHandles logHandles_;

const Agent::TraceHandle& _defaultTraceHandle()
{
    // DIFFERS: the helpers of SDK-6 have "PeloraTcamUdfSdk6Helper".
    static const Agent::TraceHandle handle( "PeloraTcamUdfHsdkHelper" );
    return handle;
}

/// The abstract packet format of a descriptor.
bcm_udf_abstract_pkt_format_t getPktFmt( const UdfDesc& udfDesc )
{
    switch ( abstractPktKind( udfDesc, { __FILE__, __LINE__, __PRETTY_FUNCTION__ } ) ) {
    case AbstractPktKind::ipv4:
        // DIFFERS: SDK-6 has IPv4 without options only.
        return Shim::sdk().bcmUdfAbstractPktFormatL3Ipv4();
    case AbstractPktKind::ipv6:
        return Shim::sdk().bcmUdfAbstractPktFormatL3Ipv6();
    case AbstractPktKind::arp:
        // DIFFERS: SDK-6 programs ARP in the format of known non-IP.
        return Shim::sdk().bcmUdfAbstractPktFormatArp();
    case AbstractPktKind::unknownL3:
        break;
    }
    return Shim::sdk().bcmUdfAbstractPktFormatUnknownL3();
}

/// Writes the entry of an operation to both traces.
template< class Statement = decltype( [] {} ), class... Pieces >
void traceEntry( Agent::TraceLevel level, Pieces&&... pieces )
{
    Agent::traceBoth< Statement >( _defaultTraceHandle(), level, pieces... );
}

} // namespace

Agent::AllocationTracker
    UdfFlexParserHsdkHelper::memAllocationTracker_( "PeloraTcam::UdfFlexParserHsdkHelper" );

UdfFlexParserHsdkHelper::UdfFlexParserHsdkHelper( U16 moduleId,
                                                  U8 pipeId,
                                                  bool lagHashingSupported )
    : RegisteredClass( moduleId, pipeId, lagHashingSupported )
{
    UdfFlexParserHsdkHelper::handleInitialized();
}

UdfFlexParserHsdkHelper::~UdfFlexParserHsdkHelper() = default;

Agent::Ptr< UdfFlexParserHsdkHelper > UdfFlexParserHsdkHelper::UdfFlexParserHsdkHelperIs(
    U16 moduleId, U8 pipeId, bool lagHashingSupported )
{
    return make( moduleId, pipeId, lagHashingSupported );
}

Agent::Ptr< UdfFlexParserHsdkHelper >
udfFlexParserHsdkHelperFactory( U16 moduleId, U8 pipeId, bool lagHashingSupported )
{
    return UdfFlexParserHsdkHelper::UdfFlexParserHsdkHelperIs( moduleId, pipeId,
                                                               lagHashingSupported );
}

const Agent::ModuleRecord& UdfFlexParserHsdkHelper::typeData() const
{
    return module;
}

UdfChunkPosList UdfFlexParserHsdkHelper::getUdfChunkPosList( U32 unit, const QualIdList& quals )
{
    traceEntry( 4, "getUdfChunkPosList", " mod: ", unit, " quals: ", quals );
    return getUdfChunkPosFlexParserHsdk( unit, quals );
}

QualIdList UdfFlexParserHsdkHelper::programUdfInHw( const UdfDesc& udfDesc )
{
    traceEntry( 4, "programUdfInHw", " mod:", moduleId(), " udfDesc: ", udfDesc );
    return createUdfQualifierFlexParserHsdk( moduleId(), udfDesc, getPktFmt( udfDesc ) );
}

void UdfFlexParserHsdkHelper::removeUdfFromHw( const UdfDesc& udfDesc, const QualIdList& quals )
{
    traceEntry( 4, "removeUdfFromHw", " mod:", moduleId(), " udfDesc: ", udfDesc,
                " quals: ", quals );
    destroyUdfQualifierFlexParserHsdk( moduleId(), quals, getPktFmt( udfDesc ) );
}

void UdfFlexParserHsdkHelper::verifyProgrammedUdf( const UdfDesc& udfDesc,
                                                   const QualIdList& quals ) const
{
    traceEntry( 4, "verifyProgrammedUdf", " mod:", moduleId(), " udfDesc: ", udfDesc,
                " quals: ", quals );
    udfQualProgrammedInHwFlexHsdk( moduleId(), udfDesc, quals );
}

void UdfFlexParserHsdkHelper::verifyLagHashingUdf( const UdfDesc&, const QualIdList& ) const
{
    AGENT_FAIL( "Flex Parser does not support Lag Hashing UDF" );
}

UdfIdList UdfFlexParserHsdkHelper::getAllProgrammedUdfIds( U32 unit ) const
{
    traceEntry( 4, "getAllProgrammedUdfIds", " mod:", moduleId() );
    return getAllProgrammedUdfIdsUdfFlexParserHsdk( unit );
}

UdfIdList UdfFlexParserHsdkHelper::getAllProgrammedLagHashingUdfIds( U32 ) const
{
    AGENT_FAIL( "Flex Parser does not support Lag Hashing UDF" );
}

void UdfFlexParserHsdkHelper::handleInitialized()
{
    traceEntry( 4, "handleInitialized" );
}

} // namespace PeloraTcam

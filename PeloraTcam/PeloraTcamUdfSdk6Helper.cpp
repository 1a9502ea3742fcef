#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"

#include "PeloraTcam/PeloraTcamSdk6UdfEntryHelper.h"
#include "PeloraTcam/UdfChunks.h"
#include "PeloraTcam/UdfLogMessages.h"
#include "agent/base/Assert.h"
#include "agent/base/RingTrace.h"
#include "sdk/SdkCall.h"

#include <array>
#include <utility>

namespace PeloraTcam {

namespace {

constexpr Agent::FieldDescriptor flexParserAttributes[] = {
    { "lagHashingSupported" }, { "moduleId" }, { "pipeId" } };
constexpr Agent::FieldDescriptor moduleAttributes[] = {
    { "lagHashingSupported" }, { "moduleId" }, { "pipeId" }, { "pktFmtIdToUdfId" } };

const Agent::TypeRecord types[] = {
    Agent::createdType< &UdfFlexParserHelper::UdfFlexParserHelperIs >(
        "PeloraTcam::UdfFlexParserHelper", flexParserAttributes ),
    Agent::createdType< &UdfModuleHelper::UdfModuleHelperIs >( "PeloraTcam::UdfModuleHelper",
                                                               moduleAttributes ),
};

const Agent::RegisteredModule module( "PeloraTcam/PeloraTcamUdfSdk6Helper", types );

// Not used here: every source file that programs user-defined fields has them.
const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );
const UdfLogHandles logHandles_;

const Agent::TraceHandle& _defaultTraceHandle()
{
    // DIFFERS: the helper of HSDK has "PeloraTcamUdfHsdkHelper".
    static const Agent::TraceHandle handle( "PeloraTcamUdfSdk6Helper" );
    return handle;
}

/// Writes the entry of an operation to both traces.
template< class Statement = decltype( [] {} ), class... Pieces >
void traceEntry( Agent::TraceLevel level, Pieces&&... pieces )
{
    Agent::traceBoth< Statement >( _defaultTraceHandle(), level, pieces... );
}

/// The abstract packet format of a descriptor.
bcm_udf_abstract_pkt_format_t getPktFmt( const UdfDesc& udfDesc )
{
    switch ( abstractPktKind( udfDesc, { __FILE__, __LINE__, __PRETTY_FUNCTION__ } ) ) {
    case AbstractPktKind::ipv4:
        // DIFFERS: HSDK has all of IPv4.
        return Shim::sdk().bcmUdfAbstractPktFormatL3Ipv4WithoutOptions();
    case AbstractPktKind::ipv6:
        return Shim::sdk().bcmUdfAbstractPktFormatL3Ipv6();
    case AbstractPktKind::arp:
        // DIFFERS: HSDK has a format for ARP.
        return Shim::sdk().bcmUdfAbstractPktFormatKnownNonIp();
    case AbstractPktKind::unknownL3:
        break;
    }
    return Shim::sdk().bcmUdfAbstractPktFormatUnknownL3();
}

} // namespace

// ---- The UDF module --------------------------------------------------------------------------

Agent::AllocationTracker UdfModuleHelper::memAllocationTracker_( "PeloraTcam::UdfModuleHelper" );

UdfModuleHelper::UdfModuleHelper( U16 moduleId, U8 pipeId, bool lagHashingSupported )
    : RegisteredClass( moduleId, pipeId, lagHashingSupported )
{
    UdfModuleHelper::handleInitialized();
}

UdfModuleHelper::~UdfModuleHelper() = default;

Agent::Ptr< UdfModuleHelper >
UdfModuleHelper::UdfModuleHelperIs( U16 moduleId, U8 pipeId, bool lagHashingSupported )
{
    return make( moduleId, pipeId, lagHashingSupported );
}

Agent::Ptr< UdfModuleHelper >
udfModuleHelperFactory( U16 moduleId, U8 pipeId, bool lagHashingSupported )
{
    return UdfModuleHelper::UdfModuleHelperIs( moduleId, pipeId, lagHashingSupported );
}

const Agent::ModuleRecord& UdfModuleHelper::typeData() const
{
    return module;
}

int UdfModuleHelper::attributeOperation( Agent::Node& node,
                                         const Agent::FieldDescriptor& field,
                                         Agent::AttributeOperation operation,
                                         void* result )
{
    if ( field.name != "pktFmtIdToUdfId" ) {
        return Agent::attributeNotHandledHere;
    }
    auto& helper = static_cast< UdfModuleHelper& >( node );
    auto& map = *static_cast< PktFmtIdToUdfId::Ptr* >( result );
    switch ( operation ) {
    case Agent::AttributeOperation::read:
        map = helper.pktFmtIdToUdfId();
        return Agent::attributeHandled;
    case Agent::AttributeOperation::create:
        map = helper.pktFmtIdToUdfIdIs();
        return Agent::attributeHandled;
    case Agent::AttributeOperation::remove:
        map = helper.pktFmtIdToUdfIdDel();
        return Agent::attributeHandled;
    }
    return Agent::attributeNotSupported;
}

PktFmtIdToUdfId::Ptr UdfModuleHelper::pktFmtIdToUdfIdIs()
{
    if ( !state() ) {
        state() = PktFmtIdToUdfId::Ptr( new PktFmtIdToUdfId );
    }
    return state();
}

PktFmtIdToUdfId::Ptr UdfModuleHelper::pktFmtIdToUdfIdDel()
{
    return std::exchange( state(), nullptr );
}

UdfChunkPosList UdfModuleHelper::getUdfChunkPosList( U32 unit, const QualIdList& quals )
{
    traceEntry( 4, "getUdfChunkPosList", " mod: ", unit, " quals: ", quals );
    return getUdfChunkPosModule( unit, quals );
}

QualIdList UdfModuleHelper::programUdfInHw( const UdfDesc& udfDesc )
{
    traceEntry( 4, "programUdfInHw", " mod:", moduleId(), " udfDesc: ", udfDesc );
    return createUdfQualifierUdfModule( moduleId(), udfDesc, pktFmtIdToUdfId() );
}

void UdfModuleHelper::removeUdfFromHw( const UdfDesc& udfDesc, const QualIdList& quals )
{
    traceEntry( 4, "removeUdfFromHw", " mod:", moduleId(), " udfDesc: ", udfDesc,
                " quals: ", quals );
    destroyUdfQualifierUdfModule( moduleId(), udfDesc, quals, pktFmtIdToUdfId() );
}

void UdfModuleHelper::verifyProgrammedUdf( const UdfDesc& udfDesc, const QualIdList& quals ) const
{
    traceEntry( 4, "verifyProgrammedUdf", " mod:", moduleId(), " udfDesc: ", udfDesc,
                " quals: ", quals );
    udfQualProgrammedInHwUdfModule( moduleId(), udfDesc, quals, pktFmtIdToUdfId() );
}

void UdfModuleHelper::verifyLagHashingUdf( const UdfDesc& udfDesc, const QualIdList& quals ) const
{
    traceEntry( 4, "verifyLagHashingUdf", " mod:", moduleId(), " udfDesc: ", udfDesc,
                " QualIdList: ", quals );
    udfLagHashingProgrammedInModule( moduleId(), quals, udfDesc );
}

UdfIdList UdfModuleHelper::getAllProgrammedUdfIds( U32 unit ) const
{
    return getAllProgrammedUdfIdsUdfModule( unit );
}

UdfIdList UdfModuleHelper::getAllProgrammedLagHashingUdfIds( U32 unit ) const
{
    return getAllProgrammedLagHashingUdfIdsUdfModule( unit );
}

void UdfModuleHelper::handleInitialized()
{
    traceEntry( 4, "handleInitialized" );
    pktFmtIdToUdfIdIs();
}

// ---- The flexible parser ---------------------------------------------------------------------

Agent::AllocationTracker
    UdfFlexParserHelper::memAllocationTracker_( "PeloraTcam::UdfFlexParserHelper" );

UdfFlexParserHelper::UdfFlexParserHelper( U16 moduleId, U8 pipeId, bool lagHashingSupported )
    : RegisteredClass( moduleId, pipeId, lagHashingSupported )
{
    UdfFlexParserHelper::handleInitialized();
}

UdfFlexParserHelper::~UdfFlexParserHelper() = default;

Agent::Ptr< UdfFlexParserHelper >
UdfFlexParserHelper::UdfFlexParserHelperIs( U16 moduleId, U8 pipeId, bool lagHashingSupported )
{
    return make( moduleId, pipeId, lagHashingSupported );
}

Agent::Ptr< UdfFlexParserHelper >
udfFlexParserHelperFactory( U16 moduleId, U8 pipeId, bool lagHashingSupported )
{
    return UdfFlexParserHelper::UdfFlexParserHelperIs( moduleId, pipeId, lagHashingSupported );
}

const Agent::ModuleRecord& UdfFlexParserHelper::typeData() const
{
    return module;
}

UdfChunkPosList UdfFlexParserHelper::getUdfChunkPosList( U32 unit, const QualIdList& quals )
{
    traceEntry( 4, "getUdfChunkPosList", " mod: ", unit, " quals: ", quals );
    return getUdfChunkPosFlexParser( unit, quals );
}

QualIdList UdfFlexParserHelper::programUdfInHw( const UdfDesc& udfDesc )
{
    traceEntry( 4, "programUdfInHw", " mod:", moduleId(), " udfDesc: ", udfDesc );
    return createUdfQualifierFlexParser( moduleId(), udfDesc, getPktFmt( udfDesc ) );
}

void UdfFlexParserHelper::removeUdfFromHw( const UdfDesc& udfDesc, const QualIdList& quals )
{
    traceEntry( 4, "removeUdfFromHw", " mod:", moduleId(), " udfDesc: ", udfDesc,
                " quals: ", quals );
    destroyUdfQualifierFlexParser( moduleId(), quals, getPktFmt( udfDesc ) );
}

void UdfFlexParserHelper::verifyProgrammedUdf( const UdfDesc& udfDesc,
                                               const QualIdList& quals ) const
{
    traceEntry( 4, "verifyProgrammedUdf", " mod:", moduleId(), " udfDesc: ", udfDesc,
                " quals: ", quals );
    udfQualProgrammedInHwFlex( moduleId(), udfDesc, quals );
}

void UdfFlexParserHelper::verifyLagHashingUdf( const UdfDesc&, const QualIdList& ) const
{
    AGENT_FAIL( "Flex Parser does not support Lag Hashing UDF" );
}

UdfIdList UdfFlexParserHelper::getAllProgrammedUdfIds( U32 unit ) const
{
    traceEntry( 4, "getAllProgrammedUdfIds", " mod:", moduleId() );
    return getAllProgrammedUdfIdsUdfFlexParser( unit );
}

UdfIdList UdfFlexParserHelper::getAllProgrammedLagHashingUdfIds( U32 ) const
{
    AGENT_FAIL( "Flex Parser does not support Lag Hashing UDF" );
}

void UdfFlexParserHelper::handleInitialized()
{
    traceEntry( 4, "handleInitialized" );
}

} // namespace PeloraTcam

#include "PeloraTcam/PeloraTcamSdk6Helper.h"

#include "PeloraTcam/PreselectorSteps.h"
#include "PeloraTcam/Translations.h"
#include "agent/base/Assert.h"
#include "agent/base/StandardError.h"
#include "agent/base/TextPieces.h"
#include "agent/base/Trace.h"
#include "sdk/SdkCall.h"

namespace PeloraTcam {

namespace {

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

const Agent::TraceHandle& _defaultTraceHandle()
{
    static const Agent::TraceHandle handle( "PeloraTcamSdk6Helper" );
    return handle;
}

} // namespace

// ---- Translation maps ------------------------------------------------------------------------

// The maps, empty until their builders run.
#define TRANSLATION_BOTH_WAYS( forwardMap, reverseMap, builder, agentType, sdkType, ... )          \
    std::map< agentType, sdkType > forwardMap;                                                     \
    std::map< sdkType, agentType > reverseMap;
#define TRANSLATION_ONE_WAY( forwardMap, builder, agentType, sdkType, ... )                        \
    std::map< agentType, sdkType > forwardMap;
#include "PeloraTcam/TranslationMaps.def"

// The builders.
#define TRANSLATION( agentEnumerator, accessor )                                                   \
    { AgentType::agentEnumerator, []() -> SdkType { return Shim::sdk().accessor(); } },
#define TRANSLATION_BOTH_WAYS( forwardMap, reverseMap, builder, agentType, sdkType, forwardLookup, \
                               reverseLookup, forwardAssertion, reverseAssertion, ... )            \
    void builder()                                                                                 \
    {                                                                                              \
        using AgentType = agentType;                                                               \
        using SdkType = sdkType;                                                                   \
        static constexpr Translations::Row< AgentType, SdkType > rows[] = { __VA_ARGS__ };         \
        Translations::build( forwardMap, reverseMap, rows );                                       \
    }
#define TRANSLATION_ONE_WAY( forwardMap, builder, agentType, sdkType, forwardLookup,               \
                             forwardAssertion, ... )                                               \
    void builder()                                                                                 \
    {                                                                                              \
        using AgentType = agentType;                                                               \
        using SdkType = sdkType;                                                                   \
        static constexpr Translations::Row< AgentType, SdkType > rows[] = { __VA_ARGS__ };         \
        Translations::build( forwardMap, rows );                                                   \
    }
#include "PeloraTcam/TranslationMaps.def"

// The lookups. A failed one is reported at this place: within the list, `__FILE__` is the list.
constexpr const char* lookupsFile = __FILE__;
constexpr U32 lookupsLine = __LINE__;
#define TRANSLATION_LOOKUP( fromType, toType, lookup, map, assertion )                             \
    toType lookup( fromType value )                                                                \
    {                                                                                              \
        return Translations::lookUp( map, value, assertion,                                        \
                                     { lookupsFile, lookupsLine, __PRETTY_FUNCTION__ } );          \
    }
#define TRANSLATION_BOTH_WAYS( forwardMap, reverseMap, builder, agentType, sdkType, forwardLookup, \
                               reverseLookup, forwardAssertion, reverseAssertion, ... )            \
    TRANSLATION_LOOKUP( agentType, sdkType, forwardLookup, forwardMap, forwardAssertion )          \
    TRANSLATION_LOOKUP( sdkType, agentType, reverseLookup, reverseMap, reverseAssertion )
#define TRANSLATION_ONE_WAY( forwardMap, builder, agentType, sdkType, forwardLookup,               \
                             forwardAssertion, ... )                                               \
    TRANSLATION_LOOKUP( agentType, sdkType, forwardLookup, forwardMap, forwardAssertion )
#include "PeloraTcam/TranslationMaps.def"
#undef TRANSLATION_LOOKUP

// ---- Qualifiers and actions ------------------------------------------------------------------

std::map< QualifierType, bcm_field_qualify_t > qualifierMap;
std::map< bcm_field_qualify_t, QualifierType > qualifierReverseMap;
std::map< ActionType, bcm_field_action_t > actionMap;
std::map< bcm_field_action_t, ActionType > actionReverseMap;

void initializeBcmQualifierMap()
{
    static constexpr Translations::Row< QualifierType, bcm_field_qualify_t > rows[] = {
#define QUALIFIER( qualifierType, accessor )                                                       \
    { QualifierType::qualifierType, [] { return Shim::sdk().accessor(); } },
#include "PeloraTcam/Qualifiers.def"
    };
    Translations::build( qualifierMap, qualifierReverseMap, rows );
}

void initializeBcmActionMap()
{
    static constexpr Translations::Row< ActionType, bcm_field_action_t > rows[] = {
#define ACTION( actionType, accessor )                                                             \
    { ActionType::actionType, [] { return Shim::sdk().accessor(); } },
#include "PeloraTcam/Actions.def"
    };
    Translations::build( actionMap, actionReverseMap, rows );
}

bcm_field_qualify_t getBcmQualifier( QualifierType qtype )
{
    return Translations::lookUp( qualifierMap, qtype,
                                 "qualifierMap.find( qtype ) != qualifierMap.end()",
                                 { __FILE__, __LINE__, __PRETTY_FUNCTION__ } );
}

QualifierType getBcmQualifier( bcm_field_qualify_t qual )
{
    return Translations::lookUp( qualifierReverseMap, qual,
                                 "qualifierReverseMap.find( qual ) != qualifierReverseMap.end()",
                                 { __FILE__, __LINE__, __PRETTY_FUNCTION__ } );
}

bcm_field_action_t getBcmAction( ActionType actionType )
{
    Agent::trace( _defaultTraceHandle(), 8, "getBcmAction", " actionType: ", actionType );
    const auto found = actionMap.find( actionType );
    if ( found != actionMap.end() ) {
        return found->second;
    }
    Agent::writeErrorLine( Agent::joinPieces( "Unmapped actionType: ", actionType ) );
    AGENT_FAIL( "( actionMap.find( actionType ) != actionMap.end() )" );
}

ActionType getBcmAction( bcm_field_action_t action )
{
    const auto found = actionReverseMap.find( action );
    if ( found != actionReverseMap.end() ) {
        return found->second;
    }
    Agent::writeErrorLine( Agent::joinPieces( "Unmapped action: ", action ) );
    AGENT_FAIL( "actionReverseMap.find( action ) != actionReverseMap.end()" );
}

bcm_field_qset_t getBcmQualifierSet( QualifierSet set )
{
    Shim::SdkAccess& sdk = Shim::sdk();
    bcm_field_qset_t qset;
    sdk.BCM_FIELD_QSET_INIT( &qset );
    for ( const QualifierType type : set ) {
        const auto found = qualifierMap.find( type );
        if ( found == qualifierMap.end() ) {
            Agent::writeErrorLine( Agent::joinPieces( "Unsupported qualifier ", type ) );
            AGENT_FAIL( "\"false\" == nullptr" );
        }
        sdk.BCM_FIELD_QSET_ADD( &qset, found->second );
    }
    return qset;
}

QualifierSet getBcmQualifierSet( bcm_field_qset_t* qset )
{
    Shim::SdkAccess& sdk = Shim::sdk();
    QualifierSet set;
    const auto stage = qualifierMap.find( QualifierType::stage );
    for ( U32 number = 0; number < sdk.BCM_FIELD_QUALIFY_COUNT(); ++number ) {
        const auto qualifier = static_cast< bcm_field_qualify_t >( number );
        if ( !sdk.BCM_FIELD_QSET_TEST( qset, qualifier ) ) {
            continue;
        }
        // KEPT: the stage is never reported back.
        if ( stage != qualifierMap.end() && stage->second == qualifier ) {
            continue;
        }
        const auto found = qualifierReverseMap.find( qualifier );
        if ( found != qualifierReverseMap.end() ) {
            set.insert( found->second );
        }
    }
    return set;
}

bcm_field_aset_t getBcmActionSet( ActionSet set )
{
    Shim::SdkAccess& sdk = Shim::sdk();
    bcm_field_aset_t aset;
    sdk.BCM_FIELD_ASET_INIT( &aset );
    for ( const ActionType type : set ) {
        const auto found = actionMap.find( type );
        if ( found != actionMap.end() ) {
            sdk.BCM_FIELD_ASET_ADD( &aset, found->second );
        } else if ( type != ActionType::noAction ) {
            Agent::writeErrorLine( Agent::joinPieces( " Unsupported action: ", type ) );
            AGENT_FAIL( "\"false\" == nullptr" );
        }
    }
    return aset;
}

bool isActionColored( ActionType actionType )
{
    switch ( actionType ) {
    case ActionType::dropColorAware:
    case ActionType::dropGreen:
    case ActionType::dropNonGreen:
    case ActionType::dropRed:
    case ActionType::dropYellow:
    case ActionType::prioIntGreen:
    case ActionType::prioIntRed:
    case ActionType::prioIntYellow:
    case ActionType::remarkDscpGreen:
    case ActionType::remarkDscpRed:
    case ActionType::remarkDscpYellow:
    case ActionType::switchToCpuColorAware:
    case ActionType::switchToCpuGreen:
    case ActionType::switchToCpuNonGreen:
    case ActionType::switchToCpuRed:
    case ActionType::switchToCpuYellow:
        return true;
    default:
        return false;
    }
}

// ---- Group modes, key sizes and small glue ---------------------------------------------------

namespace {

/// The SDK's group mode for a key of that size. The modes are asked of the access object, so
/// that no map need have been built.
bcm_field_group_mode_t
groupModeOfKeySize( TcamKeySize::TcamKeySizeValue keySize, StageType stage, bool narrowWide )
{
    switch ( keySize ) {
    case TcamKeySize::automatic:
        return Shim::sdk().bcmFieldGroupModeAuto();
    case TcamKeySize::single:
        return stage == stageIfp() && narrowWide ? Shim::sdk().bcmFieldGroupModeSingleASetNarrow()
                                                 : Shim::sdk().bcmFieldGroupModeSingle();
    case TcamKeySize::doubleWide:
        return Shim::sdk().bcmFieldGroupModeDouble();
    case TcamKeySize::tripleWide:
        AGENT_ASSERT( stage == stageIfp() );
        return Shim::sdk().bcmFieldGroupModeTriple();
    case TcamKeySize::quadWide:
        AGENT_ASSERT( stage == stageVfp() );
        return Shim::sdk().bcmFieldGroupModeQuad();
    }
    AGENT_FAIL( "0 && \"Invalid vexa tcam key size\"" );
}

} // namespace

bcm_field_group_mode_t getBcmTcamKeySize( TcamKeySize::TcamKeySizeValue keySize,
                                          StageType stage,
                                          bool narrowWideTcamWidthSupport )
{
    Agent::trace( _defaultTraceHandle(), 4, "getBcmTcamKeySize", " keySize ", keySize, " stage ",
                  stage, " narrowWideTcamWidthSupport ", narrowWideTcamWidthSupport );
    const bcm_field_group_mode_t mode =
        groupModeOfKeySize( keySize, stage, narrowWideTcamWidthSupport );
    Agent::trace( _defaultTraceHandle(), 4, "getBcmTcamKeySize", " returns: ", mode );
    return mode;
}

U32 getBcmActionParamCosMapNew( U32 trafficClass, const PeloraCentral::ChipInfo& chipInfo )
{
    const U32 classifierId = chipInfo.cosQueueMap().classifierId(
        PeloraCentral::ClassifierKind::fieldAction, static_cast< U8 >( trafficClass ) );
    const auto activeChipProfile = chipInfo.activeChipProfile();
    AGENT_ASSERT( activeChipProfile );
    const auto& attributes = activeChipProfile->tcamFeatureAttributes();
    return ( classifierId & 0xFFFF ) | ( attributes ? attributes->cosMapBits : 0 );
}

// ---- Preselectors ----------------------------------------------------------------------------

namespace {

using namespace PreselectorSteps;

using Sdk = Shim::SdkAccess;
using ClassRecord = bcm_field_src_class_t;

// clang-format off
// DIFFERS: the table of the older function, below, is keyed by the SDK's qualifiers, translates the
// packet type only, and replaces most class fields. It has no drop, drop reason, front-panel
// packet, opaque control id, layer-2 packet type or tunnel terminated, but forwarding type, station
// move and the class of the virtual port. Its call texts name the flag of preselectors, and some of
// its labels have a blank more.

/// The qualifiers of a preselector, by the agent's name.
constexpr Row< QualifierType > preselectorRows[] = {
    callRow< &Sdk::bcm_field_qualify_PktType >( QualifierType::pktType, " Setting PktType data: 0x",
      "bcm_field_qualify_PktType( unit, entry, pktType )", translated< getBcmPktType > ),
    callRow< &Sdk::bcm_field_qualify_Drop >( QualifierType::drop, " Setting Drop data: 0x",
      "bcm_field_qualify_Drop( unit, entry, data, mask )" ),
    callRow< &Sdk::bcm_field_qualify_DropReason >( QualifierType::dropReason, " Setting DropReason data: 0x",
      "bcm_field_qualify_DropReason( unit, entry, static_cast< bcm_field_drop_reason_t >( data ) )",
      asGiven, MaskUse::onlyTraced ),
    callRow< &Sdk::bcm_field_qualify_ForwardingStatus >( QualifierType::forwardingStatus, " Setting ForwardingStatus data: 0x",
      "bcm_field_qualify_ForwardingStatus( unit, entry, data, mask )" ),
    callRow< &Sdk::bcm_field_qualify_FrontPanelPkt >( QualifierType::frontPanelPkt, " Setting front panel pkt data: 0x",
      "bcm_field_qualify_FrontPanelPkt( unit, entry, data, mask )" ),
    // KEPT: the labels of the two opaque control ids are the same.
    callRow< &Sdk::bcm_field_qualify_IngressL2InterfaceOpaqueCtrlId >( QualifierType::ingressL2InterfaceOpaqueCtrlId,
      " Setting opaque ctrl id data: 0x", "bcm_field_qualify_IngressL2InterfaceOpaqueCtrlId( unit, entry, data, mask )" ),
    callRow< &Sdk::bcm_field_qualify_IngressStpState >( QualifierType::ingressStpState, " Setting IngressStpState data: 0x",
      "bcm_field_qualify_IngressStpState( unit, entry, data, mask )" ),
    callRow< &Sdk::bcm_field_qualify_IpInfo >( QualifierType::ipInfo, " Setting IpInfo data: 0x",
      "bcm_field_qualify_IpInfo( unit, entry, data, mask )" ),
    callRow< &Sdk::bcm_field_qualify_IpType >( QualifierType::ipType, " Setting IpType data: 0x",
      "bcm_field_qualify_IpType( unit, entry, iptype )", translated< getBcmIpType > ),
    callRow< &Sdk::bcm_field_qualify_L2InterfaceMatch >( QualifierType::l2InterfaceMatch, " Setting L2InterfaceMatch data: 0x",
      "bcm_field_qualify_L2InterfaceMatch( unit, entry, data, mask )" ),
    callRow< &Sdk::bcm_field_qualify_L2PktType >( QualifierType::l2PktType, " Setting L2 pkt type data: 0x",
      "bcm_field_qualify_L2PktType( unit, entry, l2PktType )", translated< getBcmL2PktType > ),
    callRow< &Sdk::bcm_field_qualify_L2SrcHit >( QualifierType::l2SrcHit, " Setting L2SrcHit data: 0x",
      "bcm_field_qualify_L2SrcHit( unit, entry, data, mask )" ),
    callRow< &Sdk::bcm_field_qualify_L2SrcStatic >( QualifierType::l2SrcStatic, " Setting L2SrcStatic data: 0x",
      "bcm_field_qualify_L2SrcStatic( unit, entry, data, mask )" ),
    callRow< &Sdk::bcm_field_qualify_MirrorPktType >( QualifierType::mirrorPktType, " Setting MirrorPktType data: 0x",
      "bcm_field_qualify_MirrorPktType( unit, entry, data, mask )" ),
    callRow< &Sdk::bcm_field_qualify_OverlayL2PktType >( QualifierType::overlayL2PktType, " Setting Overlay l2 pkt type data: 0x",
      "bcm_field_qualify_OverlayL2PktType( unit, entry, l2PktType )", translated< getBcmL2PktType > ),
    callRow< &Sdk::bcm_field_qualify_OverlayPktType >( QualifierType::overlayPktType, " Setting OverlayPktType data: 0x",
      "bcm_field_qualify_OverlayPktType( unit, entry, pktType )", translated< getBcmPktType > ),
    callRow< &Sdk::bcm_field_qualify_PktFwdType >( QualifierType::pktFwdType, " Setting PktFwType data: 0x",
      "bcm_field_qualify_PktFwdType( unit, entry, static_cast< bcm_field_PktFwdType_t >( data ) )",
      translated< getBcmPktFwdType >, MaskUse::onlyTraced ),
    callRow< &Sdk::bcm_field_qualify_PortGroupClassId >( QualifierType::portGroupClassId, " Setting PortGroupClassId data: 0x",
      "bcm_field_qualify_PortGroupClassId( unit, entry, data, mask )" ),
    callRow< &Sdk::bcm_field_qualify_ProtocolPktOpaqueCtrlId >( QualifierType::protocolPktOpaqueCtrlId,
      " Setting opaque ctrl id data: 0x", "bcm_field_qualify_ProtocolPktOpaqueCtrlId( unit, entry, data, mask )" ),
    callRow< &Sdk::bcm_field_qualify_TunnelType >( QualifierType::tnlType, " Setting TunnelType data: 0x",
      "bcm_field_qualify_TunnelType( unit, entry, tnlType )", translated< getBcmTunnelType > ),
    callRow< &Sdk::bcm_field_qualify_TunnelTerminated >( QualifierType::tunnelTerminated, " Setting tunnel terminated data: 0x",
      "bcm_field_qualify_TunnelTerminated( unit, entry, data, mask )" ),
    // DIFFERS: the older function refuses data of more than 16 bits for the first two, replaces
    // all but the port class, and prints a blank before the port class too.
    classRow( QualifierType::dstClassField, " Setting DstClassField data: 0x ",
      &ClassRecord::dst_class_field, ClassUpdate::accumulate, 0xFFFF ),
    classRow( QualifierType::srcClassField, " Setting SrcClassField data: 0x ",
      &ClassRecord::src_class_field, ClassUpdate::accumulate, 0xFFFF ),
    classRow( QualifierType::interfaceClassL2, " Setting InterfaceClassL2 data: 0x ",
      &ClassRecord::intf_class_l2, ClassUpdate::accumulate, 0xFFFFFFFF ),
    classRow( QualifierType::interfaceClassPort, " Setting InterfaceClassPort data: 0x",
      &ClassRecord::intf_class_port, ClassUpdate::accumulate, 0xFFFFFFFF ),
};

/// The access object's accessor of a qualifier.
using QualifierAccessor = bcm_field_qualify_t ( Sdk::* )() const;

// DIFFERS: the table of the newer function, above, is keyed by the agent's qualifiers, translates
// IP type, tunnel type and packet-forwarding type too, and adds to class fields, which it cuts. It
// has qualifiers that this one has not, and the other way round. Its call texts name the entry
// alone, and the cast of the packet-forwarding type has blanks.

/// The qualifiers of the older function, by the accessor, in the order of comparison.
constexpr Row< QualifierAccessor > legacyPreselectorRows[] = {
    callRow< &Sdk::bcm_field_qualify_ForwardingStatus >( &Sdk::bcmFieldQualifyForwardingStatus,
      " Setting ForwardingStatus data: 0x",
      "bcm_field_qualify_ForwardingStatus( unit, entry | BCM_FIELD_QUALIFY_PRESEL, data, mask )" ),
    callRow< &Sdk::bcm_field_qualify_PktType >( &Sdk::bcmFieldQualifyPktType, " Setting PktType data: 0x ",
      "bcm_field_qualify_PktType( unit, entry | BCM_FIELD_QUALIFY_PRESEL, pktType )", translated< getBcmPktType > ),
    // DIFFERS: the newer function programs the overlay packet type.
    refusalRow( &Sdk::bcmFieldQualifyOverlayPktType,
      "false && \"In old version OverlayPktType is unsupported preselect qualifier\"" ),
    callRow< &Sdk::bcm_field_qualify_IpType >( &Sdk::bcmFieldQualifyIpType, " Setting IpType data: 0x ",
      "bcm_field_qualify_IpType( unit, entry | BCM_FIELD_QUALIFY_PRESEL, static_cast< bcm_field_IpType_t >( data ) )" ),
    callRow< &Sdk::bcm_field_qualify_IpInfo >( &Sdk::bcmFieldQualifyIpInfo, " Setting IpInfo data: 0x ",
      "bcm_field_qualify_IpInfo( unit, entry | BCM_FIELD_QUALIFY_PRESEL, data, mask )" ),
    callRow< &Sdk::bcm_field_qualify_TunnelType >( &Sdk::bcmFieldQualifyTunnelType, " Setting TunnelType data: 0x ",
      "bcm_field_qualify_TunnelType( unit, entry | BCM_FIELD_QUALIFY_PRESEL, static_cast< bcm_field_TunnelType_t >( data ) )" ),
    classRow( &Sdk::bcmFieldQualifyInterfaceClassPort, " Setting InterfaceClassPort data: 0x ",
      &ClassRecord::intf_class_port, ClassUpdate::accumulate, 0xFFFFFFFF ),
    classRow( &Sdk::bcmFieldQualifyInterfaceClassVPort, " Setting InterfaceClassVPort data: 0x ",
      &ClassRecord::intf_class_vport, ClassUpdate::replace, 0xFFFFFFFF ),
    classRow( &Sdk::bcmFieldQualifyInterfaceClassL2, " Setting InterfaceClassL2 data: 0x ",
      &ClassRecord::intf_class_l2, ClassUpdate::replace, 0xFFFFFFFF ),
    callRow< &Sdk::bcm_field_qualify_IngressStpState >( &Sdk::bcmFieldQualifyIngressStpState, " Setting IngressStpState data: 0x",
      "bcm_field_qualify_IngressStpState( unit, entry | BCM_FIELD_QUALIFY_PRESEL, data, mask )" ),
    classRow( &Sdk::bcmFieldQualifyDstClassField, " Setting DstClassField data: 0x ",
      &ClassRecord::dst_class_field, ClassUpdate::replace, 0xFFFF,
      "!( data & 0xFFFF0000 ) && \" DstClassField value is greater than 16 bit\"" ),
    classRow( &Sdk::bcmFieldQualifySrcClassField, " Setting SrcClassField data: 0x ",
      &ClassRecord::src_class_field, ClassUpdate::replace, 0xFFFF,
      "!( data & 0xFFFF0000 ) && \" SrcClassField value is greater than 16 bit\"" ),
    callRow< &Sdk::bcm_field_qualify_ForwardingType >( &Sdk::bcmFieldQualifyForwardingType, " Setting ForwardingType data: 0x ",
      "bcm_field_qualify_ForwardingType( unit, entry | BCM_FIELD_QUALIFY_PRESEL, "
      "static_cast<bcm_field_ForwardingType_t>( data ) )" ),
    callRow< &Sdk::bcm_field_qualify_L2SrcStatic >( &Sdk::bcmFieldQualifyL2SrcStatic, " Setting L2SrcStatic data: 0x",
      "bcm_field_qualify_L2SrcStatic( unit, entry | BCM_FIELD_QUALIFY_PRESEL, data, mask )" ),
    callRow< &Sdk::bcm_field_qualify_L2SrcHit >( &Sdk::bcmFieldQualifyL2SrcHit, " Setting L2SrcHit data: 0x",
      "bcm_field_qualify_L2SrcHit( unit, entry | BCM_FIELD_QUALIFY_PRESEL, data, mask )" ),
    callRow< &Sdk::bcm_field_qualify_L2StationMove >( &Sdk::bcmFieldQualifyL2StationMove, " Setting L2StationMove data: 0x",
      "bcm_field_qualify_L2StationMove( unit, entry | BCM_FIELD_QUALIFY_PRESEL, data, mask )" ),
    callRow< &Sdk::bcm_field_qualify_L2InterfaceMatch >( &Sdk::bcmFieldQualifyL2InterfaceMatch,
      " Setting L2InterfaceMatch data: 0x",
      "bcm_field_qualify_L2InterfaceMatch( unit, entry | BCM_FIELD_QUALIFY_PRESEL, data, mask )" ),
    callRow< &Sdk::bcm_field_qualify_MirrorPktType >( &Sdk::bcmFieldQualifyMirrorPktType, " Setting MirrorPktType data: 0x",
      "bcm_field_qualify_MirrorPktType( unit, entry | BCM_FIELD_QUALIFY_PRESEL, data, mask )" ),
    callRow< &Sdk::bcm_field_qualify_PktFwdType >( &Sdk::bcmFieldQualifyPktFwdType, " Setting PktFwType data: 0x",
      "bcm_field_qualify_PktFwdType( unit, entry | BCM_FIELD_QUALIFY_PRESEL, static_cast<bcm_field_PktFwdType_t>( data ) )",
      asGiven, MaskUse::onlyTraced ),
    callRow< &Sdk::bcm_field_qualify_PortGroupClassId >( &Sdk::bcmFieldQualifyPortGroupClassId,
      " Setting PortGroupClassId data: 0x",
      "bcm_field_qualify_PortGroupClassId( unit, entry | BCM_FIELD_QUALIFY_PRESEL, data, mask )" ),
};

// clang-format on

constexpr QualifierType preselectorNames[] = {
#define PRESELECTOR( qualifier ) QualifierType::qualifier,
#include "PeloraTcam/PreselectorNames.def"
};

static_assert( namesAccepted( preselectorRows, preselectorNames ) );

} // namespace

void setPeloraTcamPreselectQualifier( U32 unit,
                                      U32 entry,
                                      U32 qualifier,
                                      U32 data,
                                      U32 mask,
                                      bcm_field_src_class_t* classData,
                                      bcm_field_src_class_t* classMask )
{
    Request request{ "setPeloraTcamPreselectQualifier",
                     { __FILE__, __LINE__, __PRETTY_FUNCTION__ },
                     _defaultTraceHandle(),
                     apiTraceHandle_,
                     unit,
                     entry,
                     data,
                     mask,
                     classData,
                     classMask };
    const auto isAsked = [ qualifier ]( QualifierType name ) {
        return static_cast< U32 >( name ) == qualifier;
    };
    programAskedQualifier( preselectorRows, isAsked, request );
}

void setPreselectQualifier( U32 unit,
                            U32 entry,
                            U32 qualifier,
                            U32 data,
                            U32 mask,
                            bcm_field_src_class_t* classData,
                            bcm_field_src_class_t* classMask )
{
    Request request{ "setPreselectQualifier",
                     { __FILE__, __LINE__, __PRETTY_FUNCTION__ },
                     _defaultTraceHandle(),
                     apiTraceHandle_,
                     unit,
                     entry,
                     data,
                     mask,
                     classData,
                     classMask };
    // DIFFERS: the qualifier is the SDK's number, and the SDK is asked for its own, row by row.
    const Sdk& sdk = Shim::sdk();
    const auto isAsked = [ &sdk, qualifier ]( QualifierAccessor name ) {
        return ( sdk.*name )() == qualifier;
    };
    programAskedQualifier( legacyPreselectorRows, isAsked, request );
}

} // namespace PeloraTcam

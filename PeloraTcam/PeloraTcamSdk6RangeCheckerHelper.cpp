#include "PeloraTcam/PeloraTcamSdk6RangeCheckerHelper.h"

#include "agent/base/Assert.h"
#include "agent/base/Trace.h"
#include "sdk/SdkCall.h"

#include <array>

namespace PeloraTcam {

namespace {

using Helper = PeloraTcamSdk6RangeCheckerHelper;

constexpr Agent::FieldDescriptor attributes[] = { { "fapId" }, { "model" }, { "pipeId" } };

const Agent::TypeRecord types[] = {
    Agent::constructedType< Helper, U8, FapId, PeloraCentral::PeloraModel >(
        "PeloraTcam::PeloraTcamSdk6RangeCheckerHelper", attributes ) };

const Agent::RegisteredModule module( "PeloraTcam/PeloraTcamSdk6RangeCheckerHelper", types );

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

const Agent::TraceHandle& _defaultTraceHandle()
{
    static const Agent::TraceHandle handle( "PeloraTcamRangeChecker" );
    return handle;
}

/// The SDK's range type for an agent's.
bcm_range_type_t sdkRangeType( RangeType type )
{
    switch ( type ) {
    case RangeType::l4DstPort:
        return Shim::sdk().bcmRangeTypeL4DstPort();
    case RangeType::l4SrcPort:
        return Shim::sdk().bcmRangeTypeL4SrcPort();
    case RangeType::packetLength:
        return Shim::sdk().bcmRangeTypePacketLength();
    case RangeType::invalid:
        break;
    }
    AGENT_FAIL( "false && \"RangeType not supported\"" );
}

/// The agent's range type for an SDK's.
RangeType agentRangeType( bcm_range_type_t type )
{
    if ( type == Shim::sdk().bcmRangeTypeL4DstPort() ) {
        return RangeType::l4DstPort;
    }
    if ( type == Shim::sdk().bcmRangeTypeL4SrcPort() ) {
        return RangeType::l4SrcPort;
    }
    if ( type == Shim::sdk().bcmRangeTypePacketLength() ) {
        return RangeType::packetLength;
    }
    AGENT_FAIL( "0 && \"unexpected rangetype\"" );
}

} // namespace

Agent::AllocationTracker PeloraTcamSdk6RangeCheckerHelper::memAllocationTracker_(
    "PeloraTcam::PeloraTcamSdk6RangeCheckerHelper" );

PeloraTcamSdk6RangeCheckerHelper::PeloraTcamSdk6RangeCheckerHelper(
    U8 pipeId, FapId fapId, const PeloraCentral::PeloraModel& model )
    : RegisteredClass( pipeId, fapId, model )
{}

PeloraTcamSdk6RangeCheckerHelper::~PeloraTcamSdk6RangeCheckerHelper() = default;

const Agent::ModuleRecord& PeloraTcamSdk6RangeCheckerHelper::typeData() const
{
    return module;
}

RangeCheckerId PeloraTcamSdk6RangeCheckerHelper::getRangeChecker( const RangeCheckerDesc& desc )
{
    const FapId fap = fapId();
    Agent::trace( _defaultTraceHandle(), 9, "getRangeChecker", "unit: ", fap.value(),
                  " high:", desc.high, " low:", desc.low, " type:", desc.type );

    bcm_range_config_t conf;
    Shim::sdk().bcm_range_config_t_init( &conf );
    conf.min = desc.low;
    conf.max = desc.high;
    conf.instance = pipeId();
    conf.rtype = sdkRangeType( desc.type );

    const int rc = SDK_TRACED_CALL_AS( "bcm_range_create( unit, 0, &conf )", bcm_range_create,
                                       sdkUnit( fap ), 0, &conf );
    if ( rc == Shim::sdk().BCM_E_NONE() ) {
        return conf.rid;
    }
    if ( _defaultTraceHandle().enabled( 0 ) ) {
        Agent::trace( _defaultTraceHandle(), 0, "Failed to allocate range checker! due to rc: ", rc,
                      " ", Shim::sdk().sdkErrorText( rc ) );
    }
    return invalidRangeCheckerId;
}

void PeloraTcamSdk6RangeCheckerHelper::releaseRangeChecker( RangeCheckerId rangeCheckerId )
{
    const FapId fap = fapId();
    Agent::trace( _defaultTraceHandle(), 9, "releaseRangeChecker", "unit:", fap.value(),
                  " rangeCheckerId:", Agent::hex( rangeCheckerId ) );
    SDK_CHECKED_CALL_AS( "bcm_range_destroy( unit, rangeCheckerId )", bcm_range_destroy,
                         sdkUnit( fap ), rangeCheckerId );
}

void PeloraTcamSdk6RangeCheckerHelper::verifyTcamSanity(
    const Agent::Ptr< const RangeCheckerData >& rangeCheckerData ) const
{
    // A reference of its own: the caller's may go while the locks are released.
    const Agent::Ptr< const RangeCheckerData > record = rangeCheckerData;
    Agent::trace( _defaultTraceHandle(), 8, "verifyTcamSanity",
                  " RangeCheckerDesc: ", record->checkerDesc(),
                  " RangeCheckerId: ", record->rangeCheckerId() );

    bcm_range_config_t conf;
    Shim::sdk().bcm_range_config_t_init( &conf );
    conf.rid = record->rangeCheckerId();
    SDK_CHECKED_CALL_AS( "bcm_range_get( unit, &conf )", bcm_range_get, sdkUnit( fapId() ), &conf );

    const RangeCheckerDesc inHardware{ conf.min, conf.max, agentRangeType( conf.rtype ) };
    AGENT_ASSERT_AS( "( desc == rangeCheckerData->checkerDesc() ) && "
                     "\"RangeCheckerManager::rangeCheckerData sw collection is out of sync\" && "
                     "\"with HW rangeChecker table\"",
                     inHardware == record->checkerDesc() );
}

void PeloraTcamSdk6RangeCheckerHelper::handleInitialized()
{
    Agent::trace(
        _defaultTraceHandle(), 9,
        "virtual void PeloraTcam::PeloraTcamSdk6RangeCheckerHelper::handleInitialized()" );
}

} // namespace PeloraTcam

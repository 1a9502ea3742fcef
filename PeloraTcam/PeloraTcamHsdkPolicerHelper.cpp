#include "PeloraTcam/PeloraTcamHsdkPolicerHelper.h"

#include "agent/base/Trace.h"
#include "agent/tcam/CommonData.h"
#include "agent/tcam/IdManager.h"
#include "sdk/SdkCall.h"

#include <array>

namespace PeloraTcam {

namespace {

constexpr Agent::FieldDescriptor attributes[] = { { "fapId" }, { "pipeId" } };

const Agent::TypeRecord types[] = {
    Agent::constructedType< PeloraTcamHsdkPolicerHelper, U8, FapId >(
        "PeloraTcam::PeloraTcamHsdkPolicerHelper", attributes ) };

const Agent::RegisteredModule module( "PeloraTcam/PeloraTcamHsdkPolicerHelper", types );

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

const Agent::TraceHandle& _defaultTraceHandle()
{
    static const Agent::TraceHandle handle( "PeloraTcamPolicer" );
    return handle;
}

/// The flag of the SDK's configuration that says that the policer's id is given.
constexpr U32 withIdFlag = 1;

} // namespace

Agent::AllocationTracker
    PeloraTcamHsdkPolicerHelper::memAllocationTracker_( "PeloraTcam::PeloraTcamHsdkPolicerHelper" );

PeloraTcamHsdkPolicerHelper::PeloraTcamHsdkPolicerHelper( U8 pipeId, FapId fapId )
    : RegisteredClass( pipeId, fapId )
{}

PeloraTcamHsdkPolicerHelper::~PeloraTcamHsdkPolicerHelper() = default;

const Agent::ModuleRecord& PeloraTcamHsdkPolicerHelper::typeData() const
{
    return module;
}

// DIFFERS: the SDK-6 helper lets the SDK choose the id, so it has no pool that can be exhausted.
PolicerId PeloraTcamHsdkPolicerHelper::getPolicer( const Policer& policer, StageType stage )
{
    // DIFFERS: the SDK-6 helper does not trace the stage.
    Agent::trace( _defaultTraceHandle(), 9, "getPolicer", " Stage: ", stage,
                  " policer config: ", policer );
    PeloraTcamIdManager& idManager = getGeneralIdManager();
    if ( !idManager.canAllocateId( FeatureIdType::policer, stage ) ) {
        Agent::trace( _defaultTraceHandle(), 4, "No free policer ID available " );
        return invalidPolicerId;
    }
    auto sdkPolicerId =
        static_cast< bcm_policer_t >( idManager.allocateId( FeatureIdType::policer, stage ) );

    const int unit = sdkUnit( fapId() );
    // DIFFERS: the SDK-6 helper adds no flags.
    bcm_policer_config_t conf = getBcmPolicerConfig( policer );
    conf.flags |= withIdFlag;
    conf.flags |= getPeloraTcamCommonData().policerFlags( stage ).value_or( 0 );

    // DIFFERS: the SDK-6 helper makes a checked call, and asserts that the id is not 0.
    const int rc =
        SDK_TRACED_CALL_AS( "bcm_policer_create( unit, &conf, ( bcm_policer_t * )&policerId )",
                            bcm_policer_create, unit, &conf, &sdkPolicerId );
    const auto policerId = static_cast< PolicerId >( sdkPolicerId );
    if ( rc != Shim::sdk().BCM_E_NONE() ) {
        // KEPT: required: the error line, and the trace line of a positive code, name "rc" and not
        // the call.
        // DIFFERS: to the SDK-6 helper a positive code is success.
        Shim::checkReturnCode( apiTraceHandle_, SDK_CALL_SITE( "rc" ), rc );
        return policerId;
    }
    // DIFFERS: the SDK-6 helper traces the id at level 4.
    Agent::trace( _defaultTraceHandle(), 8, "getPolicer", "Created policer id : ", policerId );
    return policerId;
}

// DIFFERS: the SDK-6 helper has no id to give back, and traces nothing of its own.
void PeloraTcamHsdkPolicerHelper::releasePolicer( PolicerId policerId, StageType stage )
{
    Agent::trace( _defaultTraceHandle(), 9, "releasePolicer", " Stage: ", stage,
                  " policer ID: ", policerId );
    const int unit = sdkUnit( fapId() );
    SDK_CHECKED_CALL_AS( "bcm_policer_destroy( unit, ( bcm_policer_t )policerId )",
                         bcm_policer_destroy, unit, static_cast< bcm_policer_t >( policerId ) );
    getGeneralIdManager().freeId( FeatureIdType::policer, stage, policerId );
}

} // namespace PeloraTcam

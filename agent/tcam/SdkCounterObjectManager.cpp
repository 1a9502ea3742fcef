#include "agent/tcam/SdkCounterObjectManager.h"

#include "agent/base/Assert.h"
#include "sdk/SdkCall.h"

namespace PeloraTcam {

namespace {

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

constexpr U32 firstIndex = 1;

} // namespace

int SdkCounterObjectManager::counterObjectIs(
    U32 unit, StageType stage, U8 pipe, TcamGroupPriority priority, U32 counters )
{
    const std::tuple key( unit, stage, pipe, priority );
    AGENT_ASSERT( !objects_.contains( key ) && "there is a counter object" );
    bcm_flexctr_action_t action;
    Shim::sdk().bcm_flexctr_action_t_init( &action );
    action.index_num = firstIndex + counters;
    FlexctrObjectId object = 0;
    const int rc = SDK_TRACED_CALL( bcm_flexctr_action_create, static_cast< int >( unit ), 0,
                                    &action, &object );
    if ( rc < 0 ) {
        return rc;
    }
    if ( !objects_.try_emplace( key, object ).second ) {
        // Somebody else made one while the locks were released.
        SDK_CHECKED_CALL( bcm_flexctr_action_destroy, static_cast< int >( unit ), object );
        return Shim::sdk().BCM_E_EXISTS();
    }
    indices_[ { unit, object } ] = IdPool( firstIndex, counters );
    return rc;
}

void SdkCounterObjectManager::counterObjectDel( U32 unit,
                                                StageType stage,
                                                U8 pipe,
                                                TcamGroupPriority priority )
{
    const auto found = objects_.find( { unit, stage, pipe, priority } );
    if ( found == objects_.end() ) {
        return;
    }
    const FlexctrObjectId object = found->second;
    AGENT_ASSERT( indices( unit, object ).allocated() == 0 && "counter object is in use" );
    objects_.erase( found );
    indices_.erase( { unit, object } );
    SDK_CHECKED_CALL( bcm_flexctr_action_destroy, static_cast< int >( unit ), object );
}

FlexctrObjectId SdkCounterObjectManager::getCounterObject( U32 unit,
                                                           StageType stage,
                                                           U8 pipe,
                                                           TcamGroupPriority priority )
{
    const auto found = objects_.find( { unit, stage, pipe, priority } );
    return found == objects_.end() ? Shim::sdk().BCM_FLEXCTR_INVALID_OBJECT() : found->second;
}

IdPool& SdkCounterObjectManager::indices( U32 unit, FlexctrObjectId object )
{
    return indices_.at( { unit, object } );
}

} // namespace PeloraTcam

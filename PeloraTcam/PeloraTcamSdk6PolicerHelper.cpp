#include "PeloraTcam/PeloraTcamSdk6PolicerHelper.h"

#include "agent/base/Assert.h"
#include "agent/base/Trace.h"
#include "sdk/SdkCall.h"

#include <array>

namespace PeloraTcam {

namespace {

constexpr Agent::FieldDescriptor attributes[] = { { "fapId" }, { "pipeId" } };

const Agent::TypeRecord types[] = {
    Agent::constructedType< PeloraTcamSdk6PolicerHelper, U8, FapId >(
        "PeloraTcam::PeloraTcamSdk6PolicerHelper", attributes ) };

const Agent::RegisteredModule module( "PeloraTcam/PeloraTcamSdk6PolicerHelper", types );

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

const Agent::TraceHandle& _defaultTraceHandle()
{
    static const Agent::TraceHandle handle( "PeloraTcamPolicer" );
    return handle;
}

/// The flags of the SDK's configuration that tell how a packet's earlier colour is taken.
constexpr U32 colorAwareFlags = 0x44;
constexpr U32 colorBlindFlags = 0x84;
/// The flag that is set exactly when the packet's earlier colour does not count.
constexpr U32 colorBlindFlag = 0x80;

bcm_policer_mode_t sdkMode( PolicerMode mode )
{
    switch ( mode ) {
    case PolicerMode::committed:
        return Shim::sdk().bcmPolicerModeCommitted();
    case PolicerMode::trTcm:
        return Shim::sdk().bcmPolicerModeTrTcm();
    case PolicerMode::srTcm:
        return Shim::sdk().bcmPolicerModeSrTcm();
    }
    AGENT_FAIL( "0 && \"Invalid policer mode\"" );
}

// KEPT: required: any mode of the SDK that is neither of the first two counts as srTcm, also an
// unknown one.
PolicerMode agentMode( bcm_policer_mode_t mode )
{
    if ( mode == Shim::sdk().bcmPolicerModeCommitted() ) {
        return PolicerMode::committed;
    }
    if ( mode == Shim::sdk().bcmPolicerModeTrTcm() ) {
        return PolicerMode::trTcm;
    }
    return PolicerMode::srTcm;
}

/// The policer that the chip holds; what the chip does not hold is taken from the record.
Policer agentPolicer( const bcm_policer_config_t& conf, const Policer& recorded )
{
    Policer policer = recorded;
    policer.colorAware = ( conf.flags & colorBlindFlag ) == 0;
    policer.mode = agentMode( conf.mode );
    policer.committedRate = conf.ckbits_sec;
    policer.committedBurst = conf.ckbits_burst;
    if ( policer.mode == PolicerMode::trTcm ) {
        policer.peakRate = conf.pkbits_sec;
        policer.peakBurst = conf.pkbits_burst;
    }
    return policer;
}

} // namespace

Agent::AllocationTracker
    PeloraTcamSdk6PolicerHelper::memAllocationTracker_( "PeloraTcam::PeloraTcamSdk6PolicerHelper" );

PeloraTcamSdk6PolicerHelper::PeloraTcamSdk6PolicerHelper( U8 pipeId, FapId fapId )
    : RegisteredClass( pipeId, fapId )
{}

PeloraTcamSdk6PolicerHelper::~PeloraTcamSdk6PolicerHelper() = default;

const Agent::ModuleRecord& PeloraTcamSdk6PolicerHelper::typeData() const
{
    return module;
}

bcm_policer_config_t
PeloraTcamSdk6PolicerHelper::getBcmPolicerConfig( const Policer& policer ) const
{
    bcm_policer_config_t conf;
    Shim::sdk().bcm_policer_config_t_init( &conf );
    conf.mode = sdkMode( policer.mode );
    conf.flags |= policer.colorAware ? colorAwareFlags : colorBlindFlags;
    conf.ckbits_sec = policer.committedRate;
    conf.ckbits_burst = policer.committedBurst;
    if ( policer.mode == PolicerMode::trTcm ) {
        conf.pkbits_sec = policer.peakRate;
        conf.pkbits_burst = policer.peakBurst;
    }
    return conf;
}

// DIFFERS: the HSDK helper takes the id from the agent's id manager, whose pool can be exhausted,
// and adds flags of its own and of the stage.
PolicerId PeloraTcamSdk6PolicerHelper::getPolicer( const Policer& policer, StageType )
{
    // DIFFERS: the HSDK helper traces the stage too.
    Agent::trace( _defaultTraceHandle(), 9, "getPolicer", "Policer config: ", policer );

    const int unit = sdkUnit( fapId() );
    bcm_policer_config_t conf = getBcmPolicerConfig( policer );
    auto createdId = static_cast< bcm_policer_t >( invalidPolicerId );
    // DIFFERS: the HSDK helper makes a traced call, names "rc" in the error line, and gives the id
    // of a positive code without the trace below.
    SDK_CHECKED_CALL_AS( "bcm_policer_create( unit, &conf, ( bcm_policer_t * )&policerId )",
                         bcm_policer_create, unit, &conf, &createdId );
    // DIFFERS: the HSDK helper gives an id of 0 on.
    AGENT_ASSERT_AS( "policerId && \"Failed to allocate Policer\"", createdId != 0 );
    const auto policerId = static_cast< PolicerId >( createdId );

    // DIFFERS: the HSDK helper traces the id at level 8.
    Agent::trace( _defaultTraceHandle(), 4, "getPolicer", "Created policer id : ", policerId );
    return policerId;
}

// DIFFERS: the HSDK helper traces its entry and gives the id back to the agent's id manager.
void PeloraTcamSdk6PolicerHelper::releasePolicer( PolicerId policerId, StageType )
{
    const int unit = sdkUnit( fapId() );
    SDK_CHECKED_CALL_AS( "bcm_policer_destroy( unit, ( bcm_policer_t )policerId )",
                         bcm_policer_destroy, unit, static_cast< bcm_policer_t >( policerId ) );
}

void PeloraTcamSdk6PolicerHelper::verifyTcamSanity(
    const Agent::Ptr< const PolicerData >& policerData )
{
    // A reference of its own: the caller's may go while the locks are released.
    const Agent::Ptr< const PolicerData > record = policerData;
    Agent::trace( _defaultTraceHandle(), 9, "verifyTcamSanity", " Policer: ", record->policerCfg(),
                  " PolicerId: ", record->policerId() );

    bcm_policer_config_t conf;
    Shim::sdk().bcm_policer_config_t_init( &conf );
    SDK_CHECKED_CALL_AS( "bcm_policer_get( unit, policerData->policerId(), &conf )",
                         bcm_policer_get, sdkUnit( fapId() ),
                         static_cast< bcm_policer_t >( record->policerId() ), &conf );

    const Policer inHardware = agentPolicer( conf, record->policerCfg() );
    AGENT_ASSERT_AS( "( policerCfg == policerData->policerCfg() ) && "
                     "\"PolicerManager::policerData sw collection is out of sync\" && "
                     "\"with HW policer table\"",
                     inHardware == record->policerCfg() );
}

void PeloraTcamSdk6PolicerHelper::handleInitialized()
{
    Agent::trace( _defaultTraceHandle(), 9, "PeloraTcamSdk6PolicerHelper::", "handleInitialized" );
}

} // namespace PeloraTcam

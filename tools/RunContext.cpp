#include "tools/RunContext.h"

#include "PeloraTcam/PeloraTcamSdk6RangeCheckerHelper.h"
#include "reference/TranslationStart.h"

namespace Tool {

namespace {

/// Makes the helper as the agent does: by its public constructor, held by `Ptr`, and told when its
/// attributes are set.
Agent::Ptr< PeloraTcam::PeloraTcamRangeCheckerHelper >
makeRangeCheckerHelper( const Scenario& scenario )
{
    const PeloraTcam::FapId fapId( static_cast< Agent::U32 >( scenario.unit ) );
    const PeloraCentral::PeloraModel model{ scenario.profile.name };
    const Agent::Ptr< PeloraTcam::PeloraTcamRangeCheckerHelper > helper(
        new PeloraTcam::PeloraTcamSdk6RangeCheckerHelper( scenario.pipe, fapId, model ) );
    helper->handleInitialized();
    return helper;
}

/// Whether the chip holds 160-bit keys of the ingress stage in narrow slices.
bool hasNarrowSlices( const Sim::ChipProfile& profile )
{
    return profile.chip != Sim::ChipKind::hsdk;
}

} // namespace

RunContext::RunContext( const Scenario& scenario, const Sim::SdkNumbering& numbering )
    : unit_( scenario.unit )
    , simulatedSdk_( numbering )
    , faultySdk_( simulatedSdk_, scenario.faults )
    , observer_( faultySdk_ )
    , sdkInUse_( simulatedSdk_, observer_, scenario )
    , rangeCheckers_( makeRangeCheckerHelper( scenario ) )
    , groups_( static_cast< Agent::U32 >( scenario.unit ), hasNarrowSlices( scenario.profile ) )
    , preselectors_( static_cast< Agent::U32 >( scenario.unit ) )
{}

RunContext::~RunContext() = default;

RunContext::SdkInUse::SdkInUse( Sim::SimulatedSdk& chips,
                                Shim::SdkAccess& sdk,
                                const Scenario& scenario )
{
    chips.chipIs( scenario.unit, scenario.profile );
    Shim::sdk_ = &sdk;
    Reference::buildTranslationMaps();
}

RunContext::SdkInUse::~SdkInUse()
{
    Shim::sdk_ = nullptr;
}

std::size_t RunContext::audit() const
{
    return rangeCheckers_.audit() + groups_.audit();
}

Json RunContext::occupancy() const
{
    Json resources = Json::object();
    for ( const Sim::Resource& resource : simulatedSdk_.chip( unit_ )->occupancy() ) {
        resources[ resource.name ] = { { "used", resource.used },
                                       { "capacity", resource.capacity } };
    }
    return resources;
}

void RunContext::progressed( std::size_t done, std::size_t total ) const
{
    if ( progress_ ) {
        progress_( done, total );
    }
}

} // namespace Tool

#include "tools/RunContext.h"

#include "PeloraTcam/PeloraTcamSdk6RangeCheckerHelper.h"

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

} // namespace

RunContext::RunContext( const Scenario& scenario, const Sim::SdkNumbering& numbering )
    : unit_( scenario.unit )
    , simulatedSdk_( numbering )
    , faultySdk_( simulatedSdk_, scenario.faults )
    , observer_( faultySdk_ )
    , rangeCheckers_( makeRangeCheckerHelper( scenario ) )
{
    simulatedSdk_.chipIs( unit_, scenario.profile );
    Shim::sdk_ = &observer_;
}

RunContext::~RunContext()
{
    Shim::sdk_ = nullptr;
}

std::size_t RunContext::audit() const
{
    return rangeCheckers_.audit();
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

#include "tools/run/RunContext.h"

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

UdfHelperRequest udfHelperRequestOf( const Scenario& scenario )
{
    const bool hasUdfModule = scenario.profile.chip == Sim::ChipKind::sdk6UdfModule;
    return { .chip = scenario.profile.chip,
             .unit = scenario.unit,
             .pipe = scenario.pipe,
             .lagHashingSupported =
                 hasUdfModule && scenario.profile.udfModule.hashConfigurations != 0,
             .origin = scenario.udfHelper };
}

/// How wide the chip's counters are, in bits.
unsigned counterWidthOf( const Sim::ChipProfile& profile )
{
    return profile.chip == Sim::ChipKind::hsdk ? profile.flexCounters.counterWidth
                                               : profile.statistics.counterWidth;
}

/// How many counters of all objects some entry is attached to.
std::size_t countersInUse( const Sim::SimFlexctr& flexCounters )
{
    std::size_t all = 0;
    for ( const auto& [ object, inUse ] : flexCounters.countersInUse() ) {
        all += inUse;
    }
    return all;
}

} // namespace

RunContext::RunContext( const Scenario& scenario, const Sim::SdkNumbering& numbering )
    : unit_( scenario.unit )
    , numbering_( numbering )
    , simulatedSdk_( numbering )
    , faultySdk_( simulatedSdk_, scenario.faults )
    , counterServices_( sdkVariantOf( scenario.profile.chip ), counterWidthOf( scenario.profile ) )
    , evictionSdk_( faultySdk_, counterServices_.eviction() )
    , observer_( evictionSdk_ )
    , sdkInUse_( simulatedSdk_, observer_, scenario )
    , rangeCheckers_( makeRangeCheckerHelper( scenario ) )
    , groups_( static_cast< Agent::U32 >( scenario.unit ), hasNarrowSlices( scenario.profile ) )
    , preselectors_( static_cast< Agent::U32 >( scenario.unit ) )
    , udfHelperRequest_( udfHelperRequestOf( scenario ) )
    , tcam_( scenario, counterServices_, groups_, rangeCheckers_ )
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

Sim::PacketPath& RunContext::packets()
{
    if ( !packets_ ) {
        packets_.emplace( *simulatedSdk_.chip( unit_ ), numbering_ );
    }
    return *packets_;
}

Reference::UdfManager& RunContext::udfs()
{
    if ( !udfs_ ) {
        udfs_.emplace( makeUdfHelper( udfHelperRequest_ ), udfPathOf( udfHelperRequest_.chip ) );
    }
    return *udfs_;
}

AuditCounts RunContext::audit() const
{
    AuditCounts counts;
    counts.compared = rangeCheckers_.audit() + groups_.audit() + tcam_.audit();
    if ( udfs_ ) {
        const Reference::UdfManager::Audit udfs = udfs_->audit();
        counts.compared += udfs.compared;
        counts.notJudged = udfs.notJudged;
        counts.foreign = udfs.foreign.udfIds();
    }
    return counts;
}

Json RunContext::occupancy() const
{
    Json resources = Json::object();
    for ( const Sim::Resource& resource : simulatedSdk_.chip( unit_ )->occupancy() ) {
        resources[ resource.name ] = { { "used", resource.used },
                                       { "capacity", resource.capacity } };
    }
    if ( chip().flexCounters() != nullptr ) {
        // The chip counts those of all counter objects, of which entries use some.
        Json& counters = resources[ "flexCounters" ];
        counters[ "setAside" ] = counters.at( "used" );
        counters[ "used" ] = countersInUse( *chip().flexCounters() );
    }
    return resources;
}

Json RunContext::snapshot() const
{
    const Sim::ChipSnapshot snapshot = chip().snapshot();
    Json objects = Json::array();
    for ( const auto& [ name, fields ] : snapshot.objects() ) {
        Json list = Json::array();
        for ( const auto& [ field, value ] : fields ) {
            list.push_back( { { "name", field }, { "value", value } } );
        }
        objects.push_back( { { "object", name }, { "fields", list } } );
    }
    return objects;
}

void RunContext::progressed( std::size_t done, std::size_t total ) const
{
    if ( progress_ ) {
        progress_( done, total );
    }
}

} // namespace Tool

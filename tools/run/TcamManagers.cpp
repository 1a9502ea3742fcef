#include "tools/run/TcamManagers.h"

#include "PeloraTcam/PeloraTcamHsdkCounterHelper.h"
#include "PeloraTcam/PeloraTcamHsdkPolicerHelper.h"
#include "PeloraTcam/PeloraTcamSdk6CompressionHelper.h"
#include "PeloraTcam/PeloraTcamSdk6CounterHelper.h"
#include "PeloraTcam/PeloraTcamSdk6PolicerHelper.h"
#include "agent/tcam/IdManager.h"

#include <array>

namespace Tool {

using PeloraTcam::FeatureIdType;
using PeloraTcam::StageType;
using Reference::SdkVariant;

namespace {

constexpr std::array< StageType, 3 > stages = { StageType::vfp, StageType::ifp, StageType::efp };

PeloraTcam::FapId fapIdOf( const Scenario& scenario )
{
    return PeloraTcam::FapId( static_cast< Agent::U32 >( scenario.unit ) );
}

Agent::Ptr< PeloraTcam::PeloraTcamCounterHelper > makeCounterHelper( const Scenario& scenario )
{
    const auto unit = static_cast< Agent::U32 >( scenario.unit );
    const PeloraCentral::ChipInfo chipInfo;
    Agent::Ptr< PeloraTcam::PeloraTcamCounterHelper > helper;
    if ( sdkVariantOf( scenario.profile.chip ) == SdkVariant::hsdk ) {
        helper = PeloraTcam::peloraTcamHsdkCounterHelperFactory( scenario.pipe, unit, chipInfo );
    } else {
        helper = PeloraTcam::peloraTcamSdk6CounterHelperFactory( scenario.pipe, unit, chipInfo );
    }
    helper->initializedIs( true );
    helper->handleInitialized();
    return helper;
}

Agent::Ptr< PeloraTcam::PeloraTcamPolicerHelper > makePolicerHelper( const Scenario& scenario )
{
    const PeloraTcam::FapId fapId = fapIdOf( scenario );
    Agent::Ptr< PeloraTcam::PeloraTcamPolicerHelper > helper;
    if ( sdkVariantOf( scenario.profile.chip ) == SdkVariant::hsdk ) {
        helper = Agent::Ptr< PeloraTcam::PeloraTcamPolicerHelper >(
            new PeloraTcam::PeloraTcamHsdkPolicerHelper( scenario.pipe, fapId ) );
    } else {
        helper = Agent::Ptr< PeloraTcam::PeloraTcamPolicerHelper >(
            new PeloraTcam::PeloraTcamSdk6PolicerHelper( scenario.pipe, fapId ) );
    }
    helper->handleInitialized();
    return helper;
}

/// A class id has 16 bits; 0 is no class.
constexpr Agent::U32 classIds = 0xFFFF;

/// The manager of the compression tables, if the chip has them.
std::unique_ptr< Reference::CompressionManager > makeCompression( const Scenario& scenario )
{
    if ( sdkVariantOf( scenario.profile.chip ) == SdkVariant::hsdk ) {
        return nullptr;
    }
    const auto helper =
        PeloraTcam::peloraTcamSdk6CompressionHelperFactory( scenario.pipe, fapIdOf( scenario ) );
    helper->handleInitialized();
    const Reference::CompressionLimits limits{ scenario.profile.field.compressionEntries, 1,
                                               classIds };
    return std::make_unique< Reference::CompressionManager >( helper,
                                                              Reference::sameLimits( limits ) );
}

/// The ids that the agent gives to policers: each stage has its own.
void makePolicerIds( Agent::U32 capacity )
{
    Agent::U32 first = 1;
    for ( const StageType stage : stages ) {
        PeloraTcam::getGeneralIdManager().poolIs( FeatureIdType::policer, stage, first, capacity );
        first += capacity;
    }
}

} // namespace

SdkVariant sdkVariantOf( Sim::ChipKind chip )
{
    return chip == Sim::ChipKind::hsdk ? SdkVariant::hsdk : SdkVariant::sdk6;
}

TcamManagers::TcamManagers( const Scenario& scenario,
                            Reference::CounterServices& services,
                            Reference::GroupManager& groups,
                            Reference::RangeCheckerManager& rangeCheckers )
    : variant_( sdkVariantOf( scenario.profile.chip ) )
    , unit_( static_cast< Agent::U32 >( scenario.unit ) )
    , pipe_( scenario.pipe )
    , flexCounters_( scenario.profile.flexCounters.counters )
    , services_( services )
    , counters_( makeCounterHelper( scenario ), variant_ )
    , policers_( makePolicerHelper( scenario ), scenario.profile.policers.capacity )
    , compression_( makeCompression( scenario ) )
    , entries_( unit_ )
    , ruleSets_( { rangeCheckers, groups, entries_, counters_, policers_, compression() },
                 { variant_, pipe_ } )
{
    makePolicerIds( scenario.profile.policers.capacity );
}

TcamManagers::~TcamManagers()
{
    PeloraTcam::getGeneralIdManager().clear();
}

Reference::CounterObjectPlace TcamManagers::place( StageType stage ) const
{
    return { unit_, stage, pipe_, 0 };
}

Reference::CounterManager& TcamManagers::counters()
{
    if ( variant_ == SdkVariant::hsdk && !hasCounterObjects_ ) {
        makeCounterObjects();
    }
    return counters_;
}

/// The ingress stage, where rules are, gets half of the chip's counters. An object that the chip
/// refuses is one without counters for its stage.
void TcamManagers::makeCounterObjects()
{
    hasCounterObjects_ = true;
    for ( const StageType stage : stages ) {
        const Agent::U32 share = flexCounters_ / ( stage == StageType::ifp ? 2 : 4 );
        if ( share > 1 ) {
            static_cast< void >( services_.counterObjectIs( place( stage ), share - 1 ) );
        }
    }
}

void TcamManagers::releaseUnusedCounterObjects()
{
    if ( !hasCounterObjects_ || counters_.size() != 0 ) {
        return;
    }
    for ( const StageType stage : stages ) {
        services_.counterObjectDel( place( stage ) );
    }
    hasCounterObjects_ = false;
}

std::size_t TcamManagers::audit() const
{
    return entries_.audit() + counters_.audit() + policers_.audit() +
           ( compression_ ? compression_->audit() : 0 );
}

} // namespace Tool

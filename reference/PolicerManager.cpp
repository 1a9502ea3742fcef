#include "reference/PolicerManager.h"

#include "agent/base/Assert.h"

#include <tuple>
#include <utility>

namespace Reference {

using PeloraTcam::Policer;
using PeloraTcam::PolicerData;
using PeloraTcam::PolicerId;
using PeloraTcam::StageType;

namespace {

/// What the chip does not hold of a policer does not tell it from another one.
Policer asProgrammed( Policer policer )
{
    if ( policer.mode != PeloraTcam::PolicerMode::trTcm ) {
        policer.peakRate = 0;
        policer.peakBurst = 0;
    }
    return policer;
}

} // namespace

PolicerManager::PolicerManager( Agent::Ptr< PeloraTcam::PeloraTcamPolicerHelper > helper,
                                std::size_t capacity )
    : helper_( std::move( helper ) )
    , capacity_( capacity )
{}

std::optional< PolicerId >
PolicerManager::acquire( const Policer& policer, StageType stage, PolicerSharing sharing )
{
    const Wanted wanted{ asProgrammed( policer ), stage };
    const auto equal = shared_.find( wanted );
    if ( sharing == PolicerSharing::shared && equal != shared_.end() ) {
        ++records_.at( equal->second ).users;
        return equal->second;
    }
    if ( records_.size() >= capacity_ ) {
        return std::nullopt;
    }
    const PolicerId id = helper_->getPolicer( wanted.policer, stage );
    if ( id == PeloraTcam::invalidPolicerId ) {
        return std::nullopt;
    }
    const Agent::Ptr< const PolicerData > data( new PolicerData( wanted.policer, id ) );
    const bool isNewId = records_.emplace( id, Record{ data, stage, sharing, 1 } ).second;
    AGENT_ASSERT( isNewId && "the SDK gave an id that is in use" );
    if ( sharing == PolicerSharing::shared ) {
        const bool isNewWanted = shared_.emplace( wanted, id ).second;
        AGENT_ASSERT( isNewWanted && "the policer was allocated while the SDK was called" );
    }
    return id;
}

bool PolicerManager::release( PolicerId policerId )
{
    const auto found = records_.find( policerId );
    if ( found == records_.end() ) {
        return false;
    }
    if ( found->second.users > 1 ) {
        --found->second.users;
        return true;
    }
    // Forgotten only once the chip has it back: an exception leaves the record as it was. The call
    // lets go of the activity lock, so nothing found before it is used after it.
    const Record record = found->second;
    helper_->releasePolicer( policerId, record.stage );
    if ( record.sharing == PolicerSharing::shared ) {
        shared_.erase( { record.data->policerCfg(), record.stage } );
    }
    records_.erase( policerId );
    return true;
}

std::size_t PolicerManager::audit() const
{
    // Over a copy: each call lets go of the activity lock, and records may come and go meanwhile.
    const std::map< PolicerId, Record > records = records_;
    for ( const auto& [ id, record ] : records ) {
        helper_->verifyTcamSanity( record.data );
    }
    return records.size();
}

std::size_t PolicerManager::users( PolicerId policerId ) const
{
    const auto found = records_.find( policerId );
    return found == records_.end() ? 0 : found->second.users;
}

bool PolicerManager::WantedOrder::operator()( const Wanted& left, const Wanted& right ) const
{
    const auto fields = []( const Wanted& wanted ) {
        const Policer& policer = wanted.policer;
        return std::tuple( wanted.stage,
                           policer.mode,
                           policer.colorAware,
                           policer.committedRate,
                           policer.committedBurst,
                           policer.peakRate,
                           policer.peakBurst );
    };
    return fields( left ) < fields( right );
}

} // namespace Reference

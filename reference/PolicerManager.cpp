#include "reference/PolicerManager.h"

#include "agent/base/Assert.h"

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

auto PolicerManager::givingBack() const
{
    return [ this ]( const Records::Record& record ) {
        helper_->releasePolicer( record.id, record.key.stage );
    };
}

std::optional< PolicerId >
PolicerManager::acquire( const Policer& policer, StageType stage, PolicerSharing sharing )
{
    const Wanted wanted{ asProgrammed( policer ), stage };
    const bool isShared = sharing == PolicerSharing::shared;
    if ( Records::Record* const equal = isShared ? records_.shared( wanted ) : nullptr ) {
        ++equal->users;
        return equal->id;
    }
    if ( records_.inChip() >= capacity_ ) {
        return std::nullopt;
    }
    PolicerId id = PeloraTcam::invalidPolicerId;
    {
        const Records::Room taken = records_.room();
        id = helper_->getPolicer( wanted.policer, stage );
    }
    if ( id == PeloraTcam::invalidPolicerId ) {
        return std::nullopt;
    }
    const bool isNewId = records_.find( id ) == nullptr;
    AGENT_ASSERT( isNewId && "the SDK gave an id that is in use" );
    const Agent::Ptr< const PolicerData > data( new PolicerData( wanted.policer, id ) );
    const bool isAdded = records_.add( { id, wanted, data, isShared }, givingBack() );
    return isAdded ? id : acquire( policer, stage, sharing );
}

bool PolicerManager::release( PolicerId policerId )
{
    return records_.release( policerId, givingBack() );
}

std::size_t PolicerManager::audit() const
{
    const auto verify = [ this ]( const Records::Record& record ) {
        helper_->verifyTcamSanity( record.value );
        return true;
    };
    return records_.audit( verify, givingBack() );
}

std::size_t PolicerManager::users( PolicerId policerId ) const
{
    const Records::Record* const record = records_.find( policerId );
    return record == nullptr ? 0 : record->users;
}

std::size_t PolicerManager::WantedHash::operator()( const Wanted& wanted ) const
{
    const Policer& policer = wanted.policer;
    std::size_t hash = static_cast< std::size_t >( wanted.stage );
    for ( const std::size_t number :
          { std::size_t( policer.mode ), std::size_t( policer.colorAware ),
            std::size_t( policer.committedRate ), std::size_t( policer.committedBurst ),
            std::size_t( policer.peakRate ), std::size_t( policer.peakBurst ) } ) {
        hash = mixed( hash, number );
    }
    return hash;
}

} // namespace Reference

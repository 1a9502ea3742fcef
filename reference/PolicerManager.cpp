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
    if ( sharing == PolicerSharing::own ) {
        const PolicerId id = make( wanted, false );
        const bool isMade = id != PeloraTcam::invalidPolicerId && record( id, wanted, false );
        return isMade ? std::optional( id ) : std::nullopt;
    }
    for ( ;; ) {
        if ( Records::Record* const equal = records_.shared( wanted ) ) {
            ++equal->users;
            return equal->id;
        }
        const PolicerId id = make( wanted, true );
        if ( id == PeloraTcam::invalidPolicerId ) {
            if ( !records_.waitForAnEqual( wanted ) ) {
                return std::nullopt;
            }
        } else if ( record( id, wanted, true ) ) {
            return id;
        }
    }
}

/// A new policer in the chip; the invalid id when there is no room.
PolicerId PolicerManager::make( const Wanted& wanted, bool isShared )
{
    if ( records_.inChip() >= capacity_ ) {
        return PeloraTcam::invalidPolicerId;
    }
    const Records::Making making( records_, wanted, isShared );
    return helper_->getPolicer( wanted.policer, wanted.stage );
}

/// False when another thread has had an equal one made meanwhile, which is to be shared.
bool PolicerManager::record( PolicerId id, const Wanted& wanted, bool isShared )
{
    const bool isNewId = records_.find( id ) == nullptr;
    AGENT_ASSERT( isNewId && "the SDK gave an id that is in use" );
    const Agent::Ptr< const PolicerData > data( new PolicerData( wanted.policer, id ) );
    return records_.add( { id, wanted, data, isShared }, givingBack() );
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

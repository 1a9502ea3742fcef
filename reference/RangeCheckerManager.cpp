#include "reference/RangeCheckerManager.h"

#include "agent/base/Assert.h"

#include <utility>

namespace Reference {

using PeloraTcam::RangeCheckerData;
using PeloraTcam::RangeCheckerDesc;
using PeloraTcam::RangeCheckerId;

RangeCheckerManager::RangeCheckerManager(
    Agent::Ptr< PeloraTcam::PeloraTcamRangeCheckerHelper > helper )
    : helper_( std::move( helper ) )
{}

auto RangeCheckerManager::givingBack() const
{
    return [ this ]( const Records::Record& record ) { helper_->releaseRangeChecker( record.id ); };
}

std::optional< RangeCheckerId > RangeCheckerManager::acquire( const RangeCheckerDesc& wanted )
{
    const RangeCheckerDesc desc = wanted; // A copy: it may change while the locks are free.
    for ( ;; ) {
        if ( Records::Record* const equal = records_.shared( desc ) ) {
            ++equal->users;
            return equal->id;
        }
        const RangeCheckerId id = make( desc );
        if ( id == PeloraTcam::invalidRangeCheckerId ) {
            // Unless it was an equal one, of another thread, that took the last room.
            if ( !records_.waitForAnEqual( desc ) ) {
                return std::nullopt;
            }
        } else if ( record( id, desc ) ) {
            return id;
        }
    }
}

RangeCheckerId RangeCheckerManager::make( const RangeCheckerDesc& desc )
{
    const Records::Making making( records_, desc );
    return helper_->getRangeChecker( desc );
}

/// False when another thread has had an equal one made meanwhile, which is to be shared.
bool RangeCheckerManager::record( RangeCheckerId id, const RangeCheckerDesc& desc )
{
    const bool isNewId = records_.find( id ) == nullptr;
    AGENT_ASSERT( isNewId && "the SDK gave an id that is in use" );
    const Agent::Ptr< const RangeCheckerData > data( new RangeCheckerData( desc, id ) );
    return records_.add( { id, desc, data }, givingBack() );
}

bool RangeCheckerManager::release( RangeCheckerId rangeCheckerId )
{
    return records_.release( rangeCheckerId, givingBack() );
}

std::size_t RangeCheckerManager::audit() const
{
    const auto verify = [ this ]( const Records::Record& record ) {
        helper_->verifyTcamSanity( record.value );
        return true;
    };
    return records_.audit( verify, givingBack() );
}

std::size_t RangeCheckerManager::users( RangeCheckerId rangeCheckerId ) const
{
    const Records::Record* const record = records_.find( rangeCheckerId );
    return record == nullptr ? 0 : record->users;
}

std::size_t RangeCheckerManager::DescHash::operator()( const RangeCheckerDesc& desc ) const
{
    return mixed( mixed( static_cast< std::size_t >( desc.type ), desc.low ), desc.high );
}

} // namespace Reference

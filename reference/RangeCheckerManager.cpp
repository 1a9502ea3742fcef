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

std::optional< RangeCheckerId > RangeCheckerManager::acquire( const RangeCheckerDesc& desc )
{
    if ( Records::Record* const equal = records_.shared( desc ) ) {
        ++equal->users;
        return equal->id;
    }
    const RangeCheckerId id = helper_->getRangeChecker( desc );
    if ( id == PeloraTcam::invalidRangeCheckerId ) {
        // Unless it was an equal one, of another thread, that took the last room.
        return records_.shared( desc ) == nullptr ? std::nullopt : acquire( desc );
    }
    const bool isNewId = records_.find( id ) == nullptr;
    AGENT_ASSERT( isNewId && "the SDK gave an id that is in use" );
    const Agent::Ptr< const RangeCheckerData > data( new RangeCheckerData( desc, id ) );
    return records_.add( { id, desc, data }, givingBack() ) ? id : acquire( desc );
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

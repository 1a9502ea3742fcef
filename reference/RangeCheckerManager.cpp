#include "reference/RangeCheckerManager.h"

#include "agent/base/Assert.h"

#include <tuple>
#include <utility>

namespace Reference {

using PeloraTcam::RangeCheckerData;
using PeloraTcam::RangeCheckerDesc;
using PeloraTcam::RangeCheckerId;

RangeCheckerManager::RangeCheckerManager(
    Agent::Ptr< PeloraTcam::PeloraTcamRangeCheckerHelper > helper )
    : helper_( std::move( helper ) )
{}

std::optional< RangeCheckerId > RangeCheckerManager::acquire( const RangeCheckerDesc& desc )
{
    const auto shared = idByDesc_.find( desc );
    if ( shared != idByDesc_.end() ) {
        ++records_.at( shared->second ).users;
        return shared->second;
    }
    const RangeCheckerId id = helper_->getRangeChecker( desc );
    if ( id == PeloraTcam::invalidRangeCheckerId ) {
        return std::nullopt;
    }
    const Agent::Ptr< const RangeCheckerData > data( new RangeCheckerData( desc, id ) );
    const bool isNewId = records_.emplace( id, Record{ data, 1 } ).second;
    const bool isNewDesc = idByDesc_.emplace( desc, id ).second;
    AGENT_ASSERT( isNewId && "the SDK gave an id that is in use" );
    AGENT_ASSERT( isNewDesc && "the range was allocated while the SDK was called" );
    return id;
}

bool RangeCheckerManager::release( RangeCheckerId rangeCheckerId )
{
    const auto found = records_.find( rangeCheckerId );
    if ( found == records_.end() ) {
        return false;
    }
    if ( found->second.users > 1 ) {
        --found->second.users;
        return true;
    }
    // Forgotten only once the chip has it back: an exception leaves the record as it was. The call
    // lets go of the activity lock, so nothing found before it is used after it.
    const RangeCheckerDesc desc = found->second.data->checkerDesc();
    helper_->releaseRangeChecker( rangeCheckerId );
    idByDesc_.erase( desc );
    records_.erase( rangeCheckerId );
    return true;
}

std::size_t RangeCheckerManager::audit() const
{
    // Over a copy: each call lets go of the activity lock, and records may come and go meanwhile.
    const std::map< RangeCheckerId, Record > records = records_;
    for ( const auto& [ id, record ] : records ) {
        helper_->verifyTcamSanity( record.data );
    }
    return records.size();
}

std::size_t RangeCheckerManager::users( RangeCheckerId rangeCheckerId ) const
{
    const auto found = records_.find( rangeCheckerId );
    return found == records_.end() ? 0 : found->second.users;
}

bool RangeCheckerManager::DescOrder::operator()( const RangeCheckerDesc& left,
                                                 const RangeCheckerDesc& right ) const
{
    return std::tie( left.type, left.low, left.high ) <
           std::tie( right.type, right.low, right.high );
}

} // namespace Reference

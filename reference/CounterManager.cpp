#include "reference/CounterManager.h"

#include "agent/base/Assert.h"
#include "agent/tcam/FlexctrServices.h"
#include "agent/tcam/SdkFlexctrManager.h"
#include "sdk/SdkCall.h"

#include <utility>

namespace Reference {

using PeloraTcam::CounterInfo;
using PeloraTcam::CounterSet;
using PeloraTcam::CounterStatus;
using PeloraTcam::CounterType;
using PeloraTcam::TcamEntryId;

namespace {

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

} // namespace

CounterSet packetsAndBytes()
{
    return { { CounterType::bytes, true }, { CounterType::packets, true } };
}

CounterManager::CounterManager( Agent::Ptr< PeloraTcam::PeloraTcamCounterHelper > helper,
                                SdkVariant variant )
    : helper_( std::move( helper ) )
    , variant_( variant )
{}

bool CounterManager::allocate( const CounterRequest& request )
{
    AGENT_ASSERT( !records_.contains( request.entryId ) && "the entry has counters" );
    const CounterInfo info = helper_->allocateCounter( request.stage,
                                                       request.logicalGroupId,
                                                       request.entryId,
                                                       request.counterSet,
                                                       request.priority );
    if ( info == CounterInfo{} ) {
        return false;
    }
    const bool isNew = records_.emplace( request.entryId, Record{ info, request.priority } ).second;
    AGENT_ASSERT( isNew && "the entry was given counters while the SDK was called" );
    return true;
}

bool CounterManager::free( TcamEntryId entryId )
{
    const auto found = records_.find( entryId );
    if ( found == records_.end() ) {
        return false;
    }
    // Forgotten only once the chip has them back: an exception leaves the record as it was. The
    // call lets go of the activity lock, so nothing found before it is used after it.
    const Record record = found->second;
    if ( variant_ == SdkVariant::hsdk ) {
        helper_->clearHitsForEntry( record.info ); // Its counters stay in their object.
    }
    helper_->freeCounter(
        record.info.stage, record.info.logicalGroupId, entryId, record.info, record.priority );
    records_.erase( entryId );
    return true;
}

std::optional< Hits > CounterManager::hits( TcamEntryId entryId ) const
{
    const CounterInfo* found = find( entryId );
    if ( found == nullptr ) {
        return std::nullopt;
    }
    const CounterInfo info = *found;
    Hits hits;
    hits.packets = helper_->getPacketHits( info );
    hits.bytes = helper_->getByteHits( info );
    return hits;
}

bool CounterManager::clear( TcamEntryId entryId )
{
    const CounterInfo* found = find( entryId );
    if ( found == nullptr ) {
        return false;
    }
    const CounterInfo info = *found;
    helper_->clearHitsForEntry( info );
    return true;
}

const CounterInfo* CounterManager::find( TcamEntryId entryId ) const
{
    const auto found = records_.find( entryId );
    return found == records_.end() ? nullptr : &found->second.info;
}

// ---- Audit -----------------------------------------------------------------------------------

std::size_t CounterManager::audit() const
{
    // Over a copy: each call lets go of the activity lock, and records may come and go meanwhile.
    const std::map< TcamEntryId, Record > records = records_;
    for ( const auto& [ entryId, record ] : records ) {
        verify( record.info );
    }
    return records.size();
}

void CounterManager::verify( const CounterInfo& info ) const
{
    CounterStatus status;
    for ( const auto& [ type, wanted ] : info.counterSet ) {
        status.emplace( type, 0 );
    }
    helper_->verifyCounters( info.statId, status );
    if ( variant_ == SdkVariant::sdk6 ) {
        verifyStatistic( info );
    } else {
        verifyFlexCounters( info );
    }
}

void CounterManager::verifyStatistic( const CounterInfo& info ) const
{
    const int unit = static_cast< int >( helper_->unit() );
    const auto entry = static_cast< bcm_field_entry_t >( info.entryId );
    int statId = 0;
    SDK_CHECKED_CALL( bcm_field_entry_stat_get, unit, entry, &statId );
    AGENT_ASSERT( statId == static_cast< int >( info.statId ) );
}

/// Each pair of types has a counter of its own, under the index that the agent has recorded.
void CounterManager::verifyFlexCounters( const CounterInfo& info ) const
{
    const int unit = static_cast< int >( helper_->unit() );
    const auto entry = static_cast< bcm_field_entry_t >( info.entryId );
    for ( const auto& [ type, wanted ] : info.counterSet ) {
        const bcm_flexctr_color_t color =
            PeloraTcam::flexctrColorOf( PeloraTcam::packetTypeOfPair( type ) );
        const Agent::S32 recorded = helper_->getCounterHwIdx( info.entryId, type, info.stage );
        Agent::U32 object = 0;
        Agent::U32 index = 0;
        SDK_CHECKED_CALL( bcm_field_entry_flexctr_get, unit, entry, color, &object, &index );
        AGENT_ASSERT( index == static_cast< Agent::U32 >( recorded ) );
    }
}

} // namespace Reference

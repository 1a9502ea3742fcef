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

/// Makes a record for counters that are yet to be made, in whose turn they are. False when another
/// thread has given the entry counters meanwhile.
bool CounterManager::begin( TcamEntryId entryId )
{
    bool hasWaited = false;
    for ( ;; ) {
        const auto [ place, isNew ] = records_.try_emplace( entryId );
        if ( isNew ) {
            return true;
        }
        if ( !place->second.underWay ) {
            AGENT_ASSERT( hasWaited && "the entry has counters" );
            return false;
        }
        waitForTheEndOfATurn();
        hasWaited = true;
    }
}

bool CounterManager::allocate( const CounterRequest& wanted )
{
    const CounterRequest request = wanted; // A copy: it may change while the locks are free.
    if ( !begin( request.entryId ) ) {
        return false;
    }
    Turn turn( records_, request.entryId );
    try {
        const CounterInfo info =
            helper_->allocateCounter( request.stage, request.logicalGroupId, request.entryId,
                                      request.counterSet, request.priority );
        if ( info == CounterInfo{} ) {
            static_cast< void >( turn.takeOut() );
            return false;
        }
        Record& record = turn.record();
        record.info = info;
        record.priority = request.priority;
        record.isMade = true;
    } catch ( ... ) {
        static_cast< void >( turn.takeOut() );
        throw;
    }
    return true;
}

bool CounterManager::free( TcamEntryId entryId )
{
    Turn turn( records_, entryId );
    if ( !turn ) {
        return false;
    }
    const Record record = turn.record();
    if ( variant_ == SdkVariant::hsdk ) {
        helper_->clearHitsForEntry( record.info ); // Its counters stay in their object.
    }
    turn.record().isPartlyFreed = true; // Unless all calls return.
    if ( record.isPartlyFreed && isDetached( record.info ) ) {
        destroyStatistic( record.info );
    } else {
        helper_->freeCounter( record.info.stage, record.info.logicalGroupId, entryId, record.info,
                              record.priority );
    }
    // Only now: until then nobody can give the entry counters again.
    static_cast< void >( turn.takeOut() );
    return true;
}

/// Whether the helper, which detaches a statistic and then destroys it, had come as far as that
/// when the SDK threw.
bool CounterManager::isDetached( const CounterInfo& info ) const
{
    if ( variant_ == SdkVariant::hsdk ) {
        return false; // Detaching goes on where the SDK threw.
    }
    const int unit = static_cast< int >( helper_->unit() );
    const auto entry = static_cast< bcm_field_entry_t >( info.entryId );
    int statId = 0;
    const int rc = SDK_TRACED_CALL( bcm_field_entry_stat_get, unit, entry, &statId );
    return rc < 0 || statId != static_cast< int >( info.statId );
}

void CounterManager::destroyStatistic( const CounterInfo& info ) const
{
    const int unit = static_cast< int >( helper_->unit() );
    const int statId = static_cast< int >( info.statId );
    SDK_CHECKED_CALL( bcm_field_stat_destroy, unit, statId );
}

std::optional< Hits > CounterManager::hits( TcamEntryId entryId ) const
{
    const Turn turn( records_, entryId );
    if ( !turn ) {
        return std::nullopt;
    }
    const CounterInfo info = turn.record().info;
    Hits hits;
    hits.packets = helper_->getPacketHits( info );
    hits.bytes = helper_->getByteHits( info );
    return hits;
}

bool CounterManager::clear( TcamEntryId entryId )
{
    const Turn turn( records_, entryId );
    if ( !turn ) {
        return false;
    }
    const CounterInfo info = turn.record().info;
    helper_->clearHitsForEntry( info );
    return true;
}

const CounterInfo* CounterManager::find( TcamEntryId entryId ) const
{
    const auto found = records_.find( entryId );
    const bool isThere = found != records_.end() && found->second.isMade;
    return isThere ? &found->second.info : nullptr;
}

// ---- Audit -----------------------------------------------------------------------------------

std::size_t CounterManager::audit() const
{
    std::size_t compared = 0;
    for ( const TcamEntryId entryId : idsOf( records_ ) ) {
        // In a turn, because the helper takes counters that have gone meanwhile for a failure.
        if ( const Turn turn( records_, entryId ); turn && !turn.record().isPartlyFreed ) {
            const CounterInfo info = turn.record().info;
            verify( info );
            ++compared;
        }
    }
    return compared;
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

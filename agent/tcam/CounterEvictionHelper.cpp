#include "agent/tcam/CounterEvictionHelper.h"

#include "sdk/SdkAccess.h"

#include <utility>

namespace PeloraTcam {

PeloraTcamSdk6CounterEvictionHelper::PeloraTcamSdk6CounterEvictionHelper( unsigned counterBits )
    : counterMask_( counterMask( counterBits ) )
{}

// Here and not wherever a reference to it ends.
PeloraTcamSdk6CounterEvictionHelper::~PeloraTcamSdk6CounterEvictionHelper() = default;

int PeloraTcamSdk6CounterEvictionHelper::fieldStatGetPackets( Agent::U32 unit,
                                                              Agent::U32 statId,
                                                              bcm_field_stat_t statType,
                                                              Agent::U64* value )
{
    return read( { unit, statId, statType }, &Sums::packets, value );
}

int PeloraTcamSdk6CounterEvictionHelper::fieldStatGetBytes( Agent::U32 unit,
                                                            Agent::U32 statId,
                                                            bcm_field_stat_t statType,
                                                            Agent::U64* value )
{
    return read( { unit, statId, statType }, &Sums::bytes, value );
}

// Guarded as a whole: two readings must be accumulated in the order in which they were taken.
int PeloraTcamSdk6CounterEvictionHelper::read( const Key& key,
                                               CounterSum Sums::*sum,
                                               Agent::U64* value )
{
    const auto& [ unit, statId, statType ] = key;
    const std::lock_guard lock( mutex_ );
    Agent::U64 reading = 0;
    const int rc = Shim::sdk().bcm_field_stat_get(
        static_cast< int >( unit ), static_cast< int >( statId ), statType, &reading );
    if ( rc >= 0 ) {
        *value = ( sums_[ key ].*sum ).readingIs( reading, counterMask_ );
    }
    return rc;
}

void PeloraTcamSdk6CounterEvictionHelper::clearEvictionCounter(
    Agent::U32 unit, Agent::U32 statId, bcm_field_stat_t statType, bool packets, bool bytes )
{
    const std::lock_guard lock( mutex_ );
    const auto found = sums_.find( { unit, statId, statType } );
    if ( found == sums_.end() ) {
        return;
    }
    if ( packets ) {
        found->second.packets.clear();
    }
    if ( bytes ) {
        found->second.bytes.clear();
    }
}

void PeloraTcamSdk6CounterEvictionHelper::statisticCreated(
    Agent::U32 unit, Agent::U32 statId, std::span< const bcm_field_stat_t > statTypes )
{
    const std::lock_guard lock( mutex_ );
    forget( unit, statId );
    for ( const bcm_field_stat_t statType : statTypes ) {
        sums_.try_emplace( { unit, statId, statType } );
    }
}

void PeloraTcamSdk6CounterEvictionHelper::statisticDestroyed( Agent::U32 unit, Agent::U32 statId )
{
    const std::lock_guard lock( mutex_ );
    forget( unit, statId );
}

void PeloraTcamSdk6CounterEvictionHelper::forget( Agent::U32 unit, Agent::U32 statId )
{
    const auto first = sums_.lower_bound( { unit, statId, bcm_field_stat_t{} } );
    auto last = first;
    while ( last != sums_.end() && std::get< 0 >( last->first ) == unit &&
            std::get< 1 >( last->first ) == statId ) {
        ++last;
    }
    sums_.erase( first, last );
}

std::size_t PeloraTcamSdk6CounterEvictionHelper::accumulated() const
{
    const std::lock_guard lock( mutex_ );
    return sums_.size();
}

BaseSdk6InitFunc::BaseSdk6InitFunc(
    Agent::Ptr< PeloraTcamSdk6CounterEvictionHelper > evictionHelper )
    : evictionHelper_( std::move( evictionHelper ) )
{}

BaseSdk6InitFunc::~BaseSdk6InitFunc() = default;

} // namespace PeloraTcam

#include "agent/tcam/CounterEvictionHelper.h"

#include <vector>

namespace PeloraTcam {

namespace {

Agent::U32 number( int sdkNumber )
{
    return static_cast< Agent::U32 >( sdkNumber );
}

} // namespace

PeloraTcamSdk6CounterEvictionHelper::PeloraTcamSdk6CounterEvictionHelper( unsigned counterBits )
    : counterMask_( counterMask( counterBits ) )
{}

// Here and not wherever a reference to it ends.
PeloraTcamSdk6CounterEvictionHelper::~PeloraTcamSdk6CounterEvictionHelper() = default;

// ---- Reading and clearing --------------------------------------------------------------------

int PeloraTcamSdk6CounterEvictionHelper::fieldStatGetPackets( Agent::U32 unit,
                                                              Agent::U32 statId,
                                                              bcm_field_stat_t statType,
                                                              Agent::U64* value )
{
    return read( { unit, statId }, statType, &Sums::packets, value );
}

int PeloraTcamSdk6CounterEvictionHelper::fieldStatGetBytes( Agent::U32 unit,
                                                            Agent::U32 statId,
                                                            bcm_field_stat_t statType,
                                                            Agent::U64* value )
{
    return read( { unit, statId }, statType, &Sums::bytes, value );
}

// Guarded as a whole: two readings must be accumulated in the order in which they were taken.
int PeloraTcamSdk6CounterEvictionHelper::read( const Key& key,
                                               bcm_field_stat_t statType,
                                               CounterSum Sums::*sum,
                                               Agent::U64* value )
{
    const auto& [ unit, statId ] = key;
    const Held statistic = findOrMake( key );
    const std::lock_guard lock( statistic->mutex );
    Agent::U64 reading = 0;
    const int rc = Shim::sdk().bcm_field_stat_get(
        static_cast< int >( unit ), static_cast< int >( statId ), statType, &reading );
    if ( rc >= 0 ) {
        *value = ( statistic->sums[ statType ].*sum ).readingIs( reading, counterMask_ );
    } else {
        forgetIfEmpty( key, statistic );
    }
    return rc;
}

void PeloraTcamSdk6CounterEvictionHelper::clearEvictionCounter(
    Agent::U32 unit, Agent::U32 statId, bcm_field_stat_t statType, bool packets, bool bytes )
{
    const Held statistic = find( { unit, statId } );
    if ( !statistic ) {
        return;
    }
    const std::lock_guard lock( statistic->mutex );
    const auto found = statistic->sums.find( statType );
    if ( found == statistic->sums.end() ) {
        return;
    }
    if ( packets ) {
        found->second.packets.clear();
    }
    if ( bytes ) {
        found->second.bytes.clear();
    }
}

// ---- What changes counters otherwise ---------------------------------------------------------

int PeloraTcamSdk6CounterEvictionHelper::fieldStatCreate( Shim::SdkAccess& sdk,
                                                          int unit,
                                                          bcm_field_group_t group,
                                                          std::span< bcm_field_stat_t > statTypes,
                                                          int* statId )
{
    const int rc = sdk.bcm_field_stat_create( unit, group, static_cast< int >( statTypes.size() ),
                                              statTypes.data(), statId );
    if ( rc >= 0 ) {
        const auto made = std::make_shared< Statistic >();
        for ( const bcm_field_stat_t statType : statTypes ) {
            made->sums.try_emplace( statType );
        }
        const std::lock_guard lock( mutex_ );
        statistics_.insert_or_assign( { number( unit ), number( *statId ) }, made );
    }
    return rc;
}

int PeloraTcamSdk6CounterEvictionHelper::fieldStatDestroy( Shim::SdkAccess& sdk,
                                                           int unit,
                                                           int statId )
{
    const Key key( number( unit ), number( statId ) );
    const Held destroyed = find( key );
    const int rc = sdk.bcm_field_stat_destroy( unit, statId );
    if ( rc >= 0 ) {
        const std::lock_guard lock( mutex_ );
        const auto found = statistics_.find( key );
        // The SDK may have given the id to a new one already, which stays.
        if ( found != statistics_.end() && found->second == destroyed ) {
            statistics_.erase( found );
        }
    }
    return rc;
}

// Guarded as a whole: a reading is of before the setting, or of after it.
int PeloraTcamSdk6CounterEvictionHelper::fieldStatSet(
    Shim::SdkAccess& sdk, int unit, int statId, bcm_field_stat_t statType, Agent::U64 value )
{
    const Key key( number( unit ), number( statId ) );
    const Held statistic = findOrMake( key );
    const std::lock_guard lock( statistic->mutex );
    const int rc = sdk.bcm_field_stat_set( unit, statId, statType, value );
    if ( rc < 0 ) {
        forgetIfEmpty( key, statistic );
    }
    const auto found = statistic->sums.find( statType );
    if ( rc >= 0 && found != statistic->sums.end() ) {
        found->second.packets.counterIsSetTo( value );
        found->second.bytes.counterIsSetTo( value );
    }
    return rc;
}

// ---- The table -------------------------------------------------------------------------------

PeloraTcamSdk6CounterEvictionHelper::Held
PeloraTcamSdk6CounterEvictionHelper::find( const Key& key ) const
{
    const std::lock_guard lock( mutex_ );
    const auto found = statistics_.find( key );
    return found == statistics_.end() ? nullptr : found->second;
}

PeloraTcamSdk6CounterEvictionHelper::Held
PeloraTcamSdk6CounterEvictionHelper::findOrMake( const Key& key )
{
    const std::lock_guard lock( mutex_ );
    const auto found = statistics_.find( key );
    if ( found != statistics_.end() ) {
        return found->second;
    }
    return statistics_.emplace( key, std::make_shared< Statistic >() ).first->second;
}

// With the statistic's guard held.
void PeloraTcamSdk6CounterEvictionHelper::forgetIfEmpty( const Key& key, const Held& statistic )
{
    if ( !statistic->sums.empty() ) {
        return;
    }
    const std::lock_guard lock( mutex_ );
    const auto found = statistics_.find( key );
    if ( found != statistics_.end() && found->second == statistic ) {
        statistics_.erase( found );
    }
}

std::size_t PeloraTcamSdk6CounterEvictionHelper::accumulated() const
{
    std::vector< Held > all;
    {
        const std::lock_guard lock( mutex_ );
        for ( const auto& [ key, statistic ] : statistics_ ) {
            all.push_back( statistic );
        }
    }
    std::size_t count = 0;
    for ( const Held& statistic : all ) {
        const std::lock_guard lock( statistic->mutex );
        count += statistic->sums.size();
    }
    return count;
}

BaseSdk6InitFunc::BaseSdk6InitFunc(
    Agent::Ptr< PeloraTcamSdk6CounterEvictionHelper > evictionHelper )
    : evictionHelper_( std::move( evictionHelper ) )
{}

BaseSdk6InitFunc::~BaseSdk6InitFunc() = default;

} // namespace PeloraTcam

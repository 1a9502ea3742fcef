#pragma once

/// Tells the counter eviction helper of the statistics that the SDK makes and destroys.
///
/// An access object to stand in front of the chip's: it hands everything on. Several threads may
/// call it.
///
///     Agent::Ptr< PeloraTcamSdk6CounterEvictionHelper > eviction( ... );
///     CounterEvictionSdk sdk( vendorSdk, eviction );
///     Shim::sdk_ = &sdk;

#include "agent/tcam/CounterEvictionHelper.h"
#include "sdk/ForwardingSdk.h"

#include <mutex>
#include <utility>

namespace PeloraTcam {

/// An access object that tells the eviction helper of statistics that come and go.
class CounterEvictionSdk : public Shim::ForwardingSdk
{
  public:
    /// `next` must outlive this; `eviction` is not null.
    CounterEvictionSdk( Shim::SdkAccess& next,
                        Agent::Ptr< PeloraTcamSdk6CounterEvictionHelper > eviction )
        : ForwardingSdk( next )
        , eviction_( std::move( eviction ) )
    {}

    int bcm_field_stat_create( int unit,
                               bcm_field_group_t group,
                               int statCount,
                               bcm_field_stat_t* stats,
                               int* statId ) override
    {
        const std::lock_guard lock( mutex_ );
        const int rc = next().bcm_field_stat_create( unit, group, statCount, stats, statId );
        if ( rc >= 0 ) {
            eviction_->statisticCreated( static_cast< Agent::U32 >( unit ),
                                         static_cast< Agent::U32 >( *statId ),
                                         { stats, static_cast< std::size_t >( statCount ) } );
        }
        return rc;
    }

    int bcm_field_stat_destroy( int unit, int statId ) override
    {
        const std::lock_guard lock( mutex_ );
        const int rc = next().bcm_field_stat_destroy( unit, statId );
        if ( rc >= 0 ) {
            eviction_->statisticDestroyed( static_cast< Agent::U32 >( unit ),
                                           static_cast< Agent::U32 >( statId ) );
        }
        return rc;
    }

  private:
    const Agent::Ptr< PeloraTcamSdk6CounterEvictionHelper > eviction_;
    // No statistic is made under an id before the one that had it has been forgotten.
    std::mutex mutex_;
};

} // namespace PeloraTcam

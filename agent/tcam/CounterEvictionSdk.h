#pragma once

/// Lets the counter eviction helper know when the SDK makes, destroys and sets statistics.
///
/// An access object to stand in front of the chip's: it hands everything on. Several threads may
/// call it.
///
///     Agent::Ptr< PeloraTcamSdk6CounterEvictionHelper > eviction( ... );
///     CounterEvictionSdk sdk( vendorSdk, eviction );
///     Shim::sdk_ = &sdk;

#include "agent/tcam/CounterEvictionHelper.h"
#include "sdk/ForwardingSdk.h"

#include <cstddef>
#include <utility>

namespace PeloraTcam {

/// An access object whose statistics are made, destroyed and set through an eviction helper.
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
        return eviction_->fieldStatCreate(
            next(), unit, group, { stats, static_cast< std::size_t >( statCount ) }, statId );
    }

    int bcm_field_stat_destroy( int unit, int statId ) override
    {
        return eviction_->fieldStatDestroy( next(), unit, statId );
    }

    int bcm_field_stat_set( int unit, int statId, bcm_field_stat_t stat, uint64_t value ) override
    {
        return eviction_->fieldStatSet( next(), unit, statId, stat, value );
    }

  private:
    const Agent::Ptr< PeloraTcamSdk6CounterEvictionHelper > eviction_;
};

} // namespace PeloraTcam

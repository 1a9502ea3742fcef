#pragma once

/// An SDK with nothing but statistics, which hands out the lowest free id at once again: what the
/// simulated chip puts off for as long as it can.
///
///     ReusingStatSdk sdk( 8 );                    // counters of 8 bits
///     sdk.counted( id, type, 300 );
///     sdk.bcm_field_stat_get( 0, id, type, &value );   // 44

#include "sim/UnavailableSdk.h"

#include <cstdint>
#include <map>

namespace TestSupport {

class ReusingStatSdk : public Sim::UnavailableSdk
{
  public:
    explicit ReusingStatSdk( unsigned counterBits,
                             const Sim::SdkNumbering& numbering = Sim::SdkNumbering::defaults() )
        : UnavailableSdk( numbering )
        , mask_( ~uint64_t{ 0 } >> ( 64 - counterBits ) )
    {}

    int bcm_field_stat_create(
        int, bcm_field_group_t, int statCount, bcm_field_stat_t* stats, int* statId ) override
    {
        int id = 1;
        while ( counters_.contains( id ) ) {
            ++id;
        }
        for ( int i = 0; i < statCount; ++i ) {
            counters_[ id ][ stats[ i ] ] = 0;
        }
        *statId = id;
        return 0;
    }

    int bcm_field_stat_destroy( int, int statId ) override
    {
        return counters_.erase( statId ) == 1 ? 0 : Sim::ReturnCode::BCM_E_NOT_FOUND;
    }

    int bcm_field_stat_set( int, int statId, bcm_field_stat_t stat, uint64_t value ) override
    {
        return write( statId, stat, [ value ]( uint64_t ) { return value; } );
    }

    int bcm_field_stat_get( int, int statId, bcm_field_stat_t stat, uint64_t* value ) override
    {
        return write( statId, stat, [ value ]( uint64_t now ) { return *value = now; } );
    }

    int bcm_field_entry_stat_attach( int, bcm_field_entry_t, int ) override { return 0; }

    int bcm_field_entry_stat_detach( int, bcm_field_entry_t, int ) override { return 0; }

    /// Lets a counter count on.
    int counted( int statId, bcm_field_stat_t stat, uint64_t amount )
    {
        return write( statId, stat, [ & ]( uint64_t now ) { return ( now + amount ) & mask_; } );
    }

  private:
    template< class Change >
    int write( int statId, bcm_field_stat_t stat, const Change& change )
    {
        const auto found = counters_.find( statId );
        if ( found == counters_.end() || !found->second.contains( stat ) ) {
            return Sim::ReturnCode::BCM_E_NOT_FOUND;
        }
        uint64_t& counter = found->second.at( stat );
        counter = change( counter );
        return 0;
    }

    uint64_t mask_;
    std::map< int, std::map< bcm_field_stat_t, uint64_t > > counters_;
};

} // namespace TestSupport

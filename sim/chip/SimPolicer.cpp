#include "sim/chip/SimPolicer.h"

#include "sim/values/ReturnCode.h"

#include <string>

namespace Sim {

namespace {

std::string flagsText( uint32_t flags )
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for ( ; flags != 0 || text.empty(); flags /= 16 ) {
        text.insert( text.begin(), digits[ flags % 16 ] );
    }
    return "0x" + text;
}

} // namespace

SimPolicer::SimPolicer( const SdkNumbering& numbering, uint32_t capacity )
    : numbering_( numbering )
    , capacity_( capacity )
{}

bool SimPolicer::isMode( bcm_policer_mode_t mode ) const
{
    return mode == numbering_.bcmPolicerModeCommitted || mode == numbering_.bcmPolicerModeSrTcm ||
           mode == numbering_.bcmPolicerModeTrTcm;
}

int SimPolicer::create( const bcm_policer_config_t* config, bcm_policer_t* policerId )
{
    if ( config == nullptr || policerId == nullptr || !isMode( config->mode ) ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const bool idGiven = ( config->flags & withIdFlag ) != 0;
    if ( idGiven && *policerId <= 0 ) {
        return ReturnCode::BCM_E_PARAM;
    }
    if ( idGiven && has( *policerId ) ) {
        return ReturnCode::BCM_E_EXISTS;
    }
    if ( used() >= capacity_ ) {
        return ReturnCode::BCM_E_FULL;
    }
    if ( !idGiven ) {
        *policerId = nextId();
    }
    bcm_policer_config_t& made = policers_[ *policerId ];
    made = *config;
    made.flags &= ~withIdFlag;
    serials_[ *policerId ] = ++lastSerial_;
    return ReturnCode::BCM_E_NONE;
}

bcm_policer_t SimPolicer::nextId()
{
    return static_cast< bcm_policer_t >( ids_.next(
        [ this ]( uint32_t id ) { return has( static_cast< bcm_policer_t >( id ) ); } ) );
}

int SimPolicer::destroy( bcm_policer_t policerId )
{
    if ( !has( policerId ) ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( useChecks_.isInUse( policerId ) ) {
        return ReturnCode::BCM_E_BUSY;
    }
    policers_.erase( policerId );
    serials_.erase( policerId );
    return ReturnCode::BCM_E_NONE;
}

int SimPolicer::get( bcm_policer_t policerId, bcm_policer_config_t* config ) const
{
    if ( config == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const auto found = policers_.find( policerId );
    if ( found == policers_.end() ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    *config = found->second;
    return ReturnCode::BCM_E_NONE;
}

bool SimPolicer::flip( bcm_policer_t policerId, const SoftError& error )
{
    const auto found = policers_.find( policerId );
    if ( found == policers_.end() ) {
        return false;
    }
    bcm_policer_config_t& policer = found->second;
    uint32_t& held = error.field == "ckbits_sec"     ? policer.ckbits_sec
                     : error.field == "ckbits_burst" ? policer.ckbits_burst
                     : error.field == "pkbits_sec"   ? policer.pkbits_sec
                                                     : policer.pkbits_burst;
    held ^= 1U << error.bit;
    return true;
}

void SimPolicer::addTo( ChipSnapshot& snapshot ) const
{
    for ( const auto& [ id, policer ] : policers_ ) {
        snapshot.add( "policer " + std::to_string( id ),
                      { { "mode", numbering_.nameOf( policer.mode ) },
                        { "flags", flagsText( policer.flags ) },
                        { "ckbits_sec", std::to_string( policer.ckbits_sec ) },
                        { "ckbits_burst", std::to_string( policer.ckbits_burst ) },
                        { "pkbits_sec", std::to_string( policer.pkbits_sec ) },
                        { "pkbits_burst", std::to_string( policer.pkbits_burst ) } } );
    }
}

} // namespace Sim

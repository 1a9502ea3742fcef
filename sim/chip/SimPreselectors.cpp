#include "sim/chip/SimPreselectors.h"

#include "sim/values/ReturnCode.h"

#include <string>

namespace Sim {

SimPreselectors::SimPreselectors( const SdkNumbering& numbering, uint32_t capacity )
    : numbering_( numbering )
    , capacity_( capacity )
{}

int SimPreselectors::create( bcm_field_presel_t* presel )
{
    if ( presel == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    if ( used() >= capacity_ ) {
        return ReturnCode::BCM_E_FULL;
    }
    *presel = static_cast< bcm_field_presel_t >( ids_.next(
        [ this ]( uint32_t id ) { return has( static_cast< bcm_field_presel_t >( id ) ); } ) );
    preselectors_.emplace( *presel, FieldCriteria() );
    return ReturnCode::BCM_E_NONE;
}

int SimPreselectors::destroy( bcm_field_presel_t presel )
{
    return preselectors_.erase( presel ) == 0 ? ReturnCode::BCM_E_NOT_FOUND
                                              : ReturnCode::BCM_E_NONE;
}

int SimPreselectors::qualify( bcm_field_presel_t presel,
                              bcm_field_qualify_t qualifier,
                              const FieldMatch& match )
{
    const auto found = preselectors_.find( presel );
    if ( found == preselectors_.end() ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( !isValid( match ) ) {
        return ReturnCode::BCM_E_PARAM;
    }
    found->second.matchIs( qualifier, match );
    return ReturnCode::BCM_E_NONE;
}

int SimPreselectors::qualifySourceClasses( bcm_field_presel_t presel,
                                           const bcm_field_src_class_t* data,
                                           const bcm_field_src_class_t* mask )
{
    const auto found = preselectors_.find( presel );
    if ( found == preselectors_.end() ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( data == nullptr || mask == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    found->second.sourceClassesAre( numbering_, sourceClassMatches( numbering_, *data, *mask ) );
    return ReturnCode::BCM_E_NONE;
}

void SimPreselectors::addTo( ChipSnapshot& snapshot ) const
{
    for ( const auto& [ id, criteria ] : preselectors_ ) {
        snapshot.add( "preselector " + std::to_string( id ), criteria.fields( numbering_ ) );
    }
}

} // namespace Sim

#include "sim/chip/SimFieldGroups.h"

#include "sim/chip/FieldCriteria.h"
#include "sim/values/ReturnCode.h"
#include "sim/values/SimSets.h"

#include <algorithm>
#include <string>
#include <vector>

namespace Sim {

namespace {

template< class Member >
bool allKnown( const SdkNumbering& numbering, const SetWords& words )
{
    return std::ranges::all_of( membersOf( words ), [ & ]( uint32_t member ) {
        return numbering.has( static_cast< Member >( member ) );
    } );
}

template< class Enumeration >
bool knownOrNotGiven( const SdkNumbering& numbering, Enumeration value )
{
    return value == Enumeration{} || numbering.has( value );
}

/// The names of a set's members, sorted: "[DstIp,SrcIp]".
template< class Member >
std::string setText( const SdkNumbering& numbering, const SetWords& words )
{
    std::vector< std::string > names;
    for ( const uint32_t member : membersOf( words ) ) {
        names.push_back( shortName( numbering.nameOf( static_cast< Member >( member ) ) ) );
    }
    std::ranges::sort( names );
    std::string text;
    for ( const std::string& name : names ) {
        text += ( text.empty() ? "" : "," ) + name;
    }
    return "[" + text + "]";
}

} // namespace

SimFieldGroups::SimFieldGroups( const SdkNumbering& numbering, uint32_t capacity )
    : numbering_( numbering )
    , capacity_( capacity )
{
    addCompressionGroup( 241, { numbering.bcmFieldQualifyL4SrcPort } );
    addCompressionGroup( 242, { numbering.bcmFieldQualifyL4DstPort } );
    addCompressionGroup( 243, { numbering.bcmFieldQualifySrcIp, numbering.bcmFieldQualifySrcIp6 } );
    addCompressionGroup( 244, { numbering.bcmFieldQualifyDstIp, numbering.bcmFieldQualifyDstIp6 } );
    addCompressionGroup( 245, { numbering.bcmFieldQualifyIpProtocol } );
    addCompressionGroup( 246, { numbering.bcmFieldQualifyEtherType } );
}

void SimFieldGroups::addCompressionGroup( bcm_field_group_t group,
                                          std::initializer_list< bcm_field_qualify_t > qualifiers )
{
    bcm_field_group_config_t& config = compression_[ group ];
    config.group = group;
    config.mode = numbering_.bcmFieldGroupModeAuto;
    config.mode_type = numbering_.bcmFieldGroupModeTypeCompression;
    for ( const bcm_field_qualify_t qualifier : qualifiers ) {
        addToSet( config.qset.w, qualifier );
    }
    addToSet( config.aset.w, numbering_.bcmFieldActionClassSet );
}

bool SimFieldGroups::isValid( const bcm_field_group_config_t& config ) const
{
    return config.flags == 0 && config.group >= 0 && numbering_.has( config.mode ) &&
           knownOrNotGiven( numbering_, config.mode_type ) &&
           knownOrNotGiven( numbering_, config.packet_type ) &&
           allKnown< bcm_field_qualify_t >( numbering_, config.qset.w ) &&
           allKnown< bcm_field_action_t >( numbering_, config.aset.w );
}

int SimFieldGroups::create( bcm_field_group_config_t* config )
{
    if ( config == nullptr || !isValid( *config ) ) {
        return ReturnCode::BCM_E_PARAM;
    }
    if ( find( config->group ) != nullptr ) {
        return ReturnCode::BCM_E_EXISTS;
    }
    if ( used() >= capacity_ ) {
        return ReturnCode::BCM_E_FULL;
    }
    if ( config->group == 0 ) {
        const auto isLive = [ this ]( uint32_t id ) {
            return find( static_cast< bcm_field_group_t >( id ) ) != nullptr;
        };
        config->group = static_cast< bcm_field_group_t >( ids_.next( isLive ) );
    }
    made_.emplace( config->group, *config );
    return ReturnCode::BCM_E_NONE;
}

int SimFieldGroups::get( bcm_field_group_t group, bcm_field_group_config_t* config ) const
{
    if ( config == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const bcm_field_group_config_t* found = find( group );
    if ( found == nullptr ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    *config = *found;
    return ReturnCode::BCM_E_NONE;
}

int SimFieldGroups::getQualifiers( bcm_field_group_t group, bcm_field_qset_t* qset ) const
{
    if ( qset == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const bcm_field_group_config_t* found = find( group );
    if ( found == nullptr ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    *qset = found->qset;
    return ReturnCode::BCM_E_NONE;
}

int SimFieldGroups::destroy( bcm_field_group_t group )
{
    if ( find( group ) == nullptr ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( isCompression( group ) ) {
        return ReturnCode::BCM_E_PARAM;
    }
    if ( useChecks_.isInUse( group ) ) {
        return ReturnCode::BCM_E_BUSY;
    }
    made_.erase( group );
    return ReturnCode::BCM_E_NONE;
}

const bcm_field_group_config_t* SimFieldGroups::find( bcm_field_group_t group ) const
{
    for ( const State* groups : { &made_, &compression_ } ) {
        const auto found = groups->find( group );
        if ( found != groups->end() ) {
            return &found->second;
        }
    }
    return nullptr;
}

ChipSnapshot::Fields SimFieldGroups::fieldsOf( const bcm_field_group_config_t& config ) const
{
    ChipSnapshot::Fields fields{ { "mode", numbering_.nameOf( config.mode ) } };
    if ( numbering_.has( config.mode_type ) ) {
        fields.emplace_back( "modeType", numbering_.nameOf( config.mode_type ) );
    }
    if ( numbering_.has( config.packet_type ) ) {
        fields.emplace_back( "packetType", numbering_.nameOf( config.packet_type ) );
    }
    fields.emplace_back( "priority", std::to_string( config.priority ) );
    fields.emplace_back( "qualifiers",
                         setText< bcm_field_qualify_t >( numbering_, config.qset.w ) );
    fields.emplace_back( "actions", setText< bcm_field_action_t >( numbering_, config.aset.w ) );
    return fields;
}

void SimFieldGroups::addTo( ChipSnapshot& snapshot ) const
{
    for ( const auto& [ id, config ] : made_ ) {
        snapshot.add( "field group " + std::to_string( id ), fieldsOf( config ) );
    }
}

} // namespace Sim

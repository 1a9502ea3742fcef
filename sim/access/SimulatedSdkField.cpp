// The SDK functions of field groups, entries and preselectors.

#include "sim/access/SimulatedSdk.h"

namespace Sim {

// ---- Groups ----------------------------------------------------------------------------------

int SimulatedSdk::bcm_field_group_config_create( int unit, bcm_field_group_config_t* config )
{
    return onChip(
        unit, [ & ]( SimulatedChip& found ) { return found.field().groups().create( config ); } );
}

int SimulatedSdk::bcm_field_group_config_get( int unit,
                                              bcm_field_group_t group,
                                              bcm_field_group_config_t* config )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) {
        return found.field().groups().get( group, config );
    } );
}

int SimulatedSdk::bcm_field_group_get( int unit, bcm_field_group_t group, bcm_field_qset_t* qset )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) {
        return found.field().groups().getQualifiers( group, qset );
    } );
}

int SimulatedSdk::bcm_field_group_destroy( int unit, bcm_field_group_t group )
{
    return onChip(
        unit, [ & ]( SimulatedChip& found ) { return found.field().groups().destroy( group ); } );
}

// ---- Entries ---------------------------------------------------------------------------------

int SimulatedSdk::bcm_field_entry_create( int unit,
                                          bcm_field_group_t group,
                                          bcm_field_entry_t* entry )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) {
        return found.field().entries().create( group, entry );
    } );
}

int SimulatedSdk::bcm_field_entry_destroy( int unit, bcm_field_entry_t entry )
{
    return onChip(
        unit, [ & ]( SimulatedChip& found ) { return found.field().entries().destroy( entry ); } );
}

int SimulatedSdk::bcm_field_entry_install( int unit, bcm_field_entry_t entry )
{
    return onChip(
        unit, [ & ]( SimulatedChip& found ) { return found.field().entries().install( entry ); } );
}

int SimulatedSdk::bcm_field_entry_remove( int unit, bcm_field_entry_t entry )
{
    return onChip(
        unit, [ & ]( SimulatedChip& found ) { return found.field().entries().remove( entry ); } );
}

int SimulatedSdk::bcm_field_entry_prio_set( int unit, bcm_field_entry_t entry, int priority )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) {
        return found.field().entries().priorityIs( entry, priority );
    } );
}

int SimulatedSdk::bcm_field_entry_policer_attach( int unit,
                                                  bcm_field_entry_t entry,
                                                  int level,
                                                  bcm_policer_t policerId )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) {
        return found.policers().has( policerId )
                   ? found.field().entries().attachPolicer( entry, level, policerId )
                   : ReturnCode::BCM_E_NOT_FOUND;
    } );
}

int SimulatedSdk::bcm_field_entry_policer_detach( int unit, bcm_field_entry_t entry, int level )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) {
        return found.field().entries().detachPolicer( entry, level );
    } );
}

int SimulatedSdk::bcm_field_action_add(
    int unit, bcm_field_entry_t entry, bcm_field_action_t action, uint32_t param0, uint32_t param1 )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) {
        return found.field().entries().addAction( entry, action, { param0, param1 } );
    } );
}

int SimulatedSdk::bcm_field_action_class_add( int unit,
                                              bcm_field_entry_t entry,
                                              const bcm_field_class_info_t* classInfo )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) {
        return found.field().entries().addClass( entry, classInfo );
    } );
}

// ---- Preselectors ----------------------------------------------------------------------------

int SimulatedSdk::bcm_field_presel_create( int unit, bcm_field_presel_t* presel )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) {
        return found.field().preselectors().create( presel );
    } );
}

int SimulatedSdk::bcm_field_presel_destroy( int unit, bcm_field_presel_t presel )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) {
        return found.field().preselectors().destroy( presel );
    } );
}

// ---- Qualifiers ------------------------------------------------------------------------------

#define FIELD_QUALIFIER_NUMBER( name, type, users )                                                \
    int SimulatedSdk::bcm_field_qualify_##name( int unit, bcm_field_entry_t entry, type data,      \
                                                type mask )                                        \
    {                                                                                              \
        return onChip( unit, [ & ]( SimulatedChip& found ) {                                       \
            return found.field().qualify(                                                          \
                entry, { numbering().bcmFieldQualify##name, FieldQualifier::users },               \
                MaskedNumber{ data, mask } );                                                      \
        } );                                                                                       \
    }
#define FIELD_QUALIFIER_NAMED( name, type, users )                                                 \
    int SimulatedSdk::bcm_field_qualify_##name( int unit, bcm_field_entry_t entry, type value )    \
    {                                                                                              \
        return onChip( unit, [ & ]( SimulatedChip& found ) {                                       \
            return found.field().qualify(                                                          \
                entry, { numbering().bcmFieldQualify##name, FieldQualifier::users },               \
                namedValue( numbering(), value ) );                                                \
        } );                                                                                       \
    }
#define FIELD_QUALIFIER_BYTES( name, type, users )                                                 \
    int SimulatedSdk::bcm_field_qualify_##name( int unit, bcm_field_entry_t entry,                 \
                                                const type data, const type mask )                 \
    {                                                                                              \
        return onChip( unit, [ & ]( SimulatedChip& found ) {                                       \
            return found.field().qualifyBytes(                                                     \
                entry, { numbering().bcmFieldQualify##name, FieldQualifier::users },               \
                sizeof( type ), data, mask );                                                      \
        } );                                                                                       \
    }
#define FIELD_QUALIFIER_PORTS( name, users )                                                       \
    int SimulatedSdk::bcm_field_qualify_##name( int unit, bcm_field_entry_t entry,                 \
                                                const _shr_pbmp* data, const _shr_pbmp* mask )     \
    {                                                                                              \
        return onChip( unit, [ & ]( SimulatedChip& found ) {                                       \
            return found.field().qualifyPorts(                                                     \
                entry, { numbering().bcmFieldQualify##name, FieldQualifier::users }, data, mask ); \
        } );                                                                                       \
    }
#include "sim/access/FieldQualifiers.def"

int SimulatedSdk::bcm_field_qualify_RangeCheck( int unit,
                                                bcm_field_entry_t entry,
                                                uint32_t rangeId,
                                                int invert )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) {
        if ( !found.ranges().has( rangeId ) ) {
            return ReturnCode::BCM_E_NOT_FOUND;
        }
        return found.field().qualify( entry, { numbering().bcmFieldQualifyRangeCheck },
                                      RangeMatch{ rangeId, invert != 0 } );
    } );
}

int SimulatedSdk::bcm_field_qualify_SrcClass( int unit,
                                              bcm_field_entry_t entry,
                                              bcm_field_src_class_t* data,
                                              bcm_field_src_class_t* mask )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) {
        return found.field().qualifySourceClasses( entry, data, mask );
    } );
}

int SimulatedSdk::bcm_field_qualify_udf( int unit,
                                         bcm_field_entry_t entry,
                                         bcm_udf_id_t udfId,
                                         int length,
                                         uint8_t* data,
                                         uint8_t* mask )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) {
        return found.hasUdf( udfId ) ? found.field().qualifyUdf( entry, udfId, length, data, mask )
                                     : ReturnCode::BCM_E_NOT_FOUND;
    } );
}

int SimulatedSdk::bcm_field_qualify_udf_get( int unit,
                                             bcm_field_entry_t entry,
                                             bcm_udf_id_t udfId,
                                             int maxLength,
                                             uint8_t* data,
                                             uint8_t* mask,
                                             int* actualLength )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) {
        return found.field().getUdf( entry, udfId, maxLength, data, mask, actualLength );
    } );
}

} // namespace Sim

// The SDK functions of the UDF module.

#include "sim/access/SimulatedSdk.h"

namespace Sim {

int SimulatedSdk::bcm_udf_create( int unit,
                                  bcm_udf_alloc_hints_t* hints,
                                  bcm_udf_t* udf,
                                  bcm_udf_id_t* udfId )
{
    return onUdfModule(
        unit, [ & ]( SimUdfModule& module ) { return module.create( hints, udf, udfId ); } );
}

/// Of the UDF module, or else of the flexible parser: a chip has one of them.
int SimulatedSdk::bcm_udf_destroy( int unit, bcm_udf_id_t udfId )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) {
        SimUdfModule* module = found.udfModule();
        return module != nullptr ? module->destroy( udfId ) : found.flexParser()->destroy( udfId );
    } );
}

int SimulatedSdk::bcm_udf_get( int unit, bcm_udf_id_t udfId, bcm_udf_t* udf )
{
    return onUdfModule( unit, [ & ]( SimUdfModule& module ) { return module.get( udfId, udf ); } );
}

int SimulatedSdk::bcm_udf_get_all( int unit, int max, bcm_udf_id_t* udfIds, int* actual )
{
    return onUdfModule(
        unit, [ & ]( SimUdfModule& module ) { return module.getAll( max, udfIds, actual ); } );
}

int SimulatedSdk::bcm_udf_pkt_format_create( int unit,
                                             uint32_t options,
                                             bcm_udf_pkt_format_info_t* format,
                                             bcm_udf_pkt_format_id_t* formatId )
{
    return onUdfModule( unit, [ & ]( SimUdfModule& module ) {
        return module.createPktFormat( options, format, formatId );
    } );
}

int SimulatedSdk::bcm_udf_pkt_format_destroy( int unit, bcm_udf_pkt_format_id_t formatId )
{
    return onUdfModule(
        unit, [ & ]( SimUdfModule& module ) { return module.destroyPktFormat( formatId ); } );
}

int SimulatedSdk::bcm_udf_pkt_format_info_get( int unit,
                                               bcm_udf_pkt_format_id_t formatId,
                                               bcm_udf_pkt_format_info_t* format )
{
    return onUdfModule(
        unit, [ & ]( SimUdfModule& module ) { return module.getPktFormat( formatId, format ); } );
}

int SimulatedSdk::bcm_udf_pkt_format_add( int unit,
                                          bcm_udf_id_t udfId,
                                          bcm_udf_pkt_format_id_t formatId )
{
    return onUdfModule(
        unit, [ & ]( SimUdfModule& module ) { return module.attach( udfId, formatId ); } );
}

int SimulatedSdk::bcm_udf_pkt_format_delete( int unit,
                                             bcm_udf_id_t udfId,
                                             bcm_udf_pkt_format_id_t formatId )
{
    return onUdfModule(
        unit, [ & ]( SimUdfModule& module ) { return module.detach( udfId, formatId ); } );
}

int SimulatedSdk::bcm_udf_pkt_format_get_all(
    int unit, bcm_udf_id_t udfId, int max, bcm_udf_pkt_format_id_t* formatIds, int* actual )
{
    return onUdfModule( unit, [ & ]( SimUdfModule& module ) {
        return module.getPktFormats( udfId, max, formatIds, actual );
    } );
}

int SimulatedSdk::bcm_udf_hash_config_add( int unit,
                                           uint32_t options,
                                           bcm_udf_hash_config_t* config )
{
    return onUdfModule(
        unit, [ & ]( SimUdfModule& module ) { return module.addHashConfig( options, config ); } );
}

int SimulatedSdk::bcm_udf_hash_config_delete( int unit, bcm_udf_hash_config_t* config )
{
    return onUdfModule(
        unit, [ & ]( SimUdfModule& module ) { return module.deleteHashConfig( config ); } );
}

int SimulatedSdk::bcm_udf_hash_config_get( int unit, bcm_udf_hash_config_t* config )
{
    return onUdfModule( unit,
                        [ & ]( SimUdfModule& module ) { return module.getHashConfig( config ); } );
}

int SimulatedSdk::bcm_udf_hash_config_get_all( int unit,
                                               int max,
                                               bcm_udf_hash_config_t* configs,
                                               int* actual )
{
    return onUdfModule( unit, [ & ]( SimUdfModule& module ) {
        return module.getHashConfigs( max, configs, actual );
    } );
}

} // namespace Sim

// The SDK functions of the flexible parser. Chunk records are SDK-6's, multi-chunk records HSDK's.

#include "sim/access/SimulatedSdk.h"

namespace Sim {

int SimulatedSdk::bcm_udf_chunk_create( int unit,
                                        bcm_udf_chunk_hints_t* hints,
                                        bcm_udf_chunk_info_t* chunkInfo,
                                        bcm_udf_id_t* udfId )
{
    return onFlexParser( unit, { ChipKind::sdk6FlexParser }, [ & ]( SimFlexParser& parser ) {
        return parser.createChunk( hints, chunkInfo, udfId );
    } );
}

int SimulatedSdk::bcm_udf_chunk_info_get( int unit,
                                          bcm_udf_id_t udfId,
                                          bcm_udf_chunk_info_t* chunkInfo )
{
    return onFlexParser( unit, { ChipKind::sdk6FlexParser }, [ & ]( SimFlexParser& parser ) {
        return parser.getChunk( udfId, chunkInfo );
    } );
}

int SimulatedSdk::bcm_udf_multi_chunk_create( int unit,
                                              bcm_udf_chunk_hints_t* hints,
                                              bcm_udf_multi_chunk_info_t* chunkInfo,
                                              bcm_udf_id_t* udfId )
{
    return onFlexParser( unit, { ChipKind::hsdk }, [ & ]( SimFlexParser& parser ) {
        return parser.createMultiChunk( hints, chunkInfo, udfId );
    } );
}

int SimulatedSdk::bcm_udf_multi_chunk_info_get( int unit,
                                                bcm_udf_id_t udfId,
                                                bcm_udf_multi_chunk_info_t* chunkInfo )
{
    return onFlexParser( unit, { ChipKind::hsdk }, [ & ]( SimFlexParser& parser ) {
        return parser.getMultiChunk( udfId, chunkInfo );
    } );
}

int SimulatedSdk::bcm_udf_abstract_pkt_format_info_get( int unit,
                                                        bcm_udf_abstract_pkt_format_t format,
                                                        bcm_udf_abstract_pkt_format_info_t* info )
{
    return onFlexParser( unit, { ChipKind::sdk6FlexParser }, [ & ]( SimFlexParser& parser ) {
        return parser.getFormat( format, info );
    } );
}

int SimulatedSdk::bcm_udf_multi_abstract_pkt_format_info_get(
    int unit, bcm_udf_abstract_pkt_format_t format, bcm_udf_multi_abstract_pkt_format_info_t* info )
{
    return onFlexParser( unit, { ChipKind::hsdk }, [ & ]( SimFlexParser& parser ) {
        return parser.getMultiFormat( format, info );
    } );
}

int SimulatedSdk::bcm_udf_abstract_pkt_format_object_list_get(
    int unit, bcm_udf_abstract_pkt_format_t format, int max, bcm_udf_id_t* udfIds, int* actual )
{
    return onFlexParser(
        unit, { ChipKind::sdk6FlexParser, ChipKind::hsdk },
        [ & ]( SimFlexParser& parser ) { return parser.getUdfs( format, max, udfIds, actual ); } );
}

} // namespace Sim

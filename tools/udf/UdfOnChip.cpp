#include "tools/udf/UdfOnChip.h"

#include <fmt/format.h>

namespace Tool {

namespace {

std::string
onModule( bcm_udf_id_t udfId, const Sim::SimUdfModule& module, const Sim::SdkNumbering& numbering )
{
    const Sim::SimUdfModule::State& state = module.state();
    const bcm_udf_t& udf = state.udfs.at( udfId ).udf;
    std::string text =
        fmt::format( "layer {}, start {}, width {}, {}", numbering.nameOf( udf.layer() ),
                     udf.start(), udf.width(), chunksText( chunksIn( udf.hw_bmap() ) ) );
    for ( const auto& [ formatId, format ] : state.pktFormats ) {
        if ( format.udfs.contains( udfId ) ) {
            text += fmt::format( ", packet format {}", formatId );
        }
    }
    return text;
}

std::string onFlexParser( bcm_udf_id_t udfId,
                          const Sim::SimFlexParser& parser,
                          const Sim::SdkNumbering& numbering )
{
    const Sim::SimFlexParser::Udf& udf = parser.state().at( udfId );
    return fmt::format( "format {}, offset {}, width {}, {}", numbering.nameOf( udf.format ),
                        udf.offset, udf.width, chunksText( chunksIn( udf.chunks ) ) );
}

} // namespace

std::vector< int > chunksIn( std::uint32_t bitmap )
{
    std::vector< int > chunks;
    for ( int chunk = 0; chunk < 32; ++chunk ) {
        if ( ( bitmap >> chunk & 1U ) != 0 ) {
            chunks.push_back( chunk );
        }
    }
    return chunks;
}

std::string chunksText( const std::vector< int >& chunks )
{
    if ( chunks.empty() ) {
        return "no chunk";
    }
    return fmt::format( "{} {}", chunks.size() == 1 ? "chunk" : "chunks",
                        fmt::join( chunks, ", " ) );
}

std::string udfText( bcm_udf_id_t udfId, const RunContext& context )
{
    for ( const auto& [ name, udf ] : context.udfNames().all() ) {
        if ( udf.ids.qualIdHas( static_cast< Agent::U32 >( udfId ) ) ) {
            return fmt::format( "{} (id {})", name, udfId );
        }
    }
    return fmt::format( "id {}", udfId );
}

std::string udfOnChipText( bcm_udf_id_t udfId, const RunContext& context )
{
    const Sim::SimulatedChip& chip = context.chip();
    return chip.udfModule() != nullptr
               ? onModule( udfId, *chip.udfModule(), context.numbering() )
               : onFlexParser( udfId, *chip.flexParser(), context.numbering() );
}

} // namespace Tool

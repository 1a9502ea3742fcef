// show-chunks: all

#include "tools/run/RunContext.h"
#include "tools/steps/StepKinds.h"
#include "tools/udf/UdfOnChip.h"

#include <algorithm>
#include <fmt/format.h>
#include <map>
#include <utility>
#include <vector>

namespace Tool {

namespace {

constexpr std::pair< std::string_view, bool > onlyAll[] = { { "all", true } };

constexpr int chunksInARow = 16;

/// A row of chunks: which there are not, and who holds the others.
struct Row
{
    std::string name;
    std::uint32_t unavailable = 0;
    std::map< int, bcm_udf_id_t > holders;
};

std::vector< Row > rowsOf( const Sim::SimFlexParser& parser )
{
    std::vector< Row > rows;
    for ( const Sim::SimFlexParser::Format& format : parser.formats() ) {
        Row row{ format.shortName(), format.unavailable, {} };
        for ( const auto& [ udfId, udf ] : parser.state() ) {
            for ( const int chunk : chunksIn( udf.format == format.number ? udf.chunks : 0 ) ) {
                row.holders[ chunk ] = udfId;
            }
        }
        rows.push_back( row );
    }
    return rows;
}

/// The UDF module has one row, whatever the packets.
std::vector< Row > rowsOf( const Sim::SimUdfModule& module, std::uint32_t chunks )
{
    Row row{ "any packet", ~0U << std::min( chunks, 31U ) & 0xFFFFU, {} };
    for ( const auto& [ udfId, udf ] : module.state().udfs ) {
        for ( const int chunk : chunksIn( udf.udf.hw_bmap() ) ) {
            row.holders[ chunk ] = udfId;
        }
    }
    return { row };
}

/// The drawing: a letter for each field, '.' for a free chunk, '#' for one that is unavailable.
class Drawing
{
  public:
    explicit Drawing( const std::vector< Row >& rows )
    {
        for ( const Row& row : rows ) {
            nameWidth_ = std::max( nameWidth_, row.name.size() );
            for ( const auto& [ chunk, udfId ] : row.holders ) {
                letters_.emplace( udfId, '?' );
            }
        }
        char next = 'a';
        for ( auto& [ udfId, letter ] : letters_ ) {
            letter = next;
            next = next == 'z' ? 'A' : next == 'Z' ? '?' : static_cast< char >( next + 1 );
            if ( letter == '?' ) {
                next = '?';
            }
        }
    }

    [[nodiscard]] std::string line( const Row& row ) const
    {
        std::string cells;
        for ( int chunk = 0; chunk < chunksInARow; ++chunk ) {
            const auto holder = row.holders.find( chunk );
            if ( holder != row.holders.end() ) {
                cells += letters_.at( holder->second );
            } else {
                cells += ( row.unavailable >> chunk & 1U ) != 0 ? '#' : '.';
            }
        }
        return fmt::format( "{:<{}}  {}", row.name, nameWidth_, cells );
    }

    [[nodiscard]] std::vector< std::string > legend( const RunContext& context ) const
    {
        std::vector< std::string > lines;
        for ( const auto& [ udfId, letter ] : letters_ ) {
            lines.push_back(
                fmt::format( "{:<{}}  {} {}", "", nameWidth_, letter, udfText( udfId, context ) ) );
        }
        return lines;
    }

  private:
    std::size_t nameWidth_ = 0;
    std::map< bcm_udf_id_t, char > letters_;
};

Json jsonOf( const Row& row, const RunContext& context )
{
    Json taken = Json::object();
    for ( const auto& [ chunk, udfId ] : row.holders ) {
        taken[ std::to_string( chunk ) ] = udfText( udfId, context );
    }
    return { { "format", row.name },
             { "unavailable", chunksIn( row.unavailable ) },
             { "taken", taken } };
}

class ShowChunks : public Step
{
  public:
    [[nodiscard]] std::string name() const override { return "all"; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        const std::vector< Row > rows = rowsOf( context );
        const Drawing drawing( rows );
        StepResult result;
        result.text = "chunks 0 to 15: '.' free, '#' unavailable";
        result.produced[ "chunks" ] = Json::array();
        for ( const Row& row : rows ) {
            result.lines.push_back( drawing.line( row ) );
            result.produced[ "chunks" ].push_back( jsonOf( row, context ) );
        }
        for ( const std::string& line : drawing.legend( context ) ) {
            result.lines.push_back( line );
        }
        return result;
    }

  private:
    static std::vector< Row > rowsOf( const RunContext& context )
    {
        const Sim::SimulatedChip& chip = context.chip();
        if ( chip.flexParser() != nullptr ) {
            return Tool::rowsOf( *chip.flexParser() );
        }
        return Tool::rowsOf( *chip.udfModule(), chip.udfModule()->capacities().chunks );
    }
};

} // namespace

std::unique_ptr< const Step > readShowChunks( const Input::YamlNode& node, const ReadContext& )
{
    bool all = false;
    node.read( all, onlyAll );
    return std::make_unique< ShowChunks >();
}

} // namespace Tool

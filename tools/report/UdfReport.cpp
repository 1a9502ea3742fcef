#include "tools/report/UdfReport.h"

#include "tools/scenario/UdfDescReader.h"
#include "tools/text/PrintableText.h"

#include <fmt/format.h>

namespace Tool {

void printUdfExplanation( const std::string& chip,
                          const PeloraTcam::UdfDesc& desc,
                          const Json& explanation )
{
    fmt::print( "{}, on chip {}\n\n", udfPlaceText( desc ), chip );
    for ( const Json& line : explanation.at( "lines" ) ) {
        fmt::print( "  {:<15}{}\n", line.at( 0 ).get< std::string >(),
                    printable( line.at( 1 ).get< std::string >() ) );
    }
}

void printUdfExplanationJson( const std::string& chip, const Json& explanation )
{
    Json json = { { "chip", chip } };
    json.update( explanation );
    fmt::print( "{}\n", jsonDocument( json ) );
}

} // namespace Tool

#include "tools/text/TextTable.h"

#include <algorithm>
#include <fmt/format.h>

namespace Tool {

std::string TextTable::text() const
{
    std::string all;
    for ( const Line& line : lines_ ) {
        std::string text;
        for ( std::size_t column = 0; column < line.size(); ++column ) {
            text += fmt::format( "{:<{}}  ", line[ column ], widthOf( column ) );
        }
        all += text.substr( 0, text.find_last_not_of( ' ' ) + 1 ) + "\n";
    }
    return all;
}

std::size_t TextTable::widthOf( std::size_t column ) const
{
    std::size_t width = 0;
    for ( const Line& line : lines_ ) {
        width = std::max( width, line[ column ].size() );
    }
    return width;
}

} // namespace Tool

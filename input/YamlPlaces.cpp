#include "input/YamlPlaces.h"

#include "input/InputText.h"

#include <algorithm>

namespace Input {

namespace {

bool continuesALetter( char byte )
{
    return ( byte & 0xC0 ) == 0x80;
}

} // namespace

// The parser does not count the byte order mark.
YamlPlaces::YamlPlaces( std::string_view text )
    : text_( withoutByteOrderMark( text ) )
    , lineStarts_{ 0 }
{
    for ( std::size_t end = text_.find( '\n' ); end != std::string_view::npos;
          end = text_.find( '\n', end + 1 ) ) {
        lineStarts_.push_back( end + 1 );
    }
}

YamlPlaces::Place YamlPlaces::of( const YAML::Mark& mark ) const
{
    if ( mark.line < 0 || mark.column < 0 ) {
        return {};
    }
    return placeIn( static_cast< std::size_t >( mark.line ),
                    static_cast< std::size_t >( mark.column ) );
}

/// The place behind so many bytes of a line, both counted from 0.
YamlPlaces::Place YamlPlaces::placeIn( std::size_t line, std::size_t bytes ) const
{
    const std::size_t last = lineStarts_.size() - 1;
    const bool isBehindTheEnd = line > last;
    line = std::min( line, last );
    const std::size_t start = lineStarts_[ line ];
    const std::size_t end = line == last ? text_.size() : lineStarts_[ line + 1 ] - 1;
    const std::string_view content = text_.substr( start, end - start );
    const std::string_view before = isBehindTheEnd ? content : content.substr( 0, bytes );
    const auto letters =
        std::ranges::count_if( before, []( char byte ) { return !continuesALetter( byte ); } );
    return { static_cast< int >( line ) + 1, static_cast< int >( letters ) + 1 };
}

} // namespace Input

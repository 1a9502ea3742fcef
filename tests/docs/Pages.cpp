#include "tests/docs/Pages.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>
#include <regex>
#include <stdexcept>

namespace DocsTest {

namespace {

bool isFence( const std::string& line )
{
    return line.starts_with( "```" );
}

/// The lines that are no blocks of code, which are indented or fenced.
std::vector< std::string > proseOf( std::string_view page )
{
    std::vector< std::string > prose;
    bool fenced = false;
    for ( const std::string& line : linesOf( page ) ) {
        if ( isFence( line ) ) {
            fenced = !fenced;
        } else if ( !fenced && !line.starts_with( "    " ) ) {
            prose.push_back( line );
        }
    }
    return prose;
}

/// How many number signs a line starts with; 0 if it is no heading.
std::size_t headingLevel( const std::string& line )
{
    const std::size_t level = line.find_first_not_of( '#' );
    return level != std::string::npos && level > 0 && line[ level ] == ' ' ? level : 0;
}

std::string trimmed( const std::string& text )
{
    const std::size_t first = text.find_first_not_of( ' ' );
    return first == std::string::npos
               ? ""
               : text.substr( first, text.find_last_not_of( ' ' ) - first + 1 );
}

/// The cells of a line "| a | b |".
std::vector< std::string > cellsOf( const std::string& line )
{
    std::vector< std::string > cells;
    std::string cell;
    for ( std::size_t i = 1; i < line.size(); ++i ) {
        if ( line[ i ] == '\\' && i + 1 < line.size() && line[ i + 1 ] == '|' ) {
            cell += line[ ++i ];
        } else if ( line[ i ] == '|' ) {
            cells.push_back( trimmed( cell ) );
            cell.clear();
        } else {
            cell += line[ i ];
        }
    }
    return cells;
}

bool isRule( const std::string& line )
{
    return line.starts_with( "|-" ) || line.starts_with( "| -" );
}

std::vector< std::string > matchesOf( const std::string& text, const std::regex& expression )
{
    std::vector< std::string > matches;
    for ( std::sregex_iterator match( text.begin(), text.end(), expression ), end; match != end;
          ++match ) {
        matches.push_back( ( *match )[ 1 ] );
    }
    return matches;
}

/// The prose as one text, so that what is broken over two lines is found.
std::string joinedProse( std::string_view page )
{
    std::string text;
    for ( const std::string& line : proseOf( page ) ) {
        text += line + '\n';
    }
    return text;
}

} // namespace

std::string contentOf( const std::string& path )
{
    std::ifstream stream( std::string( PELORA_SOURCE_DIR "/" ) + path, std::ios::binary );
    std::string content( std::istreambuf_iterator< char >( stream ), {} );
    if ( !stream ) {
        throw std::runtime_error( "cannot read " + path );
    }
    return content;
}

std::vector< std::string > linesOf( std::string_view text )
{
    std::vector< std::string > lines;
    while ( !text.empty() ) {
        const std::size_t end = std::min( text.find( '\n' ), text.size() );
        lines.emplace_back( text.substr( 0, end ) );
        text.remove_prefix( std::min( end + 1, text.size() ) );
    }
    return lines;
}

std::string sectionOf( std::string_view page, const std::string& heading )
{
    std::string section;
    bool inside = false;
    for ( const std::string& line : linesOf( page ) ) {
        if ( line == heading ) {
            inside = true;
        } else if ( inside ) {
            const std::size_t level = headingLevel( line );
            if ( level > 0 && level <= headingLevel( heading ) ) {
                break;
            }
            section += line + '\n';
        }
    }
    return section;
}

std::vector< std::string > headingsOf( std::string_view page )
{
    std::vector< std::string > headings;
    for ( const std::string& line : proseOf( page ) ) {
        if ( const std::size_t level = headingLevel( line ); level > 0 ) {
            headings.push_back( trimmed( line.substr( level ) ) );
        }
    }
    return headings;
}

std::string anchorOf( std::string_view heading )
{
    std::string anchor;
    for ( const char character : heading ) {
        if ( std::isalnum( static_cast< unsigned char >( character ) ) != 0 || character == '-' ||
             character == '_' ) {
            anchor += static_cast< char >( std::tolower( character ) );
        } else if ( character == ' ' ) {
            anchor += '-';
        }
    }
    return anchor;
}

std::vector< std::vector< std::string > > tableRowsOf( std::string_view page )
{
    std::vector< std::vector< std::string > > rows;
    const std::vector< std::string > lines = proseOf( page );
    bool inBody = false;
    for ( const std::string& line : lines ) {
        if ( !line.starts_with( '|' ) ) {
            inBody = false;
        } else if ( isRule( line ) ) {
            inBody = true;
        } else if ( inBody ) {
            rows.push_back( cellsOf( line ) );
        }
    }
    return rows;
}

std::vector< std::string > codeOf( std::string_view page )
{
    static const std::regex code( "`([^`]+)`" );
    return matchesOf( joinedProse( page ), code );
}

std::vector< std::string > linksOf( std::string_view page )
{
    static const std::regex code( "`[^`]*`" );
    static const std::regex link( "\\]\\(([^)\\s]+)\\)" );
    return matchesOf( std::regex_replace( joinedProse( page ), code, "" ), link );
}

} // namespace DocsTest

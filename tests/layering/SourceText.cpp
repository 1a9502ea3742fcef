#include "tests/layering/SourceText.h"

#include <algorithm>
#include <cctype>

namespace Layering {

namespace {

constexpr std::string_view blanks = " \t\r";

bool isWordCharacter( char c )
{
    return std::isalnum( static_cast< unsigned char >( c ) ) != 0 || c == '_';
}

std::string_view trimmed( std::string_view text )
{
    const size_t first = text.find_first_not_of( blanks );
    if ( first == std::string_view::npos ) {
        return {};
    }
    return text.substr( first, text.find_last_not_of( blanks ) - first + 1 );
}

/// The position after `end`, looked for from `from`; that of the end of the text if there is none.
size_t after( std::string_view text, std::string_view end, size_t from )
{
    const size_t found = text.find( end, from );
    return found == std::string_view::npos ? text.size() : found + end.size();
}

size_t endOfRawString( std::string_view text, size_t start )
{
    const size_t delimiter = start + 2;
    const size_t parenthesis = std::min( text.find( '(', delimiter ), text.size() );
    std::string closing( 1, ')' );
    closing += text.substr( delimiter, parenthesis - delimiter );
    closing += '"';
    return after( text, closing, parenthesis );
}

size_t endOfLiteral( std::string_view text, size_t start )
{
    size_t position = start + 1;
    while ( position < text.size() && text[ position ] != '\n' ) {
        if ( text[ position ] == text[ start ] ) {
            return position + 1;
        }
        position += text[ position ] == '\\' ? 2 : 1;
    }
    return std::min( position, text.size() );
}

bool isLiteralStart( std::string_view text, size_t position )
{
    // Between two digits the quote separates groups of digits.
    const bool afterWord = position > 0 && isWordCharacter( text[ position - 1 ] );
    return text[ position ] == '"' || ( text[ position ] == '\'' && !afterWord );
}

/// `source` with line feeds only where comments and raw strings were.
std::string withoutComments( std::string_view source )
{
    std::string result;
    size_t position = 0;
    while ( position < source.size() ) {
        const std::string_view rest = source.substr( position );
        size_t end = position + 1;
        bool keep = true;
        if ( rest.starts_with( "//" ) ) {
            end = std::min( source.find( '\n', position ), source.size() );
            keep = false;
        } else if ( rest.starts_with( "/*" ) ) {
            end = after( source, "*/", position + 2 );
            keep = false;
        } else if ( rest.starts_with( "R\"" ) ) {
            end = endOfRawString( source, position );
            keep = false;
        } else if ( isLiteralStart( source, position ) ) {
            end = endOfLiteral( source, position );
        }
        const std::string_view piece = source.substr( position, end - position );
        if ( keep ) {
            result += piece;
        } else {
            result.append( static_cast< size_t >( std::ranges::count( piece, '\n' ) ), '\n' );
        }
        position = end;
    }
    return result;
}

/// Takes the first line off `text`.
std::string_view takeLine( std::string_view& text )
{
    const size_t end = std::min( text.find( '\n' ), text.size() );
    const std::string_view line = text.substr( 0, end );
    text.remove_prefix( std::min( end + 1, text.size() ) );
    return line;
}

} // namespace

std::vector< Line > logicalLines( std::string_view source )
{
    const std::string text = withoutComments( source );
    std::string_view rest = text;
    std::vector< Line > lines;
    int number = 0;
    while ( !rest.empty() ) {
        const int first = ++number;
        std::string joined( trimmed( takeLine( rest ) ) );
        while ( joined.ends_with( '\\' ) && !rest.empty() ) {
            joined.pop_back();
            joined += trimmed( takeLine( rest ) );
            ++number;
        }
        if ( !joined.empty() ) {
            lines.push_back( { first, joined } );
        }
    }
    return lines;
}

int numberOfLines( std::string_view source )
{
    const bool unfinished = !source.empty() && !source.ends_with( '\n' );
    return static_cast< int >( std::ranges::count( source, '\n' ) ) + ( unfinished ? 1 : 0 );
}

Directive directiveOf( std::string_view line )
{
    line = trimmed( line );
    if ( !line.starts_with( '#' ) ) {
        return {};
    }
    line = trimmed( line.substr( 1 ) );
    const auto end = std::ranges::find_if_not( line, isWordCharacter );
    const size_t length = static_cast< size_t >( end - line.begin() );
    return { line.substr( 0, length ), trimmed( line.substr( length ) ) };
}

std::vector< std::string > identifiersIn( std::string_view text )
{
    std::vector< std::string > identifiers;
    auto position = text.begin();
    while ( position != text.end() ) {
        const auto start = std::find_if( position, text.end(), isWordCharacter );
        position = std::find_if_not( start, text.end(), isWordCharacter );
        if ( start != position && std::isdigit( static_cast< unsigned char >( *start ) ) == 0 ) {
            identifiers.emplace_back( start, position );
        }
    }
    return identifiers;
}

} // namespace Layering

#include "tests/library/CallSites.h"

#include <regex>
#include <sstream>
#include <stdexcept>

namespace LibraryTest {

namespace {

/// Where a string literal that starts at `begin` ends: behind its closing quotation mark.
std::size_t endOfLiteral( std::string_view text, std::size_t begin )
{
    std::size_t end = begin + 1;
    while ( end < text.size() && text[ end ] != '"' ) {
        end += text[ end ] == '\\' ? 2 : 1;
    }
    return std::min( end + 1, text.size() );
}

/// The source without comments that start with two slashes, which are the only ones.
std::string withoutComments( std::string_view source )
{
    std::string rest;
    for ( std::size_t i = 0; i < source.size(); ) {
        std::size_t end = i + 1;
        if ( source[ i ] == '"' ) {
            end = endOfLiteral( source, i );
        } else if ( source.substr( i, 2 ) == "//" ) {
            i = std::min( source.find( '\n', i ), source.size() );
            continue;
        }
        rest += source.substr( i, end - i );
        i = end;
    }
    return rest;
}

/// The source without its preprocessor lines, and those that continue them.
std::string withoutDirectives( const std::string& source )
{
    std::istringstream lines( source );
    std::string rest;
    bool isDirective = false;
    for ( std::string line; std::getline( lines, line ); ) {
        const std::size_t first = line.find_first_not_of( ' ' );
        isDirective = isDirective || ( first != std::string::npos && line[ first ] == '#' );
        rest += isDirective ? "" : line + "\n";
        isDirective = isDirective && line.ends_with( '\\' );
    }
    return rest;
}

/// The arguments of a call whose opening parenthesis stands at `begin`, separated.
std::vector< std::string > argumentsAt( std::string_view text, std::size_t begin )
{
    std::vector< std::string > arguments( 1 );
    int depth = 0;
    for ( std::size_t i = begin; i < text.size(); ) {
        const std::size_t end = text[ i ] == '"' ? endOfLiteral( text, i ) : i + 1;
        const std::string_view piece = text.substr( i, end - i );
        depth += piece == "(" || piece == "[" || piece == "{" ? 1 : 0;
        depth -= piece == ")" || piece == "]" || piece == "}" ? 1 : 0;
        if ( depth == 0 ) {
            break;
        }
        if ( piece == "," && depth == 1 ) {
            arguments.emplace_back();
        } else if ( i != begin ) {
            arguments.back() += piece;
        }
        i = end;
    }
    return arguments;
}

/// As the preprocessor writes it: without white space at the ends, one blank for any other.
std::string stringised( const std::vector< std::string >& arguments )
{
    std::string text;
    for ( const std::string& argument : arguments ) {
        text += ( text.empty() ? "" : "," ) + argument;
    }
    text = std::regex_replace( text, std::regex( "\\s+" ), " " );
    const std::size_t first = text.find_first_not_of( ' ' );
    return first == std::string::npos
               ? ""
               : text.substr( first, text.find_last_not_of( ' ' ) + 1 - first );
}

/// What string literals hold that stand behind each other.
std::string valueOfLiterals( const std::string& literals )
{
    std::string value;
    for ( std::size_t i = 0; i < literals.size(); ++i ) {
        if ( literals[ i ] == '"' ) {
            const std::size_t end = endOfLiteral( literals, i );
            value += literals.substr( i + 1, end - i - 2 );
            i = end - 1;
        }
    }
    return std::regex_replace( value, std::regex( "\\\\(.)" ), "$1" );
}

/// The value of an argument that is a literal, or the name of a constant of the same source.
std::string valueOf( const std::string& argument, const std::string& source )
{
    if ( argument.find( '"' ) != std::string::npos ) {
        return valueOfLiterals( argument );
    }
    const std::regex definition( "\\b" + stringised( { argument } ) +
                                 "(\\[\\])?\\s*=\\s*((\"([^\"\\\\]|\\\\.)*\"\\s*)+);" );
    std::smatch found;
    return std::regex_search( source, found, definition )
               ? valueOfLiterals( found[ 2 ] )
               : "no constant " + stringised( { argument } );
}

std::string textOfSite( const std::string& macro,
                        const std::vector< std::string >& arguments,
                        const std::string& source )
{
    if ( macro.starts_with( "callRow" ) ) {
        return valueOf( arguments.at( 2 ), source );
    }
    if ( macro.ends_with( "_AS" ) || macro == "SDK_CALL_SITE" ) {
        return valueOf( arguments.front(), source );
    }
    const std::vector< std::string > passed( arguments.begin() + 1, arguments.end() );
    return stringised( { arguments.front() } ) + "( " + stringised( passed ) + " )";
}

/// The SDK functions that are called past the macros, and are no initialisers; a call whose site
/// stands beside it is that site's.
void addBareCalls( const std::string& source, std::vector< std::string >& texts )
{
    static const std::regex call( "\\.\\s*((bcm|korvel)_\\w+)\\s*\\(" );
    const std::size_t sites = texts.size();
    for ( std::sregex_iterator it( source.begin(), source.end(), call ), end; it != end; ++it ) {
        const std::string function = ( *it )[ 1 ];
        bool hasSite = function.ends_with( "_init" );
        for ( std::size_t i = 0; i < sites; ++i ) {
            hasSite = hasSite || texts[ i ].starts_with( function + "(" );
        }
        if ( !hasSite ) {
            texts.push_back( function );
        }
    }
}

} // namespace

std::vector< std::string > callSitesOf( std::string_view original )
{
    static const std::regex macro(
        "\\b(SDK_CHECKED_CALL|SDK_CHECKED_CALL_AS|SDK_TRACED_CALL|"
        "SDK_TRACED_CALL_AS|SDK_CALL_SITE|callRow< &Sdk::\\w+ >)\\s*\\(" );
    const std::string source = withoutDirectives( withoutComments( original ) );
    std::vector< std::string > texts;
    for ( std::sregex_iterator it( source.begin(), source.end(), macro ), end; it != end; ++it ) {
        const auto parenthesis = static_cast< std::size_t >( it->position() + it->length() - 1 );
        texts.push_back( textOfSite( ( *it )[ 1 ], argumentsAt( source, parenthesis ), source ) );
    }
    addBareCalls( source, texts );
    return texts;
}

std::string functionOfCall( const std::string& text )
{
    static const std::regex function( "\\b((korvel_)?bcm_\\w+|fieldStatGet\\w+)" );
    std::smatch found;
    return std::regex_search( text, found, function ) ? found[ 1 ].str() : text;
}

std::string withLiteralsJoined( std::string_view source )
{
    return std::regex_replace( std::string( source ), std::regex( "\"\\s*\n\\s*\"" ), "" );
}

std::vector< std::string > testsOf( std::string_view source )
{
    static const std::regex test(
        "\\b(TEST|TEST_F|TEST_P|TYPED_TEST)\\(\\s*(\\w+)\\s*,\\s*(\\w+)\\s*\\)" );
    const std::string text( source );
    std::vector< std::string > names;
    for ( std::sregex_iterator it( text.begin(), text.end(), test ), end; it != end; ++it ) {
        names.push_back( ( *it )[ 2 ].str() + "." + ( *it )[ 3 ].str() );
    }
    return names;
}

std::map< CallSiteKey, ListedSite > readCallSiteList( const std::string& text )
{
    static const std::regex site( "    (\\d+) (\\S.*)" );
    static const std::regex test( "        (\\w+\\.\\w+)" );
    std::map< CallSiteKey, ListedSite > list;
    std::string source;
    ListedSite* last = nullptr;
    std::istringstream lines( text );
    std::size_t number = 0;
    for ( std::string line; std::getline( lines, line ); ) {
        ++number;
        std::smatch found;
        if ( line.empty() || line[ 0 ] == '#' ) {
            continue;
        }
        if ( line[ 0 ] != ' ' ) {
            source = line;
            last = nullptr;
        } else if ( std::regex_match( line, found, site ) && !source.empty() ) {
            last = &list[ { source, found[ 2 ] } ];
            last->count += std::stoul( found[ 1 ] );
        } else if ( std::regex_match( line, found, test ) && last != nullptr ) {
            last->tests.push_back( found[ 1 ] );
        } else {
            throw std::runtime_error( "call-sites.txt:" + std::to_string( number ) + ": " + line );
        }
    }
    return list;
}

} // namespace LibraryTest

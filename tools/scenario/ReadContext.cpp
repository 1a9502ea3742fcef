#include "tools/scenario/ReadContext.h"

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <utility>

namespace Tool {

namespace {

constexpr std::string_view substitutionStart = "${";
constexpr std::string_view defaultMark = ":-";

bool isVariableName( std::string_view name )
{
    if ( name.empty() || std::isdigit( static_cast< unsigned char >( name.front() ) ) != 0 ) {
        return false;
    }
    for ( const char letter : name ) {
        if ( std::isalnum( static_cast< unsigned char >( letter ) ) == 0 && letter != '_' ) {
            return false;
        }
    }
    return true;
}

/// What stands for a variable.
struct Substitute
{
    std::string text;
    bool fromEnvironment;
};

/// `inside` is what stands between the braces.
Substitute substituteFor( std::string_view inside, const Input::YamlNode& node )
{
    const std::size_t mark = inside.find( defaultMark );
    const std::string name( inside.substr( 0, mark ) );
    if ( !isVariableName( name ) ) {
        node.fail( "expected the name of an environment variable after '${', found '" + name +
                   "'" );
    }
    const char* value = std::getenv( name.c_str() );
    if ( value != nullptr && *value != '\0' ) {
        return { value, true };
    }
    if ( mark == std::string_view::npos ) {
        node.fail( "the environment variable '" + name +
                   "' is not set, and there is no default as in '${" + name + ":-DEFAULT}'" );
    }
    return { std::string( inside.substr( mark + defaultMark.size() ) ), false };
}

} // namespace

ReadContext::ReadContext( std::string scenarioFile, const Sim::SdkNumbering& numbering )
    : scenarioFile_( std::move( scenarioFile ) )
    , numbering_( numbering )
{}

std::string ReadContext::resolved( const std::string& path ) const
{
    const std::filesystem::path folder = std::filesystem::path( scenarioFile_ ).parent_path();
    return ( folder / path ).lexically_normal().string();
}

std::string ReadContext::substitutedPath( const Input::YamlNode& node ) const
{
    std::string text;
    node.read( text );
    std::string path;
    bool startsInEnvironment = false;
    std::string_view rest = text;
    while ( true ) {
        const std::size_t start = rest.find( substitutionStart );
        path += rest.substr( 0, start );
        if ( start == std::string_view::npos ) {
            break;
        }
        const std::size_t end = rest.find( '}', start );
        if ( end == std::string_view::npos ) {
            node.fail( "expected '}' after '${' in '" + text + "'" );
        }
        const std::size_t inside = start + substitutionStart.size();
        const Substitute substitute = substituteFor( rest.substr( inside, end - inside ), node );
        startsInEnvironment = startsInEnvironment || ( path.empty() && substitute.fromEnvironment );
        path += substitute.text;
        rest.remove_prefix( end + 1 );
    }
    return startsInEnvironment ? path : resolved( path );
}

} // namespace Tool

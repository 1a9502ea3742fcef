#include "tests/tools/ToolRunner.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <pty.h>
#include <sstream>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace ToolTest {

namespace {

// No exit code of the tool's own: what the child ends with when it could not become the tool.
constexpr int notStarted = 127;

/// Fails the test that is running: what it would look at did not happen.
[[noreturn]] void failFrom( const std::string& call )
{
    throw std::system_error( errno, std::generic_category(), call );
}

/// For the child, which has no test to fail: says on its standard error what went wrong.
[[noreturn]] void giveUp( const char* call )
{
    std::perror( call );
    ::_exit( notStarted );
}

void sendTo( const std::string& path, int descriptor )
{
    const int file = ::open( path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644 );
    if ( file < 0 || ::dup2( file, descriptor ) < 0 ) {
        giveUp( path.c_str() );
    }
    ::close( file );
}

ToolResult endOf( pid_t process )
{
    int status = 0;
    if ( ::waitpid( process, &status, 0 ) != process ) {
        failFrom( "waitpid" );
    }
    ToolResult result;
    result.exitCode = WIFEXITED( status ) ? WEXITSTATUS( status ) : -1;
    result.signal = WIFSIGNALED( status ) ? WTERMSIG( status ) : 0;
    return result;
}

void requireStarted( const ToolResult& result )
{
    if ( result.exitCode == notStarted ) {
        throw std::runtime_error( "the tool was not run: " + result.output + result.errors );
    }
}

std::string contentOf( const std::string& path )
{
    std::ifstream file( path, std::ios::binary );
    std::ostringstream content;
    content << file.rdbuf();
    if ( !file.is_open() || file.bad() ) {
        failFrom( "reading " + path );
    }
    return content.str();
}

/// What a terminal gets until its last user has gone, which is an error of its own to read from.
std::string contentOfTerminal( int terminal )
{
    std::string output;
    char bytes[ 4096 ];
    ssize_t size = 0;
    while ( ( size = ::read( terminal, bytes, sizeof( bytes ) ) ) > 0 ) {
        output.append( bytes, static_cast< std::size_t >( size ) );
    }
    if ( size < 0 && errno != EIO ) {
        failFrom( "reading the terminal" );
    }
    return output;
}

} // namespace

ToolFolder::ToolFolder()
{
    std::string name = ( std::filesystem::temp_directory_path() / "pelora-tool-XXXXXX" ).string();
    if ( ::mkdtemp( name.data() ) == nullptr ) {
        throw std::runtime_error( "no temporary folder" );
    }
    path_ = name;
    environment_ = { { "NO_COLOR", "" }, { "PELORA_TRACE", "" }, { "TERM", "xterm" } };
}

ToolFolder::~ToolFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all( path_, ignored );
}

std::string ToolFolder::write( const std::string& name, const std::string& text ) const
{
    const std::string whole = path_ + "/" + name;
    std::filesystem::create_directories( std::filesystem::path( whole ).parent_path() );
    std::ofstream file( whole, std::ios::binary );
    file << text << std::flush;
    if ( !file ) {
        failFrom( "writing " + whole );
    }
    return whole;
}

std::string ToolFolder::read( const std::string& name ) const
{
    return contentOf( path_ + "/" + name );
}

bool ToolFolder::has( const std::string& name ) const
{
    return std::filesystem::exists( path_ + "/" + name );
}

void ToolFolder::environmentIs( const std::string& name, const std::string& value )
{
    environment_[ name ] = value;
}

ToolResult ToolFolder::run( const std::vector< std::string >& arguments ) const
{
    const std::string output = path_ + "/.output";
    const std::string errors = path_ + "/.errors";
    const pid_t process = ::fork();
    if ( process < 0 ) {
        failFrom( "fork" );
    }
    if ( process == 0 ) {
        sendTo( output, STDOUT_FILENO );
        sendTo( errors, STDERR_FILENO );
        runTool( arguments );
    }
    ToolResult result = endOf( process );
    result.output = contentOf( output );
    result.errors = contentOf( errors );
    requireStarted( result );
    return result;
}

ToolResult ToolFolder::runScenario( const std::string& scenario,
                                    const std::vector< std::string >& options ) const
{
    write( "scenario.yaml", scenario );
    std::vector< std::string > arguments = { "run", "scenario.yaml" };
    arguments.insert( arguments.end(), options.begin(), options.end() );
    return run( arguments );
}

ToolResult ToolFolder::runOnTerminal( const std::vector< std::string >& arguments,
                                      unsigned short columns ) const
{
    int terminal = -1;
    winsize window{};
    window.ws_col = columns;
    const pid_t process = ::forkpty( &terminal, nullptr, nullptr, &window );
    if ( process < 0 ) {
        failFrom( "forkpty" );
    }
    if ( process == 0 ) {
        runTool( arguments );
    }
    const std::string output = contentOfTerminal( terminal );
    ToolResult result = endOf( process );
    ::close( terminal );
    result.output = output;
    requireStarted( result );
    return result;
}

void ToolFolder::runTool( const std::vector< std::string >& arguments ) const
{
    std::vector< char* > words = { const_cast< char* >( "pelora-tcam" ) };
    for ( const std::string& argument : arguments ) {
        words.push_back( const_cast< char* >( argument.c_str() ) );
    }
    words.push_back( nullptr );
    for ( const auto& [ name, value ] : environment_ ) {
        value.empty() ? ::unsetenv( name.c_str() ) : ::setenv( name.c_str(), value.c_str(), 1 );
    }
    if ( ::chdir( path_.c_str() ) != 0 ) {
        giveUp( path_.c_str() );
    }
    ::execv( program_.c_str(), words.data() );
    giveUp( program_.c_str() );
}

std::string testDataFolder()
{
    const char* given = std::getenv( "PELORA_TEST_DATA" );
    const std::string folder =
        given != nullptr && *given != '\0' ? given : PELORA_SOURCE_DIR "/../shared/data";
    return std::filesystem::is_directory( folder ) ? std::filesystem::canonical( folder ).string()
                                                   : "";
}

} // namespace ToolTest

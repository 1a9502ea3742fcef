#include "tests/tools/ToolRunner.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <pty.h>
#include <sstream>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ToolTest {

namespace {

constexpr const char* tool = PELORA_BINARY_DIR "/bin/pelora-tcam";

void sendTo( const std::string& path, int descriptor )
{
    const int file = ::open( path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644 );
    ::dup2( file, descriptor );
    ::close( file );
}

ToolResult endOf( pid_t process )
{
    int status = 0;
    ::waitpid( process, &status, 0 );
    ToolResult result;
    result.exitCode = WIFEXITED( status ) ? WEXITSTATUS( status ) : -1;
    result.signal = WIFSIGNALED( status ) ? WTERMSIG( status ) : 0;
    return result;
}

std::string contentOf( const std::string& path )
{
    std::ifstream file( path, std::ios::binary );
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
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
    std::ofstream( whole, std::ios::binary ) << text;
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
    if ( process == 0 ) {
        sendTo( output, STDOUT_FILENO );
        sendTo( errors, STDERR_FILENO );
        runTool( arguments );
    }
    ToolResult result = endOf( process );
    result.output = contentOf( output );
    result.errors = contentOf( errors );
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
    if ( process == 0 ) {
        runTool( arguments );
    }
    std::string output;
    char bytes[ 4096 ];
    // A terminal whose last user has gone is an error to read from.
    for ( ssize_t size = ::read( terminal, bytes, sizeof( bytes ) ); size > 0;
          size = ::read( terminal, bytes, sizeof( bytes ) ) ) {
        output.append( bytes, static_cast< std::size_t >( size ) );
    }
    ToolResult result = endOf( process );
    ::close( terminal );
    result.output = output;
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
    if ( ::chdir( path_.c_str() ) == 0 ) {
        ::execv( tool, words.data() );
    }
    ::_exit( 127 );
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

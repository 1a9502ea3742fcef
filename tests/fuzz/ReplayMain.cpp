// Stands in for libFuzzer where there is none: runs a target on its corpus and on mutations of it,
// always the same ones.
//
//     replay_ruleset CORPUS-FOLDER MUTATIONS [SEED]     the corpus, and so many mutations
//     replay_ruleset FILE...                            just these inputs
//
// An input that ends the process is written to "failed-input" in the working directory first.

#include "tests/fuzz/FuzzTarget.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <unistd.h>
#include <vector>

namespace Fuzz {
namespace {

using Input = std::vector< std::uint8_t >;

constexpr std::size_t longestInput = 8192;

// What the signal handler writes: the input that is running.
const std::uint8_t* running_ = nullptr;
std::size_t runningSize_ = 0;

extern "C" void saveInput( int signal )
{
    const int file = ::open( "failed-input", O_WRONLY | O_CREAT | O_TRUNC, 0644 );
    if ( file >= 0 && ::write( file, running_, runningSize_ ) >= 0 ) {
        constexpr std::string_view text = "The input is in the file 'failed-input'.\n";
        static_cast< void >( !::write( STDERR_FILENO, text.data(), text.size() ) );
    }
    std::signal( signal, SIG_DFL );
    std::raise( signal );
}

void run( const Input& input )
{
    running_ = input.data();
    runningSize_ = input.size();
    LLVMFuzzerTestOneInput( input.data(), input.size() );
}

Input contentOf( const std::filesystem::path& path )
{
    std::ifstream stream( path, std::ios::binary );
    require( stream.is_open(), "the input can be read" );
    return { std::istreambuf_iterator< char >( stream ), {} };
}

/// The files of a folder, in an order that is always the same.
std::vector< Input > corpusOf( const std::filesystem::path& folder )
{
    std::vector< std::filesystem::path > files;
    for ( const auto& file : std::filesystem::directory_iterator( folder ) ) {
        files.push_back( file.path() );
    }
    std::ranges::sort( files );
    std::vector< Input > corpus;
    for ( const std::filesystem::path& file : files ) {
        corpus.push_back( contentOf( file ) );
    }
    return corpus;
}

// ---- Mutations -------------------------------------------------------------------------------

class Mutator
{
  public:
    Mutator( const std::vector< Input >& corpus, std::uint32_t seed )
        : corpus_( corpus )
        , random_( seed )
    {}

    /// One input of the corpus, changed in one to eight places.
    Input next()
    {
        Input input = anyOfCorpus();
        for ( std::size_t changes = 1 + below( 8 ); changes != 0; --changes ) {
            change( input );
        }
        input.resize( std::min( input.size(), longestInput ) );
        return input;
    }

  private:
    std::size_t below( std::size_t count ) { return random_() % count; }

    const Input& anyOfCorpus() { return corpus_[ below( corpus_.size() ) ]; }

    /// A part of an input: where it starts, and how many bytes it has.
    std::pair< std::size_t, std::size_t > anyPartOf( const Input& input )
    {
        const std::size_t start = below( input.size() + 1 );
        return { start, below( std::min< std::size_t >( input.size() - start, 64 ) + 1 ) };
    }

    void change( Input& input )
    {
        switch ( below( 7 ) ) {
        case 0:
            return setByte( input, [ this ]( int ) { return below( 256 ); } );
        case 1:
            return setByte( input, [ this ]( int byte ) { return byte ^ 1 << below( 8 ); } );
        case 2:
            return setByte( input,
                            [ this ]( int byte ) { return byte + ( below( 2 ) ? 1 : -1 ); } );
        case 3:
            return setByte(
                input, [ this ]( int ) { return "\0\x7F\xFF\x80:-\n \t#'\"[{,"[ below( 15 ) ]; } );
        case 4:
            return removePart( input );
        case 5:
            return insertPart( input, input );
        default:
            return insertPart( input, anyOfCorpus() );
        }
    }

    template< class Change >
    void setByte( Input& input, const Change& change )
    {
        if ( !input.empty() ) {
            std::uint8_t& byte = input[ below( input.size() ) ];
            byte = static_cast< std::uint8_t >( change( byte ) );
        }
    }

    void removePart( Input& input )
    {
        const auto [ start, size ] = anyPartOf( input );
        const auto first = input.begin() + static_cast< std::ptrdiff_t >( start );
        input.erase( first, first + static_cast< std::ptrdiff_t >( size ) );
    }

    void insertPart( Input& input, const Input& from )
    {
        const auto [ start, size ] = anyPartOf( from );
        const auto first = from.begin() + static_cast< std::ptrdiff_t >( start );
        const Input part( first, first + static_cast< std::ptrdiff_t >( size ) );
        const auto place = static_cast< std::ptrdiff_t >( below( input.size() + 1 ) );
        input.insert( input.begin() + place, part.begin(), part.end() );
    }

    const std::vector< Input >& corpus_;
    std::mt19937 random_;
};

// ---- The command -----------------------------------------------------------------------------

int runCorpus( const std::filesystem::path& folder, unsigned long mutations, unsigned long seed )
{
    const std::vector< Input > corpus = corpusOf( folder );
    require( !corpus.empty(), "the corpus has inputs" );
    run( {} );
    std::ranges::for_each( corpus, run );
    Mutator mutator( corpus, static_cast< std::uint32_t >( seed ) );
    for ( unsigned long mutation = 0; mutation < mutations; ++mutation ) {
        run( mutator.next() );
    }
    std::cout << corpus.size() << " inputs and " << mutations << " mutations of them\n";
    return EXIT_SUCCESS;
}

int runFiles( const std::vector< std::string >& files )
{
    for ( const std::string& file : files ) {
        run( contentOf( file ) );
    }
    return EXIT_SUCCESS;
}

int replay( const std::vector< std::string >& arguments )
{
    for ( const int signal : { SIGABRT, SIGSEGV, SIGFPE, SIGILL, SIGBUS } ) {
        std::signal( signal, saveInput );
    }
    if ( arguments.size() < 2 || !std::filesystem::is_directory( arguments.front() ) ) {
        return runFiles( arguments );
    }
    const unsigned long seed = arguments.size() > 2 ? std::stoul( arguments[ 2 ] ) : 1;
    return runCorpus( arguments[ 0 ], std::stoul( arguments[ 1 ] ), seed );
}

} // namespace
} // namespace Fuzz

int main( int count, char** arguments )
{
    return Fuzz::replay( { arguments + 1, arguments + count } );
}

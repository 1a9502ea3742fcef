// Runs mixed operations on one chip of each kind for a long time: the operations are as they should
// be, memory does not grow, and what has been given back is gone.
//
//     soak [OPERATIONS [SEED [PROFILE...]]]

#include "tests/soak/MemoryUse.h"
#include "tests/soak/MixedSteps.h"

#include <chrono>
#include <cstdio>
#include <exception>
#include <string>

namespace Soak {
namespace {

using Clock = std::chrono::steady_clock;

struct Request
{
    std::uint64_t operations = 10'000'000;
    std::uint64_t seed = 1;
    std::vector< std::string > profiles = { "sdk6-udf", "sdk6-flex", "hsdk" };
};

Request requestOf( const std::vector< std::string >& arguments )
{
    Request request;
    if ( !arguments.empty() ) {
        request.operations = std::stoull( arguments[ 0 ] );
    }
    if ( arguments.size() > 1 ) {
        request.seed = std::stoull( arguments[ 1 ] );
    }
    if ( arguments.size() > 2 ) {
        request.profiles.assign( arguments.begin() + 2, arguments.end() );
    }
    return request;
}

void print( const std::string& profile, const Tally& tally, double seconds )
{
    std::printf( "%s: %llu operations in %.1f s, %.0f a second\n", profile.c_str(),
                 static_cast< unsigned long long >( tally.operations ), seconds,
                 static_cast< double >( tally.operations ) / seconds );
    const std::pair< const char*, std::uint64_t > counts[] = {
        { "faults met", tally.faults },
        { "of these exceptions", tally.exceptions },
        { "of these calls without effect", tally.dropped },
        { "refusals", tally.refusals },
        { "audits of everything", tally.audits },
        { "comparisons of the whole chip", tally.comparisons },
        { "log messages", tally.logMessages },
    };
    for ( const auto& [ what, count ] : counts ) {
        std::printf( "    %-30s %12llu\n", what, static_cast< unsigned long long >( count ) );
    }
}

/// Makes operations until there have been so many.
void runUntil( MixedSteps& steps, const Tally& tally, std::uint64_t operations )
{
    while ( tally.operations < operations ) {
        steps.step();
    }
}

void soak( const std::string& profile, const Request& request )
{
    Tally tally;
    RandomChoices choices( request.seed );
    const MixedSteps::Rates rates{ { .faultOneIn = 16, .watchOneIn = 64 }, 8192 };
    const auto start = Clock::now();
    {
        MixedSteps steps( Sim::builtInProfile( profile ), choices, tally, rates );
        runUntil( steps, tally, request.operations / 10 );
        const std::size_t afterWarmUp = residentKilobytes();
        runUntil( steps, tally, request.operations );
        const std::size_t atEnd = residentKilobytes();
        std::printf( "%s: memory in use %zu kB after a tenth of the operations, %zu kB after all\n",
                     profile.c_str(), afterWarmUp, atEnd );
        require( atEnd <= afterWarmUp + mostGrowth( afterWarmUp ), "memory does not grow" );
        steps.end();
    }
    requireNoHelpers();
    print( profile, tally, std::chrono::duration< double >( Clock::now() - start ).count() );
    std::fflush( stdout );
}

} // namespace
} // namespace Soak

int main( int count, char** arguments )
{
    try {
        const Soak::Request request = Soak::requestOf( { arguments + 1, arguments + count } );
        for ( const std::string& profile : request.profiles ) {
            Soak::soak( profile, request );
        }
    } catch ( const std::exception& error ) {
        std::fprintf( stderr, "soak [OPERATIONS [SEED [PROFILE...]]]: %s\n", error.what() );
        return 2;
    }
    return 0;
}

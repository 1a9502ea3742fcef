#include "bench/InstructionCounts.h"

#include <fstream>
#include <optional>
#include <string_view>

#if __has_include( <valgrind/callgrind.h> )
#include <valgrind/callgrind.h>
#else
// Without valgrind's header nothing can be counted; everything else works.
#define RUNNING_ON_VALGRIND 0
#define CALLGRIND_ZERO_STATS static_cast< void >( 0 )
#define CALLGRIND_DUMP_STATS_AT( text ) static_cast< void >( text )
#endif

namespace Bench {

namespace {

/// Between the number of operations and the benchmark's name in the reason of a dump.
constexpr char separator = '|';

/// What callgrind's files say, one item a line (its manual, on the format of the files).
constexpr std::string_view reasonKey = "desc: Trigger: Client Request: ";
constexpr std::string_view countKey = "summary: ";

struct Dump
{
    std::string benchmark;
    double operations = 0;
    double instructions = 0;
};

std::optional< Dump > readDump( const std::filesystem::path& path )
{
    std::ifstream file( path );
    std::string reason;
    double instructions = 0;
    for ( std::string line; std::getline( file, line ); ) {
        if ( line.starts_with( reasonKey ) ) {
            reason = line.substr( reasonKey.size() );
        } else if ( line.starts_with( countKey ) ) {
            instructions = std::stod( line.substr( countKey.size() ) );
        }
    }
    const std::size_t end = reason.find( separator );
    if ( end == std::string::npos ) {
        return std::nullopt;
    }
    return Dump{ reason.substr( end + 1 ), std::stod( reason.substr( 0, end ) ), instructions };
}

} // namespace

bool runsUnderCallgrind()
{
    return RUNNING_ON_VALGRIND != 0;
}

void countingBegins()
{
    CALLGRIND_ZERO_STATS;
}

void countingEnds( const std::string& benchmark, std::uint64_t operations )
{
    if ( runsUnderCallgrind() ) {
        const std::string reason = std::to_string( operations ) + separator + benchmark;
        CALLGRIND_DUMP_STATS_AT( reason.c_str() );
    }
}

InstructionCounts readInstructionCounts( const std::filesystem::path& folder )
{
    // A benchmark is tried with few operations first: the longest run says most about one.
    std::map< std::string, Dump > longest;
    for ( const auto& entry : std::filesystem::directory_iterator( folder ) ) {
        if ( const std::optional< Dump > dump = readDump( entry.path() ) ) {
            Dump& kept = longest[ dump->benchmark ];
            kept = dump->operations > kept.operations ? *dump : kept;
        }
    }
    InstructionCounts counts;
    for ( const auto& [ benchmark, dump ] : longest ) {
        counts.emplace( benchmark, dump.instructions / dump.operations );
    }
    return counts;
}

} // namespace Bench

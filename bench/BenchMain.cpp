// pelora-bench: runs every pair interleaved, and prints a table of ratios at the end.
//
// Takes Google Benchmark's options and
//   --check-budgets          exit code 1 when a row is over its budget
//   --instructions=FOLDER    puts the instructions into the table that runs under callgrind have
//                            counted in FOLDER (InstructionCounts.h)

#include "bench/AnsweringSdk.h"
#include "bench/Benchmarks.h"
#include "bench/PairTable.h"

#include <iostream>
#include <string_view>
#include <vector>

namespace {

/// Keeps the fastest repetition of each benchmark; what disturbs a measurement only ever adds.
class FastestReporter : public benchmark::ConsoleReporter
{
  public:
    void ReportRuns( const std::vector< Run >& runs ) override
    {
        for ( const Run& run : runs ) {
            if ( run.run_type == Run::RT_Iteration && !run.error_occurred ) {
                keep( run.run_name.function_name,
                      { run.GetAdjustedCPUTime(), run.counters.at( Bench::allocationCounter ) } );
            }
        }
    }

    [[nodiscard]] const Bench::Measurements& fastest() const { return fastest_; }

  private:
    void keep( const std::string& name, const Bench::Measurement& measurement )
    {
        const auto [ place, isFirst ] = fastest_.try_emplace( name, measurement );
        if ( !isFirst && measurement.nanoseconds < place->second.nanoseconds ) {
            place->second = measurement;
        }
    }

    Bench::Measurements fastest_;
};

/// Takes an option out of the arguments; whether it was there.
bool takeOption( std::vector< char* >& arguments, std::string_view option )
{
    return std::erase_if( arguments,
                          [ & ]( const char* argument ) { return argument == option; } ) > 0;
}

/// Takes an option with a value out of the arguments; the value, empty if it was not there.
std::string takeValue( std::vector< char* >& arguments, std::string_view option )
{
    std::string value;
    std::erase_if( arguments, [ & ]( std::string_view argument ) {
        if ( !argument.starts_with( option ) ) {
            return false;
        }
        value = argument.substr( option.size() );
        return true;
    } );
    return value;
}

/// The options that a run has unless the caller gives others: those given later win.
std::vector< char* > withDefaults( std::vector< char* > arguments )
{
    static std::string repetitions = "--benchmark_repetitions=25";
    static std::string minimumTime = "--benchmark_min_time=0.02";
    static std::string interleaving = "--benchmark_enable_random_interleaving=true";
    arguments.insert( arguments.begin() + 1,
                      { repetitions.data(), minimumTime.data(), interleaving.data() } );
    return arguments;
}

} // namespace

int main( int argc, char** argv )
{
    std::vector< char* > arguments( argv, argv + argc );
    const bool budgetsChecked = takeOption( arguments, "--check-budgets" );
    const std::string counted = takeValue( arguments, "--instructions=" );
    arguments = withDefaults( std::move( arguments ) );
    int count = static_cast< int >( arguments.size() );
    benchmark::Initialize( &count, arguments.data() );
    if ( benchmark::ReportUnrecognizedArguments( count, arguments.data() ) ) {
        return 2;
    }

    Bench::AnsweringSdk sdk;
    Shim::sdk_ = &sdk;
    Agent::traceSinkIs( []( const Agent::TraceLine& ) {} );
    Bench::registerSdkCallBenchmarks();
    Bench::registerRangeCheckerBenchmarks();
    Bench::registerFlexParserBenchmarks();
    Bench::registerUdfBenchmarks();
    Bench::registerCounterBenchmarks();
    Bench::registerEntryBenchmarks();
    Bench::registerRingTraceBenchmarks();
    Bench::registerTraceLineBenchmarks();
    Bench::registerTranslationBenchmarks();

    FastestReporter reporter;
    if ( benchmark::RunSpecifiedBenchmarks( &reporter ) == 0 ) {
        return 2;
    }
    if ( Bench::runsUnderCallgrind() ) {
        return 0; // Its times say nothing.
    }
    std::cout << '\n';
    const Bench::InstructionCounts instructions =
        counted.empty() ? Bench::InstructionCounts() : Bench::readInstructionCounts( counted );
    const bool allWithin = Bench::printPairTable( std::cout, reporter.fastest(), instructions );
    return budgetsChecked && !allWithin ? 1 : 0;
}

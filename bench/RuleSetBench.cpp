// pelora-rules-bench: programs a whole rule set with the reference agent, and makes the same SDK
// calls by hand.
//
//     pelora-rules-bench RULES [REPETITIONS]
//
// Both sides run against a simulated chip that has just been made, in turn, and the fastest of each
// counts. What is above the floor is the work of library and reference agent together: looking for
// what rules can share, keeping the records that audits compare, and giving back what does not fit.

#include "bench/CallTape.h"
#include "tests/reference/RuleScene.h"
#include "tools/rules/FilterRules.h"

#include "sim/profiles/BuiltInProfiles.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <limits>
#include <string>
#include <vector>

namespace {

using Reference::FilterRule;
using Reference::RuleOptions;
using Reference::RuleScene;

/// A chip, and what each rule gets besides its entry.
struct Row
{
    const char* name;
    const char* profile;
    bool countedAndPoliced;
};

constexpr Row rows[] = {
    { "SDK-6, entries alone", "sdk6-large", false },
    { "SDK-6, counter and policer each", "sdk6-large", true },
    { "HSDK, entries alone", "hsdk-large", false },
    { "HSDK, counter and policer each", "hsdk-large", true },
};

RuleOptions optionsOf( const Row& row )
{
    RuleOptions options;
    if ( row.countedAndPoliced ) {
        options.counterSet = Reference::packetsAndBytes();
        options.policer = PeloraTcam::Policer{ 10000, 0, 1000, 0 };
    }
    return options;
}

/// Processor time of this process.
double seconds()
{
    return static_cast< double >( std::clock() ) / CLOCKS_PER_SEC;
}

template< class Work >
double secondsOf( const Work& work )
{
    const double start = seconds();
    work();
    return seconds() - start;
}

struct Times
{
    double ours = std::numeric_limits< double >::max();
    double floor = std::numeric_limits< double >::max();
    std::size_t calls = 0; ///< of SDK functions
    std::size_t programmed = 0;
};

void programOnce( const Row& row, const std::vector< FilterRule >& rules, Times& times )
{
    RuleScene scene( Sim::builtInProfile( row.profile ) );
    times.ours = std::min( times.ours, secondsOf( [ & ] {
                               times.programmed =
                                   scene.programmer().program( rules, optionsOf( row ) ).programmed;
                           } ) );
}

/// The calls that programming makes, made again on a chip that is as the first one was.
void makeTheCallsByHand( const Row& row, const std::vector< FilterRule >& rules, Times& times )
{
    RuleScene recorded( Sim::builtInProfile( row.profile ) );
    Bench::CallTape tape( *Shim::sdk_ );
    Shim::sdk_ = &tape;
    static_cast< void >( recorded.programmer().program( rules, optionsOf( row ) ) );
    times.calls = tape.functions();

    std::size_t failed = 0;
    recorded.chipIs( Sim::builtInProfile( row.profile ) );
    times.floor = std::min( times.floor, secondsOf( [ & ] { failed = tape.playByHand(); } ) );
    if ( failed != tape.failed() ) {
        std::cerr << failed << " calls failed by hand, " << tape.failed() << " had before\n";
        std::exit( 1 );
    }
}

void printRow( const Row& row, const Times& times, std::size_t rules )
{
    const auto count = static_cast< double >( rules );
    std::cout << std::left << std::setw( 34 ) << row.name << std::right << std::fixed
              << std::setprecision( 0 ) << std::setw( 12 ) << count / times.ours << std::setw( 12 )
              << count / times.floor << std::setprecision( 2 ) << std::setw( 8 )
              << times.ours / times.floor << std::setprecision( 1 ) << std::setw( 12 )
              << static_cast< double >( times.calls ) / count << std::setw( 12 ) << times.programmed
              << '\n';
}

} // namespace

int main( int argc, char** argv )
{
    if ( argc < 2 ) {
        std::cerr << "Usage: pelora-rules-bench RULES [REPETITIONS]\n";
        return 2;
    }
    const std::vector< FilterRule > rules = Tool::filterRulesOf( Tool::readRuleSet( argv[ 1 ] ) );
    const int repetitions = argc > 2 ? std::atoi( argv[ 2 ] ) : 7;
    std::cout << rules.size() << " rules of " << argv[ 1 ] << "\n"
              << "programming                             rules/s  by hand/s   ratio  calls/rule"
                 "  programmed\n";
    for ( const Row& row : rows ) {
        Times times;
        for ( int i = 0; i < repetitions; ++i ) {
            programOnce( row, rules, times );
            makeTheCallsByHand( row, rules, times );
        }
        printRow( row, times, rules.size() );
    }
    return 0;
}

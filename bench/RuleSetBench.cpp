// pelora-rules-bench: programs a whole rule set with the reference agent, and makes the same SDK
// calls by hand.
//
//     pelora-rules-bench [OPTION...] [RULES [REPETITIONS]]
//
//     --check-budgets          exit code 1 when a row is over its budget
//     --instructions=FOLDER    judges by the instructions that a run under callgrind has counted in
//                              FOLDER (InstructionCounts.h), and not by times
//     --rows=TEXT              only the rows of which the name begins with the text
//
// Without RULES it makes a rule set of its own, always the same.
//
// Both sides run against a simulated chip that has just been made, in turn, and the fastest of each
// counts. What is above the floor is the work of library and reference agent together: looking for
// what rules can share, keeping the records that audits compare, and giving back what does not fit.

#include "bench/CallTape.h"
#include "bench/InstructionCounts.h"
#include "bench/MadeRules.h"
#include "tests/reference/RuleScene.h"
#include "tools/rules/FilterRules.h"

#include "sim/profiles/BuiltInProfiles.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <limits>
#include <string>
#include <string_view>
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
    double budget; ///< how often the floor, at most
};

constexpr Row rows[] = {
    { "SDK-6, entries alone", "sdk6-large", false, 1.25 },
    { "SDK-6, counter and policer each", "sdk6-large", true, 1.32 },
    { "HSDK, entries alone", "hsdk-large", false, 1.2 },
    { "HSDK, counter and policer each", "hsdk-large", true, 1.38 },
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

std::string oursOf( const Row& row )
{
    return std::string( row.name ) + "/ours";
}

std::string floorOf( const Row& row )
{
    return std::string( row.name ) + "/floor";
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
    Reference::RuleSetReport report;
    times.ours = std::min( times.ours, secondsOf( [ & ] {
                               Bench::countingBegins();
                               report = scene.programmer().program( rules, optionsOf( row ) );
                               Bench::countingEnds( oursOf( row ), rules.size() );
                           } ) );
    times.programmed = report.programmed;
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
    times.floor = std::min( times.floor, secondsOf( [ & ] {
                                Bench::countingBegins();
                                failed = tape.playByHand();
                                Bench::countingEnds( floorOf( row ), rules.size() );
                            } ) );
    if ( failed != tape.failed() ) {
        std::cerr << failed << " calls failed by hand, " << tape.failed() << " had before\n";
        std::exit( 1 );
    }
}

/// A count for each rule, if there is one.
std::string countText( const Bench::InstructionCounts& counts, const std::string& name )
{
    const auto count = counts.find( name );
    return count == counts.end() ? "-" : std::to_string( std::lround( count->second ) );
}

/// Of instructions, or of times where none were counted.
double ratioOf( const Row& row, const Times& times, const Bench::InstructionCounts& counts )
{
    const auto ours = counts.find( oursOf( row ) );
    const auto floor = counts.find( floorOf( row ) );
    return ours == counts.end() || floor == counts.end() ? times.ours / times.floor
                                                         : ours->second / floor->second;
}

/// Prints a row; false when it is over its budget.
bool printRow( const Row& row,
               const Times& times,
               std::size_t rules,
               const Bench::InstructionCounts& counts )
{
    const double ratio = ratioOf( row, times, counts );
    const auto count = static_cast< double >( rules );
    std::cout << std::left << std::setw( 34 ) << row.name << std::right << std::fixed
              << std::setprecision( 0 ) << std::setw( 10 ) << count / times.ours << std::setw( 11 )
              << count / times.floor << std::setprecision( 2 ) << std::setw( 7 )
              << times.ours / times.floor << std::setw( 8 ) << countText( counts, oursOf( row ) )
              << std::setw( 9 ) << countText( counts, floorOf( row ) ) << std::setw( 7 ) << ratio
              << std::setw( 8 ) << row.budget << std::setprecision( 1 ) << std::setw( 12 )
              << static_cast< double >( times.calls ) / count << std::setw( 12 ) << times.programmed
              << ( ratio > row.budget ? "  OVER" : "" ) << '\n';
    return ratio <= row.budget;
}

struct Options
{
    bool checksBudgets = false;
    std::string_view rows;
    std::string_view instructions;
    std::vector< const char* > others;
};

Options optionsOf( int argc, char** argv )
{
    constexpr std::string_view rowsOption = "--rows=";
    constexpr std::string_view instructionsOption = "--instructions=";
    Options options;
    for ( int i = 1; i < argc; ++i ) {
        const std::string_view argument = argv[ i ];
        if ( argument == "--check-budgets" ) {
            options.checksBudgets = true;
        } else if ( argument.starts_with( rowsOption ) ) {
            options.rows = argument.substr( rowsOption.size() );
        } else if ( argument.starts_with( instructionsOption ) ) {
            options.instructions = argument.substr( instructionsOption.size() );
        } else {
            options.others.push_back( argv[ i ] );
        }
    }
    return options;
}

constexpr std::size_t madeCount = 8000;

/// Those of a file, or made ones.
std::vector< FilterRule > rulesOf( const std::string& file )
{
    return file.empty() ? Bench::madeRules( madeCount )
                        : Tool::filterRulesOf( Tool::readRuleSet( file ) );
}

} // namespace

int main( int argc, char** argv )
{
    const Options options = optionsOf( argc, argv );
    if ( options.others.size() > 2 ) {
        std::cerr << "Usage: pelora-rules-bench [--check-budgets] [--instructions=FOLDER] "
                     "[--rows=TEXT] [RULES [REPETITIONS]]\n";
        return 2;
    }
    const std::string file = options.others.empty() ? "" : options.others.front();
    const std::vector< FilterRule > rules = rulesOf( file );
    const int repetitions = options.others.size() > 1 ? std::atoi( options.others[ 1 ] ) : 7;
    std::cout << rules.size() << " rules" << ( file.empty() ? "" : " of " + file ) << "\n"
              << "programming                          rules/s  by hand/s  ratio   instr  by hand"
                 "  ratio  budget  calls/rule  programmed\n";
    const auto counts = options.instructions.empty()
                            ? Bench::InstructionCounts()
                            : Bench::readInstructionCounts( options.instructions );
    bool allWithin = true;
    for ( const Row& row : rows ) {
        if ( !std::string_view( row.name ).starts_with( options.rows ) ) {
            continue;
        }
        Times times;
        for ( int i = 0; i < repetitions; ++i ) {
            programOnce( row, rules, times );
            makeTheCallsByHand( row, rules, times );
        }
        allWithin = printRow( row, times, rules.size(), counts ) && allWithin;
    }
    return options.checksBudgets && !allWithin ? 1 : 0;
}

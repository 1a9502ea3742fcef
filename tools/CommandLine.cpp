#include "tools/CommandLine.h"

#include "sim/InputError.h"
#include "tools/CommandLineHints.h"
#include "tools/CommandLineOrder.h"
#include "tools/Compare.h"
#include "tools/DecodeTrace.h"
#include "tools/ExitCodes.h"
#include "tools/ExplainUdf.h"
#include "tools/Maps.h"
#include "tools/PrintableText.h"
#include "tools/Profiles.h"
#include "tools/RingDump.h"
#include "tools/ScenarioRun.h"
#include "tools/TextFile.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <fmt/format.h>
#include <functional>
#include <memory>
#include <stdexcept>
#include <unistd.h>

namespace Tool {

namespace {

constexpr const char* toolHelp =
    "Runs the TCAM helper library libPeloraTcamSdk6Helpers against a simulated chip.\n";

constexpr const char* toolFooter = R"(Examples:
  pelora-tcam run examples/range-checkers.yaml
  pelora-tcam run --json --chip sdk6-tiny examples/range-checkers.yaml
  pelora-tcam compare examples/three-chips.yaml
  pelora-tcam profiles
  pelora-tcam maps qualifierMap
  pelora-tcam decode-trace run.ring
  pelora-tcam explain-udf --help

Exit codes:
  0  everything went as expected
  1  a step of a scenario did not have the outcome that was expected
  2  bad input: a file, with file:line:column, or the command line
  3  the library ended the process although no step expected that
  4  the tool itself failed: no process, no memory, no room for the output

'pelora-tcam COMMAND --help' tells about a command.)";

constexpr const char* runHelp =
    R"(Runs a scenario against the library and the simulated chip.

Reads and checks the scenario with all that it names, builds the chip, runs the steps
against the shared library as an agent does, and prints what became of each step and
what the chip holds in the end. The steps run in a child process, so that an end of the
process, by a failed assertion or a fatal SDK call, is reported like anything else.
)";

constexpr const char* runFooter = R"(A scenario:
  chip: sdk6-tiny
  steps:
    - allocate-range-checker: { name: web, type: l4DstPort, low: 8000, high: 8999 }
    - allocate-range-checker: { name: dns, type: l4SrcPort, low: 50, high: 59 }
    - allocate-range-checker: { name: one-too-many, type: l4DstPort, low: 1, high: 9 }
      expect: full
    - audit: all
    - release-range-checker: { name: web }

Examples:
  pelora-tcam run scenario.yaml
  pelora-tcam run --trace ApiPelora=4 --trace PeloraTcamRangeChecker=0,8-9 scenario.yaml
  pelora-tcam run --json --numbering shuffled:7 scenario.yaml
  pelora-tcam run --ring-dump run.ring scenario.yaml
  pelora-tcam run --snapshot scenario.yaml

Exit codes:
  0  every step had the outcome that was expected ('ok' unless the step says otherwise)
  1  a step did not
  2  bad input: nothing has been run
  3  the library ended the process although the step did not expect that
  4  the tool itself failed: no process, no memory, no room for the output

docs/scenarios.md has all steps, faults and outcomes.)";

constexpr const char* profilesHelp =
    R"(Lists the chip profiles, or prints one.

Without a name, lists the profiles that are built in. With a name or a file, checks the
profile and prints it: the start of a profile of one's own.
)";

constexpr const char* profilesFooter = R"(Examples:
  pelora-tcam profiles
  pelora-tcam profiles sdk6-udf > my-chip.yaml
  pelora-tcam profiles --json my-chip.yaml

Exit codes:
  0  printed
  2  bad input: no such profile, or something is wrong in it
  4  the tool itself failed)";

constexpr const char* mapsHelp =
    R"(Lists the library's translation maps, or prints one.

A map translates the agent's enumerators to the SDK's, most of them also back. Without a
name, lists the maps with the numbers of their pairs. With the name of a map, prints each
agent value, the SDK's enumerator with its value, and what that translates back to.
)";

constexpr const char* mapsFooter = R"(Examples:
  pelora-tcam maps
  pelora-tcam maps qualifierMap
  pelora-tcam maps --numbering shuffled:7 --json ipTypeMap

Exit codes:
  0  printed
  2  bad input: no such map
  4  the tool itself failed)";

constexpr const char* decodeTraceHelp =
    R"(Prints the ring-buffer traces in a dump or a core file.

The file is one that 'run --ring-dump' has written, or any other that holds such a trace.
One line a record, the oldest first: seconds, file:line, function and text.
)";

constexpr const char* decodeTraceFooter = R"(Examples:
  pelora-tcam decode-trace run.ring
  pelora-tcam decode-trace --json core

Exit codes:
  0  printed
  2  bad input: the file cannot be read, holds no trace, or the trace is damaged (what can
     be read of it is printed)
  4  the tool itself failed)";

constexpr const char* explainUdfHelp =
    R"(Says in words what a description of a user-defined field means on a chip.

Programs the field through the library into the simulated chip and tells what the chip
then holds: which bytes of which packets the field matches, the layer and the start that
the chip is given, the packet format it needs, and the fields that share that. The
options are the keys of a 'program-udf' step.
)";

constexpr const char* explainUdfFooter = R"(Examples:
  pelora-tcam explain-udf --chip sdk6-udf --base l4OuterPayload --ethertype ipv4
      --protocol udp --offset 4 --length 3
  pelora-tcam explain-udf --chip hsdk --base l3Header --ethertype arp --app macAcl
      --offset 6 --length 2
  pelora-tcam explain-udf --chip sdk6-udf --base l3Header --ethertype ipv4 --offset 12
      --length 4 --with '{ name: id, base: l3Header, ethertype: ipv4, offset: 4, length: 2 }'
  pelora-tcam explain-udf --json --scenario before.yaml --base l2Header --ethertype mpls
      --offset 14 --length 2 --lag-mask 0xFF,0x0F

Exit codes:
  0  the chip takes the field
  1  the library or the chip refuses it; the text says why
  2  bad input: nothing has been run
  3  the library ends the process
  4  the tool itself failed

docs/scenarios.md has the names of bases, EtherTypes and protocols.)";

constexpr const char* compareHelp =
    R"(Runs a scenario on several chips and shows them side by side.

For each step: what came of it on each chip, and what the chip was given for a user-defined
field. Without --chip, one chip of each kind: an SDK-6 chip with a UDF module, an SDK-6 chip
with a flexible parser, and an HSDK chip. The scenario's own chip does not count.
)";

constexpr const char* compareFooter = R"(Examples:
  pelora-tcam compare examples/three-chips.yaml
  pelora-tcam compare --chip sdk6-tiny --chip hsdk-large scenario.yaml

Exit codes: the highest of those that 'run' has for the chips.)";

/// The command line of `run`.
struct RunCommand
{
    std::string scenario;
    std::string chip;
    std::vector< std::string > traces;
    std::string numbering = "default";
    std::string ringDump;
    bool snapshot = false;
    bool json = false;
};

Sim::SdkNumbering numberingFromOption( const std::string& text )
{
    try {
        return Sim::SdkNumbering::fromText( text );
    } catch ( const std::invalid_argument& refusal ) {
        throw CommandLineError( std::string( "--numbering: " ) + refusal.what() );
    }
}

int run( const RunCommand& command )
{
    RunOptions options;
    options.numbering = command.numbering;
    options.snapshot = command.snapshot;
    options.progress = isTerminal( STDERR_FILENO );
    for ( const std::string& trace : command.traces ) {
        options.traces.push_back( traceSettingFromOption( trace ) );
    }
    ScenarioReading reading{ command.scenario, {}, numberingFromOption( command.numbering ) };
    if ( !command.chip.empty() ) {
        reading.chip = command.chip;
    }
    const Scenario scenario = readScenario( reading );
    if ( !command.ringDump.empty() ) {
        options.ringDump = openRingDump( command.ringDump );
    }
    const auto report = command.json ? makeJsonReport()
                                     : makeTextReport( Painter( mayColour( STDOUT_FILENO ) ),
                                                       terminalWidth( STDOUT_FILENO ) );
    const int exitCode = runScenario( scenario, options, *report ).exitCode();
    if ( options.ringDump >= 0 ) {
        requireWholeRingDump( options.ringDump );
    }
    return exitCode;
}

/// The sub-command that was given, to be done once the whole command line has been read.
using Command = std::function< int() >;

/// The helps; in the list of sub-commands each has the first line of its description.
class FirstLines : public CLI::Formatter
{
  public:
    std::string make_subcommand( const CLI::App* command ) const override
    {
        const std::string description = command->get_description();
        return fmt::format( "  {:<{}}{}\n", command->get_name(), get_column_width() - 2,
                            description.substr( 0, description.find( '\n' ) ) );
    }
};

CLI::App* addCommand( CLI::App& app, const char* name, const char* help, const char* footer )
{
    CLI::App* command = app.add_subcommand( name, help );
    command->footer( footer );
    return command;
}

void addRun( CLI::App& app, Command& command )
{
    const auto given = std::make_shared< RunCommand >();
    CLI::App* app_ = addCommand( app, "run", runHelp, runFooter );
    app_->footer( fmt::format( "{}\n\nFacilities that can be traced:\n  {}", runFooter,
                               fmt::join( knownTraceFacilities(), "\n  " ) ) );
    app_->add_option( "SCENARIO", given->scenario, "The scenario, a YAML file" )
        ->type_name( "FILE" )
        ->required();
    app_->add_option( "--chip", given->chip,
                      "The chip profile, a name or a file, instead of the scenario's" )
        ->type_name( "PROFILE" );
    app_->add_option( "--trace", given->traces,
                      "Trace these levels, such as 4, 0,8-9 or all, of a facility to standard\n"
                      "error; may be given several times" )
        ->type_name( "FACILITY=LEVELS" )
        ->allow_extra_args( false );
    app_->add_option( "--numbering", given->numbering,
                      "The values of the SDK's enumerators: 'default' or 'shuffled:SEED'" )
        ->type_name( "NUMBERING" );
    app_->add_option( "--ring-dump", given->ringDump,
                      "Write the ring-buffer trace to the file, also if the process ends badly" )
        ->type_name( "FILE" );
    app_->add_flag( "--snapshot", given->snapshot,
                    "Print all that the chip holds at the end, not only how much of it" );
    app_->add_flag( "--json", given->json, "Print one JSON object instead of text" );
    app_->callback( [ given, &command ] { command = [ given ] { return run( *given ); }; } );
}

void addCompare( CLI::App& app, Command& command )
{
    const auto given = std::make_shared< CompareOptions >();
    CLI::App* app_ = addCommand( app, "compare", compareHelp, compareFooter );
    app_->add_option( "SCENARIO", given->scenario, "The scenario, a YAML file" )
        ->type_name( "FILE" )
        ->required();
    app_->add_option( "--chip", given->chips,
                      "A chip profile, a name or a file; may be given several times" )
        ->type_name( "PROFILE" )
        ->allow_extra_args( false );
    app_->add_option( "--numbering", given->numbering,
                      "The values of the SDK's enumerators: 'default' or 'shuffled:SEED'" )
        ->type_name( "NUMBERING" );
    app_->add_flag( "--json", given->json, "Print one JSON object instead of text" );
    app_->callback( [ given, &command ] {
        command = [ given ] {
            static_cast< void >( numberingFromOption( given->numbering ) );
            return compareChips( *given );
        };
    } );
}

void addProfiles( CLI::App& app, Command& command )
{
    const auto given = std::make_shared< ProfilesOptions >();
    CLI::App* app_ = addCommand( app, "profiles", profilesHelp, profilesFooter );
    app_->add_option( "NAME", given->name, "The profile to print: a name or a file" );
    app_->add_flag( "--json", given->json, "Print one JSON object instead of text" );
    app_->callback(
        [ given, &command ] { command = [ given ] { return showProfiles( *given ); }; } );
}

void addMaps( CLI::App& app, Command& command )
{
    const auto given = std::make_shared< MapsOptions >();
    CLI::App* app_ = addCommand( app, "maps", mapsHelp, mapsFooter );
    app_->add_option( "NAME", given->name, "The map to print" );
    app_->add_option( "--numbering", given->numbering,
                      "The values of the SDK's enumerators: 'default' or 'shuffled:SEED'" )
        ->type_name( "NUMBERING" );
    app_->add_flag( "--json", given->json, "Print one JSON object instead of text" );
    app_->callback( [ given, &command ] {
        command = [ given ] { return showMaps( *given, numberingFromOption( given->numbering ) ); };
    } );
}

void addDecodeTrace( CLI::App& app, Command& command )
{
    const auto given = std::make_shared< DecodeTraceOptions >();
    CLI::App* app_ = addCommand( app, "decode-trace", decodeTraceHelp, decodeTraceFooter );
    app_->add_option( "FILE", given->file, "The dump or core file" )->required();
    app_->add_flag( "--json", given->json, "Print one JSON object instead of text" );
    app_->callback(
        [ given, &command ] { command = [ given ] { return decodeTrace( *given ); }; } );
}

/// An option of the name of a key of a `program-udf` step.
struct UdfKeyOption
{
    const char* key;
    const char* type;
    const char* help;
    bool required = false;
};

// clang-format off
constexpr UdfKeyOption udfKeyOptions[] = {
    { "base",            "BASE",     "From where the offset counts, such as l4OuterPayload", true },
    { "offset",          "BYTES",    "From the base, 0 to 255", true },
    { "length",          "BYTES",    "Of the field, 0 to 255", true },
    { "ethertype",       "TYPE",     "The packets' outer EtherType, such as ipv4 or 0x0800" },
    { "inner-ethertype", "TYPE",     "What a GRE packet carries" },
    { "protocol",        "PROTOCOL", "The packets' IP protocol, such as udp or 17" },
    { "priority",        "NUMBER",   "Of a packet format made for it, 0 to 255" },
    { "app",             "APP",      "What asks for it: ipv4Acl, ipv6Acl, macAcl or ipv4TrafficPolicy" },
    { "lag-mask",        "BYTES",    "Feed the LAG hash: mask bytes, with commas" },
};

// clang-format on

void addUdfKeys( CLI::App* app, const std::shared_ptr< ExplainUdfOptions >& given )
{
    for ( const UdfKeyOption& option : udfKeyOptions ) {
        const auto keep = [ given, key = option.key ]( const std::string& text ) {
            given->keys.emplace_back( key, text );
        };
        app->add_option_function< std::string >( std::string( "--" ) + option.key, keep,
                                                 option.help )
            ->type_name( option.type )
            ->required( option.required );
    }
}

void addExplainUdf( CLI::App& app, Command& command )
{
    const auto given = std::make_shared< ExplainUdfOptions >();
    CLI::App* app_ = addCommand( app, "explain-udf", explainUdfHelp, explainUdfFooter );
    addUdfKeys( app_, given );
    app_->add_option( "--chip", given->chip,
                      "The chip profile, a name or a file; not needed with --scenario" )
        ->type_name( "PROFILE" );
    app_->add_option( "--scenario", given->scenario,
                      "Run this scenario before, for what it leaves on the chip" )
        ->type_name( "FILE" );
    app_->add_option( "--with", given->with,
                      "A field that exists already: a mapping of the keys of a 'program-udf'\n"
                      "step; may be given several times" )
        ->type_name( "DESCRIPTION" )
        ->allow_extra_args( false );
    app_->add_option( "--numbering", given->numbering,
                      "The values of the SDK's enumerators: 'default' or 'shuffled:SEED'" )
        ->type_name( "NUMBERING" );
    app_->add_flag( "--json", given->json, "Print one JSON object instead of text" );
    app_->callback( [ given, &command ] {
        command = [ given ] {
            static_cast< void >( numberingFromOption( given->numbering ) );
            return showUdfExplanation( *given );
        };
    } );
}

/// Reads the command line into a command.
Command readCommandLine( CLI::App& app, int argumentCount, const char* const* arguments )
{
    Command command;
    app.footer( toolFooter );
    app.formatter( std::make_shared< FirstLines >() );
    app.set_version_flag( "--version", "pelora-tcam " PELORA_VERSION );
    app.require_subcommand( 0, 1 );
    addRun( app, command );
    addCompare( app, command );
    addProfiles( app, command );
    addMaps( app, command );
    addDecodeTrace( app, command );
    addExplainUdf( app, command );
    requireValues( app );
    std::vector< std::string > words =
        withCommandFirst( app, { arguments + 1, arguments + argumentCount } );
    refuseEmptyValues( app, words );
    std::ranges::reverse( words ); // The parser wants the last one first.
    app.parse( std::move( words ) );
    return command;
}

/// What the command could not write must not pass for success.
int flushed( int exitCode )
{
    if ( std::fflush( stdout ) != 0 || std::ferror( stdout ) != 0 ) {
        throw std::runtime_error( "standard output could not be written" );
    }
    return exitCode;
}

/// Runs the command and tells what went wrong.
int runCommand( const Command& command )
{
    try {
        return flushed( command() );
    } catch ( const Sim::InputError& error ) {
        fmt::print( stderr, "{}\n", printable( error.what() ) );
        return exitBadInput;
    } catch ( const UnreadableFile& error ) {
        fmt::print( stderr, "pelora-tcam: {}\n", printable( error.what() ) );
        return exitBadInput;
    } catch ( const CommandLineError& error ) {
        fmt::print( stderr, "pelora-tcam: {}\n", printable( error.what() ) );
        return exitBadInput;
    } catch ( const std::exception& error ) {
        fmt::print( stderr, "pelora-tcam: {}\n", printable( error.what() ) );
        return exitToolFailed;
    }
}

} // namespace

int runCommandLine( int argumentCount, const char* const* arguments )
{
    CLI::App app( toolHelp, "pelora-tcam" );
    Command command;
    try {
        command = readCommandLine( app, argumentCount, arguments );
        if ( !command ) {
            throw CLI::RequiredError( "a command" );
        }
    } catch ( const CLI::Success& success ) {
        // A help or the version was asked for.
        return app.exit( success );
    } catch ( const CLI::ParseError& error ) {
        fmt::print( stderr, "{}", refusedCommandLineText( app, error ) );
        return exitBadInput;
    }
    return runCommand( command );
}

} // namespace Tool

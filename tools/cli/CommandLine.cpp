#include "tools/cli/CommandLine.h"

#include "input/InputError.h"
#include "input/TextFile.h"
#include "tools/cli/CommandLineHints.h"
#include "tools/cli/CommandLineOrder.h"
#include "tools/cli/Helps.h"
#include "tools/commands/CommandLineError.h"
#include "tools/commands/Compare.h"
#include "tools/commands/DecodeTrace.h"
#include "tools/commands/ExitCodes.h"
#include "tools/commands/ExplainUdf.h"
#include "tools/commands/Lookup.h"
#include "tools/commands/Maps.h"
#include "tools/commands/Profiles.h"
#include "tools/commands/Run.h"
#include "tools/text/PrintableText.h"
#include "tools/traces/TraceSetting.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <fmt/format.h>
#include <functional>
#include <memory>
#include <stdexcept>

namespace Tool {

namespace {

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
    const auto given = std::make_shared< RunCommandOptions >();
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
    app_->callback( [ given, &command ] { command = [ given ] { return showRun( *given ); }; } );
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
    app_->callback(
        [ given, &command ] { command = [ given ] { return compareChips( *given ); }; } );
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
    app_->callback( [ given, &command ] { command = [ given ] { return showMaps( *given ); }; } );
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

constexpr UdfKeyOption udfKeyOptions[] = {
    { "base", "BASE", "From where the offset counts, such as l4OuterPayload", true },
    { "offset", "BYTES", "From the base, 0 to 255", true },
    { "length", "BYTES", "Of the field, 0 to 255", true },
    { "ethertype", "TYPE", "The packets' outer EtherType, such as ipv4 or 0x0800" },
    { "inner-ethertype", "TYPE", "What a GRE packet carries" },
    { "protocol", "PROTOCOL", "The packets' IP protocol, such as udp or 17" },
    { "priority", "NUMBER", "Of a packet format made for it, 0 to 255" },
    { "app", "APP", "What asks for it: ipv4Acl, ipv6Acl, macAcl or ipv4TrafficPolicy" },
    { "lag-mask", "BYTES", "Feed the LAG hash: mask bytes, with commas" },
};

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
    app_->callback(
        [ given, &command ] { command = [ given ] { return showUdfExplanation( *given ); }; } );
}

void addLookupPackets( CLI::App* app, const std::shared_ptr< LookupOptions >& given )
{
    app->add_option( "--packet", given->packets,
                     "Look up this packet, such as 'tcp 10.0.0.1:1024 > 192.0.2.1:80'; may be\n"
                     "given several times" )
        ->type_name( "DESCRIPTION" )
        ->allow_extra_args( false );
    app->add_option( "--capture", given->capture,
                     "Look up the packets of a capture (pcap or pcapng); - is standard input" )
        ->type_name( "FILE" );
    app->add_option( "--trace", given->trace,
                     "Look up the packets of a text trace, one a line; - is standard input" )
        ->type_name( "FILE" );
}

void addLookup( CLI::App& app, Command& command )
{
    const auto given = std::make_shared< LookupOptions >();
    CLI::App* app_ = addCommand( app, "lookup", lookupHelp, lookupFooter );
    app_->add_option( "--scenario", given->scenario,
                      "Run this scenario before, for what it leaves on the chip" )
        ->type_name( "FILE" );
    app_->add_option( "--rules", given->rules,
                      "Program this rule set before, instead of a scenario" )
        ->type_name( "FILE" );
    app_->add_option( "--chip", given->chip,
                      "The chip profile, a name or a file; not needed with --scenario" )
        ->type_name( "PROFILE" );
    app_->add_option( "--action", given->action,
                      "What the rules of --rules do: an action of the agent; 'drop' by default" )
        ->type_name( "NAME" );
    addLookupPackets( app_, given );
    app_->add_flag( "--winners", given->winners,
                    "Print only the line of the winning rule in its file for each packet, 0 for\n"
                    "none; nothing is metered or counted" );
    app_->add_option( "--jobs", given->jobs, "Threads that look for winners, 1 to 256" )
        ->type_name( "NUMBER" )
        ->check( CLI::Range( 1, 256 ) );
    app_->add_option( "--numbering", given->numbering,
                      "The values of the SDK's enumerators: 'default' or 'shuffled:SEED'" )
        ->type_name( "NUMBERING" );
    app_->add_flag( "--json", given->json, "Print one JSON object instead of text" );
    app_->callback( [ given, &command ] { command = [ given ] { return showLookup( *given ); }; } );
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
    addLookup( app, command );
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
    } catch ( const Input::InputError& error ) {
        fmt::print( stderr, "{}\n", printable( error.what() ) );
        return exitBadInput;
    } catch ( const Input::UnreadableFile& error ) {
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

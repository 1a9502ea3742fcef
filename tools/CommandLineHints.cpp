#include "tools/CommandLineHints.h"

#include "sim/NameHints.h"

#include <algorithm>
#include <fmt/format.h>
#include <vector>

namespace Tool {

namespace {

bool isOption( const std::string& argument )
{
    return argument.size() > 1 && argument.front() == '-';
}

/// The sub-command that was read; null if none was.
const CLI::App* commandOf( const CLI::App& app )
{
    const std::vector< CLI::App* > commands = app.get_subcommands();
    return commands.empty() ? nullptr : commands.front();
}

std::vector< std::string > commandNames( const CLI::App& app )
{
    std::vector< std::string > names;
    for ( const CLI::App* command :
          app.get_subcommands( []( const CLI::App* ) { return true; } ) ) {
        names.push_back( command->get_name() );
    }
    return names;
}

std::vector< std::string > optionNames( const CLI::App& app )
{
    std::vector< std::string > names;
    for ( const CLI::Option* option : app.get_options() ) {
        for ( const std::string& name : option->get_lnames() ) {
            names.push_back( "--" + name );
        }
    }
    return names;
}

std::string unknownOptionText( const CLI::App& app, const std::string& argument )
{
    const std::string option = argument.substr( 0, argument.find( '=' ) );
    const CLI::App* command = commandOf( app );
    return fmt::format(
        "unknown option '{}'{}{}",
        option,
        command == nullptr ? "" : fmt::format( " of '{}'", command->get_name() ),
        Sim::nameHint( option, optionNames( command == nullptr ? app : *command ) ) );
}

/// What is wrong with the arguments that nobody wanted; empty if there are none.
std::string unwantedText( const CLI::App& app )
{
    const std::vector< std::string > unwanted = app.remaining( true );
    if ( unwanted.empty() ) {
        return {};
    }
    const CLI::App* command = commandOf( app );
    if ( command == nullptr && !isOption( unwanted.front() ) ) {
        return fmt::format( "unknown command '{}'{}",
                            unwanted.front(),
                            Sim::nameHint( unwanted.front(), commandNames( app ) ) );
    }
    const auto option = std::ranges::find_if( unwanted, isOption );
    if ( option != unwanted.end() ) {
        return unknownOptionText( app, *option );
    }
    return fmt::format( "one argument too many for '{}': '{}'",
                        command == nullptr ? app.get_name() : command->get_name(),
                        unwanted.front() );
}

} // namespace

std::string refusedCommandLineText( const CLI::App& app, const CLI::ParseError& refusal )
{
    const std::string unwanted = unwantedText( app );
    const CLI::App* command = commandOf( app );
    return fmt::format( "pelora-tcam: {}\nRun 'pelora-tcam {}--help' for how it is used.\n",
                        unwanted.empty() ? refusal.what() : unwanted,
                        command == nullptr ? "" : command->get_name() + " " );
}

} // namespace Tool

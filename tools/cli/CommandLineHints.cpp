#include "tools/cli/CommandLineHints.h"

#include "input/NameHints.h"
#include "tools/cli/CommandLineOrder.h"
#include "tools/text/PrintableText.h"

#include <algorithm>
#include <fmt/format.h>
#include <vector>

namespace Tool {

namespace {

/// The sub-command that was read; null if none was.
const CLI::App* commandOf( const CLI::App& app )
{
    const std::vector< CLI::App* > commands = app.get_subcommands();
    return commands.empty() ? nullptr : commands.front();
}

/// The sub-command whose arguments were refused; null if there is none.
const CLI::App* refusedCommandOf( const CLI::App& app, const CLI::ParseError& refusal )
{
    const auto* before = dynamic_cast< const CommandRefusal* >( &refusal );
    return before == nullptr ? commandOf( app ) : before->command();
}

/// An option that other commands have is named with them, one that none has with the nearest that
/// the command has.
std::string unknownOptionText( const CLI::App& app, const std::string& argument )
{
    const std::string option = argument.substr( 0, argument.find( '=' ) );
    const CLI::App* command = commandOf( app );
    const std::string others = commandsWith( app, option );
    if ( command != nullptr && !others.empty() ) {
        return fmt::format( "'{}' has no option '{}', which belongs to {}", command->get_name(),
                            option, others );
    }
    return fmt::format(
        "unknown option '{}'{}{}", option,
        command == nullptr ? "" : fmt::format( " of '{}'", command->get_name() ),
        Input::nameHint( option, optionNames( command == nullptr ? app : *command ) ) );
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
        return fmt::format( "unknown command '{}'{}", unwanted.front(),
                            Input::nameHint( unwanted.front(), commandNames( app ) ) );
    }
    const auto option = std::ranges::find_if( unwanted, isOption );
    if ( option != unwanted.end() ) {
        return unknownOptionText( app, *option );
    }
    return fmt::format( "one argument too many for '{}': '{}'",
                        command == nullptr ? app.get_name() : command->get_name(),
                        unwanted.front() );
}

/// The parser's words for too few values, or for an option that is given again, count arguments.
std::string parserText( const CLI::ParseError& refusal )
{
    const std::string text = refusal.what();
    if ( dynamic_cast< const CLI::ArgumentMismatch* >( &refusal ) == nullptr ) {
        return text;
    }
    const bool isAgain = text.find( "At Most" ) != std::string::npos;
    return text.substr( 0, text.find( ':' ) ) +
           ( isAgain ? ": given more than once" : ": expected a value" );
}

} // namespace

std::string refusedCommandLineText( const CLI::App& app, const CLI::ParseError& refusal )
{
    const std::string unwanted = unwantedText( app );
    const CLI::App* command = refusedCommandOf( app, refusal );
    return fmt::format( "pelora-tcam: {}\nRun 'pelora-tcam {}--help' for how it is used.\n",
                        printable( unwanted.empty() ? parserText( refusal ) : unwanted ),
                        command == nullptr ? "" : command->get_name() + " " );
}

} // namespace Tool

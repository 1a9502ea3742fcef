#include "tools/cli/CommandLineOrder.h"

#include "input/NameHints.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>

namespace Tool {

namespace {

using Words = std::vector< std::string >;

std::vector< const CLI::App* > commandsOf( const CLI::App& app )
{
    const auto all = app.get_subcommands( []( const CLI::App* ) { return true; } );
    return { all.begin(), all.end() };
}

const CLI::App* commandNamed( const CLI::App& app, const std::string& name )
{
    for ( const CLI::App* command : commandsOf( app ) ) {
        if ( command->get_name() == name ) {
            return command;
        }
    }
    return nullptr;
}

std::string nameIn( const std::string& argument )
{
    return argument.substr( 0, argument.find( '=' ) );
}

bool takesAValue( const CLI::App& app, const std::string& option )
{
    return std::ranges::any_of( commandsOf( app ), [ & ]( const CLI::App* command ) {
        const CLI::Option* found = command->get_option_no_throw( option );
        return found != nullptr && found->get_items_expected_max() > 0;
    } );
}

[[noreturn]] void refuse( const std::string& message )
{
    throw CLI::ValidationError( message );
}

/// The options of the command that is named somewhere behind, or of all commands.
Words candidatesFor( const CLI::App& app, const Words& arguments )
{
    for ( const std::string& argument : arguments ) {
        if ( const CLI::App* command = commandNamed( app, argument ) ) {
            return optionNames( *command );
        }
    }
    Words names = optionNames( app );
    for ( const CLI::App* command : commandsOf( app ) ) {
        std::ranges::copy( optionNames( *command ), std::back_inserter( names ) );
    }
    return names;
}

void requireKnown( const CLI::App& app, const std::string& option, const Words& arguments )
{
    if ( commandsWith( app, option ).empty() ) {
        const std::optional< std::string > nearest =
            Input::nearestName( option, candidatesFor( app, arguments ) );
        refuse( fmt::format( "unknown option '{}'{}", option,
                             nearest ? ", did you mean '" + *nearest + "'?" : "" ) );
    }
}

const CLI::App& requiredCommand( const CLI::App& app, const Words& options, const Words& arguments )
{
    const std::string option = nameIn( options.front() );
    if ( options.size() == arguments.size() ) {
        refuse( fmt::format( "expected a command with the option '{}': {}", option,
                             commandsWith( app, option ) ) );
    }
    const std::string& name = arguments[ options.size() ];
    const CLI::App* command = commandNamed( app, name );
    if ( command == nullptr ) {
        refuse( fmt::format( "unknown command '{}'{}", name,
                             Input::nameHint( name, commandNames( app ) ) ) );
    }
    return *command;
}

} // namespace

bool isOption( const std::string& argument )
{
    return argument.size() > 1 && argument.front() == '-';
}

std::vector< std::string > commandNames( const CLI::App& app )
{
    Words names;
    for ( const CLI::App* command : commandsOf( app ) ) {
        names.push_back( command->get_name() );
    }
    return names;
}

std::string commandsWith( const CLI::App& app, const std::string& option )
{
    Words names;
    for ( const CLI::App* command : commandsOf( app ) ) {
        if ( command->get_option_no_throw( option ) != nullptr ) {
            names.push_back( command->get_name() );
        }
    }
    return Input::quotedNames( names );
}

std::vector< std::string > optionNames( const CLI::App& app )
{
    Words names;
    for ( const CLI::Option* option : app.get_options() ) {
        for ( const std::string& name : option->get_lnames() ) {
            names.push_back( "--" + name );
        }
    }
    return names;
}

std::vector< std::string > withCommandFirst( const CLI::App& app,
                                             const std::vector< std::string >& arguments )
{
    Words options; // Those in front, with their values.
    Words names;
    while ( options.size() < arguments.size() && isOption( arguments[ options.size() ] ) ) {
        const std::string& argument = arguments[ options.size() ];
        const std::string name = nameIn( argument );
        if ( app.get_option_no_throw( name ) != nullptr ) {
            return arguments;
        }
        requireKnown( app, name, arguments );
        names.push_back( name );
        options.push_back( argument );
        const bool valueFollows = argument == name && takesAValue( app, name );
        if ( valueFollows && options.size() < arguments.size() ) {
            options.push_back( arguments[ options.size() ] );
        }
    }
    if ( options.empty() ) {
        return arguments;
    }
    const CLI::App& command = requiredCommand( app, options, arguments );
    for ( const std::string& name : names ) {
        if ( command.get_option_no_throw( name ) == nullptr ) {
            throw CommandRefusal( fmt::format( "'{}' has no option '{}', which belongs to {}",
                                               command.get_name(), name,
                                               commandsWith( app, name ) ),
                                  &command );
        }
    }
    Words ordered{ command.get_name() };
    ordered.insert( ordered.end(), options.begin(), options.end() );
    const auto behind = arguments.begin() + static_cast< std::ptrdiff_t >( options.size() ) + 1;
    ordered.insert( ordered.end(), behind, arguments.end() );
    return ordered;
}

void requireValues( CLI::App& app )
{
    const auto complaint = []( const std::string& value ) {
        return value.empty() ? std::string( "expected a value, found nothing" ) : std::string();
    };
    for ( CLI::App* command : app.get_subcommands( []( const CLI::App* ) { return true; } ) ) {
        for ( CLI::Option* option : command->get_options() ) {
            if ( option->get_items_expected_max() > 0 ) {
                option->check( complaint );
            }
        }
    }
}

void refuseEmptyValues( const CLI::App& app, const std::vector< std::string >& arguments )
{
    for ( const std::string& argument : arguments ) {
        const std::string name = nameIn( argument );
        if ( argument == name + "=" && takesAValue( app, name ) ) {
            throw CommandRefusal( fmt::format( "{}: expected a value behind '='", name ),
                                  commandNamed( app, arguments.front() ) );
        }
    }
}

} // namespace Tool

#pragma once

/// Options in front of the command, `pelora-tcam --json run scenario.yaml` for
/// `pelora-tcam run --json scenario.yaml`; and options without a value.

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace Tool {

/// The names of all sub-commands of the tool.
[[nodiscard]] std::vector< std::string > commandNames( const CLI::App& app );

/// The sub-commands that have an option, in quotes: "'run', 'compare' or 'maps'"; empty if none
/// has.
[[nodiscard]] std::string commandsWith( const CLI::App& app, const std::string& option );

/// The names of the options of the tool or of a sub-command, with their dashes.
[[nodiscard]] std::vector< std::string > optionNames( const CLI::App& app );

/// Whether an argument is an option, and not a name or a value: "-" alone is none.
[[nodiscard]] bool isOption( const std::string& argument );

/// What is wrong with the arguments of a sub-command, found before the parser has read them.
class CommandRefusal : public CLI::ValidationError
{
  public:
    /// The sub-command must outlive this; null if none is named.
    CommandRefusal( const std::string& message, const CLI::App* command )
        : CLI::ValidationError( message )
        , command_( command )
    {}

    [[nodiscard]] const CLI::App* command() const { return command_; }

  private:
    const CLI::App* command_;
};

/// The arguments, without the program's name, with the options in front of the sub-command moved
/// behind its name. Throws a `CommandRefusal` for an option in front that the sub-command has not,
/// and another `CLI::ParseError` for an option in front that nobody knows, for options without a
/// sub-command, and for an unknown sub-command behind options. Arguments that begin with a
/// sub-command or with an option of the tool itself, such as `--help`, stay as they are.
[[nodiscard]] std::vector< std::string >
withCommandFirst( const CLI::App& app, const std::vector< std::string >& arguments );

/// Lets the sub-commands refuse empty values: that of `--chip ""` would count as none.
void requireValues( CLI::App& app );

/// Throws a `CommandRefusal` for "--option=" of an option that takes a value: it would take the
/// next argument for its value. The sub-command, if one is named, is the first argument.
void refuseEmptyValues( const CLI::App& app, const std::vector< std::string >& arguments );

} // namespace Tool

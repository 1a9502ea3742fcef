#pragma once

/// Runs the built tool as a user does, in a folder of its own.
///
/// A run that does not take place - no process, no terminal, no tool - is an exception that tells
/// the call and its reason, which fails the test: there is nothing that it could look at.

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace ToolTest {

struct ToolResult
{
    int exitCode = -1;
    int signal = 0; ///< what ended the tool, or 0
    std::string output;
    std::string errors;

    [[nodiscard]] nlohmann::json json() const { return nlohmann::json::parse( output ); }
};

/// A folder for one test, gone with the test; and the tool, run with it as working directory.
class ToolFolder
{
  public:
    ToolFolder();
    ToolFolder( const ToolFolder& ) = delete;
    ToolFolder& operator=( const ToolFolder& ) = delete;
    ~ToolFolder();

    /// Writes a file and gives its whole path.
    std::string write( const std::string& name, const std::string& text ) const;

    [[nodiscard]] std::string read( const std::string& name ) const;

    [[nodiscard]] bool has( const std::string& name ) const;

    [[nodiscard]] const std::string& path() const { return path_; }

    /// Sets an environment variable for the tool; empty takes it away.
    void environmentIs( const std::string& name, const std::string& value );

    /// Sets the program that is run, `pelora-tcam` of this build if nobody does.
    void programIs( const std::string& path ) { program_ = path; }

    /// Runs the tool with its output going to files.
    [[nodiscard]] ToolResult run( const std::vector< std::string >& arguments ) const;

    /// Writes the text as "scenario.yaml" and runs that, with further options.
    [[nodiscard]] ToolResult runScenario( const std::string& scenario,
                                          const std::vector< std::string >& options = {} ) const;

    /// Runs the tool with a terminal for standard output and standard error; `output` is what the
    /// terminal got of both, with its line ends. A terminal of 0 columns does not say how wide it
    /// is.
    [[nodiscard]] ToolResult runOnTerminal( const std::vector< std::string >& arguments,
                                            unsigned short columns = 0 ) const;

  private:
    [[noreturn]] void runTool( const std::vector< std::string >& arguments ) const;

    std::string path_;
    std::string program_ = PELORA_BINARY_DIR "/bin/pelora-tcam";
    std::map< std::string, std::string > environment_;
};

/// The folder of test data, or empty if it is absent.
[[nodiscard]] std::string testDataFolder();

} // namespace ToolTest

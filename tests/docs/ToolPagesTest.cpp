// The pages about the tool, its manual page and its completion have what the built tool has.

#include "tests/docs/Pages.h"
#include "tests/tools/ToolRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <regex>
#include <set>
#include <stdexcept>

namespace DocsTest {
namespace {

using testing::Contains;

std::string helpOf( std::vector< std::string > arguments )
{
    arguments.emplace_back( "--help" );
    const ToolTest::ToolResult result = ToolTest::ToolFolder().run( arguments );
    if ( result.exitCode != 0 || result.output.empty() ) {
        throw std::runtime_error( "no help: " + result.errors );
    }
    return result.output;
}

std::vector< std::string > matchesOf( const std::string& text, const std::string& expression )
{
    const std::regex compiled( expression );
    std::vector< std::string > matches;
    for ( std::sregex_iterator match( text.begin(), text.end(), compiled ), end; match != end;
          ++match ) {
        matches.push_back( ( *match )[ 1 ] );
    }
    return matches;
}

/// The same where there must be some.
std::vector< std::string > atLeastOne( std::vector< std::string > matches )
{
    if ( matches.empty() ) {
        throw std::runtime_error( "nothing was found" );
    }
    return matches;
}

/// The sub-commands, from the tool's help.
std::vector< std::string > commands()
{
    const std::string help = helpOf( {} );
    const std::size_t list = help.find( "Subcommands:\n" );
    const std::size_t end = help.find( "\n\n", list );
    return atLeastOne( matchesOf( help.substr( list, end - list ), "\n  ([a-z][a-z-]+) " ) );
}

/// The long options of a sub-command, or of the tool itself, from its help.
std::vector< std::string > optionsOf( const std::vector< std::string >& command )
{
    return atLeastOne( matchesOf( helpOf( command ), "\n  (?:-h,)?(--[a-z-]+)" ) );
}

TEST( ToolPagesTest, Commands_OfTheTool_AreKnown )
{
    EXPECT_THAT( commands(), Contains( "run" ) );
    EXPECT_THAT( commands(), Contains( "explain-udf" ) );
    EXPECT_THAT( optionsOf( { "run" } ),
                 testing::IsSupersetOf( { "--help", "--chip", "--json" } ) );
}

TEST( ToolPagesTest, Steps_OfTheTool_HaveASectionEach )
{
    const auto headings = headingsOf( contentOf( "docs/scenarios.md" ) );
    const auto kinds = matchesOf( contentOf( "tools/steps/StepKinds.cpp" ), "\\{ \"([a-z-]+)\"," );
    EXPECT_GT( kinds.size(), 10U );
    for ( const std::string& kind : kinds ) {
        EXPECT_THAT( headings, Contains( kind ) );
    }
}

TEST( ToolPagesTest, Commands_OfTheTool_HaveARowEach )
{
    std::vector< std::string > described;
    for ( const auto& row :
          tableRowsOf( sectionOf( contentOf( "docs/tool.md" ), "## Commands" ) ) ) {
        const auto words = matchesOf( row.at( 0 ), "`([a-z-]+)" );
        described.insert( described.end(), words.begin(), words.end() );
    }
    for ( const std::string& command : commands() ) {
        EXPECT_EQ( std::ranges::count( described, command ), 1 ) << command;
    }
}

/// The manual page without the backslashes before its hyphens.
std::string manualPage()
{
    return std::regex_replace( contentOf( "docs/pelora-tcam.1" ), std::regex( "\\\\-" ), "-" );
}

/// The part of the manual page about a command: from its heading to the next one.
std::string manualOf( const std::string& command )
{
    const std::string page = manualPage();
    const std::size_t begin = page.find( "\n.SS " + command + "\n" );
    if ( begin == std::string::npos ) {
        return "";
    }
    const std::size_t end = page.find( "\n.S", begin + 1 );
    return page.substr( begin, end - begin );
}

TEST( ToolPagesTest, CommandsAndOptions_OfTheTool_AreInTheManualPage )
{
    for ( const std::string& command : commands() ) {
        const std::string manual = manualOf( command );
        EXPECT_NE( manual, "" ) << command;
        for ( const std::string& option : optionsOf( { command } ) ) {
            if ( option != "--help" ) {
                EXPECT_THAT( matchesOf( manual, "\n\\.BR? ?I? ?\"?(--[a-z-]+)" ),
                             Contains( option ) )
                    << command;
            }
        }
    }
    for ( const std::string& option : optionsOf( {} ) ) {
        EXPECT_NE( manualPage().find( option ), std::string::npos ) << option;
    }
}

TEST( ToolPagesTest, CommandsAndOptions_OfTheManualPage_AreTheTools )
{
    const auto all = commands();
    for ( const std::string& command :
          atLeastOne( matchesOf( manualPage(), "\n\\.SS ([a-z-]+)\n" ) ) ) {
        EXPECT_THAT( all, Contains( command ) );
        const auto options = optionsOf( { command } );
        for ( const std::string& option :
              matchesOf( manualOf( command ), "\n\\.BR? ?I? ?\"?(--[a-z-]+)" ) ) {
            EXPECT_THAT( options, Contains( option ) ) << command;
        }
    }
}

/// What the completion offers for a command line whose last word is being typed.
std::set< std::string > completionsOf( const std::vector< std::string >& words )
{
    std::string script =
        "source " PELORA_SOURCE_DIR "/tools/completion/pelora-tcam.bash\nCOMP_WORDS=(";
    for ( const std::string& word : words ) {
        script += "'" + word + "' ";
    }
    script += ")\nCOMP_CWORD=" + std::to_string( words.size() - 1 ) +
              "\nPATH=" PELORA_BINARY_DIR "/bin:$PATH\n_pelora_tcam\n"
              "printf '%s\\n' \"${COMPREPLY[@]}\"\n";
    const ToolTest::ToolFolder folder;
    const std::string file = folder.write( "complete.bash", script );
    const std::string command = "bash --norc '" + file + "' > '" + folder.path() + "/offers'";
    EXPECT_EQ( std::system( command.c_str() ), 0 ) << script;
    const auto lines = linesOf( folder.read( "offers" ) );
    return { lines.begin(), lines.end() };
}

std::set< std::string > asSet( const std::vector< std::string >& texts )
{
    return { texts.begin(), texts.end() };
}

TEST( CompletionTest, FirstWord_OfTheCommandLine_IsACommandOrAnOption )
{
    EXPECT_EQ( completionsOf( { "pelora-tcam", "" } ), asSet( commands() ) );
    EXPECT_EQ( completionsOf( { "pelora-tcam", "--" } ), asSet( optionsOf( {} ) ) );
}

TEST( CompletionTest, Options_OfEachCommand_AreThoseOfItsHelp )
{
    for ( const std::string& command : commands() ) {
        EXPECT_EQ( completionsOf( { "pelora-tcam", command, "--" } ),
                   asSet( optionsOf( { command } ) ) )
            << command;
    }
}

TEST( CompletionTest, OptionsInFrontOfTheCommand_DoNotHideIt )
{
    EXPECT_EQ( completionsOf( { "pelora-tcam", "--json", "dec" } ),
               ( std::set< std::string >{ "decode-trace" } ) );
    EXPECT_EQ( completionsOf( { "pelora-tcam", "--json", "maps", "--" } ),
               asSet( optionsOf( { "maps" } ) ) );
}

TEST( CompletionTest, ProfileNames_AreOfferedWhereAProfileIsWanted )
{
    for ( const auto& line : { std::vector< std::string >{ "pelora-tcam", "run", "--chip", "sdk6" },
                               { "pelora-tcam", "profiles", "sdk6" } } ) {
        const auto offers = completionsOf( line );
        EXPECT_THAT( offers, testing::IsSupersetOf( { "sdk6-udf", "sdk6-flex", "sdk6-tiny" } ) );
        EXPECT_THAT( offers, testing::Not( Contains( "hsdk" ) ) );
    }
}

TEST( CompletionTest, MapNames_AreOfferedBehindMaps )
{
    EXPECT_EQ( completionsOf( { "pelora-tcam", "maps", "qual" } ),
               ( std::set< std::string >{ "qualifierMap" } ) );
}

TEST( CompletionTest, Facilities_AreOfferedBehindTrace )
{
    EXPECT_THAT( completionsOf( { "pelora-tcam", "run", "--trace", "Api" } ),
                 Contains( "ApiPelora=" ) );
}

} // namespace
} // namespace DocsTest

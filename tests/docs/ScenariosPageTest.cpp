// docs/scenarios.md has the keys that the reader of scenarios takes, of each kind of step and of
// the scenario itself, and no others.

#include "input/InputError.h"
#include "tests/docs/Pages.h"
#include "tests/layering/SourceTree.h"
#include "tests/tools/ToolRunner.h"
#include "tools/scenario/Scenario.h"
#include "tools/steps/StepKinds.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <set>

namespace DocsTest {
namespace {

using Keys = std::set< std::string >;

const std::string& page()
{
    static const std::string text = contentOf( "docs/scenarios.md" );
    return text;
}

void addMatches( Keys& keys, const std::string& text, const std::string& expression )
{
    const std::regex compiled( expression );
    for ( std::sregex_iterator match( text.begin(), text.end(), compiled ), end; match != end;
          ++match ) {
        keys.insert( ( *match )[ 1 ] );
    }
}

/// The kinds of steps.
Keys kinds()
{
    Keys all;
    addMatches( all, contentOf( "tools/steps/StepKinds.cpp" ), "\\{ \"([a-z-]+)\"," );
    return all;
}

/// Every key that a reader of scenarios asks for, of whatever.
Keys allKeys()
{
    const Layering::SourceTree tree( PELORA_SOURCE_DIR );
    Keys keys;
    for ( const std::string& file : tree.files() ) {
        const bool reads = file.starts_with( "tools/" ) || file.starts_with( "sim/faults/" );
        if ( reads && file.ends_with( ".cpp" ) ) {
            addMatches( keys, contentOf( file ),
                        "(?:members\\.(?:required|optional)|effects\\.ask)\\(\\s*(?:members,\\s*)?"
                        "\"([a-z-]+)\"" );
        }
    }
    return keys;
}

/// Whether the scenario is refused for that key being unknown.
bool isUnknown( const ToolTest::ToolFolder& folder,
                const std::string& scenario,
                const std::string& key )
{
    const std::string file = folder.write( "scenario.yaml", scenario );
    try {
        static_cast< void >(
            Tool::readScenario( { file, {}, Sim::SdkNumbering::defaults() }, Tool::stepKinds() ) );
    } catch ( const Input::InputError& error ) {
        return error.message().starts_with( "unknown key '" + key + "'" );
    }
    return false;
}

/// The keys that a scenario takes at a place: `before` and `after` stand around the key.
Keys takenBetween( const std::string& before, const std::string& after )
{
    const ToolTest::ToolFolder folder;
    Keys taken;
    for ( const std::string& key : allKeys() ) {
        if ( !isUnknown( folder, before + key + after, key ) ) {
            taken.insert( key );
        }
    }
    return taken;
}

Keys takenBy( const std::string& kind )
{
    const std::string wrong = ": { none-of-them: 1 } }\n";
    return takenBetween( "chip: hsdk\nsteps:\n  - " + kind + ": { ", wrong );
}

/// The keys in the first column of a section's tables.
Keys tabulated( const std::string& section )
{
    Keys keys;
    for ( const auto& row : tableRowsOf( section ) ) {
        addMatches( keys, row.at( 0 ), "`([a-z-]+)`" );
    }
    return keys;
}

/// The keys in a section's tables, and of those without a table the keys of its example.
Keys documented( const std::string& section )
{
    Keys keys = tabulated( section );
    if ( keys.empty() ) {
        addMatches( keys, section.substr( 0, section.find( "\n\n", 5 ) ), "[{,] ([a-z-]+):" );
    }
    return keys;
}

/// Keys of mappings within a step, which stand in the step's table too.
const std::map< std::string, Keys >& innerKeys()
{
    static const std::map< std::string, Keys > keys = {
        { "create-preselector", { "qualifier", "data", "mask" } },
        { "send-capture",
          { "hits", "dropped", "copied", "redirected", "unmatched", "green", "yellow", "red" } },
        { "send-packet",
          { "rule", "entry", "group", "dropped", "copied", "redirected", "colour", "actions" } },
    };
    return keys;
}

TEST( ScenariosPageTest, Keys_OfAllReaders_AreFound )
{
    EXPECT_THAT( allKeys(), testing::IsSupersetOf( { "name", "cir", "lag-mask", "from-call" } ) );
    EXPECT_THAT( kinds(), testing::Contains( "create-group" ) );
}

TEST( ScenariosPageTest, Keys_OfEachKindOfStep_AreThoseThatItsReaderTakes )
{
    const Keys all = kinds();
    ASSERT_GT( all.size(), 10U );
    for ( const std::string& kind : all ) {
        // The keys of a fault stand once for the step and the list.
        const std::string heading = kind == "inject-fault" ? "## Faults" : "### " + kind;
        Keys keys = documented( sectionOf( page(), heading ) );
        if ( innerKeys().contains( kind ) ) {
            for ( const std::string& key : innerKeys().at( kind ) ) {
                EXPECT_EQ( keys.erase( key ), 1U ) << kind << " " << key;
            }
        }
        const Keys taken = takenBy( kind );
        // A step that takes no mapping takes no key, and so refuses none.
        if ( taken.size() < allKeys().size() ) {
            EXPECT_EQ( keys, taken ) << kind;
        } else {
            EXPECT_THAT( sectionOf( page(), heading ), testing::HasSubstr( kind + ": all\n" ) );
        }
    }
}

TEST( ScenariosPageTest, Keys_OfTheScenario_AreThoseThatItsReaderTakes )
{
    EXPECT_EQ( tabulated( page().substr( 0, page().find( "\n## " ) ) ),
               takenBetween( "", ": 1\n" ) );
}

} // namespace
} // namespace DocsTest

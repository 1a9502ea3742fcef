#include "tests/layering/IncludeRules.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace Layering {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The headers of a tree that holds one on each floor, and some in rooms. "sim/SimRange.h" stands
/// in no room: it is how users include what a room offers.
const std::set< std::string >& theTree()
{
    static const std::set< std::string > tree{
        "agent/base/Trace.h", "agent/tcam/TcamTypes.h", "sdk/SdkAccess.h",    "sdk/SdkCall.h",
        "PeloraTcam/Udf.h",   "sim/SimRange.h",         "sim/values/Codes.h", "sim/chip/Chip.h",
        "sim/access/Sdk.h",   "input/Yaml.h",           "reference/Agent.h",  "tools/text/Json.h",
        "tools/run/Run.h",    "tools/report/Report.h",  "tests/Common.h",     "bench/Floor.h",
    };
    return tree;
}

/// What the rules say of one file in that tree.
Offences check( const std::string& file, const std::string& text )
{
    return IncludeRules( []( const std::string& path ) { return theTree().contains( path ); } )
        .check( file, text );
}

/// The headers of that tree that `file` may include.
std::set< std::string > allowedTo( const std::string& file )
{
    std::set< std::string > allowed;
    for ( const std::string& path : theTree() ) {
        if ( check( file, "#include \"" + path + "\"" ).empty() ) {
            allowed.insert( path );
        }
    }
    return allowed;
}

TEST( IncludeRulesTest, Check_AgentBase_KnowsOnlyItself )
{
    EXPECT_THAT( allowedTo( "agent/base/Log.cpp" ), ElementsAre( "agent/base/Trace.h" ) );
}

TEST( IncludeRulesTest, Check_Sdk_KnowsAgentBaseToo )
{
    EXPECT_THAT( allowedTo( "sdk/SdkTypes.h" ),
                 ElementsAre( "agent/base/Trace.h", "sdk/SdkAccess.h", "sdk/SdkCall.h" ) );
}

TEST( IncludeRulesTest, Check_AgentTcam_KnowsSdkAndAgentBase )
{
    EXPECT_THAT( allowedTo( "agent/tcam/IdManager.h" ),
                 ElementsAre( "agent/base/Trace.h", "agent/tcam/TcamTypes.h", "sdk/SdkAccess.h",
                              "sdk/SdkCall.h" ) );
}

TEST( IncludeRulesTest, Check_Library_KnowsWhatIsBelowIt )
{
    EXPECT_THAT( allowedTo( "PeloraTcam/Counter.cpp" ),
                 ElementsAre( "PeloraTcam/Udf.h", "agent/base/Trace.h", "agent/tcam/TcamTypes.h",
                              "sdk/SdkAccess.h", "sdk/SdkCall.h" ) );
}

TEST( IncludeRulesTest, Check_Input_KnowsOnlyItself )
{
    EXPECT_THAT( allowedTo( "input/Yaml.cpp" ), ElementsAre( "input/Yaml.h" ) );
}

TEST( IncludeRulesTest, Check_LowestRoomOfTheSimulator_KnowsSdkWithoutTheCallWrappersAndInput )
{
    EXPECT_THAT( allowedTo( "sim/values/Sets.cpp" ),
                 ElementsAre( "input/Yaml.h", "sdk/SdkAccess.h", "sim/values/Codes.h" ) );
}

TEST( IncludeRulesTest, Check_RoomOfTheSimulator_KnowsRoomsBelowIt )
{
    EXPECT_THAT(
        allowedTo( "sim/chip/SimField.cpp" ),
        ElementsAre( "input/Yaml.h", "sdk/SdkAccess.h", "sim/chip/Chip.h", "sim/values/Codes.h" ) );
}

TEST( IncludeRulesTest, Check_ReferenceAgent_KnowsTheLibraryAndNotTheSimulator )
{
    EXPECT_THAT( allowedTo( "reference/Manager.cpp" ),
                 ElementsAre( "PeloraTcam/Udf.h", "agent/base/Trace.h", "agent/tcam/TcamTypes.h",
                              "reference/Agent.h", "sdk/SdkAccess.h", "sdk/SdkCall.h" ) );
}

TEST( IncludeRulesTest, Check_LowestRoomOfTheTool_KnowsInputOnly )
{
    EXPECT_THAT( allowedTo( "tools/text/Terminal.cpp" ),
                 ElementsAre( "input/Yaml.h", "tools/text/Json.h" ) );
}

TEST( IncludeRulesTest, Check_RoomOfTheTool_KnowsRoomsAndFloorsBelowIt )
{
    EXPECT_THAT( allowedTo( "tools/run/Child.cpp" ),
                 ElementsAre( "PeloraTcam/Udf.h", "agent/base/Trace.h", "agent/tcam/TcamTypes.h",
                              "input/Yaml.h", "reference/Agent.h", "sdk/SdkAccess.h",
                              "sdk/SdkCall.h", "sim/SimRange.h", "sim/access/Sdk.h",
                              "sim/chip/Chip.h", "sim/values/Codes.h", "tools/run/Run.h",
                              "tools/text/Json.h" ) );
}

TEST( IncludeRulesTest, Check_FileBesideTheRooms_IsAnOffence )
{
    for ( const std::string file : { "sim/SimField.cpp", "tools/Main.cpp" } ) {
        EXPECT_THAT(
            check( file, "" ),
            ElementsAre( Offence{ file, 0, "stands in no folder that the layering knows" } ) );
    }
}

TEST( IncludeRulesTest, Check_Example_KnowsWhatIsInstalled )
{
    EXPECT_THAT( allowedTo( "examples/agent/Agent.cpp" ),
                 ElementsAre( "PeloraTcam/Udf.h", "agent/base/Trace.h", "agent/tcam/TcamTypes.h",
                              "sdk/SdkAccess.h", "sdk/SdkCall.h", "sim/SimRange.h",
                              "sim/access/Sdk.h", "sim/chip/Chip.h", "sim/values/Codes.h" ) );
}

TEST( IncludeRulesTest, Check_TestsAndBenchmarks_KnowEverything )
{
    EXPECT_EQ( allowedTo( "tests/sim/chip/SimRangeTest.cpp" ).size(), 16U );
    EXPECT_EQ( allowedTo( "bench/Bench.cpp" ).size(), 16U );
}

TEST( IncludeRulesTest, Check_Offence_IsReportedWithItsLine )
{
    EXPECT_THAT( check( "sim/chip/SimField.cpp",
                        "// comment\n#include <vector>\n#include \"PeloraTcam/Udf.h\"\n" ),
                 ElementsAre( Offence{ "sim/chip/SimField.cpp", 3,
                                       "sim/chip/ must not include \"PeloraTcam/Udf.h\"" } ) );
}

TEST( IncludeRulesTest, Check_SeveralOffences_AreAllReported )
{
    EXPECT_EQ( check( "sdk/SdkTypes.h", "#include \"sim/SimRange.h\"\n#include <fmt/format.h>\n"
                                        "  #  include \"tests/Common.h\"\n" )
                   .size(),
               3U );
}

TEST( IncludeRulesTest, Check_UnknownFile_IsAnOffence )
{
    EXPECT_THAT( check( "sim/chip/SimField.cpp", "#include \"SimRange.h\"" ),
                 ElementsAre( Offence{
                     "sim/chip/SimField.cpp", 1,
                     "\"SimRange.h\" is no path from the root to a file of this tree" } ) );
}

TEST( IncludeRulesTest, Check_PathUpwards_IsAnOffence )
{
    EXPECT_EQ( check( "sim/chip/SimField.cpp", "#include \"sim/../sdk/SdkAccess.h\"" ).size(), 1U );
}

TEST( IncludeRulesTest, Check_ProjectFileInAngleBrackets_IsAnOffence )
{
    EXPECT_THAT(
        check( "sim/chip/SimField.cpp", "#include <sdk/SdkAccess.h>" ),
        ElementsAre( Offence{
            "sim/chip/SimField.cpp", 1,
            "<sdk/SdkAccess.h> is a file of this tree and goes between double quotes" } ) );
}

TEST( IncludeRulesTest, Check_IncludeByMacro_IsAnOffence )
{
    EXPECT_EQ( check( "sim/chip/SimField.cpp", "#include TABLE" ).size(), 1U );
    EXPECT_EQ( check( "sim/chip/SimField.cpp", "#include" ).size(), 1U );
}

TEST( IncludeRulesTest, Check_LibraryIncludesStandardLibraryAndCLibrary_IsAllowed )
{
    EXPECT_THAT( check( "PeloraTcam/Udf.cpp", "#include <vector>\n#include <pthread.h>\n" ),
                 IsEmpty() );
}

TEST( IncludeRulesTest, Check_LibraryIncludesAnotherLibrary_IsAnOffence )
{
    for ( const std::string file : { "agent/base/Log.cpp", "agent/tcam/IdManager.cpp",
                                     "sdk/SdkAccess.cpp", "PeloraTcam/Udf.cpp" } ) {
        EXPECT_EQ( check( file, "#include <fmt/format.h>" ).size(), 1U ) << file;
    }
}

TEST( IncludeRulesTest, Check_SimulatorIncludesAnotherLibrary_IsAllowed )
{
    EXPECT_THAT( check( "sim/profiles/Profile.cpp", "#include <yaml-cpp/yaml.h>" ), IsEmpty() );
}

TEST( IncludeRulesTest, Check_IncludeInComment_IsAllowed )
{
    EXPECT_THAT( check( "sim/chip/SimField.cpp",
                        "// #include \"PeloraTcam/Udf.h\"\n/*\n#include \"PeloraTcam/Udf.h\"\n*/" ),
                 IsEmpty() );
}

TEST( IncludeRulesTest, Check_FileOutsideAllFloors_IsAnOffence )
{
    EXPECT_THAT( check( "attic/Old.cpp", "" ),
                 ElementsAre( Offence{ "attic/Old.cpp", 0,
                                       "stands in no folder that the layering knows" } ) );
}

} // namespace
} // namespace Layering

#include "tests/layering/IncludeRules.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace Layering {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// What the rules say of one file in a tree that holds one file on each floor.
Offences check( const std::string& file, const std::string& text )
{
    static const std::set< std::string > tree{
        "agent/base/Trace.h", "agent/tcam/TcamTypes.h", "sdk/SdkAccess.h",   "sdk/SdkCall.h",
        "PeloraTcam/Udf.h",   "sim/SimRange.h",         "reference/Agent.h", "tools/Scenario.h",
        "tests/Common.h",     "bench/Floor.h",
    };
    return IncludeRules( []( const std::string& path ) { return tree.contains( path ); } )
        .check( file, text );
}

/// The headers of that tree that `file` may include.
std::set< std::string > allowedTo( const std::string& file )
{
    std::set< std::string > allowed;
    for ( const std::string path :
          { "agent/base/Trace.h", "sdk/SdkAccess.h", "sdk/SdkCall.h", "agent/tcam/TcamTypes.h",
            "PeloraTcam/Udf.h", "sim/SimRange.h", "reference/Agent.h", "tools/Scenario.h",
            "bench/Floor.h", "tests/Common.h" } ) {
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

TEST( IncludeRulesTest, Check_Simulator_KnowsSdkWithoutTheCallWrappers )
{
    EXPECT_THAT( allowedTo( "sim/SimField.cpp" ),
                 ElementsAre( "sdk/SdkAccess.h", "sim/SimRange.h" ) );
}

TEST( IncludeRulesTest, Check_ReferenceAgent_KnowsTheLibraryAndNotTheSimulator )
{
    EXPECT_THAT( allowedTo( "reference/Manager.cpp" ),
                 ElementsAre( "PeloraTcam/Udf.h", "agent/base/Trace.h", "agent/tcam/TcamTypes.h",
                              "reference/Agent.h", "sdk/SdkAccess.h", "sdk/SdkCall.h" ) );
}

TEST( IncludeRulesTest, Check_Tool_KnowsAllButTestsAndBenchmarks )
{
    EXPECT_THAT( allowedTo( "tools/Main.cpp" ),
                 ElementsAre( "PeloraTcam/Udf.h", "agent/base/Trace.h", "agent/tcam/TcamTypes.h",
                              "reference/Agent.h", "sdk/SdkAccess.h", "sdk/SdkCall.h",
                              "sim/SimRange.h", "tools/Scenario.h" ) );
}

TEST( IncludeRulesTest, Check_Example_KnowsWhatIsInstalled )
{
    EXPECT_THAT( allowedTo( "examples/agent/Agent.cpp" ),
                 ElementsAre( "PeloraTcam/Udf.h", "agent/base/Trace.h", "agent/tcam/TcamTypes.h",
                              "sdk/SdkAccess.h", "sdk/SdkCall.h", "sim/SimRange.h" ) );
}

TEST( IncludeRulesTest, Check_TestsAndBenchmarks_KnowEverything )
{
    EXPECT_EQ( allowedTo( "tests/sim/SimRangeTest.cpp" ).size(), 10U );
    EXPECT_EQ( allowedTo( "bench/Bench.cpp" ).size(), 10U );
}

TEST( IncludeRulesTest, Check_Offence_IsReportedWithItsLine )
{
    EXPECT_THAT( check( "sim/SimField.cpp",
                        "// comment\n#include <vector>\n#include \"PeloraTcam/Udf.h\"\n" ),
                 ElementsAre( Offence{ "sim/SimField.cpp", 3,
                                       "sim/ must not include \"PeloraTcam/Udf.h\"" } ) );
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
    EXPECT_THAT( check( "sim/SimField.cpp", "#include \"SimRange.h\"" ),
                 ElementsAre( Offence{
                     "sim/SimField.cpp", 1,
                     "\"SimRange.h\" is no path from the root to a file of this tree" } ) );
}

TEST( IncludeRulesTest, Check_PathUpwards_IsAnOffence )
{
    EXPECT_EQ( check( "sim/SimField.cpp", "#include \"sim/../sdk/SdkAccess.h\"" ).size(), 1U );
}

TEST( IncludeRulesTest, Check_ProjectFileInAngleBrackets_IsAnOffence )
{
    EXPECT_THAT(
        check( "sim/SimField.cpp", "#include <sdk/SdkAccess.h>" ),
        ElementsAre( Offence{
            "sim/SimField.cpp", 1,
            "<sdk/SdkAccess.h> is a file of this tree and goes between double quotes" } ) );
}

TEST( IncludeRulesTest, Check_IncludeByMacro_IsAnOffence )
{
    EXPECT_EQ( check( "sim/SimField.cpp", "#include TABLE" ).size(), 1U );
    EXPECT_EQ( check( "sim/SimField.cpp", "#include" ).size(), 1U );
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
    EXPECT_THAT( check( "sim/Profile.cpp", "#include <yaml-cpp/yaml.h>" ), IsEmpty() );
}

TEST( IncludeRulesTest, Check_IncludeInComment_IsAllowed )
{
    EXPECT_THAT( check( "sim/SimField.cpp",
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

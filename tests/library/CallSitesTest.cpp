// Every place where the library calls the SDK has a test that makes it fail. Which one that is
// stands in `call-sites.txt`, which is compared with the sources of the library and of the tests.

#include "tests/library/CallSites.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace LibraryTest {
namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const fs::path root = PELORA_SOURCE_DIR;

std::string contentOf( const fs::path& file )
{
    std::ifstream stream( file );
    EXPECT_TRUE( stream ) << file;
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

/// The files of a folder whose name ends in one of these, in their order.
std::vector< fs::path > filesOf( const fs::path& folder, const std::vector< std::string >& endings )
{
    std::vector< fs::path > files;
    for ( const auto& entry : fs::directory_iterator( folder ) ) {
        const std::string name = entry.path().filename().string();
        if ( std::ranges::any_of( endings,
                                  [ & ]( const auto& e ) { return name.ends_with( e ); } ) ) {
            files.push_back( entry.path() );
        }
    }
    std::ranges::sort( files );
    return files;
}

/// How many call sites of a text each source of the library has.
std::map< CallSiteKey, std::size_t > sitesOfTheLibrary()
{
    std::map< CallSiteKey, std::size_t > sites;
    for ( const fs::path& file : filesOf( root / "PeloraTcam", { ".cpp", ".h", ".def" } ) ) {
        for ( const std::string& text : callSitesOf( contentOf( file ) ) ) {
            ++sites[ { "PeloraTcam/" + file.filename().string(), text } ];
        }
    }
    return sites;
}

/// Each test's file.
std::map< std::string, fs::path > testFiles()
{
    std::map< std::string, fs::path > files;
    for ( const fs::path& file : filesOf( root / "tests/library", { "Test.cpp" } ) ) {
        for ( const std::string& test : testsOf( contentOf( file ) ) ) {
            files[ test ] = file;
        }
    }
    return files;
}

/// A test file and the scenes that it includes, one after the other.
std::string withScenes( const fs::path& file )
{
    static const std::string include = "#include \"tests/library/";
    const std::string content = contentOf( file );
    std::string all = content;
    std::istringstream lines( content );
    for ( std::string line; std::getline( lines, line ); ) {
        if ( line.starts_with( include ) ) {
            const std::string name = line.substr( include.size() );
            all += withScenes( root / "tests/library" / name.substr( 0, name.find( '"' ) ) );
        }
    }
    return all;
}

std::string nameOf( const CallSiteKey& key )
{
    return key.first + ": " + key.second;
}

class CallSitesTest : public ::testing::Test
{
  protected:
    const std::map< CallSiteKey, ListedSite > list =
        readCallSiteList( contentOf( root / "tests/library/call-sites.txt" ) );
};

// ---- The list ----------------------------------------------------------------------------------

TEST_F( CallSitesTest, List_AgainstTheSources_HasEverySiteAndNoOther )
{
    std::vector< std::string > listed;
    for ( const auto& [ key, site ] : list ) {
        listed.push_back( nameOf( key ) + " x" + std::to_string( site.count ) );
    }
    std::vector< std::string > present;
    for ( const auto& [ key, count ] : sitesOfTheLibrary() ) {
        present.push_back( nameOf( key ) + " x" + std::to_string( count ) );
    }
    EXPECT_THAT( present, ::testing::Each( ::testing::AnyOfArray( listed ) ) ) << "is not listed";
    EXPECT_THAT( listed, ::testing::Each( ::testing::AnyOfArray( present ) ) ) << "is not there";
    EXPECT_GT( present.size(), 100U );
}

TEST_F( CallSitesTest, List_EachSite_HasATestOfItsOwn )
{
    for ( const auto& [ key, site ] : list ) {
        const std::set< std::string > different( site.tests.begin(), site.tests.end() );
        EXPECT_EQ( different.size(), site.count ) << nameOf( key );
        EXPECT_EQ( site.tests.size(), site.count ) << nameOf( key );
    }
}

TEST_F( CallSitesTest, List_EachTest_StandsInTheTestSources )
{
    const auto files = testFiles();
    for ( const auto& [ key, site ] : list ) {
        for ( const std::string& test : site.tests ) {
            EXPECT_TRUE( files.contains( test ) ) << test << " of " << nameOf( key );
        }
    }
}

TEST_F( CallSitesTest, List_EachTest_NamesTheCallInItsFileOrScene )
{
    const auto files = testFiles();
    std::map< fs::path, std::string > texts;
    for ( const auto& [ key, site ] : list ) {
        for ( const std::string& test : site.tests ) {
            const auto file = files.find( test );
            ASSERT_NE( file, files.end() ) << test;
            std::string& text = texts[ file->second ];
            text = text.empty() ? withLiteralsJoined( withScenes( file->second ) ) : text;
            const bool isNamed = text.find( key.second ) != std::string::npos ||
                                 text.find( functionOfCall( key.second ) ) != std::string::npos;
            EXPECT_TRUE( isNamed ) << test << " of " << nameOf( key );
        }
    }
}

// ---- Reading sources ---------------------------------------------------------------------------

TEST( CallSitesOfTest, Macros_AsWritten_AreStringised )
{
    EXPECT_THAT( callSitesOf( "SDK_CHECKED_CALL( bcm_a, unit, &conf );\n"
                              "rc = SDK_TRACED_CALL(\n    bcm_b,\n    f( unit,\n       0 ) );\n" ),
                 ElementsAre( "bcm_a( unit, &conf )", "bcm_b( f( unit, 0 ) )" ) );
}

TEST( CallSitesOfTest, Macros_WithATextOrAConstant_HaveThat )
{
    EXPECT_THAT( callSitesOf( "constexpr const char* text =\n    \"bcm_c( \"\n    \"x )\";\n"
                              "SDK_CHECKED_CALL_AS( \"bcm_a( 1, \"\n \"2 )\", bcm_a, 1, 2 );\n"
                              "f( SDK_CALL_SITE( text ), SDK_CALL_SITE( \"a \\\"b\\\"\" ) );\n" ),
                 ElementsAre( "bcm_a( 1, 2 )", "bcm_c( x )", "a \"b\"" ) );
}

TEST( CallSitesOfTest, Rows_OfATable_HaveTheirThirdArgument )
{
    EXPECT_THAT(
        callSitesOf(
            "constexpr Row< Name > callRow( Name name, const char* label );\n"
            "//   callRow< &Sdk::bcm_a >( name, label, text )\n"
            "callRow< &Sdk::bcm_d >( drop, \"data, 0x\",\n  \"bcm_d( unit, \"\n  \"1 )\" ),\n"
            "callRow< &Sdk::bcm_e >( e, \"0x\", \"bcm_e( unit )\", translated< f > )," ),
        ElementsAre( "bcm_d( unit, 1 )", "bcm_e( unit )" ) );
}

TEST( CallSitesOfTest, BareCalls_OfFunctions_AreSitesUnlessTheyHaveOne )
{
    EXPECT_THAT( callSitesOf( "return Shim::sdk().bcm_a( unit );\n"
                              "Shim::sdk().bcm_b_t_init( &b );\n"
                              "Shim::sdk().bcmFieldDrop();\n"
                              "site = SDK_CALL_SITE( \"bcm_c( unit )\" );\n"
                              "f( [ & ] { return Shim::sdk().bcm_c( unit ); } );\n"
                              "return access.bcm_e( unit );\n"
                              "// Shim::sdk().bcm_d( unit );\n" ),
                 ElementsAre( "bcm_c( unit )", "bcm_a", "bcm_e" ) );
}

TEST( CallSitesOfTest, Nothing_HasNone )
{
    EXPECT_THAT( callSitesOf( "" ), IsEmpty() );
    EXPECT_THAT( callSitesOf( "int f( int SDK_CHECKED_CALLS );" ), IsEmpty() );
}

TEST( FunctionOfCallTest, Texts_OfAllKinds_NameTheirFunction )
{
    EXPECT_EQ( functionOfCall( "bcm_udf_get( unit, udfId, &udf )" ), "bcm_udf_get" );
    EXPECT_EQ( functionOfCall( "korvel_bcm_x( 1 )" ), "korvel_bcm_x" );
    EXPECT_EQ( functionOfCall( "evictionHelper()->fieldStatGetBytes( unit() )" ),
               "fieldStatGetBytes" );
    EXPECT_EQ( functionOfCall( "rc" ), "rc" );
}

TEST( TestsOfTest, Tests_OfAllKinds_AreFoundAlsoAcrossLines )
{
    EXPECT_THAT( testsOf( "TEST( A, B )\nTEST_F( C, D )\nTEST_P(\n    E,\n    F )\n"
                          "TYPED_TEST( G, H )\nTYPED_TEST_SUITE( G, Types );\n" ),
                 ElementsAre( "A.B", "C.D", "E.F", "G.H" ) );
}

TEST( ReadCallSiteListTest, Lines_OfEachKind_MakeSites )
{
    const auto list = readCallSiteList( "# Words.\n\na.cpp\n    2 bcm_a( 1 )\n        S.N\n"
                                        "        S.M\nb.cpp\n    1 bcm_a( 1 )\n" );
    ASSERT_EQ( list.size(), 2U );
    EXPECT_EQ( list.at( { "a.cpp", "bcm_a( 1 )" } ).count, 2U );
    EXPECT_THAT( list.at( { "a.cpp", "bcm_a( 1 )" } ).tests, ElementsAre( "S.N", "S.M" ) );
    EXPECT_THAT( list.at( { "b.cpp", "bcm_a( 1 )" } ).tests, IsEmpty() );
}

TEST( ReadCallSiteListTest, Lines_OfNoKind_AreRefusedWithTheirNumber )
{
    for ( const char* const wrong : { "a.cpp\n  1 x\n", "    1 x\n", "a.cpp\n        S.N\n" } ) {
        EXPECT_THROW( static_cast< void >( readCallSiteList( wrong ) ), std::runtime_error );
    }
    try {
        static_cast< void >( readCallSiteList( "a.cpp\n    one x\n" ) );
        FAIL();
    } catch ( const std::runtime_error& error ) {
        EXPECT_STREQ( error.what(), "call-sites.txt:2:     one x" );
    }
}

} // namespace
} // namespace LibraryTest

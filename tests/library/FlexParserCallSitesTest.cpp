// Each place from which the flexible parser calls the SDK is a call site of its own, on both
// variants: the error line has its line, the failed assertion the function that was at work.

#include "tests/library/FlexParserScene.h"

#include <regex>
#include <set>

namespace LibraryTest {
namespace {

/// The SDK call of an operation that fails: the `nth` of that function.
struct FailingCall
{
    const char* sdkFunction;
    std::uint64_t nth;
    const char* text;
};

template< class Parser >
class FlexParserCallSitesTest : public FlexParserScene< Parser >
{
  protected:
    using Operation = std::function< void() >;

    static FailingCall formatRead( std::uint64_t nth )
    {
        return { Parser::formatCall, nth, FlexParserScene< Parser >::formatGet };
    }

    static FailingCall chunksRead()
    {
        return { Parser::chunksCall, 1, FlexParserScene< Parser >::chunksGet };
    }

    static FailingCall destruction()
    {
        return { "bcm_udf_destroy", 1, "bcm_udf_destroy( unit, udfId )" };
    }

    /// Expects that the failure of the call is told as one of that function of the library. Gives
    /// its line.
    std::string
    expectSite( const std::string& function, const FailingCall& call, const Operation& operation )
    {
        const std::string text = TestSupport::literally( call.text );
        const std::regex words( "([^:]+):([0-9]+) " + text +
                                " API ERROR:Internal error \\(-1\\)\n"
                                "[^:]+: ([^:]+):([0-9]+): ([^\n]+): Assertion `0' failed\\.\n" );
        this->failNth( call.sdkFunction, call.nth, -1 );
        const ChildRun run = runInChild( operation );
        this->faulty.clearFaults();
        std::smatch found;
        EXPECT_TRUE( run.aborted );
        EXPECT_TRUE( std::regex_match( run.errors, found, words ) ) << run.errors;
        if ( found.empty() ) {
            return "";
        }
        EXPECT_EQ( found[ 1 ], Parser::source );
        EXPECT_EQ( found[ 3 ], Parser::source );
        EXPECT_EQ( found[ 2 ], found[ 4 ] );
        EXPECT_THAT( found[ 5 ].str(), ::testing::HasSubstr( " PeloraTcam::" + function + "(" ) );
        return found[ 2 ];
    }

    // The operations. Those on a UDF expect the one that `made()` makes.

    Operation creating()
    {
        return [ this ] { static_cast< void >( this->create( udfDescOf( 2, 2 ) ) ); };
    }

    Operation removing()
    {
        return [ this ] { this->destroy( qualsOf( { 1 } ) ); };
    }

    Operation rollingBack()
    {
        return [ this ] {
            UdfHwProgrammingFootprint footprint;
            footprint.udfIds = qualsOf( { 1 } );
            static_cast< void >( Parser::cleanUp( this->unit, footprint, this->format() ) );
        };
    }

    Operation auditing()
    {
        return [ this ] { this->verify( udfDescOf( 2, 2 ), qualsOf( { 1 } ) ); };
    }

    Operation locating()
    {
        return
            [ this ] { static_cast< void >( Parser::positions( this->unit, qualsOf( { 1 } ) ) ); };
    }
};

TYPED_TEST_SUITE( FlexParserCallSitesTest, Parsers );

// ---- Reading a format --------------------------------------------------------------------------

TYPED_TEST( FlexParserCallSitesTest, Create_ReadingBeforeFails_NamesTheCreation )
{
    this->expectSite( this->createName, this->formatRead( 1 ), this->creating() );
}

TYPED_TEST( FlexParserCallSitesTest, Create_ReadingInBetweenFails_NamesTheProgramming )
{
    this->expectSite( this->programName, this->formatRead( 2 ), this->creating() );
}

TYPED_TEST( FlexParserCallSitesTest, Create_ReadingBehindFails_NamesTheCreation )
{
    this->expectSite( this->createName, this->formatRead( 3 ), this->creating() );
}

TYPED_TEST( FlexParserCallSitesTest, Remove_ReadingBeforeFails_NamesTheRemoval )
{
    this->made();
    this->expectSite( this->destroyName, this->formatRead( 1 ), this->removing() );
}

TYPED_TEST( FlexParserCallSitesTest, Remove_ReadingBehindFails_NamesTheRemoval )
{
    this->made();
    this->expectSite( this->destroyName, this->formatRead( 2 ), this->removing() );
}

TYPED_TEST( FlexParserCallSitesTest, Rollback_ReadingBeforeFails_NamesTheRollback )
{
    this->made();
    this->expectSite( this->cleanUpName, this->formatRead( 1 ), this->rollingBack() );
}

TYPED_TEST( FlexParserCallSitesTest, Rollback_ReadingBehindFails_NamesTheRollback )
{
    this->made();
    this->expectSite( this->cleanUpName, this->formatRead( 2 ), this->rollingBack() );
}

using Sdk6FlexParserCallSitesTest = FlexParserCallSitesTest< Sdk6Parser >;

TEST_F( Sdk6FlexParserCallSitesTest, Reserved_ReadingFails_NamesTheFunction )
{
    expectSite( "getUdfReservedBitmap", formatRead( 1 ), [ this ] {
        static_cast< void >( PeloraTcam::getUdfReservedBitmap( unit, format() ) );
    } );
}

// ---- Reading a UDF's chunks --------------------------------------------------------------------

TYPED_TEST( FlexParserCallSitesTest, Remove_ReadingTheUdfFails_NamesTheRemoval )
{
    this->made();
    this->expectSite( this->destroyName, this->chunksRead(), this->removing() );
}

TYPED_TEST( FlexParserCallSitesTest, Rollback_ReadingTheUdfFails_NamesTheRollback )
{
    this->made();
    this->expectSite( this->cleanUpName, this->chunksRead(), this->rollingBack() );
}

TYPED_TEST( FlexParserCallSitesTest, Verify_ReadingTheUdfFails_NamesTheAudit )
{
    this->made();
    this->expectSite( this->verifyName, this->chunksRead(), this->auditing() );
}

TYPED_TEST( FlexParserCallSitesTest, Positions_ReadingTheUdfFails_NamesTheFunction )
{
    this->made();
    this->expectSite( this->positionsName, this->chunksRead(), this->locating() );
}

// ---- Destroying a UDF --------------------------------------------------------------------------

TYPED_TEST( FlexParserCallSitesTest, Remove_DestructionFails_NamesTheRemoval )
{
    this->made();
    this->expectSite( this->destroyName, this->destruction(), this->removing() );
}

TYPED_TEST( FlexParserCallSitesTest, Rollback_DestructionFails_NamesTheRollback )
{
    this->made();
    this->expectSite( this->cleanUpName, this->destruction(), this->rollingBack() );
}

// ---- All together ------------------------------------------------------------------------------

TYPED_TEST( FlexParserCallSitesTest, Sites_OfAllCalls_HaveLinesOfTheirOwn )
{
    std::vector< std::string > lines;
    for ( const std::uint64_t nth : { 1U, 2U, 3U } ) {
        const std::string& function = nth == 2 ? this->programName : this->createName;
        lines.push_back( this->expectSite( function, this->formatRead( nth ), this->creating() ) );
    }
    this->made();
    for ( const FailingCall& call : { this->formatRead( 1 ), this->chunksRead(),
                                      this->destruction(), this->formatRead( 2 ) } ) {
        lines.push_back( this->expectSite( this->destroyName, call, this->removing() ) );
        lines.push_back( this->expectSite( this->cleanUpName, call, this->rollingBack() ) );
    }
    const FailingCall chunks = this->chunksRead();
    lines.push_back( this->expectSite( this->verifyName, chunks, this->auditing() ) );
    lines.push_back( this->expectSite( this->positionsName, chunks, this->locating() ) );
    const std::set< std::string > different( lines.begin(), lines.end() );
    EXPECT_EQ( different.size(), lines.size() ) << ::testing::PrintToString( lines );
}

} // namespace
} // namespace LibraryTest

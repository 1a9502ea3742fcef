// What the range checker helper writes: trace lines by facility, level and text, to the letter,
// and the exact lines with which it ends the process.

#include "tests/library/RangeCheckerScene.h"

namespace LibraryTest {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Not;
using TestSupport::assertionLine;
using TestSupport::literally;
using TestSupport::RecordedLine;
using TestSupport::returns;
using TestSupport::TraceRecorder;

constexpr RangeCheckerDesc ports{ 1024, 2000, RangeType::l4SrcPort };
constexpr Agent::U32 allLevels = 0xFFFFFFFF;

// The pretty names of functions, as each compiler gives them.
#ifdef __clang__
constexpr const char* releaseFunction =
    "virtual void PeloraTcam::PeloraTcamSdk6RangeCheckerHelper::releaseRangeChecker("
    "PeloraTcam::RangeCheckerId)";
constexpr const char* verifyFunction =
    "virtual void PeloraTcam::PeloraTcamSdk6RangeCheckerHelper::verifyTcamSanity("
    "const Agent::Ptr<const RangeCheckerData> &) const"; // As the source spells it.
constexpr const char* getFunction =
    "virtual PeloraTcam::RangeCheckerId PeloraTcam::PeloraTcamSdk6RangeCheckerHelper::"
    "getRangeChecker(const PeloraTcam::RangeCheckerDesc &)";
#else
constexpr const char* releaseFunction =
    "virtual void PeloraTcam::PeloraTcamSdk6RangeCheckerHelper::releaseRangeChecker("
    "PeloraTcam::RangeCheckerId)";
constexpr const char* verifyFunction =
    "virtual void PeloraTcam::PeloraTcamSdk6RangeCheckerHelper::verifyTcamSanity("
    "const Agent::Ptr<const PeloraTcam::RangeCheckerData>&) const";
constexpr const char* getFunction =
    "virtual PeloraTcam::RangeCheckerId PeloraTcam::PeloraTcamSdk6RangeCheckerHelper::"
    "getRangeChecker(const PeloraTcam::RangeCheckerDesc&)";
#endif

class RangeCheckerTraceTest : public RangeCheckerScene
{
  protected:
    /// An operation that writes one line at that level, and does not write it at any other.
    template< class Operation >
    void expectLine( Agent::U32 level, const std::string& text, const Operation& operation )
    {
        TraceRecorder traces( facility, 1U << level );
        operation();
        ASSERT_EQ( traces.lines().size(), 1U );
        EXPECT_EQ( traces.lines()[ 0 ].facility, facility );
        EXPECT_EQ( traces.lines()[ 0 ].level, level );
        EXPECT_EQ( traces.lines()[ 0 ].file, source );
        EXPECT_EQ( traces.lines()[ 0 ].text, text );

        const TraceRecorder without( facility, allLevels & ~( 1U << level ) );
        operation();
        EXPECT_THAT( without.texts(), Not( Contains( text ) ) );
    }

    /// An operation that makes one SDK call, written at level 4 of the trace of SDK calls.
    template< class Operation >
    void expectApiLine( const std::string& call,
                        int rc,
                        const std::string& function,
                        const Operation& operation )
    {
        TraceRecorder traces( apiFacility, 1U << 4 );
        operation();
        ASSERT_EQ( traces.lines().size(), 1U );
        const RecordedLine line = traces.lines()[ 0 ];
        EXPECT_EQ( line.facility, apiFacility );
        EXPECT_EQ( line.level, 4U );
        EXPECT_EQ( line.file, source );
        EXPECT_EQ( line.function, function );
        EXPECT_EQ( line.text, std::string( source ) + ":" + std::to_string( line.line ) + " " +
                                  call + " (rc:" + std::to_string( rc ) + ")" );
        EXPECT_GT( line.line, 0U );

        const TraceRecorder without( apiFacility, allLevels & ~( 1U << 4 ) );
        operation();
        EXPECT_THAT( without.texts(), IsEmpty() );
    }
};

// ---- The helper's own lines ------------------------------------------------------------------

TEST_F( RangeCheckerTraceTest, Get_Level9_TracesArguments )
{
    expectLine( 9, "getRangeCheckerunit: 5 high:2000 low:1024 type:l4SrcPort",
                [ this ] { helper->getRangeChecker( ports ); } );
}

TEST_F( RangeCheckerTraceTest, Get_GreatestBounds_AreDecimal )
{
    sdk.on.bcm_range_create = returns( 0 );
    expectLine( 9, "getRangeCheckerunit: 5 high:4294967295 low:4294967294 type:packetLength",
                [ & ] {
                    helper->getRangeChecker( { 0xFFFFFFFE, 0xFFFFFFFF, RangeType::packetLength } );
                } );
}

TEST_F( RangeCheckerTraceTest, Release_Level9_TracesTheIdInHexadecimal )
{
    sdk.on.bcm_range_destroy = returns( 0 );
    expectLine( 9, "releaseRangeCheckerunit:5 rangeCheckerId:1f",
                [ this ] { helper->releaseRangeChecker( 31 ); } );
    expectLine( 9, "releaseRangeCheckerunit:5 rangeCheckerId:ffffffff",
                [ this ] { helper->releaseRangeChecker( invalidRangeCheckerId ); } );
}

TEST_F( RangeCheckerTraceTest, GetAndRelease_UnitAbove31Bits_IsTracedUnsigned )
{
    sdk.on.bcm_range_create = returns( 0 );
    sdk.on.bcm_range_destroy = returns( 0 );
    const Agent::Ptr< PeloraTcam::PeloraTcamSdk6RangeCheckerHelper > ofGreatUnit(
        new PeloraTcam::PeloraTcamSdk6RangeCheckerHelper( pipeId, PeloraTcam::FapId( 0x80000001 ),
                                                          { "model" } ) );
    expectLine( 9, "getRangeCheckerunit: 2147483649 high:2000 low:1024 type:l4SrcPort",
                [ & ] { ofGreatUnit->getRangeChecker( ports ); } );
    expectLine( 9, "releaseRangeCheckerunit:2147483649 rangeCheckerId:1f",
                [ & ] { ofGreatUnit->releaseRangeChecker( 31 ); } );
}

TEST_F( RangeCheckerTraceTest, Verify_Level8_TracesTheRecord )
{
    const RangeCheckerId id = helper->getRangeChecker( ports );
    ASSERT_EQ( id, 1U );
    expectLine( 8, "verifyTcamSanity RangeCheckerDesc: l4SrcPort 1024..2000 RangeCheckerId: 1",
                [ & ] { helper->verifyTcamSanity( recordOf( ports, id ) ); } );
}

TEST_F( RangeCheckerTraceTest, HandleInitialized_Level9_TracesTheSignatureAndNothingElse )
{
    expectLine( 9, "virtual void PeloraTcam::PeloraTcamSdk6RangeCheckerHelper::handleInitialized()",
                [ this ] { helper->handleInitialized(); } );
    EXPECT_THAT( sdk.allCalls(), IsEmpty() );
    EXPECT_FALSE( helper->initialized() );
}

TEST_F( RangeCheckerTraceTest, Get_CreateFails_Level0TracesTheReason )
{
    sdk.on.bcm_range_create = returns( -6 );
    expectLine( 0, "Failed to allocate range checker! due to rc: -6 Table full",
                [ this ] { helper->getRangeChecker( ports ); } );
}

TEST_F( RangeCheckerTraceTest, Get_CreateFails_TextIsTheOneOfTheSdk )
{
    sdk.on.bcm_range_create = returns( -99 );
    sdk.on.sdkErrorText = []( int rc ) { return rc == -99 ? "Chip on fire" : "?"; };
    expectLine( 0, "Failed to allocate range checker! due to rc: -99 Chip on fire",
                [ this ] { helper->getRangeChecker( ports ); } );
    EXPECT_EQ( sdk.countOf( "sdkErrorText" ), 1U ) << "asked for only where it is written";
}

TEST_F( RangeCheckerTraceTest, Operations_AllGoesWell_NothingAtLevel0 )
{
    const TraceRecorder traces( facility, 1U << 0 );
    const RangeCheckerId id = helper->getRangeChecker( ports );
    helper->verifyTcamSanity( recordOf( ports, id ) );
    helper->releaseRangeChecker( id );
    EXPECT_THAT( traces.texts(), IsEmpty() );
}

class FailureTextTest : public RangeCheckerScene, public ::testing::WithParamInterface< SdkFailure >
{};

TEST_P( FailureTextTest, Get_CreateFails_TracesCodeAndText )
{
    sdk.on.bcm_range_create = returns( GetParam().rc );
    const TraceRecorder traces( facility, 1U << 0 );
    EXPECT_EQ( helper->getRangeChecker( ports ), 0xFFFFFFFF );
    EXPECT_THAT( traces.texts(),
                 ElementsAre( "Failed to allocate range checker! due to rc: " +
                              std::to_string( GetParam().rc ) + " " + GetParam().text ) );
}

INSTANTIATE_TEST_SUITE_P( ReturnCodes,
                          FailureTextTest,
                          ::testing::ValuesIn( allSdkFailures() ),
                          nameOfFailure );

// ---- SDK calls -------------------------------------------------------------------------------

TEST_F( RangeCheckerTraceTest, Get_ApiLevel4_TracesTheCall )
{
    sdk.on.bcm_range_create = returns( 0 );
    expectApiLine( "bcm_range_create( unit, 0, &conf )", 0, getFunction,
                   [ this ] { helper->getRangeChecker( ports ); } );
}

TEST_F( RangeCheckerTraceTest, Get_CreateFails_ApiLineHasTheCode )
{
    sdk.on.bcm_range_create = returns( -14 );
    expectApiLine( "bcm_range_create( unit, 0, &conf )", -14, getFunction,
                   [ this ] { helper->getRangeChecker( ports ); } );
}

TEST_F( RangeCheckerTraceTest, Release_ApiLevel4_TracesTheCall )
{
    sdk.on.bcm_range_destroy = returns( 0 );
    expectApiLine( "bcm_range_destroy( unit, rangeCheckerId )", 0, releaseFunction,
                   [ this ] { helper->releaseRangeChecker( 1 ); } );
}

TEST_F( RangeCheckerTraceTest, Verify_ApiLevel4_TracesTheCall )
{
    const RangeCheckerId id = helper->getRangeChecker( ports );
    expectApiLine( "bcm_range_get( unit, &conf )", 0, verifyFunction,
                   [ & ] { helper->verifyTcamSanity( recordOf( ports, id ) ); } );
}

TEST_F( RangeCheckerTraceTest, Get_Everything_IsWrittenInTheOrderOfTheSteps )
{
    sdk.on.bcm_range_create = returns( -6 );
    const TraceRecorder traces( "*", allLevels );
    helper->getRangeChecker( ports );
    EXPECT_THAT( traces.texts(),
                 ElementsAre( HasSubstr( "getRangeChecker" ),
                              HasSubstr( "bcm_range_create( unit, 0, &conf ) (rc:-6)" ),
                              HasSubstr( "Failed to allocate range checker!" ) ) );
}

TEST_F( RangeCheckerTraceTest, VerifyAndRelease_Everything_IsWrittenInTheOrderOfTheSteps )
{
    const RangeCheckerId id = helper->getRangeChecker( ports );
    const TraceRecorder traces( "*", allLevels );
    helper->verifyTcamSanity( recordOf( ports, id ) );
    helper->releaseRangeChecker( id );
    EXPECT_THAT( traces.texts(),
                 ElementsAre( HasSubstr( "verifyTcamSanity RangeCheckerDesc" ),
                              HasSubstr( "bcm_range_get( unit, &conf ) (rc:0)" ),
                              HasSubstr( "releaseRangeChecker" ),
                              HasSubstr( "bcm_range_destroy( unit, rangeCheckerId ) (rc:0)" ) ) );
}

TEST_F( RangeCheckerTraceTest, Get_PositiveReturnCode_TracesItAsAFailure )
{
    sdk.on.bcm_range_create = returns( 1 );
    sdk.on.sdkErrorText = []( int ) { return "?"; };
    expectLine( 0, "Failed to allocate range checker! due to rc: 1 ?",
                [ this ] { helper->getRangeChecker( ports ); } );
}

TEST_F( RangeCheckerTraceTest, Operations_TracingOff_AskTheSdkForNoText )
{
    sdk.on.bcm_range_create = returns( -6 );
    const TraceRecorder traces;
    helper->getRangeChecker( ports );
    EXPECT_THAT( traces.texts(), IsEmpty() );
    EXPECT_EQ( sdk.countOf( "sdkErrorText" ), 0U );
}

// ---- Assertions, with the function's name ----------------------------------------------------

TEST_F( RangeCheckerTraceTest, Release_CallFails_AssertionNamesTheFunction )
{
    EXPECT_DEATH( helper->releaseRangeChecker( 1 ),
                  MatchesRegex( "[^\n]* API ERROR:Entry not found \\(-7\\)\n" +
                                assertionLine( source, literally( releaseFunction ), "0" ) ) );
}

TEST_F( RangeCheckerTraceTest, Verify_CallFails_AssertionNamesTheFunction )
{
    EXPECT_DEATH( helper->verifyTcamSanity( recordOf( ports, 1 ) ),
                  MatchesRegex( "[^\n]* API ERROR:Entry not found \\(-7\\)\n" +
                                assertionLine( source, literally( verifyFunction ), "0" ) ) );
}

TEST_F( RangeCheckerTraceTest, Verify_OutOfSync_AssertionNamesTheFunctionAndTheCollection )
{
    const RangeCheckerId id = helper->getRangeChecker( ports );
    EXPECT_DEATH( helper->verifyTcamSanity( recordOf( { 1024, 2001, RangeType::l4SrcPort }, id ) ),
                  MatchesRegex( assertionLine( source, literally( verifyFunction ), outOfSync ) ) );
}

} // namespace
} // namespace LibraryTest

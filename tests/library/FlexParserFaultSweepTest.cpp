// Every SDK call of a UDF's life in the flexible parser fails, one after the other, with every
// return code there is, on both variants. Each failure has one of three ends: the process ends with
// the line of that call; nothing is programmed and the chip is as before; or, where the inventory
// reads a format, that format's UDFs are missing and a line says so.

#include "tests/library/FlexParserScene.h"
#include "tests/library/LockWatchingSdk.h"

namespace LibraryTest {
namespace {

constexpr const char* full = "PELORA_TCAM_UDF_HW_RESOURCE_FULL";
constexpr int outOfResources = -14;
constexpr int notFound = -7;
constexpr const char* listCall = "bcm_udf_abstract_pkt_format_object_list_get";
constexpr const char* listText =
    "bcm_udf_abstract_pkt_format_object_list_get( unit, absPktFmt, max, udfIds, &numUdfs )";

/// One SDK call of an operation, in its order. Without a site its failure is a refusal.
struct Call
{
    std::string function;
    SdkCallSite site{ nullptr, nullptr, nullptr };
};

template< class Parser >
class FlexParserFaultSweepTest : public FlexParserScene< Parser >
{
  protected:
    using Scene = FlexParserScene< Parser >;
    using Scene::faulty, Scene::logged;

    // Each of a function, by its name.

    Call readFormat( const std::string& function )
    {
        return { Parser::formatCall, this->formatGetOf( function ) };
    }

    Call readChunks( const std::string& function )
    {
        return { Parser::chunksCall, this->chunksGetOf( function ) };
    }

    Call destroyUdf( const std::string& function )
    {
        return { "bcm_udf_destroy", this->destroyOf( function ) };
    }

    Call createUdf() const { return { Parser::createCall }; }

    static std::vector< std::string > namesOf( const std::vector< Call >& calls )
    {
        std::vector< std::string > names;
        for ( const Call& call : calls ) {
            names.push_back( call.function );
        }
        return names;
    }

    void failCall( std::size_t call, int rc )
    {
        faulty.addFromNow( { { .call = call + 1 }, Sim::FailCall{ rc } } );
    }

    /// Expects that nothing is programmed, nothing is different, and that is logged if it has to
    /// be.
    void expectRefused( int rc )
    {
        const std::string chip = this->chipText();
        logged.clear();
        EXPECT_EQ( this->create( udfDescOf( 2, 2 ) ), QualIdList() );
        EXPECT_EQ( this->chipText(), chip );
        const bool isLogged = Parser::isHsdk && rc == outOfResources;
        EXPECT_EQ( logged,
                   isLogged ? std::vector< std::string >{ full } : std::vector< std::string >() );
        EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
    }

    /// Lets each of these calls of the operation fail with each code. `plan` plans what goes wrong
    /// before them, and gives how many calls that are.
    void sweep(
        const std::vector< Call >& calls,
        const std::function< void() >& operation,
        const std::function< std::size_t() >& plan = [] { return std::size_t{ 0 }; } )
    {
        for ( std::size_t call = 0; call < calls.size(); ++call ) {
            for ( const SdkFailure& failure : allSdkFailures() ) {
                SCOPED_TRACE( calls[ call ].function + " " + failure.name );
                faulty.clearFaults();
                failCall( plan() + call, failure.rc );
                const SdkCallSite& site = calls[ call ].site;
                if ( site.text != nullptr ) {
                    this->expectFatalCall( site, failure.rc, failure.text, operation );
                } else {
                    expectRefused( failure.rc );
                }
            }
        }
        faulty.clearFaults();
    }

    /// Programs two bytes; what comes of it is looked at elsewhere.
    std::function< void() > programming()
    {
        return [ this ] { static_cast< void >( this->create( udfDescOf( 2, 2 ) ) ); };
    }
};

TYPED_TEST_SUITE( FlexParserFaultSweepTest, Parsers );

TYPED_TEST( FlexParserFaultSweepTest, Program_EachFailureOfEachCall )
{
    const QualIdList other = this->made( udfDescOf( 8, 2 ) );
    const std::vector< Call > calls = {
        this->readFormat( this->createName ),
        this->readFormat( this->programName ),
        this->createUdf(),
        this->readFormat( this->createName ),
    };
    this->sweep( calls, this->programming() );
    EXPECT_EQ( this->functionsOf( this->programming() ), this->namesOf( calls ) );
    this->verify( udfDescOf( 8, 2 ), other );
}

TYPED_TEST( FlexParserFaultSweepTest, Program_TooFewChunks_EachFailureOfEachCall )
{
    const auto tooLong = [ this ] { static_cast< void >( this->create( udfDescOf( 2, 33 ) ) ); };
    const std::vector< Call > calls = {
        this->readFormat( this->createName ),
        this->readFormat( this->cleanUpName ),
        this->readFormat( this->cleanUpName ),
    };
    this->sweep( calls, tooLong );
    EXPECT_EQ( this->functionsOf( tooLong ), this->namesOf( calls ) );
    EXPECT_EQ( this->chipText(), "" );
}

// Nothing was made, so nothing is destroyed: the rollback reads the format twice, the creation once
// more.
TYPED_TEST( FlexParserFaultSweepTest, Rollback_AfterARefusal_EachFailureOfEachCall )
{
    const std::vector< Call > calls = {
        this->readFormat( this->cleanUpName ),
        this->readFormat( this->cleanUpName ),
        this->readFormat( this->createName ),
    };
    this->sweep( calls, this->programming(), [ this ] {
        this->failCall( 2, outOfResources ); // Of reading twice and creating: the creation.
        return std::size_t{ 3 };
    } );
}

TYPED_TEST( FlexParserFaultSweepTest, Rollback_OfAUdfThatWasMade_EachFailureOfEachCall )
{
    UdfHwProgrammingFootprint footprint;
    footprint.udfIds = this->made();
    const auto cleanUp = [ & ] {
        EXPECT_EQ( TypeParam::cleanUp( this->unit, footprint, this->format() ), QualIdList() );
    };
    const std::vector< Call > calls = {
        this->readFormat( this->cleanUpName ),
        this->readChunks( this->cleanUpName ),
        this->destroyUdf( this->cleanUpName ),
        this->readFormat( this->cleanUpName ),
    };
    this->sweep( calls, cleanUp );
    EXPECT_EQ( this->functionsOf( cleanUp ), this->namesOf( calls ) );
    EXPECT_EQ( this->chipText(), "" );
}

TYPED_TEST( FlexParserFaultSweepTest, Remove_EachFailureOfEachCall )
{
    const QualIdList quals = this->made();
    const auto remove = [ & ] { this->destroy( quals ); };
    const std::vector< Call > calls = {
        this->readFormat( this->destroyName ),
        this->readChunks( this->destroyName ),
        this->destroyUdf( this->destroyName ),
        this->readFormat( this->destroyName ),
    };
    this->sweep( calls, remove );
    EXPECT_EQ( this->functionsOf( remove ), this->namesOf( calls ) );
    EXPECT_EQ( this->chipText(), "" );
}

// Two UDFs of one qualifier can only be on the same chunk when their formats are different.
TYPED_TEST( FlexParserFaultSweepTest, Remove_TwoUdfs_EachFailureOfEachCall )
{
    QualIdList quals = this->made();
    quals.qualIdIs(
        *TypeParam::create( this->unit, udfDescOf( 2, 2 ), this->format( ip6Format ) ).begin() );
    const auto remove = [ & ] { this->destroy( quals ); };
    const std::vector< Call > calls = {
        this->readFormat( this->destroyName ), this->readChunks( this->destroyName ),
        this->destroyUdf( this->destroyName ), this->readChunks( this->destroyName ),
        this->destroyUdf( this->destroyName ), this->readFormat( this->destroyName ),
    };
    this->sweep( calls, remove );
    EXPECT_EQ( this->functionsOf( remove ), this->namesOf( calls ) );
    EXPECT_EQ( this->chipText(), "" );
}

TYPED_TEST( FlexParserFaultSweepTest, Audit_EachFailureOfEachCall )
{
    QualIdList quals = this->made();
    quals.qualIdIs(
        *TypeParam::create( this->unit, udfDescOf( 2, 2 ), this->format( ip6Format ) ).begin() );
    const std::string chip = this->chipText();
    const auto audit = [ & ] { this->verify( udfDescOf( 2, 2 ), quals ); };
    const std::vector< Call > calls = { this->readChunks( this->verifyName ),
                                        this->readChunks( this->verifyName ) };
    this->sweep( calls, audit );
    EXPECT_EQ( this->functionsOf( audit ), this->namesOf( calls ) );
    EXPECT_EQ( this->chipText(), chip );
}

TYPED_TEST( FlexParserFaultSweepTest, Positions_EachFailureOfEachCall )
{
    QualIdList quals = this->made();
    quals.qualIdIs( *this->made( udfDescOf( 4, 2 ) ).begin() );
    const auto read = [ & ] {
        EXPECT_EQ( TypeParam::positions( this->unit, quals ).udfChunkPositions(), 2U );
    };
    const std::vector< Call > calls = { this->readChunks( this->positionsName ),
                                        this->readChunks( this->positionsName ) };
    this->sweep( calls, read );
    EXPECT_EQ( this->functionsOf( read ), this->namesOf( calls ) );
}

// ---- The inventory, which tolerates failures ---------------------------------------------------

/// One UDF in each format of the library, in the order in which the inventory asks for them.
template< class Parser >
std::vector< Agent::U32 > oneUdfInEachFormat( unsigned unit )
{
    std::vector< Agent::U32 > ids;
    for ( const Format format : Parser::formats() ) {
        ids.push_back( *Parser::create( unit, udfDescOf( 2, 2 ), format ).begin() );
    }
    return ids;
}

TYPED_TEST( FlexParserFaultSweepTest, List_EachFailureOfEachCall_LosesThatFormat )
{
    const std::vector< Agent::U32 > ids = oneUdfInEachFormat< TypeParam >( this->unit );
    const std::string chip = this->chipText();
    for ( std::size_t call = 0; call < ids.size(); ++call ) {
        UdfIdList rest;
        for ( const Agent::U32 id : ids ) {
            if ( id != ids[ call ] ) {
                rest.udfIdIs( UdfId( static_cast< int >( id ) ) );
            }
        }
        for ( const SdkFailure& failure : allSdkFailures() ) {
            SCOPED_TRACE( std::to_string( call ) + " " + failure.name );
            this->failNth( listCall, call + 1, failure.rc );
            ::testing::internal::CaptureStderr();
            EXPECT_EQ( TypeParam::list( this->unit ), rest );
            EXPECT_THAT( ::testing::internal::GetCapturedStderr(),
                         ::testing::MatchesRegex(
                             failure.rc == notFound
                                 ? ""
                                 : TestSupport::apiErrorLine( TypeParam::source, listText,
                                                              failure.text, failure.rc ) ) );
            EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
        }
    }
    EXPECT_EQ( this->chipText(), chip );
}

TYPED_TEST( FlexParserFaultSweepTest, List_AllCallsFail_WritesALineForEachAndIsEmpty )
{
    static_cast< void >( oneUdfInEachFormat< TypeParam >( this->unit ) );
    this->fail( listCall, -2 );
    ::testing::internal::CaptureStderr();
    EXPECT_EQ( TypeParam::list( this->unit ), UdfIdList() );
    const std::string line =
        TestSupport::apiErrorLine( TypeParam::source, listText, "Out of memory", -2 );
    EXPECT_THAT( ::testing::internal::GetCapturedStderr(),
                 ::testing::MatchesRegex( line + line + line + line ) );
}

// ---- What is left behind -----------------------------------------------------------------------

// A fatal call undoes nothing: the UDF that was made or destroyed before it stays so.
TYPED_TEST( FlexParserFaultSweepTest, Fatal_AtTheLastReading_UndoesNothing )
{
    this->sdk.on.onApiError = [ this ] { this->say( "chip: " + this->chipText() ); };
    this->failNth( TypeParam::formatCall, 3, -1 );
    const ChildRun creation = runInChild( this->programming() );
    EXPECT_TRUE( creation.aborted );
    EXPECT_THAT( creation.errors, ::testing::HasSubstr( "chip: udf 1" ) );

    this->faulty.clearFaults();
    const QualIdList quals = this->made();
    this->failNth( TypeParam::formatCall, 2, -1 );
    const ChildRun removal = runInChild( [ & ] { this->destroy( quals ); } );
    EXPECT_TRUE( removal.aborted );
    EXPECT_THAT( removal.errors, ::testing::HasSubstr( "chip: \n" ) );
}

// ---- Locks -------------------------------------------------------------------------------------

TYPED_TEST( FlexParserFaultSweepTest, Locks_OfAWholeLife_AreReleasedForEachCall )
{
    LockWatchingSdk watching( this->faulty );
    Shim::sdk_ = &watching;
    const QualIdList quals = this->create( udfDescOf( 2, 2 ) );
    this->verify( udfDescOf( 2, 2 ), quals );
    EXPECT_EQ( TypeParam::positions( this->unit, quals ).udfChunkPositions(), 1U );
    EXPECT_EQ( TypeParam::list( this->unit ).udfIds(), 1U );
    this->destroy( quals );
    this->fail( TypeParam::createCall, outOfResources );
    EXPECT_EQ( this->create( udfDescOf( 2, 2 ) ), QualIdList() );
    Shim::sdk_ = &this->sdk;
    EXPECT_TRUE( watching.held.empty() );
    EXPECT_THAT( watching.free,
                 ::testing::UnorderedElementsAre( ::testing::Key( TypeParam::formatCall ),
                                                  ::testing::Key( TypeParam::createCall ),
                                                  ::testing::Key( TypeParam::chunksCall ),
                                                  ::testing::Key( listCall ),
                                                  ::testing::Key( "bcm_udf_destroy" ) ) );
}

TYPED_TEST( FlexParserFaultSweepTest, Throw_FromEachCall_PassesWithTheLockHeld )
{
    constexpr std::size_t callsOfALife = 4 + 1 + 1 + 4 + 4;
    for ( std::size_t call = 1; call <= callsOfALife; ++call ) {
        this->faulty.clearFaults();
        this->chips.chipIs( this->unit, Sim::builtInProfile( TypeParam::profile ) );
        this->faulty.addFromNow( { { .call = call }, Sim::ThrowFromCall{} } );
        const auto live = [ this ] {
            const QualIdList quals = this->create( udfDescOf( 2, 2 ) );
            this->verify( udfDescOf( 2, 2 ), quals );
            static_cast< void >( TypeParam::positions( this->unit, quals ) );
            static_cast< void >( TypeParam::list( this->unit ) );
            this->destroy( quals );
        };
        EXPECT_THROW( live(), std::runtime_error ) << call;
        EXPECT_TRUE( Agent::activityLock().heldByThisThread() ) << call;
    }
}

} // namespace
} // namespace LibraryTest

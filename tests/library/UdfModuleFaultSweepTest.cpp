// Every SDK call of programming and of removing a UDF fails, one after the other, with every return
// code there is. Each failure has one of two ends: the process ends with the line of that call, or
// nothing is programmed and chip and map are as before.

#include "tests/library/LockWatchingSdk.h"
#include "tests/library/UdfScene.h"

namespace LibraryTest {
namespace {

constexpr const char* full = "PELORA_TCAM_UDF_HW_RESOURCE_FULL";
constexpr int outOfResources = -14;

/// How a failure of a call has to end.
struct Ending
{
    /// The function and the text of the call that ends the process; null: nothing is programmed.
    const char* function = nullptr;
    const char* text = nullptr;
    /// Whether an exhausted chip is logged.
    bool isLogged = false;
};

constexpr const char* createHash = "PeloraTcam::createUdfLagHashingModule";
constexpr const char* remove = "PeloraTcam::destroyUdfQualifierUdfModule";
constexpr const char* removeHash = "PeloraTcam::destroyUdfLagHashingModule";
constexpr const char* cleanup = "PeloraTcam::cleanupUdfModuleFootprint";

/// One SDK call of an operation, in its order.
struct Call
{
    const char* name;
    Ending ending;
};

constexpr Ending refused{};
constexpr Ending refusedAndLogged{ .isLogged = true };
constexpr Ending formatUnreadable{
    "findPktFmtToShare", "bcm_udf_pkt_format_info_get( unit, iter.key().value(), &tmpFmt )" };
constexpr Ending hashNotAdded{
    createHash, "bcm_udf_hash_config_add( unit, BCM_UDF_HASH_ADD_O_NONE, &hash_config )" };

const std::vector< Call > programWithNewFormat = {
    { "bcm_udf_create", refusedAndLogged },
    { "bcm_udf_pkt_format_info_get", formatUnreadable },
    { "bcm_udf_pkt_format_info_get", formatUnreadable },
    { "bcm_udf_pkt_format_create", refusedAndLogged },
    { "bcm_udf_pkt_format_add", refused },
    { "bcm_udf_hash_config_add", hashNotAdded },
};

const std::vector< Call > programWithSharedFormat = {
    { "bcm_udf_create", refusedAndLogged },
    { "bcm_udf_pkt_format_info_get", formatUnreadable },
    { "bcm_udf_pkt_format_info_get", formatUnreadable },
    { "bcm_udf_pkt_format_add", refused },
    { "bcm_udf_hash_config_add", hashNotAdded },
};

constexpr Ending formatNotFound{
    remove, "bcm_udf_pkt_format_get_all( unit, udfId, 1, &pktFmtId, &actual )" };
constexpr Ending notDetached{ remove, "bcm_udf_pkt_format_delete( unit, udfId, pktFmtId )" };
constexpr Ending udfNotDestroyed{ remove, "bcm_udf_destroy( unit, udfId )" };

const std::vector< Call > removeWithItsFormat = {
    { "bcm_udf_hash_config_delete",
      { removeHash, "bcm_udf_hash_config_delete( unit, &hash_config )" } },
    { "bcm_udf_pkt_format_get_all", formatNotFound },
    { "bcm_udf_pkt_format_delete", notDetached },
    { "bcm_udf_pkt_format_destroy", { remove, "bcm_udf_pkt_format_destroy( unit, pktFmtId )" } },
    { "bcm_udf_destroy", udfNotDestroyed },
};

const std::vector< Call > removeFromSharedFormat = {
    { "bcm_udf_pkt_format_get_all", formatNotFound },
    { "bcm_udf_pkt_format_delete", notDetached },
    { "bcm_udf_destroy", udfNotDestroyed },
};

/// The calls of the cleanup after the attachment to a new format has failed.
const std::vector< Call > cleanupOfNewFormat = {
    { "bcm_udf_pkt_format_delete", refused },
    { "bcm_udf_pkt_format_destroy",
      { cleanup, "bcm_udf_pkt_format_destroy( unit, pktFmtIdToCleanup )" } },
    { "bcm_udf_destroy", { cleanup, "bcm_udf_destroy( unit, udfIdToCleanup )" } },
};

class UdfModuleFaultSweepTest : public UdfScene
{
  protected:
    // Room for three formats.
    UdfModuleFaultSweepTest() { chips.chipIs( unit, Sim::builtInProfile( "sdk6-udf" ) ); }

    static UdfDesc descOf( Agent::U8 protocol, bool lagHashing )
    {
        UdfDesc desc = udfDescOf( 2, 2 );
        desc.ipProtoIs( protocol );
        desc.lagHashingIs( lagHashing );
        return desc;
    }

    static std::vector< std::string > namesOf( const std::vector< Call >& calls )
    {
        std::vector< std::string > names;
        for ( const Call& call : calls ) {
            names.emplace_back( call.name );
        }
        return names;
    }

    /// The names of the SDK functions that an operation calls.
    std::vector< std::string > functionsOf( const std::function< void() >& operation )
    {
        sdk.clear();
        operation();
        std::vector< std::string > functions;
        for ( const TestSupport::RecordedCall& call : sdk.records() ) {
            if ( call.isFunction ) {
                functions.push_back( call.name );
            }
        }
        return functions;
    }

    void failCall( std::size_t call, int rc )
    {
        faulty.addFromNow( { { .call = call + 1 }, Sim::FailCall{ rc } } );
    }

    /// Expects that nothing is programmed, nothing is different, and that is logged if it has to
    /// be.
    void expectRefused( const UdfDesc& desc, const Ending& ending, int rc )
    {
        const std::string chip = chipText();
        const std::string map = mapText();
        logged.clear();
        EXPECT_EQ( create( desc ), QualIdList() );
        EXPECT_EQ( chipText(), chip );
        EXPECT_EQ( mapText(), map );
        const bool isLogged = ending.isLogged && rc == outOfResources;
        EXPECT_EQ( logged,
                   isLogged ? std::vector< std::string >{ full } : std::vector< std::string >() );
        EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
    }

    /// Lets each of these calls of the operation fail with each code. `plan` plans what goes wrong
    /// before them, and gives how many calls that are.
    void sweep(
        const std::vector< Call >& calls,
        const std::function< void() >& operation,
        const UdfDesc& desc,
        const std::function< std::size_t() >& plan = [] { return std::size_t{ 0 }; } )
    {
        for ( std::size_t call = 0; call < calls.size(); ++call ) {
            for ( const SdkFailure& failure : allSdkFailures() ) {
                SCOPED_TRACE( std::string( calls[ call ].name ) + " " + failure.name );
                faulty.clearFaults();
                failCall( plan() + call, failure.rc );
                const Ending& ending = calls[ call ].ending;
                if ( ending.text != nullptr ) {
                    expectFatalCall( { udfSource, ending.function, ending.text }, failure.rc,
                                     failure.text, operation );
                } else {
                    expectRefused( desc, ending, failure.rc );
                }
            }
        }
        faulty.clearFaults();
    }
};

TEST_F( UdfModuleFaultSweepTest, Program_NewFormat_EachFailureOfEachCall )
{
    made( descOf( 17, false ) );
    made( descOf( 1, false ) );
    const UdfDesc desc = descOf( 6, true );
    const auto program = [ & ] { static_cast< void >( create( desc ) ); };
    EXPECT_EQ( functionsOf( [ & ] { EXPECT_EQ( create( desc ).qualIds(), 1U ); } ),
               namesOf( programWithNewFormat ) );
    destroy( desc, qualsOf( { 3 } ) );
    sweep( programWithNewFormat, program, desc );
}

TEST_F( UdfModuleFaultSweepTest, Program_SharedFormat_EachFailureOfEachCall )
{
    made( descOf( 17, false ) );
    made( descOf( 6, false ) );
    const UdfDesc desc = descOf( 6, true );
    const auto program = [ & ] { static_cast< void >( create( desc ) ); };
    EXPECT_EQ( functionsOf( [ & ] { EXPECT_EQ( create( desc ).qualIds(), 1U ); } ),
               namesOf( programWithSharedFormat ) );
    destroy( desc, qualsOf( { 3 } ) );
    sweep( programWithSharedFormat, program, desc );
}

TEST_F( UdfModuleFaultSweepTest, Remove_LastOfItsFormat_EachFailureOfEachCall )
{
    made( descOf( 17, false ) );
    const UdfDesc desc = descOf( 6, true );
    const QualIdList quals = made( desc );
    sweep(
        removeWithItsFormat, [ & ] { destroy( desc, quals ); }, desc );
    EXPECT_EQ( functionsOf( [ & ] { destroy( desc, quals ); } ), namesOf( removeWithItsFormat ) );
}

TEST_F( UdfModuleFaultSweepTest, Remove_OtherUsersStay_EachFailureOfEachCall )
{
    const UdfDesc desc = descOf( 6, false );
    made( desc );
    const QualIdList quals = made( desc );
    sweep(
        removeFromSharedFormat, [ & ] { destroy( desc, quals ); }, desc );
    EXPECT_EQ( functionsOf( [ & ] { destroy( desc, quals ); } ),
               namesOf( removeFromSharedFormat ) );
}

// The detachment of a cleanup may fail with any code, and is expected to.
TEST_F( UdfModuleFaultSweepTest, Cleanup_OfANewFormat_EachFailureOfEachCall )
{
    const UdfDesc desc = descOf( 6, false );
    const auto program = [ & ] { static_cast< void >( create( desc ) ); };
    sweep( cleanupOfNewFormat, program, desc, [ this ] {
        failCall( 2, outOfResources ); // After the UDF and the format: the attachment.
        return std::size_t{ 3 };
    } );
}

TEST_F( UdfModuleFaultSweepTest, Cleanup_AfterTheFormatWasRefused_EachFailureOfItsCall )
{
    const UdfDesc desc = descOf( 6, false );
    const auto program = [ & ] { static_cast< void >( create( desc ) ); };
    sweep( { cleanupOfNewFormat.back() }, program, desc, [ this ] {
        failCall( 1, -4 ); // After the UDF: the format.
        return std::size_t{ 2 };
    } );
}

// ---- Locks -------------------------------------------------------------------------------------

TEST_F( UdfModuleFaultSweepTest, Locks_OfAWholeLife_AreReleasedForEachCall )
{
    LockWatchingSdk watching( faulty );
    Shim::sdk_ = &watching;
    const UdfDesc desc = descOf( 6, true );
    create( descOf( 17, false ) );
    const QualIdList quals = create( desc );
    verify( desc, quals );
    udfLagHashingProgrammedInModule( unit, quals, desc );
    EXPECT_EQ( getUdfChunkPosModule( unit, quals ).udfChunkPositions(), 1U );
    EXPECT_EQ( getAllProgrammedUdfIdsUdfModule( unit ).udfIds(), 2U );
    EXPECT_EQ( getAllProgrammedLagHashingUdfIdsUdfModule( unit ).udfIds(), 1U );
    destroy( desc, quals );
    fail( "bcm_udf_pkt_format_add", -4 );
    create( desc );
    Shim::sdk_ = &sdk;
    EXPECT_TRUE( watching.held.empty() );
    EXPECT_EQ( watching.free.size(), 14U ) << "all functions of the UDF module";
}

TEST_F( UdfModuleFaultSweepTest, Throw_FromEachCall_PassesWithTheLockHeld )
{
    const UdfDesc desc = descOf( 6, true );
    const std::size_t calls = programWithNewFormat.size() - 2 + removeWithItsFormat.size();
    for ( std::size_t call = 1; call <= calls; ++call ) {
        faulty.clearFaults();
        chips.chipIs( unit, Sim::builtInProfile( "sdk6-udf" ) );
        formats = PktFmtIdToUdfId::Ptr( new PktFmtIdToUdfId );
        faulty.addFromNow( { { .call = call }, Sim::ThrowFromCall{} } );
        EXPECT_THROW( destroy( desc, create( desc ) ), std::runtime_error ) << call;
        EXPECT_TRUE( Agent::activityLock().heldByThisThread() ) << call;
    }
}

} // namespace
} // namespace LibraryTest

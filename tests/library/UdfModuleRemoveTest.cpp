// Removing UDFs through the UDF module, and undoing a creation that failed part-way.

#include "tests/library/UdfScene.h"

namespace LibraryTest {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::returns;

constexpr const char* destroyFunction = "PeloraTcam::destroyUdfQualifierUdfModule";
constexpr const char* cleanupFunction = "PeloraTcam::cleanupUdfModuleFootprint";

class UdfModuleRemoveTest : public UdfScene
{
  protected:
    QualIdList cleanup( const UdfHwProgrammingFootprint& footprint )
    {
        return cleanupUdfModuleFootprint( unit, footprint, formats );
    }

    static UdfHwProgrammingFootprint footprintOf( int format, const QualIdList& udfs )
    {
        return { .pktFmtId = PktFmtId( format ), .udfIds = udfs };
    }
};

// ---- Removal ---------------------------------------------------------------------------------

TEST_F( UdfModuleRemoveTest, Destroy_OnlyUser_DestroysFormatThenUdf )
{
    const QualIdList quals = made();
    destroy( udfDescOf(), quals );
    EXPECT_THAT( sdk.allCalls(),
                 ElementsAre( "preApiCall()", "bcm_udf_pkt_format_get_all( 5, 1, 1, &, & )",
                              "preApiCall()", "bcm_udf_pkt_format_delete( 5, 1, 1 )",
                              "preApiCall()", "bcm_udf_pkt_format_destroy( 5, 1 )", "preApiCall()",
                              "bcm_udf_destroy( 5, 1 )" ) );
    EXPECT_EQ( chipText(), "" );
    EXPECT_EQ( mapText(), "" );
}

TEST_F( UdfModuleRemoveTest, Destroy_FirstOfTwo_KeepsTheFormatAndTheOther )
{
    const QualIdList first = made( udfDescOf( 2, 2 ) );
    const QualIdList second = made( udfDescOf( 8, 2 ) );
    destroy( udfDescOf( 2, 2 ), first );
    EXPECT_THAT( sdk.calls(),
                 ElementsAre( "bcm_udf_pkt_format_get_all( 5, 1, 1, &, & )",
                              "bcm_udf_pkt_format_delete( 5, 1, 1 )", "bcm_udf_destroy( 5, 1 )" ) );
    EXPECT_EQ( mapText(), "1: 2" );
    verify( udfDescOf( 8, 2 ), second );
    destroy( udfDescOf( 8, 2 ), second );
    EXPECT_EQ( chipText(), "" );
    EXPECT_EQ( mapText(), "" );
}

TEST_F( UdfModuleRemoveTest, Destroy_ForTheHash_RemovesTheConfigurationFirst )
{
    const QualIdList quals = made( lagDescOf() );
    destroy( lagDescOf(), quals );
    EXPECT_THAT( names(),
                 ElementsAre( "bcm_udf_hash_config_t_init", "preApiCall",
                              "bcm_udf_hash_config_delete", "preApiCall",
                              "bcm_udf_pkt_format_get_all", "preApiCall",
                              "bcm_udf_pkt_format_delete", "preApiCall",
                              "bcm_udf_pkt_format_destroy", "preApiCall", "bcm_udf_destroy" ) );
    EXPECT_EQ( chipText(), "" );
}

TEST_F( UdfModuleRemoveTest, Destroy_LastUser_TakesTheMapEntryOutBeforeTheFormat )
{
    const QualIdList quals = made();
    sdk.on.bcm_udf_pkt_format_destroy = [ this ]( int, int ) {
        EXPECT_EQ( mapText(), "" );
        return 0;
    };
    sdk.on.bcm_udf_destroy = returns( 0 );
    destroy( udfDescOf(), quals );
    EXPECT_EQ( sdk.countOf( "bcm_udf_pkt_format_destroy" ), 1U );
}

TEST_F( UdfModuleRemoveTest, Destroy_SeveralIds_TakesTheFirst )
{
    made();
    destroy( udfDescOf(), qualsOf( { 1, 4711 } ) );
    EXPECT_EQ( chipText(), "" );
}

TEST_F( UdfModuleRemoveTest, Destroy_EachFailureOfEachCall_Dies )
{
    const QualIdList quals = made( lagDescOf() );
    const auto remove = [ & ] { destroy( lagDescOf(), quals ); };
    expectFatal( "bcm_udf_hash_config_delete",
                 { udfSource, "PeloraTcam::destroyUdfLagHashingModule",
                   "bcm_udf_hash_config_delete( unit, &hash_config )" },
                 remove );
    expectFatal( "bcm_udf_pkt_format_get_all",
                 { udfSource, destroyFunction,
                   "bcm_udf_pkt_format_get_all( unit, udfId, 1, &pktFmtId, &actual )" },
                 remove );
    expectFatal(
        "bcm_udf_pkt_format_delete",
        { udfSource, destroyFunction, "bcm_udf_pkt_format_delete( unit, udfId, pktFmtId )" },
        remove );
    expectFatal( "bcm_udf_pkt_format_destroy",
                 { udfSource, destroyFunction, "bcm_udf_pkt_format_destroy( unit, pktFmtId )" },
                 remove );
    expectFatal( "bcm_udf_destroy",
                 { udfSource, destroyFunction, "bcm_udf_destroy( unit, udfId )" }, remove );
}

TEST_F( UdfModuleRemoveTest, Destroy_NotAttachedToOneFormat_Dies )
{
    const QualIdList quals = made();
    for ( const uint64_t actual : { 0U, 2U } ) {
        faulty.clearFaults();
        corrupt( "bcm_udf_pkt_format_get_all", "actual", actual );
        expectAssertion( { udfSource, destroyFunction, "" }, "actual == 1",
                         [ & ] { destroy( udfDescOf(), quals ); } );
    }
}

TEST_F( UdfModuleRemoveTest, Destroy_FormatListIsNotWritten_Dies )
{
    const QualIdList quals = made();
    sdk.on.bcm_udf_pkt_format_get_all = returns( 0 );
    expectAssertion( { udfSource, destroyFunction, "" }, "actual == 1",
                     [ & ] { destroy( udfDescOf(), quals ); } );
}

TEST_F( UdfModuleRemoveTest, Destroy_MapDoesNotListTheUdf_Dies )
{
    const QualIdList quals = made();
    const auto expectUnlisted = [ & ] {
        expectAssertion( { udfSource, destroyFunction, "" }, "udfs.udfIdHas( id )",
                         [ & ] { destroy( udfDescOf(), quals ); } );
    };
    mapIs( 1, udfsOf( { 2 } ) );
    expectUnlisted();
    formats->pktFmtIdToUdfIdDel( PktFmtId( 1 ) );
    expectUnlisted();
}

TEST_F( UdfModuleRemoveTest, Destroy_NoId_Dies )
{
    expectAssertion( { udfSource, "firstUdfId", "" }, "quals.qualIds()",
                     [ this ] { destroy( udfDescOf(), {} ); } );
}

TEST_F( UdfModuleRemoveTest, Destroy_DetachmentWasDropped_Dies )
{
    const QualIdList quals = made();
    faulty.addFromNow( { { .function = "bcm_udf_pkt_format_delete" }, Sim::DropCall{} } );
    expectFatalCall( { udfSource, destroyFunction, "bcm_udf_pkt_format_destroy( unit, pktFmtId )" },
                     -10, "Operation still running or object in use",
                     [ & ] { destroy( udfDescOf(), quals ); } );
}

// ---- Cleanup ---------------------------------------------------------------------------------

TEST_F( UdfModuleRemoveTest, Cleanup_NothingMade_MakesNoCall )
{
    EXPECT_EQ( cleanup( {} ), QualIdList() );
    EXPECT_THAT( sdk.allCalls(), IsEmpty() );
}

TEST_F( UdfModuleRemoveTest, Cleanup_UdfOnly_DestroysIt )
{
    sdk.on.bcm_udf_destroy = returns( 0 );
    EXPECT_EQ( cleanup( footprintOf( -1, qualsOf( { 7 } ) ) ), QualIdList() );
    EXPECT_THAT( sdk.allCalls(), ElementsAre( "preApiCall()", "bcm_udf_destroy( 5, 7 )" ) );
}

TEST_F( UdfModuleRemoveTest, Cleanup_FormatOfTheMap_IsKept )
{
    mapIs( 3, udfsOf( { 1 } ) );
    sdk.on.bcm_udf_pkt_format_delete = returns( -7 );
    sdk.on.bcm_udf_destroy = returns( 0 );
    EXPECT_EQ( cleanup( footprintOf( 3, qualsOf( { 7 } ) ) ), QualIdList() );
    EXPECT_THAT( sdk.allCalls(), ElementsAre( "bcm_udf_pkt_format_delete( 5, 7, 3 )",
                                              "preApiCall()", "bcm_udf_destroy( 5, 7 )" ) );
    EXPECT_EQ( mapText(), "3: 1" );
}

TEST_F( UdfModuleRemoveTest, Cleanup_FormatOutsideTheMap_IsDestroyedBeforeTheUdf )
{
    mapIs( 4, udfsOf( { 1 } ) );
    sdk.on.bcm_udf_pkt_format_delete = returns( -7 );
    sdk.on.bcm_udf_pkt_format_destroy = returns( 0 );
    sdk.on.bcm_udf_destroy = returns( 0 );
    EXPECT_EQ( cleanup( footprintOf( 3, qualsOf( { 7 } ) ) ), QualIdList() );
    EXPECT_THAT( sdk.allCalls(), ElementsAre( "bcm_udf_pkt_format_delete( 5, 7, 3 )",
                                              "preApiCall()", "bcm_udf_pkt_format_destroy( 5, 3 )",
                                              "preApiCall()", "bcm_udf_destroy( 5, 7 )" ) );
    EXPECT_EQ( mapText(), "4: 1" );
}

// Only -1 means none; and whatever is not "none" says that the detachment failed.
TEST_F( UdfModuleRemoveTest, Cleanup_OtherUnusualIdsAndCodes_AreAsGoodAsAny )
{
    sdk.on.bcm_udf_pkt_format_delete = returns( 1 );
    sdk.on.bcm_udf_pkt_format_destroy = returns( 0 );
    sdk.on.bcm_udf_destroy = returns( 0 );
    cleanup( footprintOf( 0, qualsOf( { 0 } ) ) );
    cleanup( footprintOf( -2, qualsOf( { 0xFFFFFFFE } ) ) );
    EXPECT_THAT( sdk.calls(),
                 ElementsAre( "bcm_udf_pkt_format_delete( 5, 0, 0 )",
                              "bcm_udf_pkt_format_destroy( 5, 0 )", "bcm_udf_destroy( 5, 0 )",
                              "bcm_udf_pkt_format_delete( 5, -2, -2 )",
                              "bcm_udf_pkt_format_destroy( 5, -2 )", "bcm_udf_destroy( 5, -2 )" ) );
}

TEST_F( UdfModuleRemoveTest, Cleanup_DetachmentSucceeds_Dies )
{
    sdk.on.bcm_udf_pkt_format_delete = returns( 0 );
    for ( const int format : { 3, 0 } ) {
        expectAssertion( { udfSource, cleanupFunction, "" }, "rc != BCM_E_NONE",
                         [ & ] { cleanup( footprintOf( format, qualsOf( { 7 } ) ) ); } );
    }
}

TEST_F( UdfModuleRemoveTest, Cleanup_FootprintMakesNoSense_Dies )
{
    const SdkCallSite site{ udfSource, cleanupFunction, "" };
    expectAssertion( site, "hwFootprint.pktFmtId == -1",
                     [ this ] { cleanup( footprintOf( 3, {} ) ); } );
    expectAssertion( site, "hwFootprint.udfIds.qualIds() == 1", [ this ] {
        cleanup( footprintOf( -1, qualsOf( { 7, 8 } ) ) );
    } );
    expectAssertion( site, "udfIdToCleanup != -1",
                     [ this ] { cleanup( footprintOf( -1, qualsOf( { 0xFFFFFFFF } ) ) ); } );
}

TEST_F( UdfModuleRemoveTest, Cleanup_EachFailureOfEachCheckedCall_Dies )
{
    sdk.on.bcm_udf_pkt_format_delete = returns( -7 );
    const auto clean = [ this ] { cleanup( footprintOf( 3, qualsOf( { 7 } ) ) ); };
    expectFatal(
        "bcm_udf_pkt_format_destroy",
        { udfSource, cleanupFunction, "bcm_udf_pkt_format_destroy( unit, pktFmtIdToCleanup )" },
        clean );
    sdk.on.bcm_udf_pkt_format_destroy = returns( 0 );
    expectFatal( "bcm_udf_destroy",
                 { udfSource, cleanupFunction, "bcm_udf_destroy( unit, udfIdToCleanup )" }, clean );
}

} // namespace
} // namespace LibraryTest

// Auditing and listing what the UDF module holds, and LAG hashing.

#include "tests/library/UdfScene.h"

#include <numeric>

namespace LibraryTest {
namespace {

using PeloraTcam::UdfChunkPosList;
using ::testing::ElementsAre;
using TestSupport::returns;

constexpr SdkCallSite verifySite{
    udfSource,
    "PeloraTcam::udfQualProgrammedInHwUdfModule",
    "bcm_udf_pkt_format_get_all( unit, udfId, 2, pktFmtId, &actual )",
};
constexpr SdkCallSite lagVerifySite{
    udfSource,
    "PeloraTcam::udfLagHashingProgrammedInModule",
    "bcm_udf_hash_config_get( unit, &hash_config )",
};

class UdfModuleVerifyTest : public UdfScene
{
  protected:
    void
    expectMismatch( const std::string& assertion, const UdfDesc& desc, const QualIdList& quals )
    {
        expectAssertion( verifySite, assertion, [ & ] { verify( desc, quals ); } );
    }

    void verifyLag( const UdfDesc& desc, const QualIdList& quals )
    {
        udfLagHashingProgrammedInModule( unit, quals, desc );
    }
};

// ---- udfQualProgrammedInHwUdfModule ----------------------------------------------------------

TEST_F( UdfModuleVerifyTest, Verify_AsMade_ReadsTwiceAndLeavesTheChipAlone )
{
    const QualIdList quals = made();
    const std::string before = chipText();
    verify( udfDescOf(), quals );
    EXPECT_THAT( names(), ElementsAre( "bcm_udf_t_init", "bcm_udf_get", "preApiCall",
                                       "bcm_udf_pkt_format_get_all" ) );
    EXPECT_EQ( sdk.calls()[ 1 ], "bcm_udf_pkt_format_get_all( 5, 1, 2, &, & )" );
    EXPECT_EQ( chipText(), before );
    EXPECT_EQ( mapText(), "1: 1" );
}

TEST_F( UdfModuleVerifyTest, Verify_EachFailureOfTheRead_Dies )
{
    const QualIdList quals = made();
    for ( const SdkFailure& failure : allSdkFailures() ) {
        fail( "bcm_udf_get", failure.rc );
        expectMismatch( "0", udfDescOf(), quals );
    }
    sdk.on.bcm_udf_get = returns( 1 );
    expectMismatch( "0", udfDescOf(), quals );
}

TEST_F( UdfModuleVerifyTest, Verify_WidthDiffers_Dies )
{
    const QualIdList quals = made( udfDescOf( 2, 4 ) );
    for ( const Agent::U8 length : std::initializer_list< Agent::U8 >{ 0, 3, 5, 255 } ) {
        expectMismatch( "udf.width() == ( length * 8 )", udfDescOf( 2, length ), quals );
    }
    corrupt( "bcm_udf_get", "width", 40 );
    expectMismatch( "udf.width() == ( length * 8 )", udfDescOf( 2, 4 ), quals );
}

TEST_F( UdfModuleVerifyTest, Verify_StartDiffers_Dies )
{
    const QualIdList quals = made( udfDescOf( 2, 4 ) );
    for ( const Agent::U8 offset : std::initializer_list< Agent::U8 >{ 0, 1, 3, 255 } ) {
        expectMismatch( "udf.start() == ( offset * 8 )", udfDescOf( offset, 4 ), quals );
    }
    corrupt( "bcm_udf_get", "start", 24 );
    expectMismatch( "udf.start() == ( offset * 8 )", udfDescOf( 2, 4 ), quals );
}

// The raw offset is compared, not the one that was programmed.
TEST_F( UdfModuleVerifyTest, Verify_StartWasCorrected_Dies )
{
    UdfDesc desc = udfDescOf( 2, 2 );
    desc.baseIs( PeloraTcam::UdfBaseL3OuterPayload_ );
    expectMismatch( "udf.start() == ( offset * 8 )", desc, made( desc ) );
    desc.baseIs( PeloraTcam::UdfBaseL4OuterPayload_ );
    expectMismatch( "udf.start() == ( offset * 8 )", desc, made( desc ) );
}

TEST_F( UdfModuleVerifyTest, Verify_CorrectionIsZero_Passes )
{
    UdfDesc desc = udfDescOf( 2, 2 );
    desc.ipProtoIs( 1 );
    desc.baseIs( PeloraTcam::UdfBaseL4OuterPayload_ );
    verify( desc, made( desc ) );
    EXPECT_EQ( sdk.countOf( "bcm_udf_pkt_format_get_all" ), 1U );
}

TEST_F( UdfModuleVerifyTest, Verify_AnyKnownLayer_Passes )
{
    const QualIdList quals = made();
    for ( const bcm_udf_layer_t layer :
          { sdk.bcmUdfLayerL3OuterHeader(), sdk.bcmUdfLayerL2Header(),
            sdk.bcmUdfLayerL3InnerHeader(), sdk.bcmUdfLayerL4InnerHeader(),
            sdk.bcmUdfLayerL4OuterHeader() } ) {
        faulty.clearFaults();
        corrupt( "bcm_udf_get", "layer", layer );
        verify( udfDescOf(), quals );
    }
    EXPECT_EQ( faulty.calls( "bcm_udf_get" ), 5U );
}

TEST_F( UdfModuleVerifyTest, Verify_UnknownLayer_Dies )
{
    const QualIdList quals = made();
    corrupt( "bcm_udf_get", "layer", 4711 );
    expectMismatch(
        "udf.layer() == bcmUdfLayerL3OuterHeader || udf.layer() == bcmUdfLayerL2Header || "
        "udf.layer() == bcmUdfLayerL2Header || udf.layer() == bcmUdfLayerL3InnerHeader || "
        "udf.layer() == bcmUdfLayerL4InnerHeader || udf.layer() == bcmUdfLayerL4OuterHeader",
        udfDescOf(), quals );
}

TEST_F( UdfModuleVerifyTest, Verify_EachFailureOfTheFormatList_Dies )
{
    const QualIdList quals = made();
    expectFatal( "bcm_udf_pkt_format_get_all", verifySite,
                 [ & ] { verify( udfDescOf(), quals ); } );
}

TEST_F( UdfModuleVerifyTest, Verify_AttachedToNoneOrTwo_Dies )
{
    faulty.add( { { .function = "bcm_udf_pkt_format_add" }, Sim::DropCall{} } );
    expectMismatch( "actual == 1", udfDescOf( 2, 2 ), made( udfDescOf( 2, 2 ) ) );
    UdfDesc other = udfDescOf( 2, 2 );
    other.ipProtoIs( 17 );
    const QualIdList twice = made( other );
    ASSERT_EQ( chips.chip( unit )->udfModule()->attach( 2, 1 ), 0 );
    expectMismatch( "actual == 1", other, twice );
}

TEST_F( UdfModuleVerifyTest, Verify_FormatListIsNotWritten_Dies )
{
    const QualIdList quals = made();
    sdk.on.bcm_udf_pkt_format_get_all = returns( 0 );
    expectMismatch( "actual == 1", udfDescOf(), quals );
}

TEST_F( UdfModuleVerifyTest, Verify_FormatId0_Dies )
{
    const QualIdList quals = made();
    mapIs( 0, udfsOf( { 1 } ) );
    corrupt( "bcm_udf_pkt_format_get_all", "formatIds", 0 );
    expectMismatch( "pktFmtId[ 0 ]", udfDescOf(), quals );
}

TEST_F( UdfModuleVerifyTest, Verify_FormatNotInTheMap_Dies )
{
    const QualIdList quals = made();
    formats->pktFmtIdToUdfIdDel( PktFmtId( 1 ) );
    mapIs( 2, udfsOf( { 1 } ) );
    expectMismatch( "pktFmtIdToUdfId->pktFmtIdToUdfIdHas( fmtId )", udfDescOf(), quals );
}

TEST_F( UdfModuleVerifyTest, Verify_UdfNotListedUnderTheFormat_Dies )
{
    const QualIdList quals = made();
    mapIs( 1, udfsOf( { 2 } ) );
    expectMismatch( "udfs.udfIdHas( id )", udfDescOf(), quals );
}

// ---- Inventory -------------------------------------------------------------------------------

TEST_F( UdfModuleVerifyTest, GetAll_OfTheChip_AreItsUdfs )
{
    EXPECT_EQ( getAllProgrammedUdfIdsUdfModule( unit ), UdfIdList() );
    made( udfDescOf( 2, 2 ) );
    made( udfDescOf( 8, 2 ) );
    EXPECT_EQ( getAllProgrammedUdfIdsUdfModule( unit ), udfsOf( { 1, 2 } ) );
    EXPECT_THAT( sdk.allCalls(), ElementsAre( "preApiCall()", "bcm_udf_get_all( 5, 128, &, & )" ) );
}

TEST_F( UdfModuleVerifyTest, GetAll_CountIsNotWritten_ListsNone )
{
    sdk.on.bcm_udf_get_all = returns( 0 );
    EXPECT_EQ( getAllProgrammedUdfIdsUdfModule( unit ), UdfIdList() );
}

TEST_F( UdfModuleVerifyTest, GetAll_MoreThan128_GivesTheFirst128 )
{
    for ( const int reported : { 128, 200 } ) {
        sdk.on.bcm_udf_get_all = [ = ]( int, int max, bcm_udf_id_t* ids, int* actual ) {
            std::iota( ids, ids + max, 1 );
            *actual = reported;
            return 0;
        };
        const UdfIdList udfs = getAllProgrammedUdfIdsUdfModule( unit );
        EXPECT_EQ( udfs.udfIds(), 128U );
        EXPECT_TRUE( udfs.udfIdHas( UdfId( 128 ) ) );
    }
}

TEST_F( UdfModuleVerifyTest, GetAll_EachFailure_Dies )
{
    expectFatal( "bcm_udf_get_all",
                 { udfSource, "PeloraTcam::getAllProgrammedUdfIdsUdfModule",
                   "bcm_udf_get_all( unit, max, udfIds, &numUdfs )" },
                 [] { static_cast< void >( getAllProgrammedUdfIdsUdfModule( unit ) ); } );
}

constexpr SdkCallSite chunkSite{
    udfSource,
    "PeloraTcam::getUdfChunkPosModule",
    "bcm_udf_get( unit, udfId, &udfInfo )",
};

TEST_F( UdfModuleVerifyTest, GetChunks_OfSeveralUdfs_AreAllOfTheirs )
{
    made( udfDescOf( 2, 4 ) );
    made( udfDescOf( 2, 2 ) );
    const UdfChunkPosList chunks = getUdfChunkPosModule( unit, qualsOf( { 1, 2 } ) );
    EXPECT_THAT( chunks, ElementsAre( 0, 1, 2 ) );
    EXPECT_THAT( names(), ElementsAre( "bcm_udf_t_init", "preApiCall", "bcm_udf_get",
                                       "bcm_udf_t_init", "preApiCall", "bcm_udf_get" ) );
    EXPECT_THAT( getUdfChunkPosModule( unit, QualIdList() ), ElementsAre() );
}

TEST_F( UdfModuleVerifyTest, GetChunks_AnyBitmap_TakesBits0To15 )
{
    made();
    corrupt( "bcm_udf_get", "hw_bmap", 0x0003 );
    EXPECT_THAT( getUdfChunkPosModule( unit, qualsOf( { 1 } ) ), ElementsAre( 0, 1 ) );
    corrupt( "bcm_udf_get", "hw_bmap", 0xFFFF8001 );
    EXPECT_THAT( getUdfChunkPosModule( unit, qualsOf( { 1 } ) ), ElementsAre( 0, 15 ) );
    corrupt( "bcm_udf_get", "hw_bmap", 0xFFFF0000 );
    EXPECT_THAT( getUdfChunkPosModule( unit, qualsOf( { 1 } ) ), ElementsAre() );
}

TEST_F( UdfModuleVerifyTest, GetChunks_SharedByTwo_Dies )
{
    made( udfDescOf( 2, 2 ) );
    made( udfDescOf( 4, 2 ) );
    corrupt( "bcm_udf_get", "hw_bmap", 1 );
    expectAssertion( chunkSite, "!udfChunkPosList.udfChunkPosHas( i )", [] {
        static_cast< void >( getUdfChunkPosModule( unit, qualsOf( { 1, 2 } ) ) );
    } );
}

TEST_F( UdfModuleVerifyTest, GetChunks_EachFailure_Dies )
{
    made();
    expectFatal( "bcm_udf_get", chunkSite,
                 [] { static_cast< void >( getUdfChunkPosModule( unit, qualsOf( { 1 } ) ) ); } );
}

// ---- LAG hashing -----------------------------------------------------------------------------

TEST_F( UdfModuleVerifyTest, AddHash_Mask_FillsEveryByteThatTheSdkKnows )
{
    bcm_udf_hash_config_t added;
    Agent::U32 options = 0;
    sdk.on.bcm_udf_hash_config_t_init = []( bcm_udf_hash_config_t* config ) {
        for ( unsigned byte = 0; byte < bcm_udf_hash_config_t::maskRoom; ++byte ) {
            config->hash_maskIs( byte, 0xEE );
        }
    };
    sdk.on.bcm_udf_hash_config_add = [ & ]( int, uint32_t o, bcm_udf_hash_config_t* config ) {
        added = *config;
        options = o;
        return 0;
    };
    createUdfLagHashingModule( unit, 9, lagDescOf() );
    EXPECT_THAT( names(), ElementsAre( "bcm_udf_hash_config_t_init", "preApiCall",
                                       "bcm_udf_hash_config_add" ) );
    EXPECT_EQ( options, sdk.BCM_UDF_HASH_ADD_O_NONE() );
    EXPECT_EQ( added.udf_id(), 9 );
    EXPECT_EQ( added.mask_length(), 2U );
    EXPECT_EQ( added.hash_mask( 0 ), 0xFF );
    EXPECT_EQ( added.hash_mask( 1 ), 0x0F );
    for ( unsigned byte = 2; byte < bcm_udf_hash_config_t::maskRoom; ++byte ) {
        const bool known = byte < sdk.BCM_UDF_MAX_HASH_MASK_LENGTH();
        EXPECT_EQ( added.hash_mask( byte ), known ? 0 : 0xEE ) << byte;
    }
}

TEST_F( UdfModuleVerifyTest, AddHash_NoMask_AddsOneOfZeros )
{
    made( lagDescOf( {} ) );
    const auto& configs = chips.chip( unit )->udfModule()->state().hashConfigs;
    ASSERT_EQ( configs.size(), 1U );
    EXPECT_EQ( configs.at( 1 ).mask_length(), 2U );
    EXPECT_EQ( configs.at( 1 ).hash_mask( 0 ), 0 );
}

TEST_F( UdfModuleVerifyTest, AddHash_EachFailure_Dies )
{
    expectFatal( "bcm_udf_hash_config_add",
                 { udfSource, "PeloraTcam::createUdfLagHashingModule",
                   "bcm_udf_hash_config_add( unit, BCM_UDF_HASH_ADD_O_NONE, &hash_config )" },
                 [] { createUdfLagHashingModule( unit, 1, lagDescOf() ); } );
}

TEST_F( UdfModuleVerifyTest, RemoveHash_Any_SetsTheUdfOnly )
{
    sdk.on.bcm_udf_hash_config_delete = returns( 0 );
    destroyUdfLagHashingModule( unit, 9 );
    EXPECT_THAT( sdk.allCalls().back(),
                 "bcm_udf_hash_config_delete( 5, {udf_id: 9, mask_length: 0, hash_mask: } )" );
    EXPECT_THAT( names(), ElementsAre( "bcm_udf_hash_config_t_init", "preApiCall",
                                       "bcm_udf_hash_config_delete" ) );
}

TEST_F( UdfModuleVerifyTest, GetAllHash_None_CallsTwiceWith0 )
{
    EXPECT_EQ( getAllProgrammedLagHashingUdfIdsUdfModule( unit ), UdfIdList() );
    EXPECT_THAT( sdk.allCalls(),
                 ElementsAre( "preApiCall()", "bcm_udf_hash_config_get_all( 5, 0, null, & )",
                              "preApiCall()", "bcm_udf_hash_config_get_all( 5, 0, null, & )" ) );
}

TEST_F( UdfModuleVerifyTest, GetAllHash_CountIsNotWritten_ListsNone )
{
    sdk.on.bcm_udf_hash_config_get_all = returns( 0 );
    EXPECT_EQ( getAllProgrammedLagHashingUdfIdsUdfModule( unit ), UdfIdList() );
    EXPECT_EQ( sdk.countOf( "bcm_udf_hash_config_t_init" ), 0U );
}

TEST_F( UdfModuleVerifyTest, GetAllHash_Some_InitialisesEachAndListsThem )
{
    sdk.on.bcm_udf_hash_config_get_all = []( int, int max, bcm_udf_hash_config_t* configs,
                                             int* actual ) {
        for ( int i = 0; i < max; ++i ) {
            configs[ i ].udf_idIs( 1000 - i );
        }
        *actual = 300;
        return 0;
    };
    const UdfIdList udfs = getAllProgrammedLagHashingUdfIdsUdfModule( unit );
    EXPECT_EQ( udfs.udfIds(), 300U ) << "no fixed bound";
    EXPECT_TRUE( udfs.udfIdHas( UdfId( 701 ) ) );
    EXPECT_EQ( sdk.countOf( "bcm_udf_hash_config_t_init" ), 300U );
}

TEST_F( UdfModuleVerifyTest, GetAllHash_CountChangesMeanwhile_ListsWhatWasWritten )
{
    for ( const int second : { 1, 9 } ) {
        int calls = 0;
        sdk.on.bcm_udf_hash_config_get_all = [ & ]( int, int max, bcm_udf_hash_config_t* configs,
                                                    int* actual ) {
            for ( int i = 0; i < max; ++i ) {
                configs[ i ].udf_idIs( i + 1 );
            }
            *actual = ++calls == 1 ? 2 : second;
            return 0;
        };
        EXPECT_EQ( getAllProgrammedLagHashingUdfIdsUdfModule( unit ),
                   second == 1 ? udfsOf( { 1 } ) : udfsOf( { 1, 2 } ) );
    }
}

TEST_F( UdfModuleVerifyTest, GetAllHash_EachFailureOfEachCall_Dies )
{
    const char* const function = "PeloraTcam::getAllProgrammedLagHashingUdfIdsUdfModule";
    const auto getAll = [] {
        static_cast< void >( getAllProgrammedLagHashingUdfIdsUdfModule( unit ) );
    };
    expectFatal( "bcm_udf_hash_config_get_all",
                 { udfSource, function, "bcm_udf_hash_config_get_all( unit, 0, NULL, &numUdfs )" },
                 getAll );
    for ( const SdkFailure& failure : allSdkFailures() ) {
        sdk.on.bcm_udf_hash_config_get_all = TestSupport::returnsInTurn( { 0, failure.rc } );
        expectFatalCall( { udfSource, function,
                           "bcm_udf_hash_config_get_all( unit, numUdfs, hashConfigs, &numUdfs )" },
                         failure.rc, failure.text, getAll );
    }
}

TEST_F( UdfModuleVerifyTest, VerifyHash_AsMade_ReadsOnce )
{
    const QualIdList quals = made( lagDescOf() );
    verifyLag( lagDescOf(), quals );
    EXPECT_THAT( names(), ElementsAre( "bcm_udf_hash_config_t_init", "preApiCall",
                                       "bcm_udf_hash_config_get" ) );
}

TEST_F( UdfModuleVerifyTest, VerifyHash_MaskDiffers_Dies )
{
    const UdfDesc::LagHashingMask mask{ { 0, 1 }, { 1, 2 }, { 2, 3 }, { 3, 4 } };
    UdfDesc desc = lagDescOf( mask );
    const QualIdList quals = made( desc );
    for ( Agent::U8 byte = 0; byte < 4; ++byte ) {
        UdfDesc::LagHashingMask other = mask;
        other[ byte ] = 99;
        expectAssertion( lagVerifySite, "lagHashingMask == hash_mask",
                         [ & ] { verifyLag( lagDescOf( other ), quals ); } );
    }
    corrupt( "bcm_udf_hash_config_get", "hash_mask", 77 );
    expectAssertion( lagVerifySite, "lagHashingMask == hash_mask",
                     [ & ] { verifyLag( desc, quals ); } );
}

TEST_F( UdfModuleVerifyTest, VerifyHash_FourDifferentBytesAsMade_Passes )
{
    const UdfDesc desc = lagDescOf( { { 0, 0x81 }, { 1, 0x42 }, { 2, 0x24 }, { 3, 0x18 } } );
    const QualIdList quals = made( desc );
    verifyLag( desc, quals );
}

TEST_F( UdfModuleVerifyTest, VerifyHash_FifthByteDiffers_Passes )
{
    UdfDesc desc = lagDescOf( { { 0, 1 }, { 4, 5 } } );
    const QualIdList quals = made( desc );
    desc.lagHashingMaskIs( { { 0, 1 }, { 4, 6 } } );
    verifyLag( desc, quals );
}

TEST_F( UdfModuleVerifyTest, VerifyHash_LengthDiffers_Dies )
{
    const QualIdList quals = made( lagDescOf() );
    UdfDesc desc = lagDescOf();
    desc.lengthIs( 3 );
    expectAssertion( lagVerifySite, "udfDesc.length() == hash_config.mask_length()",
                     [ & ] { verifyLag( desc, quals ); } );
    corrupt( "bcm_udf_hash_config_get", "mask_length", 1 );
    expectAssertion( lagVerifySite, "udfDesc.length() == hash_config.mask_length()",
                     [ & ] { verifyLag( lagDescOf(), quals ); } );
}

TEST_F( UdfModuleVerifyTest, VerifyHash_NoConfiguration_Dies )
{
    const QualIdList quals = made( udfDescOf() );
    expectFatalCall( lagVerifySite, -7, "Entry not found",
                     [ & ] { verifyLag( lagDescOf(), quals ); } );
    expectFatal( "bcm_udf_hash_config_get", lagVerifySite,
                 [ & ] { verifyLag( lagDescOf(), quals ); } );
}

TEST_F( UdfModuleVerifyTest, VerifyHash_AdditionWasDropped_Dies )
{
    faulty.add( { { .function = "bcm_udf_hash_config_add" }, Sim::DropCall{} } );
    const QualIdList quals = made( lagDescOf() );
    expectFatalCall( lagVerifySite, -7, "Entry not found",
                     [ & ] { verifyLag( lagDescOf(), quals ); } );
}

} // namespace
} // namespace LibraryTest

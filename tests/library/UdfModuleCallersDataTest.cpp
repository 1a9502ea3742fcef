// While the UDF module functions call the SDK with the locks free, other threads change, erase and
// free what the caller passed by reference, and change the map of packet formats.

#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"
#include "tests/library/CallersDataScene.h"

namespace LibraryTest {
namespace {

using ::testing::ElementsAre;

class UdfModuleCallersDataTest : public CallersDataScene< UdfScene >
{
  protected:
    void expectUndisturbed( const Use& use )
    {
        CallersDataScene::expectUndisturbed( "sdk6-udf", use );
    }

    /// A hashing UDF of TCP packets.
    static UdfDesc hashing() { return lagDescOf(); }

    /// Programs; the function fails, if there is one.
    Use programming( const UdfDesc& desc, const char* failing = nullptr, int rc = 0 )
    {
        return { .data = { .desc = desc },
                 .operation =
                     [ this ]( const CallersData& data ) {
                         return listText( createUdfQualifierUdfModule( unit, data.desc, formats ) );
                     },
                 .prepare =
                     [ this, failing, rc ] {
                         if ( failing != nullptr ) {
                             fail( failing, rc );
                         }
                     } };
    }

    Use removing( const UdfDesc& desc, Agent::U32 id )
    {
        return { .data = { .desc = desc, .quals = qualsOf( { id } ) },
                 .operation = [ this ]( const CallersData& data ) {
                     destroyUdfQualifierUdfModule( unit, data.desc, data.quals, formats );
                     return "";
                 } };
    }

    /// Cleans up behind a UDF that could not be attached to packet format 3.
    Use cleaningUp()
    {
        Use use;
        use.data.footprint.pktFmtId = PktFmtId( 3 );
        use.data.footprint.udfIds = qualsOf( { 7 } );
        use.operation = [ this ]( const CallersData& data ) {
            return listText( cleanupUdfModuleFootprint( unit, data.footprint, formats ) );
        };
        return use;
    }

    /// The SDK lets itself be asked to clean up what the chip does not have.
    void cleaningUpSucceeds()
    {
        sdk.on.bcm_udf_pkt_format_delete = TestSupport::returns( -7 );
        sdk.on.bcm_udf_pkt_format_destroy = TestSupport::returns( 0 );
        sdk.on.bcm_udf_destroy = TestSupport::returns( 0 );
    }
};

// ---- The caller's data -------------------------------------------------------------------------

TEST_F( UdfModuleCallersDataTest, Create_NewFormat_IsOfTheDescriptorAsItWas )
{
    UdfDesc desc = udfDescOf();
    desc.priorityIs( 3 );
    expectUndisturbed( programming( desc ) );
}

TEST_F( UdfModuleCallersDataTest, Create_HashingUdf_HashesTheMaskAsItWas )
{
    expectUndisturbed( programming( hashing() ) );
}

TEST_F( UdfModuleCallersDataTest, Create_SharedFormat_IsFoundByTheDescriptorAsItWas )
{
    Use use = programming( hashing() );
    use.prepare = [ this ] {
        UdfDesc other = udfDescOf();
        other.ipProtoIs( 17 );
        made( other );
        made( udfDescOf( 8, 2 ) );
    };
    expectUndisturbed( use );
}

TEST_F( UdfModuleCallersDataTest, Create_OutOfResources_ReportsTheDescriptorAsItWas )
{
    UdfDesc desc = udfDescOf();
    desc.baseIs( PeloraTcam::UdfBaseL3OuterPayload_ );
    expectUndisturbed( programming( desc, "bcm_udf_create", -14 ) );
    expectUndisturbed( programming( desc, "bcm_udf_pkt_format_create", -14 ) );
}

TEST_F( UdfModuleCallersDataTest, Create_AttachmentRefused_UndoesWhatItMade )
{
    expectUndisturbed( programming( hashing(), "bcm_udf_pkt_format_add", -4 ) );
}

TEST_F( UdfModuleCallersDataTest, Destroy_HashingUdf_IsTheOneOfTheListAsItWas )
{
    Use use = removing( hashing(), 1 );
    use.prepare = [ this ] { made( hashing() ); };
    expectUndisturbed( use );
}

TEST_F( UdfModuleCallersDataTest, Destroy_OneOfTwo_KeepsTheOther )
{
    Use use = removing( udfDescOf(), 2 );
    use.prepare = [ this ] {
        made( udfDescOf() );
        made( udfDescOf( 8, 2 ) );
    };
    expectUndisturbed( use );
}

TEST_F( UdfModuleCallersDataTest, Cleanup_OfANewFormat_DestroysThatOfTheFootprintAsItWas )
{
    cleaningUpSucceeds();
    expectUndisturbed( cleaningUp() );
}

TEST_F( UdfModuleCallersDataTest, Cleanup_OfASharedFormat_KeepsThatOfTheFootprintAsItWas )
{
    cleaningUpSucceeds();
    Use use = cleaningUp();
    use.prepare = [ this ] { mapIs( 3, udfsOf( { 44 } ) ); };
    expectUndisturbed( use );
}

TEST_F( UdfModuleCallersDataTest, Verify_Any_ComparesWithTheDescriptorAsItWas )
{
    expectUndisturbed( { .data = { .desc = udfDescOf(), .quals = qualsOf( { 1 } ) },
                         .operation =
                             [ this ]( const CallersData& data ) {
                                 verify( data.desc, data.quals );
                                 return "";
                             },
                         .prepare = [ this ] { made( udfDescOf() ); } } );
}

TEST_F( UdfModuleCallersDataTest, GetChunks_OfThreeUdfs_AreThoseOfTheListAsItWas )
{
    expectUndisturbed( { .data = { .quals = qualsOf( { 1, 2, 3 } ) },
                         .operation =
                             []( const CallersData& data ) {
                                 return listText( getUdfChunkPosModule( unit, data.quals ) );
                             },
                         .prepare =
                             [ this ] {
                                 made( udfDescOf( 2, 2 ) );
                                 made( udfDescOf( 8, 4 ) );
                                 made( udfDescOf( 10, 2 ) );
                             } } );
}

TEST_F( UdfModuleCallersDataTest, AddHash_Any_IsOfTheDescriptorAsItWas )
{
    expectUndisturbed( { .data = { .desc = hashing() },
                         .operation =
                             []( const CallersData& data ) {
                                 PeloraTcam::createUdfLagHashingModule( unit, 1, data.desc );
                                 return "";
                             },
                         .prepare =
                             [ this ] {
                                 made( hashing() );
                                 destroyUdfLagHashingModule( unit, 1 );
                             } } );
}

TEST_F( UdfModuleCallersDataTest, VerifyHash_Any_ComparesWithTheDescriptorAsItWas )
{
    expectUndisturbed( { .data = { .desc = hashing(), .quals = qualsOf( { 1 } ) },
                         .operation =
                             []( const CallersData& data ) {
                                 udfLagHashingProgrammedInModule( unit, data.quals, data.desc );
                                 return "";
                             },
                         .prepare = [ this ] { made( hashing() ); } } );
}

TEST_F( UdfModuleCallersDataTest, Helper_WholeLife_WorksOnWhatItWasGiven )
{
    const auto operation = []( const CallersData& data ) {
        const auto helper = PeloraTcam::udfModuleHelperFactory( unit, 0, true );
        return listText( helper->programUdfInHw( data.desc ) );
    };
    expectUndisturbed( { .data = { .desc = hashing() }, .operation = operation } );

    Agent::Ptr< PeloraTcam::UdfModuleHelper > helper;
    Use use{ .data = { .desc = hashing(), .quals = qualsOf( { 1 } ) } };
    use.prepare = [ & ] {
        helper = PeloraTcam::udfModuleHelperFactory( unit, 0, true );
        static_cast< void >( helper->programUdfInHw( hashing() ) );
    };
    const std::vector< std::function< void( const CallersData& ) > > operations = {
        [ & ]( const CallersData& data ) { helper->verifyProgrammedUdf( data.desc, data.quals ); },
        [ & ]( const CallersData& data ) { helper->verifyLagHashingUdf( data.desc, data.quals ); },
        [ & ]( const CallersData& data ) { helper->removeUdfFromHw( data.desc, data.quals ); },
        [ & ]( const CallersData& data ) { helper->getUdfChunkPosList( unit, data.quals ); },
    };
    for ( const auto& each : operations ) {
        use.operation = [ & ]( const CallersData& data ) {
            each( data );
            return "";
        };
        expectUndisturbed( use );
    }
}

// ---- The map -----------------------------------------------------------------------------------

class UdfModuleMapTest : public UdfScene
{
  protected:
    UdfModuleMapTest()
        : UdfScene( "sdk6-udf" )
    {}
};

// The format matches, but whoever took it out of the map is about to destroy it.
TEST_F( UdfModuleMapTest, Create_MatchingFormatGoesWhileItIsRead_IsNotShared )
{
    made( udfDescOf( 2, 2 ) );
    DisturbingSdk disturbing( sdk );
    disturbing.disturbanceIs( 2, [ this ] { formats->pktFmtIdToUdfIdDel( PktFmtId( 1 ) ); } );
    Shim::sdk_ = &disturbing;
    EXPECT_EQ( create( udfDescOf( 8, 2 ) ), qualsOf( { 2 } ) );
    Shim::sdk_ = &sdk;
    EXPECT_EQ( mapText(), "2: 2" );
    EXPECT_EQ( sdk.countOf( "bcm_udf_pkt_format_create" ), 1U );
}

// The search goes on behind the one that has gone.
TEST_F( UdfModuleMapTest, Create_MatchingFormatGoesAndAnotherMatches_ThatOneIsShared )
{
    made( udfDescOf( 2, 2 ) );
    const bcm_udf_pkt_format_info_t stored =
        chips.chip( unit )->udfModule()->state().pktFormats.at( 1 ).info;
    mapIs( 500, udfsOf( { 50 } ) );
    sdk.on.bcm_udf_pkt_format_info_get = [ & ]( int, int, bcm_udf_pkt_format_info_t* info ) {
        *info = stored;
        return 0;
    };
    sdk.on.bcm_udf_pkt_format_add = TestSupport::returns( 0 );
    DisturbingSdk disturbing( sdk );
    disturbing.disturbanceIs( 2, [ this ] { formats->pktFmtIdToUdfIdDel( PktFmtId( 1 ) ); } );
    Shim::sdk_ = &disturbing;
    EXPECT_EQ( create( udfDescOf( 8, 2 ) ), qualsOf( { 2 } ) );
    Shim::sdk_ = &sdk;
    EXPECT_EQ( mapText(), "500: 2 50" );
}

// What others add to a format during the attachment stays in its list.
TEST_F( UdfModuleMapTest, Create_ListGrowsDuringTheAttachment_KeepsAll )
{
    made( udfDescOf( 2, 2 ) );
    DisturbingSdk disturbing( sdk );
    disturbing.disturbanceIs( 3, [ this ] { mapIs( 1, udfsOf( { 1, 44 } ) ); } );
    Shim::sdk_ = &disturbing;
    EXPECT_EQ( create( udfDescOf( 8, 2 ) ), qualsOf( { 2 } ) );
    Shim::sdk_ = &sdk;
    EXPECT_EQ( mapText(), "1: 1 2 44" );
}

// The operation keeps the map that it started with.
TEST_F( UdfModuleMapTest, Helper_MapIsTakenOutDuringEachCall_OperationsGoOnWithIt )
{
    for ( std::size_t call = 1; call <= 4; ++call ) {
        const auto helper = PeloraTcam::udfModuleHelperFactory( unit, 0, true );
        const PktFmtIdToUdfId::Ptr map = helper->pktFmtIdToUdfId();
        chips.chipIs( unit, Sim::builtInProfile( "sdk6-udf" ) );
        DisturbingSdk disturbing( sdk );
        Shim::sdk_ = &disturbing;
        disturbing.disturbanceIs( call, [ & ] { helper->pktFmtIdToUdfIdDel(); } );
        const QualIdList quals = helper->programUdfInHw( lagDescOf() );
        Shim::sdk_ = &sdk;
        EXPECT_EQ( quals, qualsOf( { 1 } ) );
        EXPECT_EQ( map->pktFmtIdToUdfId( PktFmtId( 1 ) ), udfsOf( { 1 } ) );
        EXPECT_FALSE( helper->pktFmtIdToUdfId() );
    }
}

} // namespace
} // namespace LibraryTest

#include "sim/SimUdfModule.h"

#include "sim/ReturnCode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

namespace Sim {

namespace {

using ::testing::ElementsAre;

constexpr ChipProfile::UdfModule capacities{
    .udfs = 4, .chunks = 6, .pktFormats = 2, .udfsPerPktFormat = 2, .hashConfigurations = 1 };

class SimUdfModuleTest : public testing::TestWithParam< const char* >
{
  protected:
    bcm_udf_t udfOf( int32_t width, int32_t start = 0 ) const
    {
        bcm_udf_t udf;
        udf.layerIs( numbering.bcmUdfLayerL3OuterHeader );
        udf.startIs( start );
        udf.widthIs( width );
        return udf;
    }

    bcm_udf_id_t madeUdf( int32_t width, bool forHash = false )
    {
        bcm_udf_alloc_hints_t hints;
        hints.flagsIs( forHash ? numbering.BCM_UDF_CREATE_O_UDFHASH : 0 );
        const bcm_udf_t udf = udfOf( width );
        bcm_udf_id_t id = 0;
        EXPECT_EQ( module.create( &hints, &udf, &id ), ReturnCode::BCM_E_NONE );
        return id;
    }

    bcm_udf_pkt_format_info_t formatOf( uint16_t ethertype ) const
    {
        bcm_udf_pkt_format_info_t format;
        format.ethertypeIs( ethertype );
        format.ethertype_maskIs( 0xFFFF );
        format.vlan_tagIs( numbering.bcmUdfPktFormatVlanTagAny );
        format.tunnelIs( numbering.bcmUdfPktFormatTunnelNone );
        return format;
    }

    bcm_udf_pkt_format_id_t madeFormat( uint16_t ethertype = 0x0806 )
    {
        const bcm_udf_pkt_format_info_t format = formatOf( ethertype );
        bcm_udf_pkt_format_id_t id = 0;
        EXPECT_EQ( module.createPktFormat( noOptions(), &format, &id ), ReturnCode::BCM_E_NONE );
        return id;
    }

    uint32_t noOptions() const { return numbering.BCM_UDF_PKT_FORMAT_CREATE_O_NONE; }

    bcm_udf_hash_config_t hashOf( bcm_udf_id_t udfId, uint32_t length = 2 ) const
    {
        bcm_udf_hash_config_t config;
        config.udf_idIs( udfId );
        config.mask_lengthIs( length );
        config.hash_maskIs( 0, 0xFF );
        return config;
    }

    int addHash( const bcm_udf_hash_config_t& config )
    {
        return module.addHashConfig( numbering.BCM_UDF_HASH_ADD_O_NONE, &config );
    }

    uint32_t chunksOf( bcm_udf_id_t udfId ) const
    {
        bcm_udf_t udf;
        EXPECT_EQ( module.get( udfId, &udf ), ReturnCode::BCM_E_NONE );
        return udf.hw_bmap();
    }

    std::string text() const
    {
        ChipSnapshot now;
        module.addTo( now );
        return now.text();
    }

    void expectCreateRefused( int rc, const bcm_udf_alloc_hints_t* hints, const bcm_udf_t& udf )
    {
        const std::string before = text();
        bcm_udf_id_t id = 4711;
        EXPECT_EQ( module.create( hints, &udf, &id ), rc );
        EXPECT_EQ( id, 4711 );
        EXPECT_EQ( text(), before );
    }

    const SdkNumbering numbering = SdkNumbering::fromText( GetParam() );
    SimUdfModule module{ numbering, capacities };
};

INSTANTIATE_TEST_SUITE_P( Numberings,
                          SimUdfModuleTest,
                          testing::Values( "default", "shuffled:1", "shuffled:20240229" ) );

// ---- User-defined fields ---------------------------------------------------------------------

TEST_P( SimUdfModuleTest, Create_ByWidth_TakesTheLowestFreeChunks )
{
    EXPECT_EQ( chunksOf( madeUdf( 16 ) ), 0b1U );
    EXPECT_EQ( chunksOf( madeUdf( 24 ) ), 0b110U );
    EXPECT_EQ( chunksOf( madeUdf( 8 ) ), 0b1000U );
    EXPECT_EQ( module.chunksUsed(), 4U );
    ASSERT_EQ( module.destroy( 1 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( chunksOf( madeUdf( 48 ) ), 0b110001U ) << "the freed one and the last ones";
}

TEST_P( SimUdfModuleTest, Create_Get_GivesBackWhatWasMade )
{
    const bcm_udf_t udf = udfOf( 32, 168 );
    bcm_udf_id_t id = 0;
    ASSERT_EQ( module.create( nullptr, &udf, &id ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( id, 1 );
    bcm_udf_t readBack;
    ASSERT_EQ( module.get( id, &readBack ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( readBack.layer(), numbering.bcmUdfLayerL3OuterHeader );
    EXPECT_EQ( readBack.start(), 168 );
    EXPECT_EQ( readBack.width(), 32 );
    EXPECT_EQ( readBack.hw_bmap(), 0b11U );
}

TEST_P( SimUdfModuleTest, Create_EachLayer_IsTaken )
{
    for ( const bcm_udf_layer_t layer :
          { numbering.bcmUdfLayerL2Header, numbering.bcmUdfLayerL3OuterHeader,
            numbering.bcmUdfLayerL3InnerHeader, numbering.bcmUdfLayerL4OuterHeader,
            numbering.bcmUdfLayerL4InnerHeader } ) {
        bcm_udf_t udf = udfOf( 16 );
        udf.layerIs( layer );
        bcm_udf_id_t id = 0;
        EXPECT_EQ( module.create( nullptr, &udf, &id ), ReturnCode::BCM_E_NONE );
        EXPECT_EQ( module.destroy( id ), ReturnCode::BCM_E_NONE );
    }
}

TEST_P( SimUdfModuleTest, Create_BadArguments_AreRefused )
{
    bcm_udf_alloc_hints_t hints;
    hints.flagsIs( numbering.BCM_UDF_CREATE_O_UDFHASH + 1 );
    expectCreateRefused( ReturnCode::BCM_E_PARAM, &hints, udfOf( 16 ) );
    for ( const int32_t width : { 0, -8, 4, 17 } ) {
        expectCreateRefused( ReturnCode::BCM_E_PARAM, nullptr, udfOf( width ) );
    }
    for ( const int32_t start : { -8, 1, 7 } ) {
        expectCreateRefused( ReturnCode::BCM_E_PARAM, nullptr, udfOf( 16, start ) );
    }
    bcm_udf_t udf = udfOf( 16 );
    udf.layerIs( bcm_udf_layer_t{ 4711 } );
    expectCreateRefused( ReturnCode::BCM_E_PARAM, nullptr, udf );
    bcm_udf_id_t id = 0;
    EXPECT_EQ( module.create( nullptr, nullptr, &id ), ReturnCode::BCM_E_PARAM );
    udf = udfOf( 16 );
    EXPECT_EQ( module.create( nullptr, &udf, nullptr ), ReturnCode::BCM_E_PARAM );
}

TEST_P( SimUdfModuleTest, Create_TooFewChunks_IsOutOfResources )
{
    madeUdf( 80 );
    expectCreateRefused( ReturnCode::BCM_E_RESOURCE, nullptr, udfOf( 24 ) );
    EXPECT_EQ( chunksOf( madeUdf( 16 ) ), 0b100000U );
    expectCreateRefused( ReturnCode::BCM_E_RESOURCE, nullptr, udfOf( 8 ) );
}

TEST_P( SimUdfModuleTest, Create_AllInUse_IsOutOfResources )
{
    for ( uint32_t i = 0; i < capacities.udfs; ++i ) {
        madeUdf( 8 );
    }
    expectCreateRefused( ReturnCode::BCM_E_RESOURCE, nullptr, udfOf( 8 ) );
}

TEST_P( SimUdfModuleTest, Destroy_Ids_AreNotSeenAgainSoon )
{
    EXPECT_EQ( madeUdf( 16 ), 1 );
    EXPECT_EQ( module.destroy( 1 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( module.destroy( 1 ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( madeUdf( 16 ), 2 );
}

TEST_P( SimUdfModuleTest, Destroy_InUse_IsBusy )
{
    const bcm_udf_id_t udf = madeUdf( 16, true );
    const bcm_udf_pkt_format_id_t format = madeFormat();
    ASSERT_EQ( module.attach( udf, format ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( module.destroy( udf ), ReturnCode::BCM_E_BUSY );
    EXPECT_EQ( module.destroyPktFormat( format ), ReturnCode::BCM_E_BUSY );
    ASSERT_EQ( module.detach( udf, format ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( addHash( hashOf( udf ) ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( module.destroy( udf ), ReturnCode::BCM_E_BUSY );
    const bcm_udf_hash_config_t config = hashOf( udf );
    ASSERT_EQ( module.deleteHashConfig( &config ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( module.destroy( udf ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( module.destroyPktFormat( format ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( text(), "" );
}

TEST_P( SimUdfModuleTest, Destroy_UsedByOthers_IsBusyUntilItIsNot )
{
    const bcm_udf_id_t inUse = madeUdf( 16 );
    const bcm_udf_id_t other = madeUdf( 16 );
    bool used = true;
    module.useChecks().add( [ & ]( bcm_udf_id_t id ) { return used && id == inUse; } );
    EXPECT_EQ( module.destroy( inUse ), ReturnCode::BCM_E_BUSY );
    EXPECT_TRUE( module.has( inUse ) );
    EXPECT_EQ( module.destroy( other ), ReturnCode::BCM_E_NONE );
    used = false;
    EXPECT_EQ( module.destroy( inUse ), ReturnCode::BCM_E_NONE );
    EXPECT_FALSE( module.has( inUse ) );
}

TEST_P( SimUdfModuleTest, Get_UnknownOrNull_IsRefused )
{
    bcm_udf_t udf;
    EXPECT_EQ( module.get( 1, &udf ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( module.get( madeUdf( 16 ), nullptr ), ReturnCode::BCM_E_PARAM );
}

TEST_P( SimUdfModuleTest, GetAll_WithRoom_GivesTheFirstOfThem )
{
    for ( int i = 0; i < 3; ++i ) {
        madeUdf( 16 );
    }
    std::array< bcm_udf_id_t, 4 > ids{};
    int actual = -1;
    EXPECT_EQ( module.getAll( 0, nullptr, &actual ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( actual, 3 ) << "how many there are";
    EXPECT_EQ( module.getAll( 2, ids.data(), &actual ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( actual, 2 );
    EXPECT_THAT( ids, ElementsAre( 1, 2, 0, 0 ) );
    EXPECT_EQ( module.getAll( 4, ids.data(), &actual ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( actual, 3 );
    EXPECT_THAT( ids, ElementsAre( 1, 2, 3, 0 ) );
}

TEST_P( SimUdfModuleTest, GetAll_BadArguments_AreRefused )
{
    bcm_udf_id_t id = 0;
    int actual = 4711;
    EXPECT_EQ( module.getAll( 1, &id, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( module.getAll( 1, nullptr, &actual ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( module.getAll( -1, &id, &actual ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( actual, 4711 );
}

// ---- Packet formats --------------------------------------------------------------------------

TEST_P( SimUdfModuleTest, CreatePktFormat_SameTwice_IsTwoObjects )
{
    EXPECT_EQ( madeFormat( 0x0806 ), 1 );
    EXPECT_EQ( madeFormat( 0x0806 ), 2 );
    EXPECT_EQ( module.state().pktFormats.size(), 2U );
}

TEST_P( SimUdfModuleTest, CreatePktFormat_AllInUse_IsOutOfResources )
{
    madeFormat();
    madeFormat();
    const bcm_udf_pkt_format_info_t format = formatOf( 0x0806 );
    bcm_udf_pkt_format_id_t id = 4711;
    EXPECT_EQ( module.createPktFormat( noOptions(), &format, &id ), ReturnCode::BCM_E_RESOURCE );
    EXPECT_EQ( id, 4711 );
}

TEST_P( SimUdfModuleTest, CreatePktFormat_BadArguments_AreRefused )
{
    bcm_udf_pkt_format_id_t id = 4711;
    const auto expectRefused = [ & ]( uint32_t options, const auto& change ) {
        bcm_udf_pkt_format_info_t format = formatOf( 0x0806 );
        change( format );
        EXPECT_EQ( module.createPktFormat( options, &format, &id ), ReturnCode::BCM_E_PARAM );
    };
    using Format = bcm_udf_pkt_format_info_t;
    expectRefused( noOptions() + 1, []( Format& ) {} );
    expectRefused( noOptions(), []( Format& f ) { f.l2Is( bcm_udf_pkt_format_l2_t{ 4711 } ); } );
    expectRefused( noOptions(),
                   []( Format& f ) { f.vlan_tagIs( bcm_udf_pkt_format_vlan_tag_t{ 4711 } ); } );
    expectRefused( noOptions(),
                   []( Format& f ) { f.outer_ipIs( bcm_udf_pkt_format_ip_t{ 4711 } ); } );
    expectRefused( noOptions(),
                   []( Format& f ) { f.inner_ipIs( bcm_udf_pkt_format_ip_t{ 4711 } ); } );
    expectRefused( noOptions(),
                   []( Format& f ) { f.tunnelIs( bcm_udf_pkt_format_tunnel_t{ 4711 } ); } );
    expectRefused( noOptions(), []( Format& f ) { f.prioIs( -1 ); } );
    const Format good = formatOf( 0x0806 );
    EXPECT_EQ( module.createPktFormat( noOptions(), nullptr, &id ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( module.createPktFormat( noOptions(), &good, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( id, 4711 );
    EXPECT_EQ( text(), "" );
}

TEST_P( SimUdfModuleTest, GetPktFormat_Known_GivesItBack )
{
    const bcm_udf_pkt_format_id_t id = madeFormat( 0x88CC );
    bcm_udf_pkt_format_info_t format;
    EXPECT_EQ( module.getPktFormat( id, &format ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( format.ethertype(), 0x88CC );
    EXPECT_EQ( module.getPktFormat( id + 1, &format ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( module.getPktFormat( id, nullptr ), ReturnCode::BCM_E_PARAM );
}

TEST_P( SimUdfModuleTest, DestroyPktFormat_Unknown_IsNotFound )
{
    EXPECT_EQ( module.destroyPktFormat( 1 ), ReturnCode::BCM_E_NOT_FOUND );
}

TEST_P( SimUdfModuleTest, Attach_UnknownOrAttachedOrFull_IsRefused )
{
    const bcm_udf_pkt_format_id_t format = madeFormat();
    const bcm_udf_id_t first = madeUdf( 16 );
    EXPECT_EQ( module.attach( first + 7, format ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( module.attach( first, format + 7 ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( module.attach( first, format ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( module.attach( first, format ), ReturnCode::BCM_E_EXISTS );
    EXPECT_EQ( module.attach( madeUdf( 16 ), format ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( module.attach( madeUdf( 16 ), format ), ReturnCode::BCM_E_FULL );
}

TEST_P( SimUdfModuleTest, Detach_NotAttached_IsNotFound )
{
    const bcm_udf_pkt_format_id_t format = madeFormat();
    const bcm_udf_id_t udf = madeUdf( 16 );
    EXPECT_EQ( module.detach( udf, format ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( module.detach( udf, format + 7 ), ReturnCode::BCM_E_NOT_FOUND );
    ASSERT_EQ( module.attach( udf, format ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( module.detach( udf, format ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( module.detach( udf, format ), ReturnCode::BCM_E_NOT_FOUND );
}

TEST_P( SimUdfModuleTest, GetPktFormats_OfAUdf_AreThoseItIsAttachedTo )
{
    const bcm_udf_id_t udf = madeUdf( 16 );
    std::array< bcm_udf_pkt_format_id_t, 2 > ids{};
    int actual = -1;
    EXPECT_EQ( module.getPktFormats( udf, 2, ids.data(), &actual ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( actual, 0 );
    ASSERT_EQ( module.attach( udf, madeFormat() ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( module.attach( udf, madeFormat() ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( module.getPktFormats( udf, 1, ids.data(), &actual ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( actual, 1 );
    EXPECT_THAT( ids, ElementsAre( 1, 0 ) );
    EXPECT_EQ( module.getPktFormats( udf, 2, ids.data(), &actual ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( actual, 2 );
    EXPECT_THAT( ids, ElementsAre( 1, 2 ) );
    EXPECT_EQ( module.getPktFormats( udf + 7, 2, ids.data(), &actual ),
               ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( module.getPktFormats( udf, 2, nullptr, &actual ), ReturnCode::BCM_E_PARAM );
}

// ---- Hash configurations ---------------------------------------------------------------------

TEST_P( SimUdfModuleTest, AddHashConfig_BadArguments_AreRefused )
{
    const bcm_udf_id_t udf = madeUdf( 16, true );
    const uint32_t longest = numbering.BCM_UDF_MAX_HASH_MASK_LENGTH;
    EXPECT_EQ( addHash( hashOf( udf, 0 ) ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( addHash( hashOf( udf, longest + 1 ) ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( addHash( hashOf( udf + 7 ) ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( addHash( hashOf( madeUdf( 16 ) ) ), ReturnCode::BCM_E_PARAM ) << "not for the hash";
    const bcm_udf_hash_config_t good = hashOf( udf, longest );
    EXPECT_EQ( module.addHashConfig( numbering.BCM_UDF_HASH_ADD_O_NONE + 1, &good ),
               ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( module.addHashConfig( numbering.BCM_UDF_HASH_ADD_O_NONE, nullptr ),
               ReturnCode::BCM_E_PARAM );
    EXPECT_TRUE( module.state().hashConfigs.empty() );
    EXPECT_EQ( addHash( good ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( addHash( good ), ReturnCode::BCM_E_EXISTS );
    EXPECT_EQ( addHash( hashOf( madeUdf( 16, true ) ) ), ReturnCode::BCM_E_FULL );
}

TEST_P( SimUdfModuleTest, GetHashConfig_Added_GivesItBack )
{
    const bcm_udf_id_t udf = madeUdf( 16, true );
    bcm_udf_hash_config_t config;
    config.udf_idIs( udf );
    EXPECT_EQ( module.getHashConfig( &config ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( module.deleteHashConfig( &config ), ReturnCode::BCM_E_NOT_FOUND );
    ASSERT_EQ( addHash( hashOf( udf ) ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( module.getHashConfig( &config ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( config.mask_length(), 2U );
    EXPECT_EQ( config.hash_mask( 0 ), 0xFF );
    EXPECT_EQ( module.getHashConfig( nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( module.deleteHashConfig( nullptr ), ReturnCode::BCM_E_PARAM );
}

TEST_P( SimUdfModuleTest, GetHashConfigs_CountThenList_GivesAll )
{
    int actual = -1;
    EXPECT_EQ( module.getHashConfigs( 0, nullptr, &actual ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( actual, 0 );
    const bcm_udf_id_t udf = madeUdf( 16, true );
    ASSERT_EQ( addHash( hashOf( udf ) ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( module.getHashConfigs( 0, nullptr, &actual ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( actual, 1 );
    bcm_udf_hash_config_t config;
    EXPECT_EQ( module.getHashConfigs( 1, &config, &actual ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( config.udf_id(), udf );
}

// ---- What there is ---------------------------------------------------------------------------

TEST_P( SimUdfModuleTest, Snapshot_OfEverything_IsReadable )
{
    const bcm_udf_id_t udf = madeUdf( 24, true );
    bcm_udf_pkt_format_info_t format = formatOf( 0x0800 );
    format.outer_ipIs( numbering.bcmUdfPktFormatIp4 );
    format.ip_protocolIs( 17 );
    format.ip_protocol_maskIs( 0xFF );
    format.prioIs( 5 );
    bcm_udf_pkt_format_id_t formatId = 0;
    ASSERT_EQ( module.createPktFormat( noOptions(), &format, &formatId ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( module.attach( udf, formatId ), ReturnCode::BCM_E_NONE );
    bcm_udf_hash_config_t config = hashOf( udf, 3 );
    config.hash_maskIs( 1, 0x0F );
    ASSERT_EQ( addHash( config ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( text(),
               "udf 1: layer=bcmUdfLayerL3OuterHeader start=0 width=24 chunks=0,1 forHash=yes\n"
               "udf hash configuration 1: mask_length=3 hash_mask=ff0f00\n"
               "udf packet format 1: ethertype=0x800/0xffff l2=any "
               "vlan_tag=bcmUdfPktFormatVlanTagAny outer_ip=bcmUdfPktFormatIp4 inner_ip=any "
               "tunnel=bcmUdfPktFormatTunnelNone ip_protocol=17/0xff prio=5 udfs=1\n" );
}

TEST_P( SimUdfModuleTest, StateIs_EarlierState_PutsItBackButNoIds )
{
    const SimUdfModule::State earlier = module.state();
    EXPECT_EQ( madeUdf( 16 ), 1 );
    EXPECT_EQ( madeFormat(), 1 );
    module.stateIs( earlier );
    EXPECT_EQ( text(), "" );
    EXPECT_EQ( madeUdf( 16 ), 2 );
    EXPECT_EQ( madeFormat(), 2 );
}

} // namespace

} // namespace Sim

// The flexible parser through the access object: each kind of chip has its own functions.

#include "sim/SimulatedSdk.h"

#include "sim/FaultInjectingSdk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

namespace Sim {

namespace {

using ::testing::Contains;

class SimulatedSdkFlexParserTest : public testing::Test
{
  protected:
    static constexpr int sdk6 = 1;
    static constexpr int hsdk = 2;
    static constexpr int udfModule = 3;

    SimulatedSdkFlexParserTest()
    {
        sdk.chipIs( sdk6, builtInProfile( "sdk6-flex" ) );
        sdk.chipIs( hsdk, builtInProfile( "hsdk" ) );
        sdk.chipIs( udfModule, builtInProfile( "sdk6-udf" ) );
    }

    bcm_udf_chunk_info_t record( uint32_t chunks )
    {
        bcm_udf_chunk_info_t info;
        sdk.bcm_udf_chunk_info_t_init( &info );
        info.offsetIs( 80 );
        info.widthIs( 16 );
        info.chunk_bmapIs( chunks );
        info.abstract_pkt_formatIs( sdk.bcmUdfAbstractPktFormatL3Ipv6() );
        return info;
    }

    bcm_udf_multi_chunk_info_t multiRecord( int chunk )
    {
        bcm_udf_multi_chunk_info_t info;
        sdk.bcm_udf_multi_chunk_info_t_init( &info );
        info.offsetIs( 80 );
        sdk.BCM_UDF_CBMP_CHUNK_ADD( info.two_byte_chunk_bmap(), chunk );
        info.abstract_pkt_formatIs( sdk.bcmUdfAbstractPktFormatL3Ipv6() );
        return info;
    }

    /// The functions of the flexible parser, and the destruction of fields, that a chip has.
    std::set< std::string > functionsOf( int unit );

    SimulatedSdk sdk{ SdkNumbering::shuffled( 9 ) };
};

template< class... Parameters >
int callUnit( Shim::SdkAccess& sdk,
              int ( Shim::SdkAccess::*function )( int, Parameters... ),
              int unit )
{
    return ( sdk.*function )( unit, Parameters{}... );
}

std::set< std::string > SimulatedSdkFlexParserTest::functionsOf( int unit )
{
    std::set< std::string > names;
#define SDK_FUNCTION( family, name, parameters, arguments )                                        \
    if ( std::string( #family ) == "udfFlexParser" ||                                              \
         std::string( #name ) == "bcm_udf_destroy" ) {                                             \
        if ( callUnit( sdk, &Shim::SdkAccess::name, unit ) != ReturnCode::BCM_E_UNAVAIL ) {        \
            names.insert( #name );                                                                 \
        }                                                                                          \
    }
#include "sdk/SdkFunctions.def"
    return names;
}

TEST_F( SimulatedSdkFlexParserTest, Functions_ByKindOfChip_AreAvailableOrNot )
{
    EXPECT_EQ( functionsOf( sdk6 ),
               ( std::set< std::string >{ "bcm_udf_abstract_pkt_format_info_get",
                                          "bcm_udf_abstract_pkt_format_object_list_get",
                                          "bcm_udf_chunk_create", "bcm_udf_chunk_info_get",
                                          "bcm_udf_destroy" } ) );
    EXPECT_EQ( functionsOf( hsdk ),
               ( std::set< std::string >{
                   "bcm_udf_abstract_pkt_format_object_list_get", "bcm_udf_destroy",
                   "bcm_udf_multi_abstract_pkt_format_info_get", "bcm_udf_multi_chunk_create",
                   "bcm_udf_multi_chunk_info_get" } ) );
    EXPECT_EQ( functionsOf( udfModule ), std::set< std::string >{ "bcm_udf_destroy" } );
}

TEST_F( SimulatedSdkFlexParserTest, FlexParser_ByKindOfChip_IsThereOrNull )
{
    EXPECT_NE( sdk.chip( sdk6 )->flexParser(), nullptr );
    EXPECT_NE( sdk.chip( hsdk )->flexParser(), nullptr );
    EXPECT_EQ( sdk.chip( udfModule )->flexParser(), nullptr );
    const SimulatedChip& constant = *sdk.chip( sdk6 );
    EXPECT_EQ( constant.flexParser(), sdk.chip( sdk6 )->flexParser() );
}

TEST_F( SimulatedSdkFlexParserTest, ChunkRecord_OnASdk6Chip_LivesFromCreationToDestruction )
{
    bcm_udf_chunk_info_t info = record( 0b1000 );
    bcm_udf_id_t id = 0;
    ASSERT_EQ( sdk.bcm_udf_chunk_create( sdk6, nullptr, &info, &id ), 0 );
    ASSERT_EQ( sdk.bcm_udf_chunk_info_get( sdk6, id, &info ), 0 );
    EXPECT_EQ( info.offset(), 10U );
    EXPECT_EQ( info.width(), 2U );

    bcm_udf_abstract_pkt_format_info_t format;
    ASSERT_EQ( sdk.bcm_udf_abstract_pkt_format_info_get( sdk6, sdk.bcmUdfAbstractPktFormatL3Ipv6(),
                                                         &format ),
               0 );
    EXPECT_EQ( format.num_chunks_max(), 16U );
    EXPECT_EQ( format.chunk_bmap_used(), 0b1000U );
    EXPECT_EQ( format.unavail_chunk_bmap(), 0xC000U );

    bcm_udf_id_t listed = 0;
    int actual = 0;
    ASSERT_EQ( sdk.bcm_udf_abstract_pkt_format_object_list_get(
                   sdk6, sdk.bcmUdfAbstractPktFormatL3Ipv6(), 1, &listed, &actual ),
               0 );
    EXPECT_EQ( actual, 1 );
    EXPECT_EQ( listed, id );

    EXPECT_EQ( sdk.bcm_udf_destroy( sdk6, id ), 0 );
    EXPECT_EQ( sdk.bcm_udf_destroy( sdk6, id ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( sdk.chip( sdk6 )->snapshot(), ChipSnapshot() );
}

TEST_F( SimulatedSdkFlexParserTest, MultiChunkRecord_OnAnHsdkChip_LivesFromCreationToDestruction )
{
    bcm_udf_multi_chunk_info_t info = multiRecord( 3 );
    bcm_udf_id_t id = 0;
    ASSERT_EQ( sdk.bcm_udf_multi_chunk_create( hsdk, nullptr, &info, &id ), 0 );
    ASSERT_EQ( sdk.bcm_udf_multi_chunk_info_get( hsdk, id, &info ), 0 );
    EXPECT_EQ( info.offset(), 80U );
    EXPECT_EQ( info.width(), 2U );

    bcm_udf_multi_abstract_pkt_format_info_t format;
    ASSERT_EQ( sdk.bcm_udf_multi_abstract_pkt_format_info_get(
                   hsdk, sdk.bcmUdfAbstractPktFormatL3Ipv6(), &format ),
               0 );
    EXPECT_EQ( format.num_chunks_available(), 13U );
    EXPECT_FALSE( sdk.BCM_UDF_CBMP_CHUNK_TEST( format.chunk_2b_bmap_avail(), 3 ) );
    EXPECT_TRUE( sdk.BCM_UDF_CBMP_CHUNK_TEST( format.chunk_2b_bmap_avail(), 4 ) );
    EXPECT_FALSE( sdk.BCM_UDF_CBMP_CHUNK_TEST( format.chunk_2b_bmap_avail(), 14 ) );

    bcm_udf_id_t listed = 0;
    int actual = 0;
    ASSERT_EQ( sdk.bcm_udf_abstract_pkt_format_object_list_get(
                   hsdk, sdk.bcmUdfAbstractPktFormatL3Ipv6(), 1, &listed, &actual ),
               0 );
    EXPECT_EQ( listed, id );

    EXPECT_EQ( sdk.bcm_udf_destroy( hsdk, id ), 0 );
    EXPECT_EQ( sdk.bcm_udf_abstract_pkt_format_object_list_get(
                   hsdk, sdk.bcmUdfAbstractPktFormatL3Ipv6(), 1, &listed, &actual ),
               ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( sdk.chip( hsdk )->snapshot(), ChipSnapshot() );
}

TEST_F( SimulatedSdkFlexParserTest, Hints_OfBothKinds_AreHandedOn )
{
    bcm_udf_chunk_hints_t hints{ .flags = 2 };
    bcm_udf_chunk_info_t info = record( 0b1 );
    bcm_udf_multi_chunk_info_t multi = multiRecord( 0 );
    bcm_udf_id_t id = 0;
    EXPECT_EQ( sdk.bcm_udf_chunk_create( sdk6, &hints, &info, &id ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( sdk.bcm_udf_multi_chunk_create( hsdk, &hints, &multi, &id ),
               ReturnCode::BCM_E_PARAM );
}

TEST_F( SimulatedSdkFlexParserTest, Occupancy_ByKindOfChip_CountsUse )
{
    bcm_udf_chunk_info_t info = record( 0b11 );
    bcm_udf_id_t id = 0;
    ASSERT_EQ( sdk.bcm_udf_chunk_create( sdk6, nullptr, &info, &id ), 0 );
    const std::vector< Resource > occupancy = sdk.chip( sdk6 )->occupancy();
    EXPECT_THAT( occupancy, Contains( Resource{ "udfs", 1, 32 } ) );
    EXPECT_THAT( occupancy, Contains( Resource{ "udfChunksL3Ipv4", 0, 16 } ) );
    EXPECT_THAT( occupancy, Contains( Resource{ "udfChunksL3Ipv4WithoutOptions", 0, 16 } ) );
    EXPECT_THAT( occupancy, Contains( Resource{ "udfChunksL3Ipv6", 2, 14 } ) );
    EXPECT_THAT( occupancy, Contains( Resource{ "udfChunksUnknownL3", 0, 14 } ) );
    EXPECT_THAT( occupancy, Contains( Resource{ "udfChunksKnownNonIp", 0, 16 } ) );
    EXPECT_THAT( occupancy, Contains( Resource{ "udfChunksArp", 0, 16 } ) );
    EXPECT_THAT( sdk.chip( hsdk )->occupancy(), Contains( Resource{ "udfs", 0, 64 } ) );
    for ( const Resource& resource : sdk.chip( udfModule )->occupancy() ) {
        EXPECT_FALSE( resource.name.starts_with( "udfChunksL3" ) ) << resource.name;
    }
}

TEST_F( SimulatedSdkFlexParserTest, CallWithoutEffect_Create_LeavesTheChipAsItWas )
{
    bcm_udf_multi_chunk_info_t info = multiRecord( 0 );
    bcm_udf_id_t id = 0;
    EXPECT_EQ(
        sdk.callWithoutEffect(
            hsdk, [ & ] { return sdk.bcm_udf_multi_chunk_create( hsdk, nullptr, &info, &id ); } ),
        ReturnCode::BCM_E_NONE );
    EXPECT_EQ( id, 1 );
    EXPECT_EQ( sdk.chip( hsdk )->snapshot(), ChipSnapshot() );
}

TEST_F( SimulatedSdkFlexParserTest, Faults_AtReadBacks_ChangeOneMember )
{
    FaultInjectingSdk faulty( sdk );
    faulty.add( { { .function = "bcm_udf_chunk_info_get" }, CorruptOutput{ "chunk_bmap", 3 } } );
    faulty.add( { { .function = "bcm_udf_abstract_pkt_format_info_get" },
                  CorruptOutput{ "unavail_chunk_bmap", 0xFFFF } } );
    bcm_udf_chunk_info_t info = record( 0b1 );
    bcm_udf_id_t id = 0;
    ASSERT_EQ( faulty.bcm_udf_chunk_create( sdk6, nullptr, &info, &id ), 0 );
    ASSERT_EQ( faulty.bcm_udf_chunk_info_get( sdk6, id, &info ), 0 );
    EXPECT_EQ( info.chunk_bmap(), 3U );
    EXPECT_EQ( info.width(), 2U );
    bcm_udf_abstract_pkt_format_info_t format;
    ASSERT_EQ( faulty.bcm_udf_abstract_pkt_format_info_get( sdk6, sdk.bcmUdfAbstractPktFormatArp(),
                                                            &format ),
               0 );
    EXPECT_EQ( format.unavail_chunk_bmap(), 0xFFFFU );
    ASSERT_EQ( faulty.bcm_udf_chunk_info_get( sdk6, id, &info ), 0 );
    EXPECT_EQ( info.chunk_bmap(), 1U );
}

} // namespace

} // namespace Sim

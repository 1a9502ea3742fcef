#include "sim/SdkOutputs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstddef>
#include <set>
#include <stdexcept>
#include <string>

namespace Sim {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const SdkFunction& function( std::string_view name )
{
    const SdkFunction* found = findSdkFunction( name );
    if ( found == nullptr ) {
        throw std::invalid_argument( std::string( name ) );
    }
    return *found;
}

TEST( SdkOutputsTest, FindSdkFunction_KnownAndUnknown_IsItOrNull )
{
    ASSERT_NE( findSdkFunction( "bcm_range_create" ), nullptr );
    EXPECT_EQ( findSdkFunction( "bcm_range_create" )->id, SdkFunctionId::bcm_range_create );
    EXPECT_EQ( findSdkFunction( "bcm_range_config_t_init" ), nullptr );
    EXPECT_EQ( findSdkFunction( "all" ), nullptr );
}

TEST( SdkOutputsTest, SdkFunctions_Position_IsTheId )
{
    for ( size_t i = 0; i < sdkFunctions().size(); ++i ) {
        EXPECT_EQ( static_cast< size_t >( sdkFunctions()[ i ].id ), i );
    }
    EXPECT_THAT( sdkFunctionNames(), testing::Contains( "bcm_udf_get_all" ) );
}

TEST( SdkOutputsTest, Parameters_AreTheNamesInOrder )
{
    EXPECT_THAT( function( "bcm_range_create" ).parameters,
                 ElementsAre( "unit", "flags", "config" ) );
}

TEST( SdkOutputsTest, OutputNames_StructuresNumbersAndLists_AreAllThere )
{
    EXPECT_THAT( function( "bcm_range_get" ).outputNames(),
                 ElementsAre( "min", "max", "instance", "rtype", "rid" ) );
    EXPECT_THAT( function( "bcm_policer_get" ).outputNames(),
                 ElementsAre( "flags", "mode", "ckbits_sec", "ckbits_burst", "pkbits_sec",
                              "pkbits_burst" ) );
    EXPECT_THAT( function( "bcm_udf_create" ).outputNames(),
                 ElementsAre( "layer", "start", "width", "hw_bmap", "udfId" ) );
    EXPECT_THAT( function( "bcm_udf_get_all" ).outputNames(), ElementsAre( "udfIds", "actual" ) );
    EXPECT_THAT( function( "bcm_field_stat_get" ).outputNames(), ElementsAre( "value" ) );
    EXPECT_THAT( function( "bcm_field_group_get" ).outputNames(), ElementsAre( "members" ) );
    EXPECT_THAT( function( "bcm_field_qualify_IpType_get" ).outputNames(), ElementsAre( "type" ) );
    EXPECT_THAT( function( "bcm_field_qualify_InPorts_get" ).outputNames(),
                 ElementsAre( "ports", "ports" ) );
}

TEST( SdkOutputsTest, OutputNames_ParametersOnlyRead_AreLeftOut )
{
    EXPECT_THAT( function( "bcm_range_destroy" ).outputNames(), IsEmpty() );
    EXPECT_THAT( function( "bcm_policer_create" ).outputNames(), ElementsAre( "policerId" ) );
    EXPECT_THAT( function( "bcm_flexctr_action_create" ).outputNames(),
                 ElementsAre( "counterId" ) );
    EXPECT_THAT( function( "bcm_flexctr_stat_get" ).outputNames(),
                 ElementsAre( "packets", "bytes" ) );
    EXPECT_THAT( function( "bcm_flexctr_stat_set" ).outputNames(), IsEmpty() );
    EXPECT_THAT( function( "bcm_field_entry_flexctr_attach" ).outputNames(), IsEmpty() );
    EXPECT_THAT( function( "bcm_field_entry_flexctr_detach" ).outputNames(), IsEmpty() );
    EXPECT_THAT( function( "bcm_udf_pkt_format_create" ).outputNames(), ElementsAre( "formatId" ) );
    EXPECT_THAT( function( "bcm_field_qualify_udf" ).outputNames(), IsEmpty() );
    EXPECT_THAT( function( "bcm_field_qualify_SrcClass" ).outputNames(), IsEmpty() );
    EXPECT_THAT( function( "bcm_field_qualify_SrcIp6" ).outputNames(), IsEmpty() );
    EXPECT_THAT( function( "bcm_field_stat_create" ).outputNames(), ElementsAre( "statId" ) );
    EXPECT_THAT( function( "bcm_udf_hash_config_add" ).outputNames(), IsEmpty() );
    EXPECT_THAT( function( "bcm_udf_chunk_create" ).outputNames(), ElementsAre( "udfId" ) );
    EXPECT_THAT( function( "bcm_udf_multi_chunk_create" ).outputNames(), ElementsAre( "udfId" ) );
}

TEST( SdkOutputsTest, Fits_AtAndBeyondTheLimits_TellsThemApart )
{
    const SdkOutput byte{ "", 1, false };
    EXPECT_TRUE( fits( byte, 0xFF ) );
    EXPECT_FALSE( fits( byte, 0x100 ) );
    EXPECT_FALSE( fits( byte, static_cast< uint64_t >( -1 ) ) );

    const SdkOutput signedWord{ "", 4, true };
    EXPECT_TRUE( fits( signedWord, 0x7FFFFFFF ) );
    EXPECT_FALSE( fits( signedWord, 0x80000000 ) );
    EXPECT_TRUE( fits( signedWord, static_cast< uint64_t >( INT32_MIN ) ) );
    EXPECT_FALSE( fits( signedWord, static_cast< uint64_t >( INT32_MIN ) - 1 ) );

    const SdkOutput wide{ "", 8, false };
    EXPECT_TRUE( fits( wide, UINT64_MAX ) );
}

TEST( SdkOutputsTest, SetOutput_PlainStructure_SetsTheFieldOnly )
{
    bcm_range_config_t config{ 1, 2, 3, static_cast< bcm_range_type_t >( 4 ), 5 };
    setOutput( function( "bcm_range_get" ), "max", 81, 0, &config );
    EXPECT_EQ( config.min, 1U );
    EXPECT_EQ( config.max, 81U );
    EXPECT_EQ( config.instance, 3U );
    setOutput( function( "bcm_range_get" ), "rtype", 9, 0, &config );
    EXPECT_EQ( config.rtype, 9U );
    EXPECT_EQ( config.rid, 5U );
}

TEST( SdkOutputsTest, SetOutput_Policer_SetsTheField )
{
    bcm_policer_config_t config;
    setOutput( function( "bcm_policer_get" ), "ckbits_burst", 12, 0, bcm_policer_t{ 3 }, &config );
    EXPECT_EQ( config.ckbits_burst, 12U );
}

TEST( SdkOutputsTest, SetOutput_UdfAndId_SetsEither )
{
    const SdkFunction& create = function( "bcm_udf_create" );
    bcm_udf_alloc_hints_t hints;
    bcm_udf_t udf;
    bcm_udf_id_t id = 3;
    setOutput( create, "start", static_cast< uint64_t >( -8 ), 0, &hints, &udf, &id );
    setOutput( create, "udfId", 44, 0, &hints, &udf, &id );
    EXPECT_EQ( udf.start(), -8 );
    EXPECT_EQ( id, 44 );
}

TEST( SdkOutputsTest, SetOutput_PacketFormat_SetsTheField )
{
    bcm_udf_pkt_format_info_t format;
    setOutput( function( "bcm_udf_pkt_format_info_get" ), "ip_protocol_mask", 0xF0, 0,
               bcm_udf_pkt_format_id_t{ 1 }, &format );
    EXPECT_EQ( format.ip_protocol_mask(), 0xF0 );
    EXPECT_EQ( format.ip_protocol(), 0 );
}

TEST( SdkOutputsTest, SetOutput_HashConfiguration_SetsTheField )
{
    bcm_udf_hash_config_t config;
    const SdkFunction& get = function( "bcm_udf_hash_config_get" );
    setOutput( get, "mask_length", 4, 0, &config );
    setOutput( get, "hash_mask", 0xAB, 0, &config );
    EXPECT_EQ( config.mask_length(), 4U );
    EXPECT_EQ( config.hash_mask( 0 ), 0xAB );
    EXPECT_EQ( config.hash_mask( 1 ), 0 );
}

TEST( SdkOutputsTest, SetOutput_ChunkRecords_SetsTheFields )
{
    const bcm_udf_id_t id = 1;
    bcm_udf_chunk_info_t chunk;
    setOutput( function( "bcm_udf_chunk_info_get" ), "width", 2, 0, id, &chunk );
    EXPECT_EQ( chunk.width(), 2U );

    bcm_udf_multi_chunk_info_t multi;
    setOutput( function( "bcm_udf_multi_chunk_info_get" ), "two_byte_chunk_bmap", 0x30, 0, id,
               &multi );
    EXPECT_EQ( multi.two_byte_chunk_bmap().w[ 0 ], 0x30U );

    const bcm_udf_abstract_pkt_format_t format{};
    bcm_udf_abstract_pkt_format_info_t info;
    setOutput( function( "bcm_udf_abstract_pkt_format_info_get" ), "unavail_chunk_bmap", 3, 0,
               format, &info );
    EXPECT_EQ( info.unavail_chunk_bmap(), 3U );

    bcm_udf_multi_abstract_pkt_format_info_t free;
    setOutput( function( "bcm_udf_multi_abstract_pkt_format_info_get" ), "num_chunks_available", 1,
               0, format, &free );
    EXPECT_EQ( free.num_chunks_available(), 1U );
}

TEST( SdkOutputsTest, SetOutput_Number_SetsIt )
{
    uint64_t value = 7;
    setOutput( function( "bcm_field_stat_get" ), "value", UINT64_MAX, 0, 1, bcm_field_stat_t{},
               &value );
    EXPECT_EQ( value, UINT64_MAX );
}

TEST( SdkOutputsTest, SetOutput_List_SetsTheFirstElement )
{
    bcm_udf_id_t ids[] = { 1, 2 };
    int actual = 2;
    setOutput( function( "bcm_udf_get_all" ), "udfIds", 9, 0, 2, &ids[ 0 ], &actual );
    EXPECT_THAT( ids, ElementsAre( 9, 2 ) );
    setOutput( function( "bcm_udf_get_all" ), "actual", 1, 0, 2, &ids[ 0 ], &actual );
    EXPECT_EQ( actual, 1 );
}

TEST( SdkOutputsTest, SetOutput_ListThatWasNotFilled_StaysUntouched )
{
    const SdkFunction& getAll = function( "bcm_udf_get_all" );
    bcm_udf_id_t ids[] = { 1 };
    int actual = 0;
    setOutput( getAll, "udfIds", 9, 0, 1, &ids[ 0 ], &actual );
    actual = 5;
    setOutput( getAll, "udfIds", 9, 0, 0, &ids[ 0 ], &actual );
    EXPECT_EQ( ids[ 0 ], 1 );
    setOutput( getAll, "actual", 6, 0, 0, &ids[ 0 ], &actual );
    EXPECT_EQ( actual, 6 );
}

TEST( SdkOutputsTest, SetOutput_NullPointer_DoesNothing )
{
    bcm_range_config_t* config = nullptr;
    setOutput( function( "bcm_range_get" ), "max", 1, 0, config );
    bcm_udf_id_t* ids = nullptr;
    int* actual = nullptr;
    setOutput( function( "bcm_udf_get_all" ), "udfIds", 1, 0, 1, ids, actual );
}

/// The bytes of a record of zeros in which one field has been set.
template< class Structure >
std::array< std::byte, sizeof( Structure ) > bytesWith( const StructureField< Structure >& field )
{
    auto record = std::bit_cast< Structure >( std::array< std::byte, sizeof( Structure ) >{} );
    field.set( record, 1 );
    return std::bit_cast< std::array< std::byte, sizeof( Structure ) > >( record );
}

template< class Structure >
class OutputFieldsTest : public testing::Test
{};

using OutputStructures = testing::Types< _shr_pbmp,
                                         bcm_field_qset_t,
                                         bcm_field_src_class_t,
                                         bcm_field_group_config_t,
                                         bcm_flexctr_counter_value_t,
                                         bcm_policer_config_t,
                                         bcm_range_config_t,
                                         bcm_udf_t,
                                         bcm_udf_pkt_format_info_t,
                                         bcm_udf_hash_config_t,
                                         bcm_udf_chunk_info_t,
                                         bcm_udf_abstract_pkt_format_info_t,
                                         bcm_udf_multi_chunk_info_t,
                                         bcm_udf_multi_abstract_pkt_format_info_t >;
TYPED_TEST_SUITE( OutputFieldsTest, OutputStructures );

TYPED_TEST( OutputFieldsTest, Set_EachField_ChangesThatFieldOnly )
{
    // A row that names one field and sets another gives the same record as the other's row.
    std::set< std::array< std::byte, sizeof( TypeParam ) > > records{ {} };
    ASSERT_FALSE( fieldsOf< TypeParam >().empty() );
    for ( const StructureField< TypeParam >& field : fieldsOf< TypeParam >() ) {
        EXPECT_TRUE( records.insert( bytesWith( field ) ).second ) << field.output.name;
    }
}

} // namespace

} // namespace Sim

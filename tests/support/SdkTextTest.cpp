#include "tests/support/SdkText.h"
#include "tests/support/RecordingSdk.h"

#include <gtest/gtest.h>

namespace TestSupport {

namespace {

class SdkTextTest : public ::testing::Test
{
  protected:
    RecordingSdk sdk_;
    SdkText text_{ sdk_ };
};

TEST_F( SdkTextTest, Text_Numbers_AreInDecimal )
{
    EXPECT_EQ( text_( -14 ), "-14" );
    EXPECT_EQ( text_( uint32_t{ 0xFFFFFFFF } ), "4294967295" );
    EXPECT_EQ( text_( uint8_t{ 65 } ), "65" );
    EXPECT_EQ( text_( true ), "true" );
    EXPECT_EQ( text_( false ), "false" );
}

TEST_F( SdkTextTest, Text_ValueOfAnEnumeration_IsItsName )
{
    EXPECT_EQ( text_( sdk_.bcmRangeTypeL4SrcPort() ), "bcmRangeTypeL4SrcPort" );
    EXPECT_EQ( text_( sdk_.bcmRangeTypeL4DstPort() ), "bcmRangeTypeL4DstPort" );
    EXPECT_EQ( text_( static_cast< bcm_range_type_t >( 987654 ) ), "987654" );
}

TEST_F( SdkTextTest, Text_Pointers_StandForWhatTheyPointTo )
{
    bcm_range_config_t range;
    range.min = 80;
    range.max = 90;
    range.rtype = sdk_.bcmRangeTypeL4SrcPort();
    range.rid = 7;
    int number = 0;

    EXPECT_EQ( text_( &range ),
               "{min: 80, max: 90, instance: 0, rtype: bcmRangeTypeL4SrcPort, rid: 7}" );
    EXPECT_EQ( text_( range ), text_( &range ) );
    EXPECT_EQ( text_( static_cast< bcm_range_config_t* >( nullptr ) ), "null" );
    EXPECT_EQ( text_( &number ), "&" );
}

TEST_F( SdkTextTest, Text_UnknownStructure_IsThreeDots )
{
    const bcm_field_qset_t set;

    EXPECT_EQ( text_( &set ), "{...}" );
}

TEST_F( SdkTextTest, Text_StructuresWithAccessors_NameTheirFields )
{
    bcm_udf_t udf;
    udf.startIs( 16 );
    udf.widthIs( 32 );
    udf.hw_bmapIs( 3 );
    bcm_udf_hash_config_t hash;
    hash.udf_idIs( 5 );
    hash.mask_lengthIs( 2 );
    hash.hash_maskIs( 0, 255 );
    hash.hash_maskIs( 1, 15 );
    bcm_udf_multi_chunk_info_t chunks;
    chunks.widthIs( 2 );
    chunks.two_byte_chunk_bmap().w[ 0 ] = 9;
    bcm_policer_config_t policer;
    policer.ckbits_sec = 64;

    EXPECT_NE( text_( &udf ).find( "start: 16, width: 32, hw_bmap: 3}" ), std::string::npos );
    EXPECT_EQ( text_( hash ), "{udf_id: 5, mask_length: 2, hash_mask: 255 15}" );
    EXPECT_NE( text_( chunks ).find( "width: 2, two_byte_chunk_bmap: {w: 9}" ), std::string::npos );
    EXPECT_NE( text_( policer ).find( "ckbits_sec: 64, ckbits_burst: 0" ), std::string::npos );
    EXPECT_EQ( text_( bcm_flexctr_action_t{ 3 } ), "{index_num: 3}" );
    EXPECT_EQ( text_( bcm_flexctr_counter_value_t{ 4, 5 } ), "{packets: 4, bytes: 5}" );
    EXPECT_EQ( text_( bcm_field_flexctr_config_t{ 6, 7, sdk_.bcmFlexctrColorRed() } ),
               "{flexctr_action_id: 6, counter_index: 7, color: bcmFlexctrColorRed}" );
}

} // namespace

} // namespace TestSupport

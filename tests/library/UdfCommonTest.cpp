// What all UDF paths share: layers, starts, equal packet formats, field-entry data, ids.

#include "PeloraTcam/UdfCommon.h"

#include "tests/library/UdfScene.h"

#include <array>

namespace LibraryTest {
namespace {

using PeloraTcam::getUdfLayer;
using PeloraTcam::getUdfStart;
using PeloraTcam::UdfOffsetBase;
using ::testing::ElementsAre;

constexpr UdfOffsetBase baseOf( unsigned number )
{
    return static_cast< UdfOffsetBase >( number );
}

class UdfCommonTest : public UdfScene
{};

TEST_F( UdfCommonTest, GetUdfLayer_EachBase_IsItsLayer )
{
    EXPECT_EQ( getUdfLayer( baseOf( 1 ) ), valueOf< bcm_udf_layer_t >( "bcmUdfLayerL2Header" ) );
    for ( const unsigned base : { 2U, 3U, 4U } ) {
        EXPECT_EQ( getUdfLayer( baseOf( base ) ),
                   valueOf< bcm_udf_layer_t >( "bcmUdfLayerL3OuterHeader" ) );
    }
    EXPECT_EQ( getUdfLayer( baseOf( 5 ) ),
               valueOf< bcm_udf_layer_t >( "bcmUdfLayerL3InnerHeader" ) );
    EXPECT_EQ( getUdfLayer( baseOf( 6 ) ),
               valueOf< bcm_udf_layer_t >( "bcmUdfLayerL4InnerHeader" ) );
    for ( const unsigned base : { 7U, 8U } ) {
        EXPECT_EQ( getUdfLayer( baseOf( base ) ),
                   valueOf< bcm_udf_layer_t >( "bcmUdfLayerL4OuterHeader" ) );
    }
}

TEST_F( UdfCommonTest, GetUdfLayer_AnyOtherBase_Dies )
{
    for ( const unsigned base : { 0U, 9U, 255U, 256U + 1U, 0xFFFFFFFFU } ) {
        expectDies( [ & ] { static_cast< void >( getUdfLayer( baseOf( base ) ) ); },
                    TestSupport::assertionLine(
                        udfSource,
                        TestSupport::literally(
                            "bcm_udf_layer_t PeloraTcam::getUdfLayer(PeloraTcam::UdfOffsetBase)" ),
                        "Invalid base UdfBasePacketStart_ used" ) );
    }
}

TEST_F( UdfCommonTest, GetUdfStart_BehindAnIpHeader_IsItsLength )
{
    for ( const Agent::U8 protocol : std::initializer_list< Agent::U8 >{ 0, 6, 17, 255 } ) {
        EXPECT_EQ( getUdfStart( baseOf( 4 ), 0x0800, protocol ), 20U );
        EXPECT_EQ( getUdfStart( baseOf( 4 ), 0x86DD, protocol ), 40U );
        EXPECT_EQ( getUdfStart( baseOf( 4 ), 0x0806, protocol ), 0U );
        EXPECT_EQ( getUdfStart( baseOf( 4 ), 0x10800, protocol ), 0U );
    }
}

TEST_F( UdfCommonTest, GetUdfStart_BehindAnL4Header_IsItsLength )
{
    for ( const unsigned ethType : { 0U, 0x0800U, 0x86DDU, 0xFFFFU } ) {
        EXPECT_EQ( getUdfStart( baseOf( 8 ), ethType, 6 ), 20U );
        EXPECT_EQ( getUdfStart( baseOf( 8 ), ethType, 17 ), 8U );
        EXPECT_EQ( getUdfStart( baseOf( 8 ), ethType, 1 ), 0U );
    }
}

TEST_F( UdfCommonTest, GetUdfStart_AnyOtherBase_IsZero )
{
    for ( const unsigned base : { 0U, 1U, 2U, 3U, 5U, 6U, 7U, 9U, 0xFFFFFFFFU } ) {
        for ( const unsigned ethType : { 0x0800U, 0x86DDU } ) {
            for ( const Agent::U8 protocol : std::initializer_list< Agent::U8 >{ 6, 17 } ) {
                EXPECT_EQ( getUdfStart( baseOf( base ), ethType, protocol ), 0U );
            }
        }
    }
}

// ---- Equality --------------------------------------------------------------------------------

using Format = bcm_udf_pkt_format_info_s;

bool same( const Format& left, const Format& right )
{
    return PeloraTcam::operator==( left, right ) && PeloraTcam::operator==( right, left );
}

TEST_F( UdfCommonTest, Equality_OnlyThePriorityDiffers_IsTheSameFormat )
{
    Format left;
    Format right;
    EXPECT_TRUE( same( left, right ) );
    right.prioIs( 7 );
    EXPECT_TRUE( same( left, right ) );
}

TEST_F( UdfCommonTest, Equality_AnyOtherMemberDiffers_IsAnotherFormat )
{
    using Change = void ( * )( Format& );
    const std::vector< Change > changes = {
        []( Format& format ) { format.ethertypeIs( 1 ); },
        []( Format& format ) { format.ethertype_maskIs( 1 ); },
        []( Format& format ) { format.l2Is( bcm_udf_pkt_format_l2_t{ 1 } ); },
        []( Format& format ) { format.vlan_tagIs( bcm_udf_pkt_format_vlan_tag_t{ 1 } ); },
        []( Format& format ) { format.outer_ipIs( bcm_udf_pkt_format_ip_t{ 1 } ); },
        []( Format& format ) { format.tunnelIs( bcm_udf_pkt_format_tunnel_t{ 1 } ); },
        []( Format& format ) { format.ip_protocolIs( 1 ); },
        []( Format& format ) { format.ip_protocol_maskIs( 1 ); },
        []( Format& format ) { format.inner_ipIs( bcm_udf_pkt_format_ip_t{ 1 } ); },
    };
    for ( const Change change : changes ) {
        const Format left;
        Format right;
        change( right );
        EXPECT_FALSE( PeloraTcam::operator==( left, right ) );
        EXPECT_FALSE( PeloraTcam::operator==( right, left ) );
        Format changed;
        change( changed );
        EXPECT_TRUE( same( changed, right ) );
    }
}

// ---- Field entries ---------------------------------------------------------------------------

TEST_F( UdfCommonTest, SetUdfDataAndMask_Any_IsHandedOnAlone )
{
    std::array< unsigned char, 2 > data{ 1, 2 };
    std::array< unsigned char, 2 > mask{ 3, 4 };
    std::vector< int > numbers;
    sdk.on.bcm_field_qualify_udf = [ & ]( int onUnit, int entry, int udfId, int length, uint8_t* d,
                                          uint8_t* m ) {
        numbers = { onUnit, entry, udfId, length };
        EXPECT_EQ( d, data.data() );
        EXPECT_EQ( m, mask.data() );
        EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
        return -4;
    };
    const TestSupport::TraceRecorder traces( "*", allTraceLevels );
    EXPECT_EQ( PeloraTcam::setUdfDataAndMask( 5, 11, 12, data.data(), mask.data(), 0xFFFF ), -4 );
    EXPECT_THAT( numbers, ElementsAre( 5, 11, 12, 0xFFFF ) );
    EXPECT_THAT( names(), ElementsAre( "bcm_field_qualify_udf" ) );
    EXPECT_THAT( traces.texts(), ElementsAre() );
}

TEST_F( UdfCommonTest, GetUdfDataAndMask_Any_GivesTheLow16BitsOfTheLengthAlsoOnFailure )
{
    for ( const int rc : { 0, -7 } ) {
        std::array< unsigned char, 2 > data{};
        std::array< unsigned char, 2 > mask{};
        unsigned short actual = 4711;
        std::vector< int > numbers;
        sdk.on.bcm_field_qualify_udf_get = [ & ]( int onUnit, int entry, int udfId, int max,
                                                  uint8_t* d, uint8_t* m, int* length ) {
            numbers = { onUnit, entry, udfId, max };
            EXPECT_EQ( d, data.data() );
            EXPECT_EQ( m, mask.data() );
            EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
            *length = 0x30005;
            return rc;
        };
        const TestSupport::TraceRecorder traces( "*", allTraceLevels );
        sdk.clear();
        EXPECT_EQ(
            PeloraTcam::getUdfDataAndMask( 5, 11, 12, 0xFFFE, data.data(), mask.data(), &actual ),
            rc );
        EXPECT_EQ( actual, 5 );
        EXPECT_THAT( numbers, ElementsAre( 5, 11, 12, 0xFFFE ) );
        EXPECT_THAT( names(), ElementsAre( "bcm_field_qualify_udf_get" ) );
        EXPECT_THAT( traces.texts(), ElementsAre() );
    }
}

TEST_F( UdfCommonTest, GetUdfDataAndMask_NoLengthFromTheSdk_GivesZero )
{
    sdk.on.bcm_field_qualify_udf_get = []( int, int, int, int, uint8_t*, uint8_t*, int* ) {
        return -7;
    };
    unsigned short actual = 4711;
    EXPECT_EQ( PeloraTcam::getUdfDataAndMask( 5, 11, 12, 2, nullptr, nullptr, &actual ), -7 );
    EXPECT_EQ( actual, 0 );
}

TEST_F( UdfCommonTest, Ids_OfAgentAndSdk_AreTheSameNumbers )
{
    for ( const int id : { 0, 1, -1, 0x7FFFFFFF } ) {
        EXPECT_EQ( PeloraTcam::getBcmUdfId( UdfId( id ) ), id );
        EXPECT_EQ( PeloraTcam::getBcmUdfId( id ), id );
        EXPECT_EQ( PeloraTcam::getBcmUdfPktFmtId( PktFmtId( id ) ), id );
        EXPECT_EQ( PeloraTcam::getBcmUdfPktFmtId( id ), id );
    }
}

} // namespace
} // namespace LibraryTest

// What programming and removing a UDF cost in SDK calls: with each packet format that is looked at
// one read-back more, and nothing else.

#include "tests/library/UdfScene.h"

#include <map>

namespace LibraryTest {
namespace {

using Counts = std::map< std::string, std::size_t >;

class UdfModuleCostTest : public UdfScene
{
  protected:
    /// That many packet formats in the map; none of them matches.
    void formatsAre( int count )
    {
        formats = PktFmtIdToUdfId::Ptr( new PktFmtIdToUdfId );
        for ( int i = 0; i < count; ++i ) {
            mapIs( 1000 + i, udfsOf( { 1000 + i } ) );
        }
        sdk.on.bcm_udf_pkt_format_info_get = TestSupport::returns( 0 );
    }

    /// How often the operation calls what of the SDK.
    Counts countsOf( const std::function< void() >& operation )
    {
        sdk.clear();
        operation();
        Counts counts;
        for ( const std::string& name : names() ) {
            ++counts[ name ];
        }
        return counts;
    }
};

TEST_F( UdfModuleCostTest, Program_FormatsPresent_ReadsEachBackOnceAndNothingElse )
{
    for ( const int count : { 0, 1, 16, 128 } ) {
        formatsAre( count );
        Counts expected = {
            { "bcm_udf_t_init", 1 },
            { "bcm_udf_pkt_format_info_t_init", 1 + static_cast< std::size_t >( count ) },
            { "bcm_udf_alloc_hints_t_init", 1 },
            { "BCM_FIELD_QSET_INIT", 1 },
            { "bcm_udf_create", 1 },
            { "bcm_udf_pkt_format_create", 1 },
            { "bcm_udf_pkt_format_add", 1 },
        };
        if ( count != 0 ) {
            expected[ "preApiCall" ] = static_cast< std::size_t >( count );
            expected[ "bcm_udf_pkt_format_info_get" ] = static_cast< std::size_t >( count );
        }
        QualIdList quals;
        EXPECT_EQ( countsOf( [ & ] { quals = create( udfDescOf() ); } ), expected ) << count;
        EXPECT_EQ( formats->pktFmtIds(), static_cast< std::size_t >( count ) + 1 );
        destroy( udfDescOf(), quals );
    }
}

TEST_F( UdfModuleCostTest, Program_FormatFound_LooksNoFurther )
{
    made( udfDescOf( 2, 2 ) );
    for ( int i = 0; i < 127; ++i ) {
        mapIs( 1000 + i, udfsOf( { 1000 + i } ) );
    }
    const Counts counts = countsOf( [ this ] { create( udfDescOf( 4, 2 ) ); } );
    EXPECT_EQ( counts.at( "bcm_udf_pkt_format_info_get" ), 1U );
    EXPECT_EQ( counts.count( "bcm_udf_pkt_format_create" ), 0U );
}

TEST_F( UdfModuleCostTest, Remove_FormatsPresent_ReadsNoneBack )
{
    const Counts expected = {
        { "preApiCall", 4 },
        { "bcm_udf_pkt_format_get_all", 1 },
        { "bcm_udf_pkt_format_delete", 1 },
        { "bcm_udf_pkt_format_destroy", 1 },
        { "bcm_udf_destroy", 1 },
    };
    for ( const int count : { 0, 1, 16, 128 } ) {
        formatsAre( count );
        const QualIdList quals = create( udfDescOf() );
        EXPECT_EQ( countsOf( [ & ] { destroy( udfDescOf(), quals ); } ), expected ) << count;
    }
}

} // namespace
} // namespace LibraryTest

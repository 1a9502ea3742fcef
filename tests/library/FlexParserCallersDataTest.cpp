// While the functions of the flexible parser call the SDK with the locks free, other threads
// change, erase and free what the caller passed by reference. Both variants.

#include "PeloraTcam/PeloraTcamUdfHsdkHelper.h"
#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"
#include "tests/library/CallersDataScene.h"
#include "tests/library/FlexParserScene.h"

namespace LibraryTest {
namespace {

template< class Parser >
class FlexParserCallersDataTest : public CallersDataScene< FlexParserScene< Parser > >
{
  protected:
    void expectUndisturbed( const Use& use )
    {
        CallersDataScene< FlexParserScene< Parser > >::expectUndisturbed( Parser::profile, use );
    }

    /// Programs; creations end with that code.
    Use programming( const UdfDesc& desc, int rc = 0 )
    {
        return { .data = { .desc = desc },
                 .operation =
                     [ this ]( const CallersData& data ) {
                         return listText( this->create( data.desc ) );
                     },
                 .prepare =
                     [ this, rc ] {
                         if ( rc != 0 ) {
                             this->fail( Parser::createCall, rc );
                         }
                     } };
    }

    /// Two UDFs on the same chunk, of different formats: 1 and 2.
    std::function< void() > madeTwo()
    {
        return [ this ] {
            this->made();
            static_cast< void >(
                Parser::create( this->unit, udfDescOf( 2, 2 ), this->format( ip6Format ) ) );
        };
    }

    /// The helper of the variant.
    static Agent::Ptr< PeloraTcam::UdfHelperBase > helper()
    {
        if constexpr ( Parser::isHsdk ) {
            return PeloraTcam::udfFlexParserHsdkHelperFactory( 5, 0, false );
        } else {
            return PeloraTcam::udfFlexParserHelperFactory( 5, 0, false );
        }
    }
};

TYPED_TEST_SUITE( FlexParserCallersDataTest, Parsers );

TYPED_TEST( FlexParserCallersDataTest, Create_Any_IsOfTheDescriptorAsItWas )
{
    this->expectUndisturbed( this->programming( udfDescOf( 2, 2 ) ) );
    this->expectUndisturbed( this->programming( udfDescOf( 6, 7 ) ) );
}

TYPED_TEST( FlexParserCallersDataTest, Create_TooFewChunks_AreTooFewForTheDescriptorAsItWas )
{
    this->expectUndisturbed( this->programming( udfDescOf( 2, 33 ) ) );
}

TYPED_TEST( FlexParserCallersDataTest, Create_Refused_ReportsTheDescriptorAsItWas )
{
    this->expectUndisturbed( this->programming( udfDescOf( 2, 2 ), -4 ) );
    this->expectUndisturbed( this->programming( udfDescOf( 2, 2 ), -14 ) );
}

TYPED_TEST( FlexParserCallersDataTest, Destroy_TwoUdfs_AreThoseOfTheListAsItWas )
{
    this->expectUndisturbed( { .data = { .quals = qualsOf( { 1, 2 } ) },
                               .operation =
                                   [ this ]( const CallersData& data ) {
                                       this->destroy( data.quals );
                                       return "";
                                   },
                               .prepare = this->madeTwo() } );
}

TYPED_TEST( FlexParserCallersDataTest, CleanUp_TwoUdfs_AreThoseOfTheFootprintAsItWas )
{
    CallersData data;
    data.footprint.udfIds = qualsOf( { 1, 2 } );
    this->expectUndisturbed( { .data = data,
                               .operation =
                                   [ this ]( const CallersData& given ) {
                                       return listText( TypeParam::cleanUp(
                                           this->unit, given.footprint, this->format() ) );
                                   },
                               .prepare = this->madeTwo() } );
}

TYPED_TEST( FlexParserCallersDataTest, Verify_TwoUdfs_ComparesWithTheDescriptorAsItWas )
{
    this->expectUndisturbed( { .data = { .desc = udfDescOf( 2, 2 ), .quals = qualsOf( { 1, 2 } ) },
                               .operation =
                                   [ this ]( const CallersData& data ) {
                                       this->verify( data.desc, data.quals );
                                       return "";
                                   },
                               .prepare = this->madeTwo() } );
}

TYPED_TEST( FlexParserCallersDataTest, Positions_TwoUdfs_AreThoseOfTheListAsItWas )
{
    this->expectUndisturbed( { .data = { .quals = qualsOf( { 1, 2 } ) },
                               .operation =
                                   [ this ]( const CallersData& data ) {
                                       return listText(
                                           TypeParam::positions( this->unit, data.quals ) );
                                   },
                               .prepare =
                                   [ this ] {
                                       this->made( udfDescOf( 2, 2 ) );
                                       this->made( udfDescOf( 4, 2 ) );
                                   } } );
}

// Code, list and footprint are the caller's own, and are not changed meanwhile.
TYPED_TEST( FlexParserCallersDataTest, Program_Any_IsOfTheDescriptorAsItWas )
{
    for ( const int rc : { 0, -14 } ) {
        Use use = this->programming( udfDescOf( 6, 7 ), rc );
        use.operation = [ this ]( const CallersData& data ) {
            int code = 1;
            QualIdList quals;
            UdfHwProgrammingFootprint footprint;
            if constexpr ( TypeParam::isHsdk ) {
                const Agent::Bitmap::Ptr chunks( new Agent::Bitmap( 16 ) );
                chunks->bitIs( 3, true );
                PeloraTcam::program_abstract_pkt_type_hsdk( this->unit, data.desc, this->format(),
                                                            chunks, code, quals, footprint );
            } else {
                PeloraTcam::program_abstract_pkt_type( this->unit, data.desc, this->format(),
                                                       0b1000, code, quals, footprint );
            }
            EXPECT_EQ( footprint.udfIds, quals );
            return std::to_string( code ) + ": " + listText( quals );
        };
        this->expectUndisturbed( use );
    }
}

TYPED_TEST( FlexParserCallersDataTest, Helper_EachOperation_WorksOnWhatItWasGiven )
{
    UdfDesc desc = udfDescOf( 2, 2 );
    Use use{ .data = { .desc = desc } };
    use.operation = [ this ]( const CallersData& data ) {
        return listText( this->helper()->programUdfInHw( data.desc ) );
    };
    this->expectUndisturbed( use );

    use.data.quals = qualsOf( { 1 } );
    use.prepare = [ this ] { this->made(); };
    using Given = const CallersData&;
    const std::vector< std::function< void( Given ) > > operations = {
        [ & ]( Given data ) { this->helper()->verifyProgrammedUdf( data.desc, data.quals ); },
        [ & ]( Given data ) { this->helper()->getUdfChunkPosList( this->unit, data.quals ); },
        [ & ]( Given data ) { this->helper()->removeUdfFromHw( data.desc, data.quals ); },
    };
    for ( const auto& each : operations ) {
        use.operation = [ & ]( Given data ) {
            each( data );
            return "";
        };
        this->expectUndisturbed( use );
    }
}

using HsdkFlexParserCallersDataTest = FlexParserScene< HsdkParser >;

// The bitmap is shared by its references.
TEST_F( HsdkFlexParserCallersDataTest, Program_BitmapChangesMeanwhile_IsOnTheChunkAsItWas )
{
    const Agent::Bitmap::Ptr chunks( new Agent::Bitmap( 16 ) );
    chunks->bitIs( 3, true );
    DisturbingSdk disturbing( sdk );
    disturbing.disturbanceIs( 1, [ & ] {
        chunks->bitIs( 3, false );
        chunks->bitIs( 1, true );
        chunks->bitIs( 2, true );
    } );
    Shim::sdk_ = &disturbing;
    int rc = 1;
    QualIdList quals;
    UdfHwProgrammingFootprint footprint;
    PeloraTcam::program_abstract_pkt_type_hsdk( unit, udfDescOf( 2, 2 ), format(), chunks, rc,
                                                quals, footprint );
    Shim::sdk_ = &sdk;
    EXPECT_EQ( listText( HsdkParser::positions( unit, quals ) ), "3 " );
    EXPECT_EQ( sdk.countOf( "BCM_UDF_CBMP_CHUNK_ADD" ), 1U );
}

} // namespace
} // namespace LibraryTest

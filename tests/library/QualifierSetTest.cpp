#include "PeloraTcam/PeloraTcamSdk6Helper.h"

#include "tests/library/FieldScene.h"
#include "tests/support/AllocationCount.h"

#include <algorithm>
#include <type_traits>

namespace LibraryTest {
namespace {

using namespace PeloraTcam;
using ::testing::ElementsAre;

constexpr std::string_view source = "PeloraTcam/PeloraTcamSdk6Helper.cpp";

// What callers are compiled against.
using Build = std::integral_constant< bcm_field_qset_t ( * )( QualifierSet ), getBcmQualifierSet >;
using ReadBack =
    std::integral_constant< QualifierSet ( * )( bcm_field_qset_t* ), getBcmQualifierSet >;

QualifierType qualifier( unsigned number )
{
    return static_cast< QualifierType >( number );
}

class QualifierSetTest : public ::testing::Test
{
  protected:
    QualifierSetTest()
    {
        clear();
        initializeBcmQualifierMap();
        scene_.sdk.asked.clear();
    }

    ~QualifierSetTest() override { clear(); }

    static void clear()
    {
        qualifierMap.clear();
        qualifierReverseMap.clear();
    }

    [[nodiscard]] std::string add( std::string_view accessor ) const
    {
        return "add " + std::to_string( scene_.valueOf( accessor ) );
    }

    /// What is read back from a set made of these.
    static QualifierSet readBack( const QualifierSet& set )
    {
        bcm_field_qset_t qset = getBcmQualifierSet( set );
        return getBcmQualifierSet( &qset );
    }

    FieldScene scene_;
};

TEST_F( QualifierSetTest, Build_OfTheEmptySet_GivesTheInitialisedEmptySet )
{
    const bcm_field_qset_t qset = getBcmQualifierSet( QualifierSet{} );
    EXPECT_THAT( scene_.sdk.setCalls, ElementsAre( "init" ) );
    bcm_field_qset_t initialised;
    scene_.chip.BCM_FIELD_QSET_INIT( &initialised );
    EXPECT_EQ( qset.w, initialised.w );
}

TEST_F( QualifierSetTest, Build_OfSeveral_AddsThemInTheOrderOfTheirNumbers )
{
    const bcm_field_qset_t qset = getBcmQualifierSet(
        QualifierSet{ QualifierType::stage, QualifierType::drop, QualifierType::ipType } );
    EXPECT_THAT( scene_.sdk.setCalls,
                 ElementsAre( "init", add( "bcmFieldQualifyDrop" ), add( "bcmFieldQualifyIpType" ),
                              add( "bcmFieldQualifyStage" ) ) );
    EXPECT_TRUE( scene_.chip.BCM_FIELD_QSET_TEST( &qset, scene_.chip.bcmFieldQualifyIpType() ) );
    EXPECT_FALSE( scene_.chip.BCM_FIELD_QSET_TEST( &qset, scene_.chip.bcmFieldQualifySrcIp() ) );
}

TEST_F( QualifierSetTest, Build_OfAGroupOfTypes_AddsTheSdkQualifierForEach )
{
    static_cast< void >( getBcmQualifierSet( QualifierSet{ qualifier( 36 ), qualifier( 37 ) } ) );
    EXPECT_THAT( scene_.sdk.setCalls, ElementsAre( "init", add( "bcmFieldQualifyDstRouteHit" ),
                                                   add( "bcmFieldQualifyDstRouteHit" ) ) );
}

TEST_F( QualifierSetTest, Build_WithAnUnmappedQualifier_NamesItAndDies )
{
    expectDeath(
        [] {
            static_cast< void >(
                getBcmQualifierSet( QualifierSet{ qualifier( 5 ), qualifier( 13 ) } ) );
        },
        "Unsupported qualifier dstIp6High\n", source, "getBcmQualifierSet",
        "\"false\" == nullptr" );
    expectDeath(
        [] { static_cast< void >( getBcmQualifierSet( QualifierSet{ qualifier( 255 ) } ) ); },
        "Unsupported qualifier QualifierType(255)\n", source, "getBcmQualifierSet",
        "\"false\" == nullptr" );
}

TEST_F( QualifierSetTest, Build_StandardErrorSpoilt_NamesTheQualifierAllTheSame )
{
    expectDeath(
        [] {
            spoilStandardError();
            static_cast< void >( getBcmQualifierSet( QualifierSet{ qualifier( 255 ) } ) );
        },
        "Unsupported qualifier QualifierType(255)\n", source, "getBcmQualifierSet",
        "\"false\" == nullptr" );
}

TEST_F( QualifierSetTest, Build_BeforeTheMapIsBuilt_Dies )
{
    clear();
    expectDeath(
        [] { static_cast< void >( getBcmQualifierSet( QualifierSet{ QualifierType::drop } ) ); },
        "Unsupported qualifier drop\n", source, "getBcmQualifierSet", "\"false\" == nullptr" );
}

TEST_F( QualifierSetTest, ReadBack_OfEveryTypeThatIsTheSmallestOfItsGroup_GivesItAgain )
{
    QualifierSet all;
    for ( const auto& [ type, sdkValue ] : qualifierMap ) {
        all.insert( type );
    }
    QualifierSet expected = all;
    for ( const unsigned number : { 35U, 37U, 39U, 40U, 162U } ) {
        expected.erase( qualifier( number ) );
    }
    EXPECT_EQ( all.size(), 183U );
    EXPECT_EQ( readBack( all ), expected );
    EXPECT_EQ( expected.size(), 178U );
}

TEST_F( QualifierSetTest, ReadBack_OfTheStage_GivesTheEmptySet )
{
    EXPECT_TRUE( readBack( QualifierSet{ qualifier( 162 ) } ).empty() );
}

TEST_F( QualifierSetTest, ReadBack_OfALaterTypeOfAGroup_GivesTheSmallest )
{
    EXPECT_EQ( readBack( QualifierSet{ qualifier( 39 ) } ), QualifierSet{ qualifier( 38 ) } );
    EXPECT_EQ( readBack( QualifierSet{ qualifier( 35 ), qualifier( 40 ) } ),
               ( QualifierSet{ qualifier( 34 ), qualifier( 38 ) } ) );
}

TEST_F( QualifierSetTest, ReadBack_OfAnSdkQualifierWithoutEntry_LeavesItOut )
{
    bcm_field_qset_t qset = getBcmQualifierSet( QualifierSet{ QualifierType::drop } );
    scene_.chip.BCM_FIELD_QSET_ADD( &qset, scene_.chip.bcmFieldQualifyPacketLength() );
    EXPECT_EQ( getBcmQualifierSet( &qset ), QualifierSet{ QualifierType::drop } );
}

TEST_F( QualifierSetTest, ReadBack_OfAnyNumberBelowTheCount_NeverFails )
{
    bcm_field_qset_t qset;
    scene_.chip.BCM_FIELD_QSET_INIT( &qset );
    const bcm_field_qualify_t lastOne{ scene_.chip.BCM_FIELD_QUALIFY_COUNT() - 1 };
    scene_.chip.BCM_FIELD_QSET_ADD( &qset, lastOne );
    EXPECT_FALSE( qualifierReverseMap.contains( lastOne ) );
    EXPECT_TRUE( getBcmQualifierSet( &qset ).empty() );
}

/// Counts as many qualifiers as it is told.
class SmallSdk final : public Shim::ForwardingSdk
{
  public:
    using ForwardingSdk::ForwardingSdk;

    [[nodiscard]] uint32_t BCM_FIELD_QUALIFY_COUNT() const override { return count; }

    uint32_t count = 0;
};

TEST_F( QualifierSetTest, ReadBack_AtTheCount_StopsBeforeIt )
{
    SmallSdk sdk( scene_.chip );
    bcm_field_qset_t qset = getBcmQualifierSet( QualifierSet{ QualifierType::drop } );
    Shim::sdk_ = &sdk;
    sdk.count = scene_.valueOf( "bcmFieldQualifyDrop" );
    EXPECT_TRUE( getBcmQualifierSet( &qset ).empty() );
    ++sdk.count;
    EXPECT_EQ( getBcmQualifierSet( &qset ), QualifierSet{ QualifierType::drop } );
}

TEST_F( QualifierSetTest, ReadBack_Always_ReadsTheCountAtEveryStep )
{
    bcm_field_qset_t qset = getBcmQualifierSet( QualifierSet{} );
    scene_.sdk.asked.clear();
    EXPECT_TRUE( getBcmQualifierSet( &qset ).empty() );
    const auto count = scene_.chip.BCM_FIELD_QUALIFY_COUNT();
    const std::vector< std::string > expected( count + 1, "BCM_FIELD_QUALIFY_COUNT" );
    EXPECT_EQ( scene_.sdk.asked, expected );
}

TEST_F( QualifierSetTest, ReadBack_BeforeTheMapIsBuilt_GivesTheEmptySet )
{
    bcm_field_qset_t qset = getBcmQualifierSet( QualifierSet{ QualifierType::drop } );
    clear();
    EXPECT_TRUE( getBcmQualifierSet( &qset ).empty() );
}

TEST_F( QualifierSetTest, BuildAndReadBack_Always_AllocateNothing )
{
    Shim::sdk_ = &scene_.chip;
    const QualifierSet set{ QualifierType::drop, QualifierType::srcIp, QualifierType::vrf };
    const std::size_t before = TestSupport::allocationCount();
    const QualifierSet again = readBack( set );
    EXPECT_EQ( TestSupport::allocationCount(), before );
    EXPECT_EQ( again, set );
}

} // namespace
} // namespace LibraryTest

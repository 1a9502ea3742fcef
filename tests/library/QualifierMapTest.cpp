#include "PeloraTcam/PeloraTcamSdk6Helper.h"

#include "tests/library/FieldScene.h"
#include "tests/library/QualifierPairs.h"
#include "tests/support/AllocationCount.h"

#include <iterator>
#include <set>
#include <type_traits>

namespace LibraryTest {
namespace {

using namespace PeloraTcam;

constexpr std::string_view source = "PeloraTcam/PeloraTcamSdk6Helper.cpp";

// What callers are compiled against.
using Builder = std::integral_constant< void ( * )(), initializeBcmQualifierMap >;
using ToSdk = std::integral_constant< bcm_field_qualify_t ( * )( QualifierType ), getBcmQualifier >;
using FromSdk =
    std::integral_constant< QualifierType ( * )( bcm_field_qualify_t ), getBcmQualifier >;

QualifierType qualifier( unsigned number )
{
    return static_cast< QualifierType >( number );
}

// Stands first: it is the first to run.
TEST( QualifierMapLoadTest, Maps_AtLoad_AreEmpty )
{
    EXPECT_TRUE( qualifierMap.empty() );
    EXPECT_TRUE( qualifierReverseMap.empty() );
}

class QualifierMapTest : public ::testing::Test
{
  protected:
    QualifierMapTest() { clear(); }

    ~QualifierMapTest() override { clear(); }

    static void clear()
    {
        qualifierMap.clear();
        qualifierReverseMap.clear();
    }

    [[nodiscard]] bcm_field_qualify_t sdkQualifier( std::string_view accessor ) const
    {
        return static_cast< bcm_field_qualify_t >( scene_.valueOf( accessor ) );
    }

    static void expectUnmapped( QualifierType type )
    {
        expectDeath( [ & ] { static_cast< void >( getBcmQualifier( type ) ); }, "", source,
                     "getBcmQualifier", "qualifierMap.find( qtype ) != qualifierMap.end()" );
    }

    static void expectUnmapped( bcm_field_qualify_t sdkQualifier )
    {
        expectDeath( [ & ] { static_cast< void >( getBcmQualifier( sdkQualifier ) ); }, "", source,
                     "getBcmQualifier",
                     "qualifierReverseMap.find( qual ) != qualifierReverseMap.end()" );
    }

    FieldScene scene_;
};

TEST_F( QualifierMapTest, Builder_Once_InsertsAHundredAndEightyFiveTimesInItsOrder )
{
    initializeBcmQualifierMap();
    std::vector< std::string > expected;
    for ( const QualifierPair& pair : qualifierPairs ) {
        expected.emplace_back( pair.accessor );
    }
    EXPECT_EQ( scene_.sdk.asked, expected );
    EXPECT_EQ( scene_.sdk.asked.size(), 185U );
}

TEST_F( QualifierMapTest, Builder_Once_HoldsEveryPair )
{
    initializeBcmQualifierMap();
    std::map< QualifierType, bcm_field_qualify_t > expected;
    for ( const QualifierPair& pair : qualifierPairs ) {
        expected.emplace( qualifier( pair.agentValue ), sdkQualifier( pair.accessor ) );
    }
    EXPECT_EQ( qualifierMap, expected );
    EXPECT_EQ( qualifierMap.size(), 183U );
    EXPECT_EQ( qualifierReverseMap.size(), 179U );
}

TEST_F( QualifierMapTest, Builder_Once_LeavesOutExactlyTheUntranslatedTypes )
{
    const std::set< unsigned > absent = { 0,   13,  14,  16,  18,  19,  21,  50,  64,  76,
                                          128, 143, 144, 145, 146, 148, 149, 150, 151, 180 };
    initializeBcmQualifierMap();
    for ( unsigned number = 0; number < 256; ++number ) {
        const bool isPresent = number <= 202 && !absent.contains( number );
        EXPECT_EQ( qualifierMap.contains( qualifier( number ) ), isPresent ) << number;
    }
}

TEST_F( QualifierMapTest, Builder_Once_SharesSdkQualifiersInThreeGroupsOnly )
{
    initializeBcmQualifierMap();
    std::map< bcm_field_qualify_t, std::set< unsigned > > types;
    for ( const auto& [ type, sdkValue ] : qualifierMap ) {
        types[ sdkValue ].insert( static_cast< unsigned >( type ) );
    }
    std::set< std::set< unsigned > > groups;
    for ( const auto& [ sdkValue, group ] : types ) {
        if ( group.size() > 1 ) {
            groups.insert( group );
        }
    }
    EXPECT_EQ( groups,
               ( std::set< std::set< unsigned > >{ { 34, 35 }, { 36, 37 }, { 38, 39, 40 } } ) );
}

TEST_F( QualifierMapTest, Builder_Once_ReversesToTheSmallestType )
{
    initializeBcmQualifierMap();
    for ( const auto& [ sdkValue, type ] : qualifierReverseMap ) {
        EXPECT_EQ( qualifierMap.at( type ), sdkValue );
        for ( unsigned smaller = 0; smaller < static_cast< unsigned >( type ); ++smaller ) {
            const auto found = qualifierMap.find( qualifier( smaller ) );
            EXPECT_FALSE( found != qualifierMap.end() && found->second == sdkValue ) << smaller;
        }
    }
}

TEST_F( QualifierMapTest, Builder_Again_NeitherAsksNorChangesAnything )
{
    initializeBcmQualifierMap();
    const auto forward = qualifierMap;
    const auto reverse = qualifierReverseMap;
    Sim::UnavailableSdk other( Sim::SdkNumbering::shuffled( 4711 ) );
    FieldRecordingSdk otherRecorder( other );
    Shim::sdk_ = &otherRecorder;
    initializeBcmQualifierMap();
    EXPECT_TRUE( otherRecorder.asked.empty() );
    EXPECT_EQ( qualifierMap, forward );
    EXPECT_EQ( qualifierReverseMap, reverse );
}

TEST_F( QualifierMapTest, Builder_ForwardMapHoldsAnything_DoesNothing )
{
    qualifierMap.emplace( QualifierType::udf, sdkQualifier( "bcmFieldQualifyUdf" ) );
    initializeBcmQualifierMap();
    EXPECT_TRUE( scene_.sdk.asked.empty() );
    EXPECT_EQ( qualifierMap.size(), 1U );
    EXPECT_TRUE( qualifierReverseMap.empty() );
}

TEST_F( QualifierMapTest, GetBcmQualifier_OfEveryType_GivesItsSdkQualifierAndTheSmallestBack )
{
    initializeBcmQualifierMap();
    const std::map< unsigned, unsigned > smallestOf = {
        { 35, 34 }, { 37, 36 }, { 39, 38 }, { 40, 38 } };
    for ( const QualifierPair& pair : qualifierPairs ) {
        const bcm_field_qualify_t sdkValue = sdkQualifier( pair.accessor );
        EXPECT_EQ( getBcmQualifier( qualifier( pair.agentValue ) ), sdkValue ) << pair.accessor;
        const auto smallest = smallestOf.find( pair.agentValue );
        EXPECT_EQ( getBcmQualifier( sdkValue ),
                   qualifier( smallest == smallestOf.end() ? pair.agentValue : smallest->second ) );
    }
}

TEST_F( QualifierMapTest, GetBcmQualifier_OfAGroup_GivesOneSdkQualifier )
{
    initializeBcmQualifierMap();
    EXPECT_EQ( getBcmQualifier( qualifier( 34 ) ), getBcmQualifier( qualifier( 35 ) ) );
    EXPECT_EQ( getBcmQualifier( getBcmQualifier( qualifier( 35 ) ) ), qualifier( 34 ) );
    EXPECT_EQ( getBcmQualifier( getBcmQualifier( qualifier( 37 ) ) ), qualifier( 36 ) );
    EXPECT_EQ( getBcmQualifier( getBcmQualifier( qualifier( 40 ) ) ), qualifier( 38 ) );
}

TEST_F( QualifierMapTest, GetBcmQualifier_OfAnAbsentType_Dies )
{
    initializeBcmQualifierMap();
    for ( const unsigned number : { 0U, 13U, 14U, 50U, 128U, 151U, 180U, 203U, 255U } ) {
        expectUnmapped( qualifier( number ) );
    }
}

TEST_F( QualifierMapTest, GetBcmQualifier_OfAnSdkQualifierWithoutEntry_Dies )
{
    initializeBcmQualifierMap();
    expectUnmapped( sdkQualifier( "bcmFieldQualifyPacketLength" ) );
    expectUnmapped( sdkQualifier( "BCM_FIELD_QUALIFY_COUNT" ) );
}

TEST_F( QualifierMapTest, GetBcmQualifier_EitherWay_AllocatesNothing )
{
    initializeBcmQualifierMap();
    const std::size_t before = TestSupport::allocationCount();
    const bcm_field_qualify_t sdkValue = getBcmQualifier( QualifierType::udfChunk0 );
    const QualifierType type = getBcmQualifier( sdkValue );
    const std::size_t after = TestSupport::allocationCount();
    EXPECT_EQ( after, before );
    EXPECT_EQ( type, QualifierType::udfChunk0 );
}

TEST_F( QualifierMapTest, GetBcmQualifier_BeforeTheBuilder_Dies )
{
    expectUnmapped( QualifierType::drop );
    expectUnmapped( sdkQualifier( "bcmFieldQualifyDrop" ) );
}

TEST_F( QualifierMapTest, Accessors_OfTypesOthersRelyOn_AreTheirNamesakes )
{
    initializeBcmQualifierMap();
    EXPECT_EQ( getBcmQualifier( qualifier( 5 ) ), sdkQualifier( "bcmFieldQualifyDrop" ) );
    EXPECT_EQ( getBcmQualifier( qualifier( 44 ) ),
               sdkQualifier( "bcmFieldQualifyForwardingStatus" ) );
    EXPECT_EQ( getBcmQualifier( qualifier( 133 ) ), sdkQualifier( "bcmFieldQualifyPktType" ) );
    EXPECT_EQ( getBcmQualifier( qualifier( 162 ) ), sdkQualifier( "bcmFieldQualifyStage" ) );
    EXPECT_EQ( getBcmQualifier( qualifier( 177 ) ), sdkQualifier( "bcmFieldQualifyTunnelType" ) );
}

} // namespace
} // namespace LibraryTest

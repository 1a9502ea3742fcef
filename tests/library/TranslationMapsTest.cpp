#include "PeloraTcam/PeloraTcamSdk6Helper.h"

#include "tests/library/FieldScene.h"
#include "tests/library/TranslationCases.h"

#include <algorithm>

namespace LibraryTest {
namespace {

using namespace PeloraTcam;

constexpr std::string_view source = "PeloraTcam/PeloraTcamSdk6Helper.cpp";

// Stands first: it is the first to run.
TEST( TranslationMapsLoadTest, Maps_AtLoad_AreEmpty )
{
    for ( const TranslationCase& translation : translationCases() ) {
        EXPECT_TRUE( translation.forward().empty() ) << translation.name;
        EXPECT_TRUE( translation.reverse == nullptr || translation.reverse().empty() )
            << translation.name;
    }
}

/// Every concept starts with empty maps and leaves them empty.
class TranslationMapsTest : public ::testing::TestWithParam< TranslationCase >
{
  protected:
    TranslationMapsTest() { translation_.clear(); }

    ~TranslationMapsTest() override { translation_.clear(); }

    [[nodiscard]] std::map< U32, U32 > expectedForward() const
    {
        std::map< U32, U32 > expected;
        for ( const ExpectedPair& pair : translation_.pairs ) {
            expected.emplace( pair.agentValue, scene_.valueOf( pair.accessor ) );
        }
        return expected;
    }

    [[nodiscard]] std::vector< std::string > expectedAccessors() const
    {
        std::vector< std::string > accessors;
        for ( const ExpectedPair& pair : translation_.pairs ) {
            accessors.emplace_back( pair.accessor );
        }
        return accessors;
    }

    /// A number that no SDK value of the map has, of any width.
    [[nodiscard]] static U32 unknownIn( const std::map< U32, U32 >& forward )
    {
        U32 unknown = 0;
        while ( std::ranges::any_of(
            forward, [ & ]( const auto& pair ) { return pair.second == unknown; } ) ) {
            ++unknown;
        }
        return unknown;
    }

    void expectNoForwardEntry( U32 agentValue ) const
    {
        expectDeath( [ & ] { static_cast< void >( translation_.lookUp( agentValue ) ); }, "",
                     source, translation_.lookUpName, translation_.assertion );
    }

    void expectNoReverseEntry( U32 sdkValue ) const
    {
        expectDeath( [ & ] { static_cast< void >( translation_.lookUpBack( sdkValue ) ); }, "",
                     source, translation_.lookUpBackName, translation_.assertionBack );
    }

    const TranslationCase translation_ = GetParam();
    FieldScene scene_;
};

/// The concepts that are translated back.
class TranslationBackTest : public TranslationMapsTest
{};

std::string nameOf( const ::testing::TestParamInfo< TranslationCase >& translation )
{
    return translation.param.name;
}

std::vector< TranslationCase > casesThatGoBack()
{
    std::vector< TranslationCase > cases = translationCases();
    std::erase_if( cases, []( const auto& translation ) { return !translation.lookUpBack; } );
    return cases;
}

INSTANTIATE_TEST_SUITE_P( Maps,
                          TranslationMapsTest,
                          ::testing::ValuesIn( translationCases() ),
                          nameOf );
INSTANTIATE_TEST_SUITE_P( Maps,
                          TranslationBackTest,
                          ::testing::ValuesIn( casesThatGoBack() ),
                          nameOf );

TEST_P( TranslationMapsTest, Builder_Once_FillsTheForwardMap )
{
    translation_.build();
    EXPECT_EQ( translation_.forward(), expectedForward() );
    EXPECT_EQ( translation_.forward().size(), translation_.pairs.size() );
}

TEST_P( TranslationBackTest, Builder_Once_FillsTheReverseMapWithTheSamePairs )
{
    translation_.build();
    std::map< U32, U32 > expected;
    for ( const auto& [ agentValue, sdkValue ] : expectedForward() ) {
        expected.emplace( sdkValue, agentValue );
    }
    EXPECT_EQ( translation_.reverse(), expected );
    EXPECT_EQ( expected.size(), translation_.pairs.size() );
}

TEST_P( TranslationMapsTest, Builder_Once_AsksForEachValueOnceInItsOrder )
{
    translation_.build();
    EXPECT_EQ( scene_.sdk.asked, expectedAccessors() );
}

TEST_P( TranslationMapsTest, Builder_Again_NeitherAsksNorChangesAnything )
{
    translation_.build();
    const auto before = translation_.forward();
    const auto reverseBefore =
        translation_.reverse == nullptr ? std::map< U32, U32 >() : translation_.reverse();
    scene_.sdk.asked.clear();
    Sim::UnavailableSdk other( Sim::SdkNumbering::shuffled( 4711 ) );
    FieldRecordingSdk otherRecorder( other );
    Shim::sdk_ = &otherRecorder;
    translation_.build();
    EXPECT_TRUE( scene_.sdk.asked.empty() );
    EXPECT_TRUE( otherRecorder.asked.empty() );
    EXPECT_EQ( translation_.forward(), before );
    if ( translation_.reverse != nullptr ) {
        EXPECT_EQ( translation_.reverse(), reverseBefore );
    }
}

TEST_P( TranslationMapsTest, Builder_ForwardMapHoldsAnything_DoesNothing )
{
    translation_.preset( 77, 78 );
    translation_.build();
    EXPECT_TRUE( scene_.sdk.asked.empty() );
    EXPECT_EQ( translation_.forward(), ( std::map< U32, U32 >{ { 77, 78 } } ) );
    if ( translation_.reverse != nullptr ) {
        EXPECT_TRUE( translation_.reverse().empty() );
    }
}

TEST_P( TranslationMapsTest, Lookups_OfEveryPair_TranslateForwardAndBack )
{
    translation_.build();
    scene_.sdk.asked.clear();
    for ( const ExpectedPair& pair : translation_.pairs ) {
        const U32 sdkValue = scene_.valueOf( pair.accessor );
        EXPECT_EQ( translation_.lookUp( pair.agentValue ), sdkValue ) << pair.accessor;
        if ( translation_.lookUpBack != nullptr ) {
            EXPECT_EQ( translation_.lookUpBack( sdkValue ), pair.agentValue ) << pair.accessor;
        }
    }
    EXPECT_TRUE( scene_.sdk.asked.empty() );
}

TEST_P( TranslationMapsTest, Lookup_OfAbsentValues_Dies )
{
    translation_.build();
    const auto expected = expectedForward();
    // Three absent values die; that no others are in the map, the builder's test shows.
    int tried = 0;
    for ( U32 value = 0; value < 256 && tried < 3; ++value ) {
        if ( !expected.contains( value ) ) {
            expectNoForwardEntry( value );
            ++tried;
        }
    }
    expectNoForwardEntry( 255 );
    EXPECT_EQ( tried, 3 );
}

TEST_P( TranslationBackTest, ReverseLookup_OfAnUnknownValue_Dies )
{
    translation_.build();
    expectNoReverseEntry( unknownIn( expectedForward() ) );
}

TEST_P( TranslationMapsTest, Lookups_BeforeTheBuilder_Die )
{
    const ExpectedPair& first = translation_.pairs.front();
    expectNoForwardEntry( first.agentValue );
    if ( translation_.lookUpBack != nullptr ) {
        expectNoReverseEntry( scene_.valueOf( first.accessor ) );
    }
}

// ---- What holds between concepts -------------------------------------------------------------

TEST( TranslationMapsCountTest, Pairs_OfEveryConcept_AreAsManyAsStated )
{
    const std::map< std::string, size_t > counts = {
        { "ipTypeMap", 13 },
        { "l2FormatMap", 7 },
        { "fragTypeMap", 4 },
        { "tunnelTypeMap", 2 },
        { "forwardingTypeMap", 3 },
        { "pktTypeMap", 14 },
        { "sysHdrTypeMap", 3 },
        { "pktResMap", 8 },
        { "intHdrTypeMap", 1 },
        { "intPktTypeMap", 1 },
        { "loopbackTypeMap", 1 },
        { "loopbackSubtypeMap", 1 },
        { "stpStateMap", 4 },
        { "macSecEncryptDecryptPktMap", 3 },
        { "macSecFlowMap", 6 },
        { "dropReasonMap", 4 },
        { "dstTypeMap", 5 },
        { "l2MacInfoMap", 3 },
        { "cesPortTypeMap", 3 },
        { "svtagPortSubTypeMap", 3 },
        { "groupModeMap", 6 },
        { "groupModeTypeMap", 7 },
        { "groupPacketTypeMap", 7 },
        { "pktFwdTypeMap", 5 },
        { "l2PktTypeMap", 4 },
        { "actionParamLoopbackTypeMap", 2 },
        { "actionParamLoopbackSubtypeMap", 1 },
        { "actionParamHiGigClassSelectMap", 1 },
        { "actionParamEgressClassSelectMap", 1 },
        { "actionParamEgressFlowControlMap", 2 },
        { "actionParamEgressFlowEncapMap", 1 },
    };
    const FieldScene scene;
    std::map< std::string, size_t > found;
    for ( const TranslationCase& translation : translationCases() ) {
        translation.build();
        found[ translation.name ] = translation.forward().size();
        translation.clear();
    }
    EXPECT_EQ( found, counts );
}

TEST( ActionParameterTest, LoopbackParameters_Built_AreTheQualifiersOwnValues )
{
    const FieldScene scene;
    initializeLoopbackTypeMap();
    initializeLoopbackSubtypeMap();
    initializeActionParamLoopbackTypeMap();
    initializeActionParamLoopbackSubtypeMap();
    EXPECT_EQ( getBcmActionParamLoopbackType( LoopbackType::l3 ),
               static_cast< U32 >( getBcmLoopbackType( LoopbackType::l3 ) ) );
    EXPECT_EQ( getBcmActionParamLoopbackSubtype( LoopbackSubtype::recirculation ),
               static_cast< U32 >( getBcmLoopbackSubtype( LoopbackSubtype::recirculation ) ) );
    EXPECT_NE( getBcmActionParamLoopbackType( LoopbackType::mirror ),
               getBcmActionParamLoopbackType( LoopbackType::l3 ) );
    loopbackTypeMap.clear();
    loopbackTypeReverseMap.clear();
    loopbackSubtypeMap.clear();
    loopbackSubtypeReverseMap.clear();
    actionParamLoopbackTypeMap.clear();
    actionParamLoopbackSubtypeMap.clear();
}

TEST( ActionParameterTest, EgressClassSelect_KeyWithTheRightLowByte_Dies )
{
    const FieldScene scene;
    initializeActionParamEgressClassSelectMap();
    EXPECT_EQ( getBcmActionParamEgressClassSelect( static_cast< EgressClassSelect >( 11 ) ),
               scene.valueOf( "BCM_FIELD_EGRESS_CLASS_SELECT_IFP" ) );
    expectDeath(
        [] {
            static_cast< void >(
                getBcmActionParamEgressClassSelect( static_cast< EgressClassSelect >( 0x10B ) ) );
        },
        "", source, "getBcmActionParamEgressClassSelect",
        "actionParamEgressClassSelectMap.find( type ) != actionParamEgressClassSelectMap.end()" );
    actionParamEgressClassSelectMap.clear();
}

} // namespace
} // namespace LibraryTest

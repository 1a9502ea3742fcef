#include "sim/SdkNumbering.h"

#include "tests/support/ErrorText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <typeindex>

namespace Sim {

namespace {

using ValuesByType = std::map< std::type_index, std::vector< uint32_t > >;

ValuesByType valuesOf( const SdkNumbering& numbering )
{
    ValuesByType values;
#define SDK_ENUMERATOR( type, name, value )                                                        \
    values[ typeid( type ) ].push_back( static_cast< uint32_t >( numbering.name ) );
#include "sdk/SdkEnumerators.def"
    return values;
}

/// Expects that each count is above all that it counts, and that one can walk up to it.
void expectCountsAboveValues( const SdkNumbering& numbering )
{
    const ValuesByType values = valuesOf( numbering );
#define SDK_COUNT( type, name, value )                                                             \
    EXPECT_LT( std::ranges::max( values.at( typeid( type ) ) ), numbering.name ) << #name;         \
    EXPECT_LT( numbering.name, 100000U ) << #name;
#include "sdk/SdkEnumerators.def"
}

TEST( SdkNumberingTest, Defaults_AreTheTables )
{
    const SdkNumbering numbering = SdkNumbering::defaults();
    EXPECT_EQ( numbering.bcmRangeTypeL4SrcPort, 1U );
    EXPECT_EQ( numbering.bcmRangeTypeL4DstPort, 2U );
    EXPECT_EQ( numbering.bcmRangeTypeOuterVlan, 3U );
    EXPECT_EQ( numbering.bcmRangeTypePacketLength, 4U );
}

class ShuffledNumberingTest : public testing::TestWithParam< uint32_t >
{};

TEST_P( ShuffledNumberingTest, Shuffled_AnySeed_ValuesOfATypeAreDistinct )
{
    for ( const auto& [ type, values ] : valuesOf( SdkNumbering::shuffled( GetParam() ) ) ) {
        const std::set< uint32_t > distinct( values.begin(), values.end() );
        EXPECT_EQ( distinct.size(), values.size() ) << type.name();
    }
}

TEST_P( ShuffledNumberingTest, Shuffled_AnySeed_NoValueIsADefaultOfItsType )
{
    const ValuesByType defaults = valuesOf( SdkNumbering::defaults() );
    for ( const auto& [ type, values ] : valuesOf( SdkNumbering::shuffled( GetParam() ) ) ) {
        for ( const uint32_t value : values ) {
            EXPECT_EQ( std::ranges::count( defaults.at( type ), value ), 0 ) << type.name();
        }
    }
}

TEST_P( ShuffledNumberingTest, Shuffled_AnySeed_CountsAreAboveWhatTheyCount )
{
    expectCountsAboveValues( SdkNumbering::shuffled( GetParam() ) );
}

TEST( SdkNumberingTest, Defaults_CountsAreAboveWhatTheyCount )
{
    expectCountsAboveValues( SdkNumbering::defaults() );
}

/// Expects that each constant that has bounds is within them.
void expectWithinBounds( const SdkNumbering& numbering )
{
#define SDK_BOUNDED( type, name, value, least, greatest )                                          \
    EXPECT_GE( numbering.name, static_cast< type >( least ) ) << #name;                            \
    EXPECT_LE( numbering.name, static_cast< type >( greatest ) ) << #name;
#include "sdk/SdkEnumerators.def"
}

TEST( SdkNumberingTest, Defaults_BoundedConstants_AreWithinTheirBounds )
{
    expectWithinBounds( SdkNumbering::defaults() );
}

TEST( SdkNumberingTest, Shuffled_OverSeeds_BoundedConstantsReachBothBoundsAndNoMore )
{
    std::set< uint32_t > lengths;
    for ( uint32_t seed = 0; seed < 1000; ++seed ) {
        const SdkNumbering numbering = SdkNumbering::shuffled( seed );
        expectWithinBounds( numbering );
        lengths.insert( numbering.BCM_UDF_MAX_HASH_MASK_LENGTH );
    }
    EXPECT_EQ( *lengths.begin(), 4U );
    EXPECT_EQ( *lengths.rbegin(), 64U );
    EXPECT_FALSE( lengths.contains( 16 ) ) << "the default";
}

TEST_P( ShuffledNumberingTest, Shuffled_SameSeed_IsTheSame )
{
    EXPECT_EQ( valuesOf( SdkNumbering::shuffled( GetParam() ) ),
               valuesOf( SdkNumbering::shuffled( GetParam() ) ) );
}

TEST_P( ShuffledNumberingTest, Shuffled_OtherSeed_IsAnother )
{
    EXPECT_NE( valuesOf( SdkNumbering::shuffled( GetParam() ) ),
               valuesOf( SdkNumbering::shuffled( GetParam() + 1 ) ) );
}

INSTANTIATE_TEST_SUITE_P( Seeds, ShuffledNumberingTest, testing::Values( 0U, 1U, 2U, 20240229U ) );

TEST( SdkNumberingTest, Shuffled_OverSeeds_UsesTheUpperBits )
{
    uint32_t usedBits = 0;
    for ( uint32_t seed = 0; seed < 64; ++seed ) {
        usedBits |= SdkNumbering::shuffled( seed ).bcmRangeTypeL4SrcPort;
    }
    EXPECT_EQ( usedBits, 0xFFFFFFFFU );
}

TEST( SdkNumberingTest, NameOf_ValueOfAnEnumerator_IsItsName )
{
    const SdkNumbering numbering = SdkNumbering::shuffled( 3 );
    EXPECT_EQ( numbering.nameOf( numbering.bcmRangeTypeL4DstPort ), "bcmRangeTypeL4DstPort" );
}

TEST( SdkNumberingTest, Has_ValueOfThatTypeOrOfAnother_TellsThemApart )
{
    const SdkNumbering numbering = SdkNumbering::shuffled( 3 );
    EXPECT_TRUE( numbering.has( numbering.bcmRangeTypeL4SrcPort ) );
    EXPECT_FALSE( numbering.has( bcm_range_type_t{} ) );
    EXPECT_FALSE( numbering.has(
        static_cast< bcm_range_type_t >( uint32_t{ numbering.bcmFieldQualifyDrop } ) ) );
}

TEST( SdkNumberingTest, NameOf_OtherTypeOrValue_IsUnknown )
{
    const SdkNumbering numbering = SdkNumbering::defaults();
    EXPECT_EQ( numbering.nameOf( static_cast< bcm_range_type_t >( 77 ) ), "unknown(77)" );
    EXPECT_EQ( numbering.nameOf( static_cast< bcm_field_loopback_subtype_t >( 4000000000U ) ),
               "unknown(4000000000)" );
}

TEST( SdkNumberingTest, ValueOf_Name_IsTheNumberingsValue )
{
    const SdkNumbering numbering = SdkNumbering::shuffled( 3 );
    EXPECT_EQ( numbering.valueOf( "bcmRangeTypeOuterVlan" ), numbering.bcmRangeTypeOuterVlan );
    EXPECT_EQ( numbering.valueOf( "bcmRangeTypeOuterVlans" ), std::nullopt );
}

TEST( SdkNumberingTest, Names_AllHaveAValue )
{
    const std::vector< std::string > names = SdkNumbering::names();
    EXPECT_NE( std::ranges::find( names, "bcmRangeTypeL4SrcPort" ), names.end() );
    for ( const std::string& name : names ) {
        EXPECT_TRUE( SdkNumbering::defaults().valueOf( name ) ) << name;
    }
}

TEST( SdkNumberingTest, FromText_DefaultAndShuffled_AreTheNumberings )
{
    EXPECT_EQ( valuesOf( SdkNumbering::fromText( "default" ) ),
               valuesOf( SdkNumbering::defaults() ) );
    EXPECT_EQ( valuesOf( SdkNumbering::fromText( "shuffled:0" ) ),
               valuesOf( SdkNumbering::shuffled( 0 ) ) );
    EXPECT_EQ( valuesOf( SdkNumbering::fromText( "shuffled:4294967295" ) ),
               valuesOf( SdkNumbering::shuffled( 4294967295U ) ) );
}

TEST( SdkNumberingTest, FromText_AnythingElse_IsRefused )
{
    for ( const std::string text :
          { "", "defaults", "shuffled", "shuffled:", "shuffled:x", "shuffled:1x", "shuffled:-1",
            "shuffled: 1", "shuffled:07", "shuffled:4294967296" } ) {
        EXPECT_EQ( TestSupport::errorText< std::invalid_argument >(
                       [ & ] { static_cast< void >( SdkNumbering::fromText( text ) ); } ),
                   "expected 'default' or 'shuffled:SEED' with a SEED from 0 to 4294967295, "
                   "found '" +
                       text + "'" );
    }
}

TEST( SdkNumberingTest, NamesOf_OneEnumeration_AreItsOwnInTheSdksOrder )
{
    EXPECT_EQ(
        SdkNumbering::namesOf< bcm_range_type_t >(),
        ( std::vector< std::string >{ "bcmRangeTypeL4SrcPort", "bcmRangeTypeL4DstPort",
                                      "bcmRangeTypeOuterVlan", "bcmRangeTypePacketLength" } ) );
    EXPECT_EQ( SdkNumbering::namesOf< bcm_udf_abstract_pkt_format_t >(),
               ( std::vector< std::string >{
                   "bcmUdfAbstractPktFormatL3Ipv4", "bcmUdfAbstractPktFormatL3Ipv4WithoutOptions",
                   "bcmUdfAbstractPktFormatL3Ipv6", "bcmUdfAbstractPktFormatUnknownL3",
                   "bcmUdfAbstractPktFormatKnownNonIp", "bcmUdfAbstractPktFormatArp" } ) );
}

} // namespace

} // namespace Sim

#include "agent/tcam/FieldEnumerations.h"

#include "agent/base/TextPieces.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <type_traits>

namespace PeloraTcam {
namespace {

using Agent::joinPieces;
using ::testing::ElementsAre;

template< class Enumeration >
class FieldEnumerationTest : public ::testing::Test
{};

// The list, with a comma after each.
#define FIELD_ENUMERATION( type, underlyingType, ... ) type,
using EveryEnumeration = ::testing::Types<
#include "agent/tcam/FieldEnumerations.def"
    FieldIpType >; // once more, to close the list
TYPED_TEST_SUITE( FieldEnumerationTest, EveryEnumeration );

TYPED_TEST( FieldEnumerationTest, Names_OfEveryValue_AreUniqueAndRisingAndFoundAgain )
{
    using Names = EnumeratorNames< TypeParam >;
    std::set< std::string_view > seen;
    Agent::U32 expectedNumber = 0;
    for ( const EnumeratorName& row : Names::rows ) {
        EXPECT_EQ( row.number, expectedNumber++ ) << row.name;
        EXPECT_TRUE( seen.insert( row.name ).second ) << row.name;
        const auto value = static_cast< TypeParam >( row.number );
        EXPECT_EQ( joinPieces( value ), row.name );
        EXPECT_EQ( enumeratorFromName< TypeParam >( row.name ), value );
    }
    EXPECT_EQ( enumeratorNames< TypeParam >().size(), expectedNumber );
}

TYPED_TEST( FieldEnumerationTest, Print_ValueWithoutName_NamesTypeAndNumber )
{
    const std::string type( EnumeratorNames< TypeParam >::enumeration );
    EXPECT_EQ( joinPieces( static_cast< TypeParam >( 200 ) ), type + "(200)" );
}

TYPED_TEST( FieldEnumerationTest, FromName_UnknownName_IsNothing )
{
    EXPECT_EQ( enumeratorFromName< TypeParam >( "noSuchName" ), std::nullopt );
    EXPECT_EQ( enumeratorFromName< TypeParam >( "" ), std::nullopt );
}

TYPED_TEST( FieldEnumerationTest, Width_OfEveryEnumeration_IsOneByteOrFourForTheEgressClass )
{
    const bool isEgressClass = std::is_same_v< TypeParam, EgressClassSelect >;
    EXPECT_EQ( sizeof( TypeParam ), isEgressClass ? 4U : 1U );
    EXPECT_TRUE( std::is_unsigned_v< std::underlying_type_t< TypeParam > > );
}

TEST( FieldEnumerationsTest, Print_NamedValues_PrintsTheirNames )
{
    EXPECT_EQ( joinPieces( FieldIpType::any ), "any" );
    EXPECT_EQ( joinPieces( static_cast< FieldIpType >( 9 ) ), "ipv6TwoExtensionHeaders" );
    EXPECT_EQ( joinPieces( static_cast< PktRes >( 24 ) ), "unknownNiv" );
    EXPECT_EQ( joinPieces( static_cast< TcamGroupMode >( 2 ) ), "singleNarrow" );
    EXPECT_EQ( joinPieces( static_cast< EgressClassSelect >( 11 ) ), "ingressFieldClass" );
}

TEST( FieldEnumerationsTest, Print_WideValueWithoutName_KeepsAllItsBits )
{
    EXPECT_EQ( joinPieces( static_cast< EgressClassSelect >( 0x100000B ) ),
               "EgressClassSelect(16777227)" );
}

TEST( FieldEnumerationsTest, EnumeratorNames_OfStpState_AreInTheOrderOfTheirNumbers )
{
    EXPECT_THAT( enumeratorNames< StpStateType >(),
                 ElementsAre( "disabled", "blocking", "learning", "forwarding" ) );
}

} // namespace
} // namespace PeloraTcam

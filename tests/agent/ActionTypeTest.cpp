#include "agent/tcam/ActionType.h"

#include "agent/base/TextPieces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <string>
#include <utility>

namespace PeloraTcam {
namespace {

using Agent::joinPieces;

std::string lowerCase( std::string_view text )
{
    std::string lower( text );
    std::ranges::transform( lower, lower.begin(),
                            []( unsigned char c ) { return std::tolower( c ); } );
    return lower;
}

TEST( ActionTypeTest, Names_Always_Number132 )
{
    EXPECT_EQ( enumeratorNames< ActionType >().size(), 132U );
}

TEST( ActionTypeTest, Names_AfterTheFirst_AreSortedWithoutRegardToCase )
{
    const std::vector< std::string_view > names = enumeratorNames< ActionType >();
    EXPECT_EQ( names.at( 0 ), "invalid" );
    for ( size_t number = 2; number < names.size(); ++number ) {
        EXPECT_LT( lowerCase( names[ number - 1 ] ), lowerCase( names[ number ] ) );
    }
}

TEST( ActionTypeTest, FromName_OfEveryName_IsTheTypeThatPrintsIt )
{
    const std::vector< std::string_view > names = enumeratorNames< ActionType >();
    for ( size_t number = 0; number < names.size(); ++number ) {
        const auto type = static_cast< ActionType >( number );
        EXPECT_EQ( enumeratorFromName< ActionType >( names[ number ] ), type );
        EXPECT_EQ( joinPieces( type ), names[ number ] );
    }
}

TEST( ActionTypeTest, FromName_UnknownName_IsNothing )
{
    EXPECT_EQ( enumeratorFromName< ActionType >( "dropp" ), std::nullopt );
    EXPECT_EQ( enumeratorFromName< ActionType >( "Drop" ), std::nullopt );
    EXPECT_EQ( enumeratorFromName< ActionType >( "" ), std::nullopt );
}

TEST( ActionTypeTest, Print_NumberWithoutName_NamesTypeAndNumber )
{
    EXPECT_EQ( joinPieces( static_cast< ActionType >( 132 ) ), "ActionType(132)" );
    EXPECT_EQ( joinPieces( static_cast< ActionType >( 255 ) ), "ActionType(255)" );
}

TEST( ActionTypeTest, Numbers_ThatOthersRelyOn_NeverChange )
{
    const std::pair< unsigned, const char* > known[] = {
        { 11, "classIdAssign" },  { 16, "cosMapNew" },     { 35, "drop" },
        { 36, "dropColorAware" }, { 70, "mirrorIngress" }, { 71, "mirrorIngressTruncated" },
        { 72, "noAction" },       { 93, "redirect" },      { 131, "vxlanVniNew" },
    };
    for ( const auto& [ number, name ] : known ) {
        EXPECT_EQ( joinPieces( static_cast< ActionType >( number ) ), name );
    }
}

} // namespace
} // namespace PeloraTcam

#include "agent/tcam/QualifierType.h"

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

TEST( QualifierTypeTest, Names_Always_Number203 )
{
    EXPECT_EQ( enumeratorNames< QualifierType >().size(), 203U );
}

TEST( QualifierTypeTest, Names_AfterTheFirst_AreSortedWithoutRegardToCase )
{
    const std::vector< std::string_view > names = enumeratorNames< QualifierType >();
    EXPECT_EQ( names.at( 0 ), "invalid" );
    for ( size_t number = 2; number < names.size(); ++number ) {
        EXPECT_LT( lowerCase( names[ number - 1 ] ), lowerCase( names[ number ] ) );
    }
}

TEST( QualifierTypeTest, FromName_OfEveryName_IsTheTypeThatPrintsIt )
{
    const std::vector< std::string_view > names = enumeratorNames< QualifierType >();
    for ( size_t number = 0; number < names.size(); ++number ) {
        const auto type = static_cast< QualifierType >( number );
        EXPECT_EQ( enumeratorFromName< QualifierType >( names[ number ] ), type );
        EXPECT_EQ( joinPieces( type ), names[ number ] );
    }
}

TEST( QualifierTypeTest, FromName_UnknownName_IsNothing )
{
    EXPECT_EQ( enumeratorFromName< QualifierType >( "dropp" ), std::nullopt );
    EXPECT_EQ( enumeratorFromName< QualifierType >( "Drop" ), std::nullopt );
    EXPECT_EQ( enumeratorFromName< QualifierType >( "" ), std::nullopt );
}

TEST( QualifierTypeTest, Print_NumberWithoutName_NamesTypeAndNumber )
{
    EXPECT_EQ( joinPieces( static_cast< QualifierType >( 203 ) ), "QualifierType(203)" );
    EXPECT_EQ( joinPieces( static_cast< QualifierType >( 255 ) ), "QualifierType(255)" );
}

TEST( QualifierTypeTest, Numbers_ThatOthersRelyOn_NeverChange )
{
    const std::pair< unsigned, const char* > known[] = {
        { 5, "drop" },
        { 6, "dropReason" },
        { 8, "dstClassField" },
        { 44, "forwardingStatus" },
        { 45, "forwardingType" },
        { 47, "frontPanelPkt" },
        { 56, "ingressL2InterfaceOpaqueCtrlId" },
        { 58, "ingressStpState" },
        { 73, "interfaceClassL2" },
        { 75, "interfaceClassPort" },
        { 77, "interfaceClassVPort" },
        { 93, "ipInfo" },
        { 97, "ipType" },
        { 99, "l2InterfaceMatch" },
        { 101, "l2PktType" },
        { 102, "l2SrcHit" },
        { 103, "l2SrcStatic" },
        { 104, "l2StationMove" },
        { 118, "mirrorPktType" },
        { 126, "overlayL2PktType" },
        { 127, "overlayPktType" },
        { 129, "pktFwdType" },
        { 133, "pktType" },
        { 134, "portGroupClassId" },
        { 135, "protocolPktOpaqueCtrlId" },
        { 137, "srcClassField" },
        { 162, "stage" },
        { 177, "tnlType" },
        { 178, "tunnelTerminated" },
        { 202, "vxlanReserved" },
    };
    for ( const auto& [ number, name ] : known ) {
        EXPECT_EQ( joinPieces( static_cast< QualifierType >( number ) ), name );
    }
}

} // namespace
} // namespace PeloraTcam

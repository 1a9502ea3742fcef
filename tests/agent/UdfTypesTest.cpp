#include "agent/tcam/UdfTypes.h"

#include "agent/base/RingTrace.h"
#include "agent/base/RingTraceDecoder.h"
#include "agent/base/TextPieces.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace PeloraTcam {
namespace {

using ::testing::ElementsAre;

UdfDesc someDesc()
{
    UdfDesc desc;
    desc.baseIs( UdfBaseL4OuterPayload_ );
    desc.ethTypeIs( 0x86DD );
    desc.innerEtherTypeIs( 0x0800 );
    desc.appTypeIs( UdfAppType::ipv6Acl );
    desc.ipProtoIs( 17 );
    desc.offsetIs( 12 );
    desc.lengthIs( 4 );
    desc.priorityIs( 200 );
    desc.lagHashingMaskIs( { { 0, 0xAB }, { 3, 0x01 }, { 4, 0xFF } } );
    return desc;
}

/// What the ring-buffer trace holds of a value.
template< class Value >
std::string ringText( const Value& value )
{
    const Agent::TraceHandle handle( "UdfTypesTest" );
    Agent::traceBoth( handle, 1, "value: ", value );
    const auto image = Agent::ringTrace().image();
    return Agent::decodeRings( { reinterpret_cast< const char* >( image.data() ), image.size() } )
        .at( 0 )
        .records.back()
        .text;
}

/// The numbers and names of an enumeration.
template< class Enumeration >
using Names = std::vector< std::pair< Enumeration, const char* > >;

const Names< UdfOffsetBase > baseNames = {
    { UdfBasePacketStart_, "UdfBasePacketStart_" },
    { UdfBaseL2Header_, "UdfBaseL2Header_" },
    { UdfBaseL3Header_, "UdfBaseL3Header_" },
    { UdfBaseL3OuterHeader_, "UdfBaseL3OuterHeader_" },
    { UdfBaseL3OuterPayload_, "UdfBaseL3OuterPayload_" },
    { UdfBaseL3InnerHeader_, "UdfBaseL3InnerHeader_" },
    { UdfBaseL4InnerHeader_, "UdfBaseL4InnerHeader_" },
    { UdfBaseL4OuterHeader_, "UdfBaseL4OuterHeader_" },
    { UdfBaseL4OuterPayload_, "UdfBaseL4OuterPayload_" },
};

const Names< UdfAppType > appTypeNames = {
    { UdfAppType::ipv4Acl, "ipv4Acl" },
    { UdfAppType::ipv6Acl, "ipv6Acl" },
    { UdfAppType::macAcl, "macAcl" },
    { UdfAppType::ipv4TrafficPolicy, "ipv4TrafficPolicy" },
};

/// Expects that the enumerators are numbered from 0 on, as they stand, and print as their names.
template< class Enumeration >
void expectNumbersAndNames( const Names< Enumeration >& names )
{
    unsigned number = 0;
    for ( const auto& [ value, name ] : names ) {
        EXPECT_EQ( static_cast< unsigned >( value ), number++ ) << name;
        EXPECT_EQ( Agent::joinPieces( value ), name );
    }
}

TEST( UdfTypesTest, Print_BaseOrAppType_IsItsNameOrNumber )
{
    expectNumbersAndNames( baseNames );
    expectNumbersAndNames( appTypeNames );
    EXPECT_EQ( Agent::joinPieces( static_cast< UdfOffsetBase >( 9 ) ), "UdfOffsetBase(9)" );
    EXPECT_EQ( Agent::joinPieces( static_cast< UdfAppType >( 4 ) ), "UdfAppType(4)" );
}

TEST( UdfTypesTest, PackForRing_EachBaseAndAppType_IsTheTextThatItPrints )
{
    for ( const auto& [ base, name ] : baseNames ) {
        EXPECT_EQ( ringText( base ), std::string( "value: " ) + name );
    }
    EXPECT_EQ( ringText( static_cast< UdfOffsetBase >( 9 ) ), "value: UdfOffsetBase(9)" );
    for ( unsigned appType = 0; appType <= appTypeNames.size(); ++appType ) {
        UdfDesc desc;
        desc.appTypeIs( static_cast< UdfAppType >( appType ) );
        EXPECT_EQ( ringText( desc ), "value: " + Agent::joinPieces( desc.appType() ) +
                                         " 0 UdfBasePacketStart_ 0 0 0 0 0 0" );
    }
}

TEST( UdfTypesTest, PackedMask_OfOneByte_StandsAtItsPlace )
{
    UdfDesc desc;
    EXPECT_EQ( desc.packedLagHashingMask(), 0U );
    desc.lagHashingMaskIs( { { 3, 0xFF } } );
    EXPECT_EQ( desc.packedLagHashingMask(), 0x000000FFU );
    desc.lagHashingMaskIs( { { 0, 0xFF } } );
    EXPECT_EQ( desc.packedLagHashingMask(), 0xFF000000U );
    desc.lagHashingMaskIs( { { 1, 0x12 }, { 2, 0x34 }, { 4, 0xFF } } );
    EXPECT_EQ( desc.packedLagHashingMask(), 0x00123400U );
}

TEST( UdfTypesTest, Print_Desc_HasAllFields )
{
    EXPECT_EQ( Agent::joinPieces( someDesc() ),
               "{appType: ipv6Acl, ethType: 0x86dd, base: UdfBaseL4OuterPayload_, ipProto: 17, "
               "innerEtherType: 0x800, offset: 12, length: 4, lagHashingMask: 0xab000001, "
               "priority: 200}" );
}

TEST( UdfTypesTest, PackForRing_Desc_IsItsFieldsInTheirOrder )
{
    EXPECT_EQ( ringText( someDesc() ),
               "value: ipv6Acl 34525 UdfBaseL4OuterPayload_ 17 2048 12 4 2868903937 200" );
}

// 16 bits for an EtherType, 32 for the mask, and 8 for any other number.
TEST( UdfTypesTest, PackForRing_Desc_HasTheWidthsOfItsFields )
{
    using Agent::RingKind;
    Agent::RingPacker packer;
    packForRing( packer, someDesc() );
    std::vector< RingKind > kinds;
    const auto bytes = packer.bytes();
    for ( std::size_t at = 0; at < bytes.size(); ) {
        const auto kind = static_cast< RingKind >( bytes[ at ] );
        kinds.push_back( kind );
        at += kind == RingKind::text         ? 2 + std::to_integer< std::size_t >( bytes[ at + 1 ] )
              : kind == RingKind::unsigned32 ? 5U
              : kind == RingKind::unsigned16 ? 3U
                                             : 2U;
    }
    EXPECT_THAT( kinds,
                 ElementsAre( RingKind::text, RingKind::unsigned16, RingKind::text,
                              RingKind::unsigned8, RingKind::unsigned16, RingKind::unsigned8,
                              RingKind::unsigned8, RingKind::unsigned32, RingKind::unsigned8 ) );
}

TEST( UdfTypesTest, PackForRing_IdsAndLists_AreNumbers )
{
    QualIdList quals;
    quals.qualIdIs( 7 );
    quals.qualIdIs( 3 );
    EXPECT_EQ( ringText( quals ), "value: 3 7" );
    EXPECT_EQ( ringText( PktFmtId( -1 ) ), "value: -1" );
}

TEST( UdfTypesTest, Equality_EachField_Counts )
{
    using Change = void ( * )( UdfDesc& );
    const std::vector< Change > changes = {
        []( UdfDesc& desc ) { desc.baseIs( UdfBaseL2Header_ ); },
        []( UdfDesc& desc ) { desc.ethTypeIs( 1 ); },
        []( UdfDesc& desc ) { desc.innerEtherTypeIs( 1 ); },
        []( UdfDesc& desc ) { desc.appTypeIs( UdfAppType::macAcl ); },
        []( UdfDesc& desc ) { desc.ipProtoIs( 1 ); },
        []( UdfDesc& desc ) { desc.offsetIs( 1 ); },
        []( UdfDesc& desc ) { desc.lengthIs( 1 ); },
        []( UdfDesc& desc ) { desc.priorityIs( 1 ); },
        []( UdfDesc& desc ) { desc.lagHashingMaskIs( {} ); },
        []( UdfDesc& desc ) { desc.lagHashingIs( true ); },
    };
    EXPECT_EQ( someDesc(), someDesc() );
    for ( const Change change : changes ) {
        UdfDesc other = someDesc();
        change( other );
        EXPECT_NE( other, someDesc() );
    }
}

TEST( UdfTypesTest, QualIdList_Ids_AreASet )
{
    QualIdList quals;
    EXPECT_EQ( quals.qualIds(), 0U );
    EXPECT_EQ( Agent::joinPieces( quals ), "{}" );
    quals.qualIdIs( 9 );
    quals.qualIdIs( 2 );
    quals.qualIdIs( 9 );
    EXPECT_EQ( quals.qualIds(), 2U );
    EXPECT_TRUE( quals.qualIdHas( 2 ) );
    EXPECT_FALSE( quals.qualIdHas( 3 ) );
    EXPECT_THAT( quals, ElementsAre( 2, 9 ) );
    EXPECT_EQ( Agent::joinPieces( quals ), "{2, 9}" );
    quals.clear();
    EXPECT_EQ( quals, QualIdList() );
}

TEST( UdfTypesTest, UdfIdList_Ids_AreASet )
{
    UdfIdList udfs;
    udfs.udfIdIs( UdfId( 5 ) );
    udfs.udfIdIs( UdfId( 4 ) );
    udfs.udfIdIs( UdfId( 5 ) );
    EXPECT_THAT( udfs, ElementsAre( UdfId( 4 ), UdfId( 5 ) ) );
    udfs.udfIdDel( UdfId( 4 ) );
    udfs.udfIdDel( UdfId( 77 ) );
    EXPECT_FALSE( udfs.udfIdHas( UdfId( 4 ) ) );
    EXPECT_TRUE( udfs.udfIdHas( UdfId( 5 ) ) );
    EXPECT_EQ( udfs.udfIds(), 1U );
}

TEST( UdfTypesTest, UdfChunkPosList_Positions_AreASet )
{
    UdfChunkPosList chunks;
    chunks.udfChunkPosIs( 15 );
    chunks.udfChunkPosIs( 0 );
    chunks.udfChunkPosIs( 15 );
    EXPECT_THAT( chunks, ElementsAre( 0, 15 ) );
    EXPECT_EQ( chunks.udfChunkPositions(), 2U );
    EXPECT_TRUE( chunks.udfChunkPosHas( 15 ) );
    EXPECT_FALSE( chunks.udfChunkPosHas( 1 ) );
}

TEST( UdfTypesTest, Ids_WithoutValue_AreNone )
{
    EXPECT_EQ( UdfId().value(), -1 );
    EXPECT_EQ( UdfHwProgrammingFootprint().pktFmtId, -1 );
    EXPECT_EQ( UdfHwProgrammingFootprint().udfIds.qualIds(), 0U );
    EXPECT_EQ( Agent::joinPieces( UdfId( 12 ) ), "12" );
}

TEST( UdfTypesTest, PktFmtIdToUdfId_Entries_AreSetReplacedAndRemoved )
{
    const PktFmtIdToUdfId::Ptr map( new PktFmtIdToUdfId );
    UdfIdList udfs;
    udfs.udfIdIs( UdfId( 1 ) );
    map->pktFmtIdToUdfIdIs( PktFmtId( 8 ), udfs );
    map->pktFmtIdToUdfIdIs( PktFmtId( 3 ), udfs );
    udfs.udfIdIs( UdfId( 2 ) );
    map->pktFmtIdToUdfIdIs( PktFmtId( 8 ), udfs );
    EXPECT_EQ( map->pktFmtIds(), 2U );
    EXPECT_EQ( map->begin()->first, PktFmtId( 3 ) );
    EXPECT_EQ( map->pktFmtIdToUdfId( PktFmtId( 8 ) ), udfs );
    EXPECT_EQ( map->pktFmtIdToUdfId( PktFmtId( 4 ) ).udfIds(), 0U );
    map->pktFmtIdToUdfIdDel( PktFmtId( 8 ) );
    map->pktFmtIdToUdfIdDel( PktFmtId( 8 ) );
    EXPECT_FALSE( map->pktFmtIdToUdfIdHas( PktFmtId( 8 ) ) );
    EXPECT_TRUE( map->pktFmtIdToUdfIdHas( PktFmtId( 3 ) ) );
}

TEST( UdfTypesTest, PktFmtIdToUdfId_After_IsTheNextEntryWhetherThatOneIsThereOrNot )
{
    const PktFmtIdToUdfId::Ptr map( new PktFmtIdToUdfId );
    EXPECT_EQ( map->after( PktFmtId( 1 ) ), map->end() );
    map->pktFmtIdToUdfIdIs( PktFmtId( 3 ), {} );
    map->pktFmtIdToUdfIdIs( PktFmtId( 8 ), {} );
    EXPECT_EQ( map->after( PktFmtId( 2 ) )->first, PktFmtId( 3 ) );
    EXPECT_EQ( map->after( PktFmtId( 3 ) )->first, PktFmtId( 8 ) );
    EXPECT_EQ( map->after( PktFmtId( 4 ) )->first, PktFmtId( 8 ) );
    EXPECT_EQ( map->after( PktFmtId( 8 ) ), map->end() );
}

TEST( UdfTypesTest, PktFmtIdToUdfId_SharedByPtr_IsReadOnlyByPtrConst )
{
    const PktFmtIdToUdfId::Ptr map( new PktFmtIdToUdfId );
    const PktFmtIdToUdfId::PtrConst readOnly = map;
    map->pktFmtIdToUdfIdIs( PktFmtId( 8 ), {} );
    EXPECT_TRUE( readOnly->pktFmtIdToUdfIdHas( PktFmtId( 8 ) ) );
    EXPECT_EQ( map->references(), 2U );
}

} // namespace
} // namespace PeloraTcam

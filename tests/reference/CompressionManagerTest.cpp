#include "reference/CompressionManager.h"

#include "tests/reference/TcamScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace Reference {
namespace {

using PeloraTcam::CompressionKey;
using PeloraTcam::IpAddress;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Table = CompressionManager::Table;

CompressionKey v4( Agent::U32 address, Agent::U32 length )
{
    return { IpAddress::v4( address ), length };
}

CompressionKey v6( Agent::U8 first, Agent::U8 second, Agent::U32 length )
{
    return { IpAddress::v6( { first, second } ), length };
}

class CompressionManagerTest : public ::testing::Test
{
  protected:
    Agent::U32 acquired( Table table, const CompressionKey& key )
    {
        const auto classId = manager.acquire( table, key );
        EXPECT_TRUE( classId );
        return classId.value_or( 0 );
    }

    TcamScene scene{ "sdk6-udf" };
    /// Class ids 10 to 12 for 5 entries, but enough of them for source addresses.
    CompressionManager manager{ scene.compressionHelper(),
                                { { Table::ipProto, { 5, 10, 3 } },
                                  { Table::l4SrcPort, { 2, 1, 100 } },
                                  { Table::l4DstPort, { 5, 10, 3 } },
                                  { Table::etherType, { 5, 10, 3 } },
                                  { Table::srcIp, { 100, 1, 100 } },
                                  { Table::dstIp, { 100, 1, 100 } } } };
};

// ---- Classes ---------------------------------------------------------------------------------

TEST_F( CompressionManagerTest, Acquire_First_StandsInTheChipAndIsGoneAfterwards )
{
    EXPECT_EQ( acquired( Table::ipProto, CompressionKey( 6 ) ), 10U );
    EXPECT_EQ( scene.text(),
               "field entry 1: group=245 priority=0 installed=yes IpProtocol=0x6/0xff "
               "action:ClassSet=10,0\n" );
    EXPECT_EQ( manager.size(), 1U );
    EXPECT_EQ( manager.size( Table::ipProto ), 1U );
    EXPECT_EQ( manager.size( Table::srcIp ), 0U );
    EXPECT_EQ( manager.classId( Table::ipProto, CompressionKey( 6 ) ), 10U );
    EXPECT_TRUE( manager.release( Table::ipProto, CompressionKey( 6 ) ) );
    EXPECT_EQ( scene.text(), "" ) << "not only taken out of the hardware";
    EXPECT_EQ( manager.size(), 0U );
    EXPECT_EQ( manager.classId( Table::ipProto, CompressionKey( 6 ) ), std::nullopt );
}

TEST_F( CompressionManagerTest, Acquire_Equal_SharesTheClassUntilTheLastUser )
{
    const Agent::U32 classId = acquired( Table::dstIp, v4( 0x0A000000, 8 ) );
    EXPECT_EQ( acquired( Table::dstIp, v4( 0x0A000000, 8 ) ), classId );
    EXPECT_EQ( manager.users( Table::dstIp, v4( 0x0A000000, 8 ) ), 2U );
    EXPECT_EQ( scene.faulty.calls( "bcm_field_entry_create" ), 1U );
    EXPECT_TRUE( manager.release( Table::dstIp, v4( 0x0A000000, 8 ) ) );
    EXPECT_NE( scene.text(), "" );
    EXPECT_TRUE( manager.release( Table::dstIp, v4( 0x0A000000, 8 ) ) );
    EXPECT_EQ( scene.text(), "" );
}

TEST_F( CompressionManagerTest, Acquire_WhatTheChipDoesNotSee_MakesNoDifference )
{
    EXPECT_EQ( acquired( Table::ipProto, CompressionKey( 0x106 ) ),
               acquired( Table::ipProto, CompressionKey( 6 ) ) );
    EXPECT_EQ( acquired( Table::l4DstPort, CompressionKey( 0x10050 ) ),
               acquired( Table::l4DstPort, CompressionKey( 80 ) ) );
    EXPECT_EQ( acquired( Table::srcIp, v4( 0x0A010203, 8 ) ),
               acquired( Table::srcIp, v4( 0x0A000000, 8 ) ) );
    EXPECT_EQ( acquired( Table::srcIp, v6( 0x20, 0xFF, 8 ) ),
               acquired( Table::srcIp, v6( 0x20, 0, 8 ) ) );
    EXPECT_EQ( manager.size(), 4U );
    EXPECT_EQ( manager.audit(), 4U );
}

TEST_F( CompressionManagerTest, Acquire_SameValueInAnotherTable_IsAnother )
{
    acquired( Table::l4SrcPort, CompressionKey( 80 ) );
    acquired( Table::l4DstPort, CompressionKey( 80 ) );
    acquired( Table::etherType, CompressionKey( 80 ) );
    EXPECT_EQ( manager.size(), 3U );
    EXPECT_EQ( manager.audit(), 3U );
}

TEST_F( CompressionManagerTest, Release_ThenAcquire_UsesTheClassIdAgain )
{
    EXPECT_EQ( acquired( Table::etherType, CompressionKey( 1 ) ), 10U );
    EXPECT_EQ( acquired( Table::etherType, CompressionKey( 2 ) ), 11U );
    EXPECT_TRUE( manager.release( Table::etherType, CompressionKey( 1 ) ) );
    EXPECT_EQ( acquired( Table::etherType, CompressionKey( 3 ) ), 10U );
    EXPECT_EQ( manager.classId( Table::etherType, CompressionKey( 2 ) ), 11U );
}

TEST_F( CompressionManagerTest, Release_Unknown_IsRefused )
{
    acquired( Table::ipProto, CompressionKey( 6 ) );
    EXPECT_FALSE( manager.release( Table::ipProto, CompressionKey( 17 ) ) );
    EXPECT_FALSE( manager.release( Table::etherType, CompressionKey( 6 ) ) );
    EXPECT_FALSE( manager.release( Table::invalid, CompressionKey( 6 ) ) );
    EXPECT_TRUE( manager.release( Table::ipProto, CompressionKey( 6 ) ) );
    EXPECT_FALSE( manager.release( Table::ipProto, CompressionKey( 6 ) ) );
    EXPECT_EQ( manager.users( Table::ipProto, CompressionKey( 6 ) ), 0U );
}

// ---- Running out -----------------------------------------------------------------------------

TEST_F( CompressionManagerTest, Acquire_NoClassIdLeft_IsRefusedAndRoomComesBack )
{
    for ( Agent::U32 value = 1; value <= 3; ++value ) {
        EXPECT_EQ( manager.room( Table::ipProto ), CompressionRoom::free );
        acquired( Table::ipProto, CompressionKey( value ) );
    }
    EXPECT_EQ( manager.room( Table::ipProto ), CompressionRoom::noClassId );
    const Sim::ChipSnapshot full = scene.snapshot();
    EXPECT_EQ( manager.acquire( Table::ipProto, CompressionKey( 4 ) ), std::nullopt );
    EXPECT_EQ( scene.snapshot(), full );
    EXPECT_EQ( acquired( Table::ipProto, CompressionKey( 2 ) ), 11U ) << "sharing takes no room";
    EXPECT_TRUE( manager.release( Table::ipProto, CompressionKey( 3 ) ) );
    EXPECT_EQ( acquired( Table::ipProto, CompressionKey( 4 ) ), 12U );
}

TEST_F( CompressionManagerTest, Acquire_NoEntryLeft_IsRefusedAndRoomComesBack )
{
    acquired( Table::l4SrcPort, CompressionKey( 1 ) );
    acquired( Table::l4SrcPort, CompressionKey( 2 ) );
    EXPECT_EQ( manager.room( Table::l4SrcPort ), CompressionRoom::noEntry );
    EXPECT_EQ( manager.acquire( Table::l4SrcPort, CompressionKey( 3 ) ), std::nullopt );
    EXPECT_EQ( manager.room( Table::l4DstPort ), CompressionRoom::free );
    EXPECT_TRUE( manager.release( Table::l4SrcPort, CompressionKey( 1 ) ) );
    acquired( Table::l4SrcPort, CompressionKey( 3 ) );
}

TEST( CompressionLimitsTest, Acquire_AllThatTheChipHas_FitsAndNoMoreIsAskedFor )
{
    TcamScene scene( "sdk6-tiny" );
    CompressionManager manager( scene.compressionHelper(), sameLimits( { 2, 1, 10 } ) );
    for ( const Table table : { Table::etherType, Table::ipProto, Table::l4SrcPort,
                                Table::l4DstPort, Table::srcIp, Table::dstIp } ) {
        for ( Agent::U32 value = 1; value <= 3; ++value ) {
            const bool isAddress = table == Table::srcIp || table == Table::dstIp;
            const CompressionKey key = isAddress ? v4( value << 24, 8 ) : CompressionKey( value );
            EXPECT_EQ( manager.acquire( table, key ).has_value(), value <= 2 );
        }
    }
    EXPECT_EQ( manager.audit(), 12U );
    EXPECT_EQ( scene.chip().field().entries().compressionUsed(), 12U );
}

TEST( CompressionLimitsTest, Acquire_TableWithoutLimits_HasNoRoom )
{
    TcamScene scene( "sdk6-tiny" );
    CompressionManager manager( scene.compressionHelper(), {} );
    EXPECT_EQ( manager.room( Table::ipProto ), CompressionRoom::noEntry );
    EXPECT_EQ( manager.acquire( Table::ipProto, CompressionKey( 6 ) ), std::nullopt );
}

// ---- Overlaps --------------------------------------------------------------------------------

TEST_F( CompressionManagerTest, OverlapsAnother_PrefixesAroundOne_TellsThoseThatContainOrLieIn )
{
    acquired( Table::srcIp, v4( 0x0A010000, 16 ) );
    const auto overlaps = [ & ]( const CompressionKey& key ) {
        return manager.overlapsAnother( Table::srcIp, key );
    };
    EXPECT_FALSE( overlaps( v4( 0x0A010000, 16 ) ) ) << "the same";
    EXPECT_TRUE( overlaps( v4( 0x0A000000, 8 ) ) );
    EXPECT_TRUE( overlaps( v4( 0x0A010000, 15 ) ) );
    EXPECT_TRUE( overlaps( v4( 0x0A010000, 17 ) ) );
    EXPECT_TRUE( overlaps( v4( 0x0A018000, 17 ) ) );
    EXPECT_TRUE( overlaps( v4( 0x0A01FFFF, 32 ) ) );
    EXPECT_TRUE( overlaps( v4( 0, 0 ) ) );
    EXPECT_FALSE( overlaps( v4( 0x0A020000, 16 ) ) );
    EXPECT_FALSE( overlaps( v4( 0x0A00FFFF, 32 ) ) );
    EXPECT_FALSE( overlaps( v4( 0x0A020000, 32 ) ) );
    EXPECT_FALSE( overlaps( v4( 0x0B000000, 8 ) ) );
    EXPECT_FALSE( overlaps( v6( 0x0A, 1, 16 ) ) ) << "of the other family";
    EXPECT_FALSE( manager.overlapsAnother( Table::dstIp, v4( 0x0A000000, 8 ) ) );
}

TEST_F( CompressionManagerTest, OverlapsAnother_SeveralOfOneAddress_AreSeen )
{
    acquired( Table::srcIp, v4( 0x0A000000, 8 ) );
    acquired( Table::srcIp, v4( 0x0A000000, 24 ) );
    EXPECT_TRUE( manager.overlapsAnother( Table::srcIp, v4( 0x0A000000, 8 ) ) );
    EXPECT_TRUE( manager.overlapsAnother( Table::srcIp, v4( 0x0A000000, 24 ) ) );
    EXPECT_TRUE( manager.overlapsAnother( Table::srcIp, v4( 0x0A800000, 9 ) ) );
    EXPECT_TRUE( manager.release( Table::srcIp, v4( 0x0A000000, 24 ) ) );
    EXPECT_FALSE( manager.overlapsAnother( Table::srcIp, v4( 0x0A000000, 8 ) ) );
}

TEST_F( CompressionManagerTest, OverlapsAnother_NumbersAndIpv6_AreToldRight )
{
    acquired( Table::ipProto, CompressionKey( 6 ) );
    EXPECT_FALSE( manager.overlapsAnother( Table::ipProto, CompressionKey( 7 ) ) );
    acquired( Table::dstIp, v6( 0x20, 0x01, 16 ) );
    EXPECT_TRUE( manager.overlapsAnother( Table::dstIp, v6( 0x20, 0, 8 ) ) );
    EXPECT_TRUE( manager.overlapsAnother( Table::dstIp, v6( 0x20, 0x01, 128 ) ) );
    EXPECT_FALSE( manager.overlapsAnother( Table::dstIp, v6( 0x20, 0x02, 16 ) ) );
}

// ---- Failures and audit ----------------------------------------------------------------------

TEST_F( CompressionManagerTest, Acquire_SdkThrows_GivesTheClassIdBack )
{
    scene.nextCallIs( "bcm_field_entry_create", Sim::ThrowFromCall{} );
    EXPECT_THROW( static_cast< void >( manager.acquire( Table::ipProto, CompressionKey( 6 ) ) ),
                  std::runtime_error );
    EXPECT_EQ( manager.size(), 0U );
    EXPECT_EQ( acquired( Table::ipProto, CompressionKey( 6 ) ), 10U );
}

TEST_F( CompressionManagerTest, Release_SdkThrows_IsReleasedFromWhereItWasLeft )
{
    for ( const char* function : { "bcm_field_entry_remove", "bcm_field_entry_destroy" } ) {
        acquired( Table::ipProto, CompressionKey( 6 ) );
        scene.nextCallIs( function, Sim::ThrowFromCall{} );
        EXPECT_THROW( manager.release( Table::ipProto, CompressionKey( 6 ) ), std::runtime_error );
        EXPECT_EQ( manager.users( Table::ipProto, CompressionKey( 6 ) ), 1U );
        EXPECT_TRUE( manager.release( Table::ipProto, CompressionKey( 6 ) ) );
        EXPECT_EQ( scene.text(), "" ) << function;
    }
}

TEST_F( CompressionManagerTest, Acquire_AnyCallRefused_Dies )
{
    for ( const char* function : { "bcm_field_entry_create", "bcm_field_qualify_IpProtocol",
                                   "bcm_field_action_class_add", "bcm_field_entry_install" } ) {
        scene.nextCallIs( function, Sim::FailCall{ Sim::ReturnCode::BCM_E_FULL } );
        EXPECT_DEATH( static_cast< void >( manager.acquire( Table::ipProto, CompressionKey( 6 ) ) ),
                      "API ERROR:Table full" );
        scene.faulty.clearFaults();
    }
}

struct WrongReadBack
{
    Table table;
    const char* function;
    const char* output;
};

TEST_F( CompressionManagerTest, Audit_AnythingReadBackWrong_Dies )
{
    constexpr WrongReadBack wrong[] = {
        { Table::ipProto, "bcm_field_entry_installed_get", "installed" },
        { Table::ipProto, "bcm_field_action_get", "param0" },
        { Table::ipProto, "bcm_field_qualify_IpProtocol_get", "data" },
        { Table::etherType, "bcm_field_qualify_EtherType_get", "mask" },
        { Table::l4SrcPort, "bcm_field_qualify_L4SrcPort_get", "data" },
        { Table::l4DstPort, "bcm_field_qualify_L4DstPort_get", "data" },
        { Table::srcIp, "bcm_field_qualify_SrcIp_get", "mask" },
        { Table::dstIp, "bcm_field_qualify_DstIp6_get", "mask" },
    };
    for ( const WrongReadBack& each : wrong ) {
        const CompressionKey key = each.table == Table::dstIp   ? v6( 0x20, 1, 16 )
                                   : each.table == Table::srcIp ? v4( 0x0A000000, 8 )
                                                                : CompressionKey( 80 );
        acquired( each.table, key );
        EXPECT_EQ( manager.audit(), 1U );
        scene.nextCallIs( each.function, Sim::CorruptOutput{ each.output, 0 } );
        EXPECT_DEATH( manager.audit(), "Assertion .* failed" ) << each.function;
        scene.faulty.clearFaults();
        manager.release( each.table, key );
    }
}

TEST_F( CompressionManagerTest, Audit_AnyWriteDropped_Dies )
{
    for ( const char* function : { "bcm_field_qualify_IpProtocol", "bcm_field_action_class_add",
                                   "bcm_field_entry_install" } ) {
        scene.nextCallIs( function, Sim::DropCall{} );
        acquired( Table::ipProto, CompressionKey( 6 ) );
        EXPECT_DEATH( manager.audit(), "Assertion .* failed" ) << function;
        if ( std::string( function ) != "bcm_field_entry_install" ) {
            manager.release( Table::ipProto, CompressionKey( 6 ) );
        }
    }
}

} // namespace
} // namespace Reference

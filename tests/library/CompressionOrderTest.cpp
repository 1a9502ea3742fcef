// In what order the compression helper does its steps, with which locks, and what is left when a
// step throws.

#include "PeloraTcam/PeloraTcamSdk6CompressionHelper.h"
#include "PeloraTcam/PeloraTcamSdk6Helper.h"
#include "tests/library/HelperScene.h"
#include "tests/library/LockWatchingSdk.h"

#include <vector>

namespace LibraryTest {
namespace {

using PeloraTcam::CompressionData;
using PeloraTcam::CompressionKey;
using PeloraTcam::IpAddress;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::Pair;
using TestSupport::returns;
using TestSupport::TraceRecorder;
using Helper = PeloraTcam::PeloraTcamSdk6CompressionHelper;
using TableType = PeloraTcam::PeloraCompressionTableType;

constexpr const char* source = "PeloraTcam/PeloraTcamSdk6CompressionHelper.cpp";
constexpr const char* facility = "PeloraTcamSdk6CompressionHelper";

class CompressionOrderTest : public HelperScene
{
  protected:
    Agent::U64 get( TableType table, const CompressionData& data )
    {
        return helper->getFieldCompressionEntry( data, 9, table );
    }

    /// The IP protocol 6.
    Agent::U64 getTcp() { return get( TableType::ipProto, tcp ); }

    /// What all facilities write while an operation runs, each line as "LEVEL TEXT".
    template< class Operation >
    static std::vector< std::string > linesOf( const Operation& operation )
    {
        std::vector< std::string > all;
        const TraceRecorder traces( "*", allTraceLevels );
        operation();
        for ( const TestSupport::RecordedLine& line : traces.lines() ) {
            all.push_back( std::to_string( line.level ) + " " + line.text );
        }
        return all;
    }

    const CompressionData tcp{ CompressionKey( 6 ) };
    Agent::Ptr< Helper > helper =
        Helper::PeloraTcamSdk6CompressionHelperIs( 2, PeloraTcam::FapId( unit ) );
};

// ---- Lines and assertions --------------------------------------------------------------------

TEST_F( CompressionOrderTest, Get_Everything_IsWrittenInTheOrderOfTheSteps )
{
    EXPECT_THAT(
        linesOf( [ this ] { getTcp(); } ),
        ElementsAre( "9 getFieldCompressionEntry",
                     "7 getFieldCompressionEntry compressionData 6 classId 9 tableType ipProto",
                     EndsWith( "compressionGroupIpProto(), &entry ) (rc:0)" ),
                     EndsWith( "( U8 )compressionData.key().getU32Key(), 0xFF ) (rc:0)" ),
                     EndsWith( " bcm_field_action_class_add( unit, entry, &class_info ) (rc:0)" ),
                     EndsWith( " bcm_field_entry_install( unit, entry ) (rc:0)" ) ) );
}

TEST_F( CompressionOrderTest, Release_Everything_IsWrittenInTheOrderOfTheSteps )
{
    const Agent::U64 id = getTcp();
    EXPECT_THAT(
        linesOf( [ & ] { helper->releaseFieldCompressionEntry( id, TableType::ipProto ); } ),
        ElementsAre( "9 releaseFieldCompressionEntry",
                     "7 releaseFieldCompressionEntry id 1 tableType ipProto",
                     EndsWith( " bcm_field_entry_remove( fapId().value(), id ) (rc:0)" ) ) );
}

TEST_F( CompressionOrderTest, Get_UnknownTable_TracesThenDies )
{
    expectTracesThenAssertion( facility,
                               { "9 getFieldCompressionEntry",
                                 "7 getFieldCompressionEntry compressionData 6 classId 9 tableType "
                                 "PeloraCompressionTableType(7)" },
                               { source, "qualifiedEntry", "" },
                               "false && \"Invalid Compression Table specified.\"",
                               [ this ] { get( static_cast< TableType >( 7 ), tcp ); } );
}

// ---- Values ----------------------------------------------------------------------------------

TEST_F( CompressionOrderTest, Get_Action_IsTheOneOfTheActionMap )
{
    PeloraTcam::initializeBcmActionMap();
    bcm_field_class_info_t added;
    sdk.on.bcm_field_action_class_add = [ & ]( int, bcm_field_entry_t,
                                               const bcm_field_class_info_t* info ) {
        added = *info;
        return 0;
    };
    getTcp();
    EXPECT_EQ( added.action,
               PeloraTcam::getBcmAction( static_cast< PeloraTcam::ActionType >( 11 ) ) );
}

TEST_F( CompressionOrderTest, Get_Ip4DestinationPrefixes_HaveTheirMasks )
{
    std::vector< bcm_ip_t > masks;
    sdk.on.bcm_field_qualify_DstIp = [ & ]( int, bcm_field_entry_t, bcm_ip_t, bcm_ip_t mask ) {
        masks.push_back( mask );
        return 0;
    };
    sdk.on.bcm_field_entry_create = returns( 0 );
    sdk.on.bcm_field_action_class_add = returns( 0 );
    sdk.on.bcm_field_entry_install = returns( 0 );
    for ( const Agent::U32 length : { 0U, 1U, 24U, 32U } ) {
        get( TableType::dstIp,
             CompressionData( CompressionKey( IpAddress::v4( 0xC0000201 ), length ) ) );
    }
    EXPECT_THAT( masks, ElementsAre( 0U, 0x80000000U, 0xFFFFFF00U, 0xFFFFFFFFU ) );
}

// ---- Locks and exceptions --------------------------------------------------------------------

TEST_F( CompressionOrderTest, Operations_EverySdkCall_IsMadeWithTheLockReleased )
{
    LockWatchingSdk watching( sdk );
    Shim::sdk_ = &watching;
    const CompressionData v4( CompressionKey( IpAddress::v4( 0x0A000000 ), 8 ) );
    const CompressionData v6( CompressionKey( IpAddress::v6( {} ), 8 ) );
    helper->releaseFieldCompressionEntry( getTcp(), TableType::ipProto );
    for ( const TableType table :
          { TableType::etherType, TableType::l4SrcPort, TableType::l4DstPort } ) {
        get( table, tcp );
    }
    for ( const TableType table : { TableType::srcIp, TableType::dstIp } ) {
        get( table, v4 );
        get( table, v6 );
    }
    EXPECT_THAT( watching.held, IsEmpty() );
    EXPECT_THAT(
        watching.free,
        ElementsAre(
            Pair( "bcm_field_action_class_add", 8U ), Pair( "bcm_field_entry_create", 8U ),
            Pair( "bcm_field_entry_install", 8U ), Pair( "bcm_field_entry_remove", 1U ),
            Pair( "bcm_field_qualify_DstIp", 1U ), Pair( "bcm_field_qualify_DstIp6", 1U ),
            Pair( "bcm_field_qualify_EtherType", 1U ), Pair( "bcm_field_qualify_IpProtocol", 1U ),
            Pair( "bcm_field_qualify_L4DstPort", 1U ), Pair( "bcm_field_qualify_L4SrcPort", 1U ),
            Pair( "bcm_field_qualify_SrcIp", 1U ), Pair( "bcm_field_qualify_SrcIp6", 1U ) ) );
}

// Nothing of an operation is undone.
TEST_F( CompressionOrderTest, Get_ACallThrows_LeavesTheEntryAsFarAsItCame )
{
    const std::string created = "field entry 1: group=245 priority=0 installed=no";
    const std::vector< std::pair< const char*, std::string > > cases = {
        { "bcm_field_entry_create", "" },
        { "bcm_field_qualify_IpProtocol", created + "\n" },
        { "bcm_field_action_class_add", created + " IpProtocol=0x6/0xff\n" },
        { "bcm_field_entry_install", created + " IpProtocol=0x6/0xff action:ClassSet=9,0\n" },
    };
    for ( const auto& [ function, left ] : cases ) {
        SCOPED_TRACE( function );
        chips.chipIs( unit, Sim::builtInProfile( "sdk6-tiny" ) );
        faulty.clearFaults();
        faulty.addFromNow( { { .function = function }, Sim::ThrowFromCall{} } );
        EXPECT_THROW( getTcp(), std::runtime_error );
        EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
        EXPECT_EQ( chipText(), left );
    }
    EXPECT_EQ( sdk.countOf( "bcm_field_entry_destroy" ), 0U );
}

} // namespace
} // namespace LibraryTest

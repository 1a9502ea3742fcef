// What the compression helper asks of the SDK for each table, what it writes, and how it ends the
// process.

#include "PeloraTcam/PeloraTcamSdk6CompressionHelper.h"
#include "tests/library/HelperScene.h"

#include <algorithm>
#include <array>

namespace LibraryTest {
namespace {

using PeloraTcam::CompressionData;
using PeloraTcam::CompressionKey;
using PeloraTcam::IpAddress;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::returns;
using Helper = PeloraTcam::PeloraTcamSdk6CompressionHelper;
using TableType = PeloraTcam::PeloraCompressionTableType;

constexpr const char* source = "PeloraTcam/PeloraTcamSdk6CompressionHelper.cpp";
constexpr const char* facility = "PeloraTcamSdk6CompressionHelper";
constexpr const char* invalidTable = "false && \"Invalid Compression Table specified.\"";
constexpr const char* addClassText = "bcm_field_action_class_add( unit, entry, &class_info )";
constexpr const char* installText = "bcm_field_entry_install( unit, entry )";

constexpr IpAddress::Bytes v6Bytes = { 0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1 };

CompressionData number( Agent::U32 value )
{
    return CompressionData( CompressionKey( value ) );
}

CompressionData v4( Agent::U32 address, Agent::U32 length )
{
    return CompressionData( CompressionKey( IpAddress::v4( address ), length ) );
}

CompressionData v6( Agent::U32 length )
{
    return CompressionData( CompressionKey( IpAddress::v6( v6Bytes ), length ) );
}

class CompressionTest : public HelperScene
{
  protected:
    Agent::U64 get( TableType table, const CompressionData& data, Agent::U64 classId = 9 )
    {
        return helper->getFieldCompressionEntry( data, classId, table );
    }

    Agent::Ptr< Helper > helper =
        Helper::PeloraTcamSdk6CompressionHelperIs( 2, PeloraTcam::FapId( unit ) );
};

// ---- The tables ------------------------------------------------------------------------------

/// A table with a value for it, and what becomes of it.
struct TableRow
{
    const char* name;
    TableType table;
    CompressionData data;
    const char* createFunction;
    const char* createText;
    const char* createCall;
    const char* qualifyFunction; ///< of the SDK
    const char* qualifyText;
    const char* qualifyCall;
};

void PrintTo( const TableRow& row, std::ostream* stream )
{
    *stream << row.name;
}

const TableRow rows[] = {
    { "etherType", TableType::etherType, number( 0xABCD86DD ), "etherTypeEntry",
      "bcm_field_entry_create( unit, compressionGroupEtherType(), &entry )",
      "bcm_field_entry_create( 5, 246, & )", "bcm_field_qualify_EtherType",
      "bcm_field_qualify_EtherType( unit, entry, ( U16 )compressionData.key().getU32Key(), 0xFFFF "
      ")",
      "bcm_field_qualify_EtherType( 5, 1, 34525, 65535 )" },
    { "ipProto", TableType::ipProto, number( 0x1FF06 ), "ipProtoEntry",
      "bcm_field_entry_create( unit, compressionGroupIpProto(), &entry )",
      "bcm_field_entry_create( 5, 245, & )", "bcm_field_qualify_IpProtocol",
      "bcm_field_qualify_IpProtocol( unit, entry, ( U8 )compressionData.key().getU32Key(), 0xFF )",
      "bcm_field_qualify_IpProtocol( 5, 1, 6, 255 )" },
    { "l4SrcPort", TableType::l4SrcPort, number( 0x10050 ), "l4SrcPortEntry",
      "bcm_field_entry_create( unit, compressionGroupL4SrcPort(), &entry )",
      "bcm_field_entry_create( 5, 241, & )", "bcm_field_qualify_L4SrcPort",
      "bcm_field_qualify_L4SrcPort( unit, entry, ( U16 )compressionData.key().getU32Key(), 0xFFFF "
      ")",
      "bcm_field_qualify_L4SrcPort( 5, 1, 80, 65535 )" },
    { "l4DstPort", TableType::l4DstPort, number( 0x101BB ), "l4DstPortEntry",
      "bcm_field_entry_create( unit, compressionGroupL4DstPort(), &entry )",
      "bcm_field_entry_create( 5, 242, & )", "bcm_field_qualify_L4DstPort",
      "bcm_field_qualify_L4DstPort( unit, entry, ( U16 )compressionData.key().getU32Key(), 0xFFFF "
      ")",
      "bcm_field_qualify_L4DstPort( 5, 1, 443, 65535 )" },
    { "srcIp", TableType::srcIp, v4( 0xC0000200, 24 ), "srcIpEntry",
      "bcm_field_entry_create( unit, compressionGroupSrcIp(), &entry )",
      "bcm_field_entry_create( 5, 243, & )", "bcm_field_qualify_SrcIp",
      "bcm_field_qualify_SrcIp( unit, entry, compressionData.key().getIpAddress().value(), "
      "fullMask "
      ")",
      "bcm_field_qualify_SrcIp( 5, 1, 3221225984, 4294967040 )" },
    { "dstIp", TableType::dstIp, v4( 0x0A000000, 8 ), "dstIpEntry",
      "bcm_field_entry_create( unit, compressionGroupDstIp(), &entry )",
      "bcm_field_entry_create( 5, 244, & )", "bcm_field_qualify_DstIp",
      "bcm_field_qualify_DstIp( unit, entry, compressionData.key().getIpAddress().value(), "
      "fullMask "
      ")",
      "bcm_field_qualify_DstIp( 5, 1, 167772160, 4278190080 )" },
    { "srcIp6", TableType::srcIp, v6( 64 ), "srcIpEntry",
      "bcm_field_entry_create( unit, compressionGroupSrcIp(), &entry )",
      "bcm_field_entry_create( 5, 243, & )", "bcm_field_qualify_SrcIp6",
      "bcm_field_qualify_SrcIp6( unit, entry, ip6Addr, ip6Mask )",
      "bcm_field_qualify_SrcIp6( 5, 1, &, & )" },
    { "dstIp6", TableType::dstIp, v6( 64 ), "dstIpEntry",
      "bcm_field_entry_create( unit, compressionGroupDstIp(), &entry )",
      "bcm_field_entry_create( 5, 244, & )", "bcm_field_qualify_DstIp6",
      "bcm_field_qualify_DstIp6( unit, entry, ip6Addr, ip6Mask )",
      "bcm_field_qualify_DstIp6( 5, 1, &, & )" },
};

class CompressionTableTest : public CompressionTest,
                             public ::testing::WithParamInterface< TableRow >
{
  protected:
    const TableRow& row = GetParam();

    /// Every failure of one SDK function ends the process at that call.
    void expectFatalAt( const char* sdkFunction, const char* function, const char* text )
    {
        for ( const SdkFailure& failure : allSdkFailures() ) {
            SCOPED_TRACE( failure.name );
            faulty.clearFaults();
            faulty.addFromNow( { { .function = sdkFunction }, Sim::FailCall{ failure.rc } } );
            expectFatalCall( { source, function, text }, failure.rc, failure.text,
                             [ this ] { get( row.table, row.data ); } );
        }
    }
};

TEST_P( CompressionTableTest, Get_EachTable_MakesFourCheckedCalls )
{
    EXPECT_EQ( get( row.table, row.data ), 1U );
    EXPECT_THAT( sdk.allCalls(),
                 ElementsAre( "preApiCall()", row.createCall, "preApiCall()", row.qualifyCall,
                              "preApiCall()",
                              "bcm_field_action_class_add( 5, 1, {action: bcmFieldActionClassSet, "
                              "class_id: 9} )",
                              "preApiCall()", "bcm_field_entry_install( 5, 1 )" ) );
}

TEST_P( CompressionTableTest, Get_ApiLevel4_TracesTheFourCalls )
{
    const auto traced = []( const char* text ) { return std::string( text ) + " (rc:0)"; };
    EXPECT_THAT( apiLines( source, [ this ] { get( row.table, row.data ); } ),
                 ElementsAre( traced( row.createText ), traced( row.qualifyText ),
                              traced( addClassText ), traced( installText ) ) );
}

TEST_P( CompressionTableTest, Get_CreateFails_Dies )
{
    expectFatalAt( "bcm_field_entry_create", row.createFunction, row.createText );
}

TEST_P( CompressionTableTest, Get_QualifyFails_Dies )
{
    expectFatalAt( row.qualifyFunction, row.createFunction, row.qualifyText );
}

TEST_P( CompressionTableTest, Get_GroupHasNoRoom_Dies )
{
    get( row.table, row.data );
    get( row.table, row.data );
    expectFatalCall( { source, row.createFunction, row.createText }, -6, "Table full",
                     [ this ] { get( row.table, row.data ); } );
}

TEST_P( CompressionTableTest, Get_CreateWasDropped_DiesAtTheQualifier )
{
    faulty.add( { { .function = "bcm_field_entry_create" }, Sim::DropCall{} } );
    expectFatalCall( { source, row.createFunction, row.qualifyText }, -7, "Entry not found",
                     [ this ] { get( row.table, row.data ); } );
}

INSTANTIATE_TEST_SUITE_P( Tables,
                          CompressionTableTest,
                          ::testing::ValuesIn( rows ),
                          []( const auto& test ) { return std::string( test.param.name ); } );

TEST_F( CompressionTest, Get_ActionOrInstallFails_Dies )
{
    expectEveryFailureFatal(
        { source, "getFieldCompressionEntry", addClassText },
        [ this ]( int rc ) { sdk.on.bcm_field_action_class_add = returns( rc ); },
        [ this ] { get( TableType::ipProto, number( 6 ) ); } );
    sdk.on.bcm_field_action_class_add = {};
    expectEveryFailureFatal(
        { source, "getFieldCompressionEntry", installText },
        [ this ]( int rc ) { sdk.on.bcm_field_entry_install = returns( rc ); },
        [ this ] { get( TableType::ipProto, number( 6 ) ); } );
}

TEST_F( CompressionTest, Get_AnEntry_StandsInTheChipInstalled )
{
    get( TableType::etherType, number( 0x800 ) );
    EXPECT_EQ( chipText(),
               "field entry 1: group=246 priority=0 installed=yes EtherType=0x800/0xffff "
               "action:ClassSet=9,0\n" );
}

TEST_F( CompressionTest, Get_UnknownTable_DiesBeforeAnySdkCall )
{
    sdk.on.preApiCall = [] { say( "preApiCall" ); };
    for ( const int table : { 0, 7, 8, 255 } ) {
        expectAssertion( { source, "qualifiedEntry", "" }, invalidTable,
                         [ & ] { get( static_cast< TableType >( table ), number( 1 ) ); } );
    }
}

// ---- Values ----------------------------------------------------------------------------------

TEST_F( CompressionTest, Get_Ip4Prefixes_HaveTheirMasks )
{
    std::vector< bcm_ip_t > masks;
    sdk.on.bcm_field_qualify_SrcIp = [ & ]( int, bcm_field_entry_t, bcm_ip_t, bcm_ip_t mask ) {
        masks.push_back( mask );
        return 0;
    };
    sdk.on.bcm_field_entry_create = returns( 0 );
    sdk.on.bcm_field_action_class_add = returns( 0 );
    sdk.on.bcm_field_entry_install = returns( 0 );
    for ( const Agent::U32 length : { 0U, 1U, 24U, 31U, 32U } ) {
        get( TableType::srcIp, v4( 0xC0000201, length ) );
    }
    EXPECT_THAT( masks, ElementsAre( 0U, 0x80000000U, 0xFFFFFF00U, 0xFFFFFFFEU, 0xFFFFFFFFU ) );
}

TEST_F( CompressionTest, Get_Ip6Prefix_HasAddressAndMaskInNetworkOrder )
{
    using Bytes = std::array< uint8_t, 16 >;
    Bytes address{};
    Bytes mask{};
    const auto keep = [ & ]( int, bcm_field_entry_t, const uint8_t* data, const uint8_t* bits ) {
        std::copy_n( data, address.size(), address.begin() );
        std::copy_n( bits, mask.size(), mask.begin() );
        return 0;
    };
    sdk.on.bcm_field_qualify_SrcIp6 = keep;
    sdk.on.bcm_field_qualify_DstIp6 = keep;
    get( TableType::srcIp, v6( 60 ) );
    EXPECT_EQ( address, v6Bytes );
    EXPECT_EQ( mask, ( Bytes{ 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xF0 } ) );
    get( TableType::dstIp, v6( 128 ) );
    EXPECT_EQ( address, v6Bytes );
    EXPECT_TRUE( std::ranges::all_of( mask, []( uint8_t byte ) { return byte == 0xFF; } ) );
    get( TableType::dstIp, v6( 0 ) );
    EXPECT_EQ( mask, Bytes{} );
}

TEST_F( CompressionTest, Get_Ip6PrefixAbove128_Dies )
{
    for ( const TableType table : { TableType::srcIp, TableType::dstIp } ) {
        expectAssertion( { "agent/tcam/IpAddress.cpp", "ip6PrefixMask", "" }, "len <= 128",
                         [ & ] { get( table, v6( 129 ) ); } );
    }
}

TEST_F( CompressionTest, Get_ClassId_HasThirtyTwoBits )
{
    get( TableType::ipProto, number( 6 ), 0x1FFFFFFFE );
    EXPECT_THAT( sdk.calls(),
                 ::testing::Contains( "bcm_field_action_class_add( 5, 1, {action: "
                                      "bcmFieldActionClassSet, class_id: 4294967294} )" ) );
}

TEST_F( CompressionTest, Get_EntryId_IsSignExtended )
{
    sdk.on.bcm_field_entry_create = []( int, bcm_field_group_t, bcm_field_entry_t* entry ) {
        *entry = -2;
        return 0;
    };
    sdk.on.bcm_field_qualify_IpProtocol = returns( 0 );
    sdk.on.bcm_field_action_class_add = returns( 0 );
    sdk.on.bcm_field_entry_install = returns( 0 );
    sdk.on.bcm_field_entry_remove = returns( 0 );
    const Agent::U64 id = get( TableType::ipProto, number( 6 ) );
    EXPECT_EQ( id, 0xFFFFFFFFFFFFFFFEULL );
    sdk.clear();
    helper->releaseFieldCompressionEntry( id, TableType::ipProto );
    EXPECT_THAT( sdk.calls(), ElementsAre( "bcm_field_entry_remove( 5, -2 )" ) );
}

TEST_F( CompressionTest, Get_RequestChangesDuringACall_UsesWhatItWasGiven )
{
    CompressionData data = number( 6 );
    sdk.on.bcm_field_entry_create = [ & ]( int, bcm_field_group_t, bcm_field_entry_t* entry ) {
        *entry = 1;
        data = number( 17 );
        return 0;
    };
    sdk.on.bcm_field_qualify_IpProtocol = returns( 0 );
    sdk.on.bcm_field_action_class_add = returns( 0 );
    sdk.on.bcm_field_entry_install = returns( 0 );
    get( TableType::ipProto, data );
    EXPECT_THAT( sdk.calls(),
                 ::testing::Contains( "bcm_field_qualify_IpProtocol( 5, 1, 6, 255 )" ) );
}

// ---- releaseFieldCompressionEntry ------------------------------------------------------------

TEST_F( CompressionTest, Release_AnEntry_RemovesButDoesNotDestroyIt )
{
    const Agent::U64 id = get( TableType::ipProto, number( 6 ) );
    sdk.clear();
    helper->releaseFieldCompressionEntry( id, TableType::ipProto );
    EXPECT_THAT( sdk.allCalls(), ElementsAre( "preApiCall()", "bcm_field_entry_remove( 5, 1 )" ) );
    EXPECT_EQ( chipText(), "field entry 1: group=245 priority=0 installed=no IpProtocol=0x6/0xff "
                           "action:ClassSet=9,0\n" );
}

TEST_F( CompressionTest, Release_AnyTable_DoesNotMatter )
{
    const Agent::U64 id = get( TableType::ipProto, number( 6 ) );
    helper->releaseFieldCompressionEntry( id, static_cast< TableType >( 99 ) );
    EXPECT_EQ( sdk.countOf( "bcm_field_entry_remove" ), 1U );
}

TEST_F( CompressionTest, Release_UnknownOrRemovedEntry_Dies )
{
    const Agent::U64 id = get( TableType::ipProto, number( 6 ) );
    helper->releaseFieldCompressionEntry( id, TableType::ipProto );
    const SdkCallSite remove{ source, "releaseFieldCompressionEntry",
                              "bcm_field_entry_remove( fapId().value(), id )" };
    for ( const Agent::U64 wrong : { id, Agent::U64{ 0 }, Agent::U64{ 4711 } } ) {
        expectFatalCall( remove, -7, "Entry not found", [ & ] {
            helper->releaseFieldCompressionEntry( wrong, TableType::ipProto );
        } );
    }
}

TEST_F( CompressionTest, Release_EachFailure_Dies )
{
    expectEveryFailureFatal(
        { source, "releaseFieldCompressionEntry", "bcm_field_entry_remove( fapId().value(), id )" },
        [ this ]( int rc ) { sdk.on.bcm_field_entry_remove = returns( rc ); },
        [ this ] { helper->releaseFieldCompressionEntry( 1, TableType::ipProto ); } );
}

// ---- Writes that are dropped -------------------------------------------------------------------

// Compression entries are not audited: nothing reads back how they match and what they do.
TEST_F( CompressionTest, Get_QualifierOrClassWasDropped_IsNotNoticed )
{
    faulty.add( { { .function = "bcm_field_qualify_IpProtocol" }, Sim::DropCall{} } );
    faulty.add( { { .function = "bcm_field_action_class_add", .call = 2 }, Sim::DropCall{} } );
    get( TableType::ipProto, number( 6 ) );
    get( TableType::ipProto, number( 17 ) );
    EXPECT_EQ( chipText(),
               "field entry 1: group=245 priority=0 installed=yes action:ClassSet=9,0\n"
               "field entry 2: group=245 priority=0 installed=yes IpProtocol=0x11/0xff\n" );
}

TEST_F( CompressionTest, Get_InstallationWasDropped_IsNoticedAtTheRelease )
{
    faulty.add( { { .function = "bcm_field_entry_install" }, Sim::DropCall{} } );
    const Agent::U64 id = get( TableType::ipProto, number( 6 ) );
    expectFatalCall(
        { source, "releaseFieldCompressionEntry", "bcm_field_entry_remove( fapId().value(), id )" },
        -7, "Entry not found",
        [ & ] { helper->releaseFieldCompressionEntry( id, TableType::ipProto ); } );
}

TEST_F( CompressionTest, Release_RemovalWasDropped_IsNotNoticed )
{
    const Agent::U64 id = get( TableType::ipProto, number( 6 ) );
    const std::string before = chipText();
    faulty.add( { { .function = "bcm_field_entry_remove" }, Sim::DropCall{} } );
    helper->releaseFieldCompressionEntry( id, TableType::ipProto );
    EXPECT_EQ( chipText(), before );
}

// ---- What it writes --------------------------------------------------------------------------

TEST_F( CompressionTest, Get_Levels9And7_TraceEntryAndArguments )
{
    sdk.on.bcm_field_entry_create = returns( 0 );
    sdk.on.bcm_field_qualify_SrcIp = returns( 0 );
    sdk.on.bcm_field_action_class_add = returns( 0 );
    sdk.on.bcm_field_entry_install = returns( 0 );
    const SdkCallSite site{ source, "getFieldCompressionEntry", "" };
    const auto operation = [ this ] { get( TableType::srcIp, v4( 0xC0000200, 24 ), 31 ); };
    expectLine( site, facility, 9, "getFieldCompressionEntry", operation );
    expectLine( site, facility, 7,
                "getFieldCompressionEntry compressionData 192.0.2.0/24 classId 31 tableType srcIp",
                operation );
}

TEST_F( CompressionTest, Release_Levels9And7_TraceEntryAndArguments )
{
    sdk.on.bcm_field_entry_remove = returns( 0 );
    const SdkCallSite site{ source, "releaseFieldCompressionEntry", "" };
    const auto operation = [ this ] {
        helper->releaseFieldCompressionEntry( 31, TableType::dstIp );
    };
    expectLine( site, facility, 9, "releaseFieldCompressionEntry", operation );
    expectLine( site, facility, 7, "releaseFieldCompressionEntry id 31 tableType dstIp",
                operation );
    EXPECT_THAT( apiLines( source, operation ),
                 ElementsAre( "bcm_field_entry_remove( fapId().value(), id ) (rc:0)" ) );
}

TEST_F( CompressionTest, HandleInitialized_Level9_TracesAndDoesNothingElse )
{
    expectLine( { source, "handleInitialized", "" }, facility, 9, "handleInitialized",
                [ this ] { helper->handleInitialized(); } );
    EXPECT_THAT( sdk.allCalls(), IsEmpty() );
    EXPECT_FALSE( helper->initialized() );
}

} // namespace
} // namespace LibraryTest

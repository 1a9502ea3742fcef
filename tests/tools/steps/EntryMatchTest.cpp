// create-entry with `match`: any qualifier, ranges, classes and user-defined fields.

#include "tests/tools/StepRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using ToolTest::runOn;
using ToolTest::stepOf;
using ToolTest::ToolResult;

const std::string chips[] = { "sdk6-udf", "sdk6-flex", "hsdk" };

const std::string audit = "  - audit: all\n";
const std::string expectError = "    expect: error\n";
const std::string expectAborted = "    expect: aborted\n";

std::string group( const std::string& qualifiers )
{
    return "  - create-group: { name: acl, stage: ifp, key-size: 320, qualifiers: [ " + qualifiers +
           " ], actions: [ drop ] }\n";
}

std::string entry( const std::string& match, const std::string& more = "" )
{
    return "  - create-entry: { name: e, group: acl" + more + ", match: { " + match + " } }\n";
}

/// What the chip holds of the entry, as a snapshot shows it.
std::string entryText( const ToolResult& result )
{
    const auto objects = result.json().at( "snapshot" );
    std::string text;
    for ( const auto& object : objects ) {
        if ( object.at( "object" ) == "field entry 1" ) {
            for ( const auto& field : object.at( "fields" ) ) {
                text += " " + field.at( "name" ).get< std::string >() + "=" +
                        field.at( "value" ).get< std::string >();
            }
        }
    }
    return text;
}

// ---- Qualifiers ------------------------------------------------------------------------------

TEST( EntryMatch, Run_ValuesOfEachKind_AreOnTheChipAndAudited )
{
    struct Case
    {
        std::string qualifier; ///< of the group
        std::string match;
        std::string onChip;
    };

    const Case cases[] = {
        { "ipTtl", "ttl: 1", "Ttl=0x1/0xff" },
        { "ipTtl", "ipTtl: { data: 0x10, mask: 0xF0 }", "Ttl=0x10/0xf0" },
        { "tcpControl", "tcpFlags: { data: 0x02, mask: 0x12 }", "TcpControl=0x2/0x12" },
        { "outerVlanId", "vlan: 10", "OuterVlanId=0xa/0xfff" },
        { "innerVlanId", "innerVlan: 4095", "InnerVlanId=0xfff/0xfff" },
        { "vxlanNetworkId", "vni: 5000", "VxlanNetworkId=0x1388/0xffffff" },
        { "dscp", "dscp: 46", "DSCP=0x2e/0x3f" },
        { "inPort", "port: 3", "InPort=0x3/0xffffffff" },
        { "drop", "drop: 0", "Drop=0x0/0xff" },
        { "icmpTypeCode", "icmp: { data: 0x0800, mask: 0xff00 }", "IcmpTypeCode=0x800/0xff00" },
        { "ipProtocol", "protocol: gre", "IpProtocol=0x2f/0xff" },
        { "ipProtocol", "ipProtocol: { data: tcp, mask: 0xEF }", "IpProtocol=0x6/0xef" },
        { "innerIpProtocol", "innerProtocol: 0", "InnerIpProtocol=0x0/0xff" },
        { "etherType", "ethertype: arp", "EtherType=0x806/0xffff" },
        { "etherTypeL2", "etherType: arp", "EtherType=0x806/0xffff" },
        { "greProtocol", "greProtocol: 0x6558", "GreProtocol=0x6558/0xffff" },
        { "innerSrcIp", "innerSrcIp: 10.0.0.0/8", "InnerSrcIp=0xa000000/0xff000000" },
        { "srcIp", "srcIp: 192.0.2.1", "SrcIp=0xc0000201/0xffffffff" },
        { "srcIp", "srcIp: { data: 10.0.0.5, mask: 255.0.0.255 }", "SrcIp=0xa000005/0xff0000ff" },
        { "dstIp", "dstIp: 0x0A000000", "DstIp=0xa000000/0xffffffff" },
        { "srcIp6", "srcIp6: '2001:db8::/32'",
          "SrcIp6=0x20010db8000000000000000000000000/0xffffffff000000000000000000000000" },
        { "innerDstIp6", "innerDstIp6: { data: '2001:db8::1', mask: 'ffff::ffff' }",
          "InnerDstIp6=0x20010db8000000000000000000000001/0xffff000000000000000000000000ffff" },
        { "srcMac", "srcMac: 02:00:00:00:00:01", "SrcMac=0x020000000001/0xffffffffffff" },
        { "dstMac", "dstMac: 02:00:00:00:00:00/ff:00:00:00:00:0f",
          "DstMac=0x020000000000/0xff000000000f" },
        { "dstMac", "dstMac: { data: 1:2:3:a:b:c, mask: ff:ff:ff:0:0:0 }",
          "DstMac=0x0102030a0b0c/0xffffff000000" },
        { "ipType", "ipType: ipv4Any", "IpType=bcmFieldIpTypeIpv4Any" },
        { "ipType", "ipType: ipv6Any", "IpType=bcmFieldIpTypeIpv6" },
        { "ipType", "ipType: bcmFieldIpTypeTrill", "IpType=bcmFieldIpTypeTrill" },
        { "innerIpType", "innerIpType: Ipv6TwoExtHdr", "InnerIpType=bcmFieldIpTypeIpv6TwoExtHdr" },
        { "fragType", "fragment: nonFirst", "IpFrag=bcmFieldIpFragNonFirst" },
        { "tnlType", "tunnelType: Gre", "TunnelType=bcmFieldTunnelTypeGre" },
        { "dropReason", "dropReason: unknownVlan", "DropReason=bcmFieldDropReasonUnknownVlan" },
        { "pktType", "pktType: l2Broadcast", "PktType=bcmFieldPktTypeL2Bcast" },
        { "overlayPktType", "overlayPktType: Oam", "OverlayPktType=bcmFieldPktTypeOam" },
        { "pktFwdType", "pktFwdType: ipv4Unicast", "PktFwdType=bcmFieldPktFwdTypeIp4Ucast" },
        { "l2PktType", "l2PktType: multicast", "L2PktType=bcmFieldL2PktTypeMulticast" },
        { "overlayL2PktType", "overlayL2PktType: Any", "OverlayL2PktType=bcmFieldL2PktTypeAny" },
        { "l2Format", "l2Format: ieee802dot3", "L2Format=bcmFieldL2Format802dot3" },
        { "forwardingType", "forwardingType: l2", "ForwardingType=bcmFieldForwardingTypeL2" },
    };
    for ( const Case& one : cases ) {
        const ToolResult result =
            runOn( "hsdk", group( one.qualifier ) + entry( one.match ) + audit,
                   { "--snapshot", "--numbering", "shuffled:5" } );
        ASSERT_EQ( result.exitCode, 0 ) << one.match << result.output << result.errors;
        EXPECT_THAT( entryText( result ), HasSubstr( " " + one.onChip + " action" ) ) << one.match;
        EXPECT_EQ( stepOf( result, 2 ).at( "audited" ), 2 ) << one.match;
    }
}

TEST( EntryMatch, Run_OnEachChip_IsBesideTheOtherKeysAndAudited )
{
    for ( const std::string& chip : chips ) {
        const ToolResult result =
            runOn( chip,
                   group( "srcIp, ipProtocol, tcpControl, ipTtl" ) +
                       entry( "tcpFlags: { data: 2, mask: 18 }, ttl: 1",
                              ", src: 10.0.0.0/8, protocol: tcp" ) +
                       "  - inject-fault: { function: bcm_field_qualify_TcpControl_get, call: 1, "
                       "corrupt: { field: data, value: 3 } }\n" +
                       audit + expectAborted + "  - clear-faults: all\n" + audit,
                   { "--snapshot" } );
        ASSERT_EQ( result.exitCode, 0 ) << chip << result.output << result.errors;
        EXPECT_THAT( entryText( result ),
                     HasSubstr( " IpProtocol=0x6/0xff SrcIp=0xa000000/0xff000000 "
                                "TcpControl=0x2/0x12 Ttl=0x1/0xff action" ) );
    }
}

TEST( EntryMatch, Run_QualifierThatTheGroupHasNot_IsAnErrorAndLeavesNothing )
{
    const std::pair< std::string, std::string > cases[] = {
        { "ttl: 1", "match.ttl: the group 'acl' has no qualifier 'ipTtl'" },
        { "srcIp: 10.0.0.0/8",
          "match.srcIp: the group 'acl' has no qualifier 'srcIp', did you mean 'srcIp6'?" },
        { "range: web", "match.range: the group 'acl' has no qualifier 'rangeCheck'" },
        { "class: { dstIp: 1 }",
          "match.class.dstIp: the group 'acl' has no qualifier 'dstClassField'" },
        { "udf: { vni: 1 }", "match.udf: the group 'acl' has no qualifier udfChunk0 to udfChunk7" },
    };
    for ( const auto& [ match, text ] : cases ) {
        const ToolResult result =
            runOn( "sdk6-udf", group( "etherType, srcIp6" ) + entry( match ) + expectError );
        ASSERT_EQ( result.exitCode, 0 ) << match << result.output << result.errors;
        EXPECT_EQ( stepOf( result, 1 ).at( "text" ), text );
        EXPECT_EQ( ToolTest::usedOf( result, "tcamEntries" ), 0 );
    }
}

TEST( EntryMatch, Run_SdkRefuses_IsAnErrorWithTheFunction )
{
    const ToolResult result =
        runOn( "hsdk", group( "ipTtl, ecn" ) +
                           "  - inject-fault: { function: bcm_field_qualify_Ttl, call: 1, fail: "
                           "BCM_E_INTERNAL }\n" +
                           entry( "ttl: 1, ecn: 3" ) + expectError );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 2 ).at( "sdkFunction" ), "bcm_field_qualify_Ttl" );
    EXPECT_EQ( ToolTest::usedOf( result, "tcamEntries" ), 0 );
}

// ---- Ranges and classes ----------------------------------------------------------------------

const std::string checkers =
    "  - allocate-range-checker: { name: web, type: l4DstPort, low: 80, high: 90 }\n"
    "  - allocate-range-checker: { name: clients, type: l4SrcPort, low: 1024, high: 65535 }\n"
    "  - allocate-range-checker: { name: jumbo, type: packetLength, low: 1519, high: 9000 }\n";

TEST( EntryMatch, Run_Ranges_AreThoseOfTheNames )
{
    for ( const std::string& chip : chips ) {
        const ToolResult result =
            runOn( chip,
                   checkers + group( "rangeCheck" ) +
                       entry( "range: web, ranges: [ clients, { not: jumbo } ]" ) + audit,
                   { "--snapshot" } );
        ASSERT_EQ( result.exitCode, 0 ) << chip << result.output << result.errors;
        EXPECT_THAT( entryText( result ),
                     HasSubstr( " RangeCheck=1 RangeCheck=2 RangeCheck=not-3 action" ) );
    }
    const ToolResult unknown = runOn( "hsdk", checkers + group( "rangeCheck" ) +
                                                  entry( "range: { not: wep }" ) + expectError );
    ASSERT_EQ( unknown.exitCode, 0 ) << unknown.output << unknown.errors;
    EXPECT_EQ( stepOf( unknown, 4 ).at( "text" ),
               "there is no range checker 'wep', did you mean 'web'?" );
}

TEST( EntryMatch, Run_Classes_AreThoseOfTheValuesOrNumbers )
{
    const std::string compressed = "  - compress: { table: srcIp, key: 192.0.2.0/24, class: 7 }\n"
                                   "  - compress: { table: ipProto, key: tcp, class: 8 }\n"
                                   "  - compress: { table: l4DstPort, key: 80, class: 9 }\n";
    const std::string classGroup =
        group( "srcClassField, interfaceClassL3, interfaceClassVPort, dstClassField" );
    const ToolResult result =
        runOn( "sdk6-udf",
               compressed + classGroup +
                   "  - create-entry: { name: e, group: acl, match: { class: { srcIp: "
                   "192.0.2.0/24, ipProto: tcp, l4DstPort: { key: 80 }, dstIp: 0x11 } } }\n" +
                   audit,
               { "--snapshot" } );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    const std::string text =
        ToolTest::ToolFolder()
            .runScenario( "chip: sdk6-udf\nsteps:\n" + compressed + classGroup +
                              entry( "class: { srcIp: 192.0.2.0/24, ipProto: tcp, l4DstPort: { "
                                     "key: 80 }, dstIp: 0x11 }" ),
                          { "--snapshot" } )
            .output;
    EXPECT_THAT( text, HasSubstr( "DstClassField=0x11/0xffff InterfaceClassL3=0x8/0xffff "
                                  "InterfaceClassVPort=0x9/0xffff SrcClassField=0x7/0xffff" ) );
}

TEST( EntryMatch, Run_ClassOfAValueThatHasNone_IsAnError )
{
    const ToolResult result =
        runOn( "sdk6-udf",
               group( "srcClassField" ) + entry( "class: { srcIp: 192.0.2.0/24 }" ) + expectError );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 1 ).at( "text" ), "the table srcIp has no 192.0.2.0/24" );
    const ToolResult hsdk =
        runOn( "hsdk",
               group( "srcClassField" ) + entry( "class: { srcIp: 192.0.2.0/24 }" ) + expectError );
    ASSERT_EQ( hsdk.exitCode, 0 ) << hsdk.output << hsdk.errors;
    EXPECT_EQ( stepOf( hsdk, 1 ).at( "text" ), "an HSDK chip has no field compression" );
}

// ---- User-defined fields ---------------------------------------------------------------------

std::string udf( int length )
{
    return "  - program-udf: { name: vni, base: l4OuterPayload, ethertype: ipv4, protocol: udp, "
           "offset: 4, length: " +
           std::to_string( length ) + " }\n";
}

const std::string udfGroup = group( "udfChunk0, udfChunk1, srcIp" );

TEST( EntryMatch, Run_UserDefinedField_HasItsBytesInTheirOrder )
{
    const std::pair< std::string, std::string > cases[] = {
        { "5000", "0x001388/0xffffff" },
        { "0x001388", "0x001388/0xffffff" },
        { "00 13 88", "0x001388/0xffffff" },
        { "{ data: 0x1300, mask: 0xff00 }", "0x001300/0x00ff00" },
        { "{ data: 0, mask: 0 }", "0x000000/0x000000" },
    };
    for ( const auto& [ value, onChip ] : cases ) {
        const ToolResult result =
            runOn( "sdk6-udf",
                   udf( 3 ) + udfGroup + entry( "udf: { vni: " + value + " }" ) +
                       "  - inject-fault: { function: bcm_field_qualify_udf_get, call: 1, corrupt: "
                       "{ field: data, value: 9 } }\n" +
                       audit + expectAborted + "  - clear-faults: all\n" + audit,
                   { "--snapshot" } );
        ASSERT_EQ( result.exitCode, 0 ) << value << result.output << result.errors;
        EXPECT_THAT( entryText( result ), HasSubstr( "=" + onChip + " action" ) );
    }
}

TEST( EntryMatch, Run_UserDefinedFieldOfAnyChip_IsAudited )
{
    for ( const std::string& chip : chips ) {
        const ToolResult result =
            runOn( chip,
                   "  - program-udf: { name: vni, base: l3Header, ethertype: ipv4, offset: "
                   "4, length: 2 }\n" +
                       udfGroup + entry( "udf: { vni: 0x1234 }" ) + audit,
                   { "--snapshot" } );
        ASSERT_EQ( result.exitCode, 0 ) << chip << result.output << result.errors;
        EXPECT_THAT( entryText( result ), HasSubstr( "=0x1234/0xffff action" ) ) << chip;
    }
}

TEST( EntryMatch, Run_BytesThatAFieldHasNot_AreAnError )
{
    const std::pair< std::string, std::string > cases[] = {
        { "vni: 0x1000000", "match.udf.vni: 4 bytes for a field of 3" },
        { "vni: 00 13", "match.udf.vni: 2 bytes for a field of 3" },
        { "vni: { data: 1, mask: 0x1ffffffff }", "match.udf.vni: 5 bytes for a field of 3" },
        { "vny: 1", "there is no user-defined field 'vny', did you mean 'vni'?" },
    };
    for ( const auto& [ value, text ] : cases ) {
        const ToolResult result = runOn(
            "sdk6-udf", udf( 3 ) + udfGroup + entry( "udf: { " + value + " }" ) + expectError );
        ASSERT_EQ( result.exitCode, 0 ) << value << result.output << result.errors;
        EXPECT_EQ( stepOf( result, 2 ).at( "text" ), text );
    }
}

// ---- Mistakes --------------------------------------------------------------------------------

TEST( EntryMatch, Read_SomethingIsWrong_SaysWhereAndRunsNothing )
{
    const std::pair< std::string, std::string > cases[] = {
        { "tll: 1", "3:51: unknown key 'tll', did you mean 'ttl'?" },
        { "ttl: 256", "3:56: expected a whole number from 0 to 255, found '256'" },
        { "ttl: { data: 1, mask: 256 }",
          "3:73: expected a whole number from 0 to 255, found '256'" },
        { "ttl: { mask: 255 }", "3:56: missing key 'data'" },
        { "ecn: 4", "3:56: expected a whole number from 0 to 3, found '4'" },
        { "vni: 0x1000000", "3:56: expected a whole number from 0 to 16777215, found '0x1000000'" },
        { "ttl: 010", "3:56: expected a number without a leading zero, found '010'" },
        { "stage: 1", "3:58: no SDK function asks an entry for 'stage'" },
        { "cpuQueue: 1", "3:61: no SDK function asks an entry for 'cpuQueue'" },
        { "innerIpTtl: 1", "3:63: the library does not take 'innerIpTtl'" },
        { "rangeCheck: 1", "3:63: 'rangeCheck' is asked for with 'range' or 'ranges'" },
        { "srcClassField: 1", "3:66: 'srcClassField' is asked for with 'class'" },
        { "udfChunk3: 1", "3:62: 'udfChunk3' is asked for with 'udf'" },
        { "srcIp: '2001:db8::/32'", "3:58: expected an IPv4 prefix, found '2001:db8::/32'" },
        { "srcIp6: 10.0.0.0/8", "3:59: expected an IPv6 prefix, found '10.0.0.0/8'" },
        { "srcIp: 10.1.2.3/8", "3:58: expected a prefix without host bits, '10.0.0.0/8', found "
                               "'10.1.2.3/8'" },
        { "srcMac: 02:00:00:00:01", "3:59: expected a MAC address such as '02:00:00:00:00:01', "
                                    "found '02:00:00:00:01'" },
        { "srcMac: 02:00:00:00:00:01/ff", "3:59: expected a MAC address such as "
                                          "'02:00:00:00:00:01', found '02:00:00:00:00:01/ff'" },
        { "ipType: ipv4Ani", "3:59: unknown value 'ipv4Ani', did you mean 'ipv4Any'?" },
        { "protocol: any", "3:61: unknown value 'any'" },
        { "ttl: 1, ipTtl: 1", "3:66: 'match.ipTtl' asks for what 'match.ttl' does" },
        { "etherType: 1, etherTypeL2: 1",
          "3:78: 'match.etherTypeL2' asks for what 'match.etherType' does" },
        { "srcIp: 10.0.0.0/8, dstIp6: '2001:db8::/32'",
          "3:78: expected IPv4 as in 'match.srcIp', found IPv6" },
        { "innerSrcIp: 10.0.0.0/8, innerDstIp6: '2001:db8::/32'",
          "3:88: expected IPv4 as in 'match.innerSrcIp', found IPv6" },
        { "ipType: ipv6Any, srcIp: 10.0.0.0/8",
          "3:59: expected IPv4 as in 'match.srcIp', found IPv6" },
        { "class: { srcIpp: 1 }", "3:60: unknown key 'srcIpp', did you mean 'srcIp'?" },
        { "class: { srcIp: 65536 }",
          "3:67: expected a whole number from 0 to 65535, found '65536'" },
        { "range: { no: web }", "3:60: unknown key 'no', did you mean 'not'?" },
        { "udf: { vni: x }",
          "3:63: expected a whole number from 0 to 18446744073709551615, found 'x'" },
        { "udf: { vni: 0xfg }",
          "3:63: expected a whole number, or bytes such as '00 13 88', found '0xfg'" },
        { "udf: { vni: 00 1388 }",
          "3:63: expected a whole number, or bytes such as '00 13 88', found '00 1388'" },
        { "udf: { vni: 0x1000000000000000000000000000000000 }",
          "3:63: expected at most 16 bytes, found 17" },
        { "udf: 1", "3:56: expected a mapping, found '1'" },
    };
    for ( const auto& [ match, message ] : cases ) {
        const ToolResult result = runOn( "sdk6-tiny", entry( match ) );
        EXPECT_EQ( result.exitCode, 2 ) << match;
        EXPECT_THAT( result.errors, HasSubstr( "scenario.yaml:" + message ) ) << match;
        EXPECT_EQ( result.output, "" ) << match;
    }
}

TEST( EntryMatch, Read_WhatAnotherKeyAsksFor_IsAnError )
{
    const std::pair< std::string, std::string > cases[] = {
        { "src: 10.0.0.0/8, match: { srcIp: 10.0.0.0/8 }",
          "'match.srcIp' asks for what 'src' does" },
        { "src: 10.0.0.0/8, match: { srcIp6: '2001:db8::/32' }",
          "expected IPv4 as in 'src', found IPv6" },
        { "protocol: tcp, match: { protocol: udp }",
          "'match.protocol' asks for what 'protocol' does" },
        { "dst-port: 80, match: { l4DstPort: 80 }",
          "'match.l4DstPort' asks for what 'dst-port' does" },
        { "src-port: 80, match: { l4SrcPort: 80 }",
          "'match.l4SrcPort' asks for what 'src-port' does" },
        { "ethertype: ipv4, match: { etherType: ipv4 }",
          "'match.etherType' asks for what 'ethertype' does" },
        { "ethertype: ipv4, match: { ipType: ipv6Any }",
          "expected IPv4 as in 'ethertype', found IPv6" },
    };
    for ( const auto& [ keys, message ] : cases ) {
        const ToolResult result =
            runOn( "sdk6-tiny", "  - create-entry: { name: e, group: acl, " + keys + " }\n" );
        EXPECT_EQ( result.exitCode, 2 ) << keys;
        EXPECT_THAT( result.errors, HasSubstr( message ) ) << keys;
    }
}

} // namespace

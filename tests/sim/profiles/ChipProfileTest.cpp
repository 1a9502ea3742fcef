#include "sim/ChipProfile.h"

#include "sim/InputError.h"
#include "tests/support/ErrorText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace Sim {

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Pair;

const std::string goodProfile = "name: mine\n"
                                "description: Some chip\n"
                                "chip: hsdk\n"
                                "range-checkers:\n"
                                "  capacity: 5\n"
                                "field:\n"
                                "  groups: 6\n"
                                "  entries-per-group: 700\n"
                                "  preselectors: 8\n"
                                "  compression-entries: 90\n"
                                "policers:\n"
                                "  capacity: 11\n"
                                "udf-module:\n"
                                "  udfs: 12\n"
                                "  chunks: 13\n"
                                "  packet-formats: 14\n"
                                "  udfs-per-packet-format: 15\n"
                                "  hash-configurations: 16\n"
                                "statistics:\n"
                                "  capacity: 17\n"
                                "  counter-width: 18\n"
                                "flex-counters:\n"
                                "  objects: 19\n"
                                "  counters: 20\n"
                                "  counter-width: 21\n"
                                "flex-parser:\n"
                                "  udfs: 22\n"
                                "  unavailable-chunks:\n"
                                "    bcmUdfAbstractPktFormatL3Ipv6: [ 0, 15 ]\n"
                                "    bcmUdfAbstractPktFormatArp: []\n";

/// The good profile with one text replaced.
std::string with( const std::string& old, const std::string& replacement )
{
    std::string text = goodProfile;
    return text.replace( text.find( old ), old.size(), replacement );
}

std::string readError( const std::string& text )
{
    return TestSupport::errorText< InputError >(
        [ & ] { static_cast< void >( readChipProfile( "p.yaml", text ) ); } );
}

std::string loadError( const std::string& nameOrPath )
{
    return TestSupport::errorText< InputError >(
        [ & ] { static_cast< void >( loadChipProfile( nameOrPath ) ); } );
}

TEST( ChipProfileTest, Read_GoodProfile_GivesItsValues )
{
    const ChipProfile profile = readChipProfile( "p.yaml", goodProfile );
    EXPECT_EQ( profile.name, "mine" );
    EXPECT_EQ( profile.description, "Some chip" );
    EXPECT_EQ( profile.chip, ChipKind::hsdk );
    EXPECT_EQ( profile.rangeCheckers.capacity, 5U );
    EXPECT_EQ( profile.field.groups, 6U );
    EXPECT_EQ( profile.field.entriesPerGroup, 700U );
    EXPECT_EQ( profile.field.preselectors, 8U );
    EXPECT_EQ( profile.field.compressionEntries, 90U );
    EXPECT_EQ( profile.policers.capacity, 11U );
    EXPECT_EQ( profile.udfModule.udfs, 12U );
    EXPECT_EQ( profile.udfModule.chunks, 13U );
    EXPECT_EQ( profile.udfModule.pktFormats, 14U );
    EXPECT_EQ( profile.udfModule.udfsPerPktFormat, 15U );
    EXPECT_EQ( profile.udfModule.hashConfigurations, 16U );
    EXPECT_EQ( profile.statistics.capacity, 17U );
    EXPECT_EQ( profile.statistics.counterWidth, 18U );
    EXPECT_EQ( profile.flexCounters.objects, 19U );
    EXPECT_EQ( profile.flexCounters.counters, 20U );
    EXPECT_EQ( profile.flexCounters.counterWidth, 21U );
    EXPECT_EQ( profile.flexParser.udfs, 22U );
    EXPECT_THAT( profile.flexParser.unavailableChunks,
                 ElementsAre( Pair( "bcmUdfAbstractPktFormatArp", 0U ),
                              Pair( "bcmUdfAbstractPktFormatL3Ipv6", 0x8001U ) ) );
}

TEST( ChipProfileTest, Read_EachKindOfChip_IsUnderstood )
{
    EXPECT_EQ( readChipProfile( "", with( "hsdk", "sdk6-udf-module" ) ).chip,
               ChipKind::sdk6UdfModule );
    EXPECT_EQ( readChipProfile( "", with( "hsdk", "sdk6-flex-parser" ) ).chip,
               ChipKind::sdk6FlexParser );
}

TEST( ChipProfileTest, NameOf_EachKind_IsItsNameInAProfile )
{
    EXPECT_EQ( nameOf( ChipKind::sdk6UdfModule ), "sdk6-udf-module" );
    EXPECT_EQ( nameOf( ChipKind::sdk6FlexParser ), "sdk6-flex-parser" );
    EXPECT_EQ( nameOf( ChipKind::hsdk ), "hsdk" );
}

TEST( ChipProfileTest, Read_CapacityAtItsLimits_IsAccepted )
{
    EXPECT_EQ( readChipProfile( "", with( "5", "0" ) ).rangeCheckers.capacity, 0U );
    EXPECT_EQ( readChipProfile( "", with( "5", "4096" ) ).rangeCheckers.capacity, 4096U );
}

TEST( ChipProfileTest, Read_CapacityBeyondItsLimits_IsRefused )
{
    EXPECT_EQ( readError( with( "5", "4097" ) ),
               "p.yaml:5:13: expected a whole number from 0 to 4096, found '4097'" );
    EXPECT_EQ( readError( with( "5", "-1" ) ),
               "p.yaml:5:13: expected a whole number from 0 to 4096, found '-1'" );
    EXPECT_EQ( readError( with( "5", "99999999999999999999" ) ),
               "p.yaml:5:13: expected a whole number from 0 to 4096, found "
               "'99999999999999999999'" );
}

TEST( ChipProfileTest, Read_FieldCapacitiesAtTheirLimits_AreAccepted )
{
    EXPECT_EQ( readChipProfile( "", with( ": 6", ": 1024" ) ).field.groups, 1024U );
    EXPECT_EQ( readChipProfile( "", with( "700", "65536" ) ).field.entriesPerGroup, 65536U );
    EXPECT_EQ( readChipProfile( "", with( ": 8", ": 1024" ) ).field.preselectors, 1024U );
    EXPECT_EQ( readChipProfile( "", with( "90", "65536" ) ).field.compressionEntries, 65536U );
}

TEST( ChipProfileTest, Read_FieldCapacitiesBeyondTheirLimits_AreRefused )
{
    EXPECT_EQ( readError( with( ": 6", ": 1025" ) ),
               "p.yaml:7:11: expected a whole number from 0 to 1024, found '1025'" );
    EXPECT_EQ( readError( with( "700", "65537" ) ),
               "p.yaml:8:22: expected a whole number from 0 to 65536, found '65537'" );
    EXPECT_EQ( readError( with( ": 8", ": 1025" ) ),
               "p.yaml:9:17: expected a whole number from 0 to 1024, found '1025'" );
    EXPECT_EQ( readError( with( "90", "65537" ) ),
               "p.yaml:10:24: expected a whole number from 0 to 65536, found '65537'" );
}

TEST( ChipProfileTest, Read_FieldWithoutAKey_IsRefused )
{
    EXPECT_EQ( readError( with( "  groups: 6\n", "" ) ), "p.yaml:7:3: missing key 'groups'" );
    EXPECT_EQ( readError( with( "  entries-per-group: 700\n", "" ) ),
               "p.yaml:7:3: missing key 'entries-per-group'" );
    EXPECT_EQ( readError( with( "  preselectors: 8\n", "" ) ),
               "p.yaml:7:3: missing key 'preselectors'" );
    EXPECT_EQ( readError( with( "  compression-entries: 90\n", "" ) ),
               "p.yaml:7:3: missing key 'compression-entries'" );
}

TEST( ChipProfileTest, Read_PolicerCapacity_HasItsLimits )
{
    EXPECT_EQ( readChipProfile( "", with( "11", "65536" ) ).policers.capacity, 65536U );
    EXPECT_EQ( readError( with( "11", "65537" ) ),
               "p.yaml:12:13: expected a whole number from 0 to 65536, found '65537'" );
    EXPECT_EQ( readError( with( "\n  capacity: 11", " {}" ) ),
               "p.yaml:11:11: missing key 'capacity'" );
}

TEST( ChipProfileTest, Read_UdfModuleAtItsLimits_IsAccepted )
{
    EXPECT_EQ( readChipProfile( "", with( "12", "65536" ) ).udfModule.udfs, 65536U );
    EXPECT_EQ( readChipProfile( "", with( "13", "16" ) ).udfModule.chunks, 16U );
    EXPECT_EQ( readChipProfile( "", with( "14", "65536" ) ).udfModule.pktFormats, 65536U );
    EXPECT_EQ( readChipProfile( "", with( "15", "65536" ) ).udfModule.udfsPerPktFormat, 65536U );
    EXPECT_EQ( readChipProfile( "", with( "16", "65536" ) ).udfModule.hashConfigurations, 65536U );
}

TEST( ChipProfileTest, Read_UdfModuleBeyondItsLimits_IsRefused )
{
    EXPECT_EQ( readError( with( "12", "65537" ) ),
               "p.yaml:14:9: expected a whole number from 0 to 65536, found '65537'" );
    EXPECT_EQ( readError( with( "13", "17" ) ),
               "p.yaml:15:11: expected a whole number from 0 to 16, found '17'" );
    EXPECT_EQ( readError( with( "14", "65537" ) ),
               "p.yaml:16:19: expected a whole number from 0 to 65536, found '65537'" );
    EXPECT_EQ( readError( with( "15", "65537" ) ),
               "p.yaml:17:27: expected a whole number from 0 to 65536, found '65537'" );
    EXPECT_EQ( readError( with( "16", "65537" ) ),
               "p.yaml:18:24: expected a whole number from 0 to 65536, found '65537'" );
}

TEST( ChipProfileTest, Read_UdfModuleWithoutAKey_IsRefused )
{
    for ( const std::string row : { "udfs: 12", "chunks: 13", "packet-formats: 14",
                                    "udfs-per-packet-format: 15", "hash-configurations: 16" } ) {
        EXPECT_EQ( readError( with( "  " + row + "\n", "" ) ),
                   "p.yaml:14:3: missing key '" + row.substr( 0, row.find( ':' ) ) + "'" );
    }
}

TEST( ChipProfileTest, Read_CountersAtTheirLimits_AreAccepted )
{
    EXPECT_EQ( readChipProfile( "", with( "17", "65536" ) ).statistics.capacity, 65536U );
    EXPECT_EQ( readChipProfile( "", with( "18", "64" ) ).statistics.counterWidth, 64U );
    EXPECT_EQ( readChipProfile( "", with( "18", "1" ) ).statistics.counterWidth, 1U );
    EXPECT_EQ( readChipProfile( "", with( "19", "1024" ) ).flexCounters.objects, 1024U );
    EXPECT_EQ( readChipProfile( "", with( "20", "1048576" ) ).flexCounters.counters, 1048576U );
    EXPECT_EQ( readChipProfile( "", with( "21", "64" ) ).flexCounters.counterWidth, 64U );
}

TEST( ChipProfileTest, Read_CountersBeyondTheirLimits_AreRefused )
{
    EXPECT_EQ( readError( with( "17", "65537" ) ),
               "p.yaml:20:13: expected a whole number from 0 to 65536, found '65537'" );
    EXPECT_EQ( readError( with( "18", "0" ) ),
               "p.yaml:21:18: expected a whole number from 1 to 64, found '0'" );
    EXPECT_EQ( readError( with( "18", "65" ) ),
               "p.yaml:21:18: expected a whole number from 1 to 64, found '65'" );
    EXPECT_EQ( readError( with( "19", "1025" ) ),
               "p.yaml:23:12: expected a whole number from 0 to 1024, found '1025'" );
    EXPECT_EQ( readError( with( "20", "1048577" ) ),
               "p.yaml:24:13: expected a whole number from 0 to 1048576, found '1048577'" );
    EXPECT_EQ( readError( with( "21", "0" ) ),
               "p.yaml:25:18: expected a whole number from 1 to 64, found '0'" );
}

TEST( ChipProfileTest, Read_CountersWithoutAKey_AreRefused )
{
    EXPECT_EQ( readError( with( "  capacity: 17\n", "" ) ), "p.yaml:20:3: missing key 'capacity'" );
    EXPECT_EQ( readError( with( "  counter-width: 18\n", "" ) ),
               "p.yaml:20:3: missing key 'counter-width'" );
    EXPECT_EQ( readError( with( "  objects: 19\n", "" ) ), "p.yaml:23:3: missing key 'objects'" );
    EXPECT_EQ( readError( with( "  counters: 20\n", "" ) ), "p.yaml:23:3: missing key 'counters'" );
    EXPECT_EQ( readError( with( "  counter-width: 21\n", "" ) ),
               "p.yaml:23:3: missing key 'counter-width'" );
}

TEST( ChipProfileTest, Read_FlexParserAtItsLimits_IsAccepted )
{
    EXPECT_EQ( readChipProfile( "", with( "22", "65536" ) ).flexParser.udfs, 65536U );
    EXPECT_THAT(
        readChipProfile( "", with( "[ 0, 15 ]", "[ 15, 3, 0x0A ]" ) ).flexParser.unavailableChunks,
        Contains( Pair( "bcmUdfAbstractPktFormatL3Ipv6", 0x8408U ) ) );
}

TEST( ChipProfileTest, Read_EachAbstractPacketFormat_IsUnderstood )
{
    const std::string text = with( "    bcmUdfAbstractPktFormatL3Ipv6: [ 0, 15 ]\n",
                                   "    bcmUdfAbstractPktFormatL3Ipv4: [ 1 ]\n"
                                   "    bcmUdfAbstractPktFormatL3Ipv4WithoutOptions: [ 2 ]\n"
                                   "    bcmUdfAbstractPktFormatL3Ipv6: [ 3 ]\n"
                                   "    bcmUdfAbstractPktFormatUnknownL3: [ 4 ]\n"
                                   "    bcmUdfAbstractPktFormatKnownNonIp: [ 5 ]\n" );
    EXPECT_THAT( readChipProfile( "", text ).flexParser.unavailableChunks,
                 ElementsAre( Pair( "bcmUdfAbstractPktFormatArp", 0U ),
                              Pair( "bcmUdfAbstractPktFormatKnownNonIp", 0b100000U ),
                              Pair( "bcmUdfAbstractPktFormatL3Ipv4", 0b10U ),
                              Pair( "bcmUdfAbstractPktFormatL3Ipv4WithoutOptions", 0b100U ),
                              Pair( "bcmUdfAbstractPktFormatL3Ipv6", 0b1000U ),
                              Pair( "bcmUdfAbstractPktFormatUnknownL3", 0b10000U ) ) );
}

TEST( ChipProfileTest, Read_FlexParserBeyondItsLimits_IsRefused )
{
    EXPECT_EQ( readError( with( "22", "65537" ) ),
               "p.yaml:27:9: expected a whole number from 0 to 65536, found '65537'" );
    EXPECT_EQ( readError( with( "[ 0, 15 ]", "[ 0, 16 ]" ) ),
               "p.yaml:29:41: expected a whole number from 0 to 15, found '16'" );
    EXPECT_EQ( readError( with( "[ 0, 15 ]", "[ -1 ]" ) ),
               "p.yaml:29:38: expected a whole number from 0 to 15, found '-1'" );
    EXPECT_EQ( readError( with( "[ 0, 15 ]", "[ 7, 7 ]" ) ),
               "p.yaml:29:41: chunk 7 is given twice" );
    EXPECT_EQ( readError( with( "[ 0, 15 ]", "0" ) ), "p.yaml:29:36: expected a list, found '0'" );
}

TEST( ChipProfileTest, Read_FlexParserWithoutOrWithOtherKeys_IsRefused )
{
    EXPECT_EQ( readError( with( "  udfs: 22\n", "" ) ), "p.yaml:27:3: missing key 'udfs'" );
    EXPECT_EQ( readError( with( "unavailable-chunks", "used-chunks" ) ),
               "p.yaml:28:3: unknown key 'used-chunks', expected 'udfs' or 'unavailable-chunks'" );
    EXPECT_EQ( readError( with( "L3Ipv6: [", "L3Ipv7: [" ) ),
               "p.yaml:29:5: unknown key 'bcmUdfAbstractPktFormatL3Ipv7', did you mean "
               "'bcmUdfAbstractPktFormatL3Ipv4'?" );
    EXPECT_TRUE( readChipProfile( "", with( "\n    bcmUdfAbstractPktFormatL3Ipv6: [ 0, 15 ]\n"
                                            "    bcmUdfAbstractPktFormatArp: []",
                                            " {}" ) )
                     .flexParser.unavailableChunks.empty() );
}

TEST( ChipProfileTest, Read_WrongType_IsRefused )
{
    EXPECT_EQ( readError( with( "5", "many" ) ),
               "p.yaml:5:13: expected a whole number from 0 to 4096, found 'many'" );
    EXPECT_EQ( readError( with( "5", "'5'" ) ),
               "p.yaml:5:13: expected a whole number from 0 to 4096, found the text '5'" );
    EXPECT_EQ( readError( with( "mine", "[ a ]" ) ), "p.yaml:1:7: expected a text, found a list" );
    EXPECT_EQ( readError( with( "\n  capacity: 5", " 5" ) ),
               "p.yaml:4:17: expected a mapping, found '5'" );
    EXPECT_EQ( readError( with( "hsdk", "{ a: b }" ) ),
               "p.yaml:3:7: expected 'sdk6-udf-module', 'sdk6-flex-parser' or 'hsdk', found a "
               "mapping" );
}

TEST( ChipProfileTest, Read_UnknownKey_IsRefusedWithHint )
{
    EXPECT_EQ( readError( with( "capacity", "capacty" ) ),
               "p.yaml:5:3: unknown key 'capacty', did you mean 'capacity'?" );
    EXPECT_EQ( readError( goodProfile + "colour: red\n" ),
               "p.yaml:31:1: unknown key 'colour', expected 'name', 'description', 'chip', "
               "'range-checkers', 'field', 'policers', 'udf-module', 'flex-parser', 'statistics' "
               "or 'flex-counters'" );
}

TEST( ChipProfileTest, Read_DuplicateKey_IsRefused )
{
    EXPECT_EQ( readError( goodProfile + "chip: hsdk\n" ),
               "p.yaml:31:1: duplicate key 'chip', first given in line 3" );
    EXPECT_EQ( readError( goodProfile + "  udfs: 6\n" ),
               "p.yaml:31:3: duplicate key 'udfs', first given in line 27" );
}

TEST( ChipProfileTest, Read_MissingKey_IsRefused )
{
    EXPECT_EQ( readError( with( "name: mine\n", "" ) ), "p.yaml:1:1: missing key 'name'" );
    EXPECT_EQ( readError( with( "description: Some chip\n", "" ) ),
               "p.yaml:1:1: missing key 'description'" );
    EXPECT_EQ( readError( with( "chip: hsdk\n", "" ) ), "p.yaml:1:1: missing key 'chip'" );
    EXPECT_EQ( readError( with( "range-checkers:\n  capacity: 5\n", "" ) ),
               "p.yaml:1:1: missing key 'range-checkers'" );
    EXPECT_EQ( readError( with( "\n  capacity: 5", " {}" ) ),
               "p.yaml:4:17: missing key 'capacity'" );
}

TEST( ChipProfileTest, Read_UnknownChip_IsRefusedWithHint )
{
    EXPECT_EQ( readError( with( "hsdk", "hsdk7" ) ),
               "p.yaml:3:7: unknown value 'hsdk7', did you mean 'hsdk'?" );
    EXPECT_EQ( readError( with( "hsdk", "toaster" ) ),
               "p.yaml:3:7: unknown value 'toaster', expected 'sdk6-udf-module', "
               "'sdk6-flex-parser' or 'hsdk'" );
}

TEST( ChipProfileTest, Read_NoYaml_IsRefused )
{
    EXPECT_EQ( readError( "a: b: c\n" ), "p.yaml:1:5: not YAML: illegal map value" );
}

TEST( ChipProfileTest, Read_NothingAtAll_IsRefused )
{
    EXPECT_EQ( readError( "" ), "p.yaml:1:1: expected a mapping, found nothing" );
}

TEST( ChipProfileTest, BuiltIn_Names_AreTheProfiles )
{
    EXPECT_THAT( builtInProfileNames(), ElementsAre( "sdk6-udf", "sdk6-flex", "hsdk", "sdk6-tiny",
                                                     "sdk6-large", "hsdk-large" ) );
}

TEST( ChipProfileTest, BuiltIn_EveryProfile_ReadsAndBearsItsName )
{
    for ( const std::string& name : builtInProfileNames() ) {
        const ChipProfile profile = builtInProfile( name );
        EXPECT_EQ( profile.name, name );
        EXPECT_NE( profile.description, "" );
    }
}

TEST( ChipProfileTest, BuiltIn_Capacities_AreTheProfiles )
{
    EXPECT_EQ( builtInProfile( "sdk6-udf" ).rangeCheckers.capacity, 24U );
    EXPECT_EQ( builtInProfile( "sdk6-flex" ).rangeCheckers.capacity, 32U );
    EXPECT_EQ( builtInProfile( "hsdk" ).rangeCheckers.capacity, 128U );
    EXPECT_EQ( builtInProfile( "sdk6-tiny" ).rangeCheckers.capacity, 2U );
    EXPECT_EQ( builtInProfile( "sdk6-large" ).rangeCheckers.capacity, 256U );
    EXPECT_EQ( builtInProfile( "sdk6-udf" ).field.groups, 24U );
    EXPECT_EQ( builtInProfile( "sdk6-flex" ).field.entriesPerGroup, 2048U );
    EXPECT_EQ( builtInProfile( "hsdk" ).field.preselectors, 0U );
    EXPECT_EQ( builtInProfile( "sdk6-tiny" ).field.compressionEntries, 2U );
    EXPECT_EQ( builtInProfile( "sdk6-large" ).field.entriesPerGroup, 16384U );
    EXPECT_EQ( builtInProfile( "sdk6-udf" ).policers.capacity, 256U );
    EXPECT_EQ( builtInProfile( "sdk6-flex" ).policers.capacity, 512U );
    EXPECT_EQ( builtInProfile( "hsdk" ).policers.capacity, 1024U );
    EXPECT_EQ( builtInProfile( "sdk6-tiny" ).policers.capacity, 2U );
    EXPECT_EQ( builtInProfile( "sdk6-large" ).policers.capacity, 16384U );
    EXPECT_EQ( builtInProfile( "sdk6-udf" ).udfModule.chunks, 16U );
    EXPECT_EQ( builtInProfile( "sdk6-flex" ).udfModule.udfs, 0U );
    EXPECT_EQ( builtInProfile( "hsdk" ).udfModule.pktFormats, 0U );
    EXPECT_EQ( builtInProfile( "sdk6-tiny" ).udfModule.hashConfigurations, 1U );
    EXPECT_EQ( builtInProfile( "sdk6-large" ).udfModule.udfsPerPktFormat, 16U );
    EXPECT_EQ( builtInProfile( "sdk6-udf" ).statistics.capacity, 2048U );
    EXPECT_EQ( builtInProfile( "sdk6-flex" ).statistics.counterWidth, 36U );
    EXPECT_EQ( builtInProfile( "sdk6-tiny" ).statistics.counterWidth, 8U );
    EXPECT_EQ( builtInProfile( "hsdk" ).statistics.capacity, 0U );
    EXPECT_EQ( builtInProfile( "hsdk" ).flexCounters.counters, 16384U );
    EXPECT_EQ( builtInProfile( "sdk6-udf" ).flexCounters.objects, 0U );
    EXPECT_EQ( builtInProfile( "sdk6-flex" ).flexParser.udfs, 32U );
    EXPECT_EQ( builtInProfile( "hsdk" ).flexParser.udfs, 64U );
    EXPECT_EQ( builtInProfile( "hsdk-large" ).flexParser.udfs, 96U );
    EXPECT_EQ( builtInProfile( "sdk6-udf" ).flexParser.udfs, 0U );
    EXPECT_TRUE( builtInProfile( "sdk6-large" ).flexParser.unavailableChunks.empty() );
    EXPECT_EQ( builtInProfile( "sdk6-udf" ).chip, ChipKind::sdk6UdfModule );
    EXPECT_EQ( builtInProfile( "sdk6-flex" ).chip, ChipKind::sdk6FlexParser );
    EXPECT_EQ( builtInProfile( "hsdk" ).chip, ChipKind::hsdk );
}

TEST( ChipProfileTest, BuiltIn_LargeOnes_HaveRoomForEightThousandRules )
{
    constexpr uint32_t rules = 8000;
    for ( const char* name : { "sdk6-large", "hsdk-large" } ) {
        const ChipProfile profile = builtInProfile( name );
        EXPECT_GE( profile.field.entriesPerGroup, rules );
        EXPECT_GE( profile.policers.capacity, rules );
        EXPECT_GE( std::max( profile.statistics.capacity, profile.flexCounters.counters ), rules );
    }
}

TEST( ChipProfileTest, BuiltIn_WithAFlexParser_HaveEveryAbstractPacketFormat )
{
    for ( const char* name : { "sdk6-flex", "hsdk" } ) {
        EXPECT_THAT( builtInProfile( name ).flexParser.unavailableChunks,
                     ElementsAre( Pair( "bcmUdfAbstractPktFormatArp", 0U ),
                                  Pair( "bcmUdfAbstractPktFormatKnownNonIp", 0U ),
                                  Pair( "bcmUdfAbstractPktFormatL3Ipv4", 0U ),
                                  Pair( "bcmUdfAbstractPktFormatL3Ipv4WithoutOptions", 0U ),
                                  Pair( "bcmUdfAbstractPktFormatL3Ipv6", 0xC000U ),
                                  Pair( "bcmUdfAbstractPktFormatUnknownL3", 0b11U ) ) );
    }
    EXPECT_EQ( builtInProfile( "hsdk-large" ).flexParser.unavailableChunks.size(), 6U );
}

TEST( ChipProfileTest, BuiltIn_Text_IsTheFilesOfTheFolder )
{
    for ( const std::string& name : builtInProfileNames() ) {
        std::ifstream file( PELORA_SOURCE_DIR "/sim/profiles/" + name + ".yaml" );
        const std::string content( std::istreambuf_iterator< char >( file ), {} );
        EXPECT_NE( content, "" );
        EXPECT_EQ( builtInProfileText( name ), content );
    }
}

TEST( ChipProfileTest, BuiltIn_UnknownName_IsRefusedWithHint )
{
    const std::string text = "no built-in profile 'sdk6-udg', did you mean 'sdk6-udf'?";
    EXPECT_EQ( TestSupport::errorText< std::invalid_argument >(
                   [ & ] { static_cast< void >( builtInProfile( "sdk6-udg" ) ); } ),
               text );
    EXPECT_EQ( TestSupport::errorText< std::invalid_argument >(
                   [ & ] { static_cast< void >( builtInProfileText( "sdk6-udg" ) ); } ),
               text );
}

TEST( ChipProfileTest, Load_BuiltInName_IsTheProfile )
{
    EXPECT_EQ( loadChipProfile( "hsdk" ).rangeCheckers.capacity, 128U );
}

TEST( ChipProfileTest, Load_Path_ReadsTheFile )
{
    const std::string path = testing::TempDir() + "ChipProfileTest.yaml";
    std::ofstream( path ) << goodProfile;
    EXPECT_EQ( loadChipProfile( path ).name, "mine" );
    std::ofstream( path ) << "name: 1\nnmae: 2\n";
    EXPECT_EQ( loadError( path ), path + ":2:1: unknown key 'nmae', did you mean 'name'?" );
    std::filesystem::remove( path );
}

TEST( ChipProfileTest, Load_NeitherNameNorFile_IsRefusedWithHint )
{
    EXPECT_EQ( loadError( "sdk6-larg" ),
               "sdk6-larg:1:1: neither a built-in profile nor a file, did you mean 'sdk6-large'?" );
    EXPECT_EQ( loadError( "thing" ),
               "thing:1:1: neither a built-in profile nor a file, expected 'sdk6-udf', "
               "'sdk6-flex', 'hsdk', 'sdk6-tiny', 'sdk6-large' or 'hsdk-large'" );
}

TEST( ChipProfileTest, Load_UnreadablePath_IsRefused )
{
    EXPECT_EQ( loadError( "/nowhere/p.yaml" ),
               "/nowhere/p.yaml:1:1: cannot be read: No such file or directory" );
    EXPECT_EQ( loadError( "missing.yaml" ),
               "missing.yaml:1:1: cannot be read: No such file or directory" );
    EXPECT_EQ( loadError( "/" ), "/:1:1: cannot be read: is a directory" );
}

} // namespace

} // namespace Sim

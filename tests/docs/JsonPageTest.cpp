// docs/json.md has each member that `--json` prints, with its type, and no others.

#include "tests/docs/Pages.h"
#include "tests/tools/ToolRunner.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <map>
#include <set>

namespace DocsTest {
namespace {

using nlohmann::json;
using ToolTest::ToolFolder;
using ToolTest::ToolResult;

/// Members, by their path, with their types.
using Members = std::map< std::string, std::string >;

/// The tables of a section of the page, as one.
Members documented( const std::string& heading )
{
    Members members;
    for ( const auto& row : tableRowsOf( sectionOf( contentOf( "docs/json.md" ), heading ) ) ) {
        const std::string& path = row.at( 0 );
        members.insert_or_assign( path.substr( 1, path.size() - 2 ), row.at( 1 ) );
    }
    return members;
}

std::string typeOf( const json& value )
{
    return value.is_boolean()  ? "truth value"
           : value.is_number() ? "number"
           : value.is_string() ? "text"
                               : "null";
}

std::string joined( const std::string& path, const std::string& member )
{
    return path.empty() ? member : path + "." + member;
}

/// A section of the page, held against objects that the tool has printed.
class Section
{
  public:
    explicit Section( Members members )
        : members_( std::move( members ) )
    {}

    explicit Section( const std::string& heading )
        : Section( documented( heading ) )
    {}

    void see( const json& value, const std::string& path = "" )
    {
        if ( isWholeList( path ) ) {
            EXPECT_TRUE( value.is_object() ) << path;
            seen_.insert( path );
        } else if ( value.is_object() ) {
            for ( const auto& [ name, member ] : value.items() ) {
                const bool any = members_.lower_bound( joined( path, "*" ) )
                                     ->first.starts_with( joined( path, "*" ) );
                see( member, joined( path, any ? "*" : name ) );
            }
        } else if ( value.is_array() ) {
            for ( const json& element : value ) {
                see( element, path + "[]" );
            }
        } else {
            seeLeaf( path, typeOf( value ) );
        }
    }

    /// What the page has and no object had.
    [[nodiscard]] std::set< std::string > unseen() const
    {
        std::set< std::string > paths;
        for ( const auto& [ path, type ] : members_ ) {
            if ( !seen_.contains( path ) ) {
                paths.insert( path );
            }
        }
        return paths;
    }

  private:
    /// Whether the page says of the elements of a list only that they are described elsewhere.
    [[nodiscard]] bool isWholeList( const std::string& path ) const
    {
        const auto found = members_.find( path );
        return found != members_.end() && found->second == "list";
    }

    void seeLeaf( const std::string& path, const std::string& type )
    {
        const auto found = members_.find( path );
        if ( found == members_.end() ) {
            ADD_FAILURE() << "the page lacks " << path << ", " << type;
            return;
        }
        const bool fits = found->second == type ||
                          ( type == "null" && found->second.ends_with( " or null" ) ) ||
                          found->second == type + " or null";
        EXPECT_TRUE( fits ) << path << " is " << type << ", the page says " << found->second;
        seen_.insert( path );
    }

    Members members_;
    std::set< std::string > seen_;
};

const std::set< std::string > none;

json printed( const std::vector< std::string >& arguments )
{
    const ToolResult result = ToolFolder().run( arguments );
    EXPECT_NE( result.output, "" ) << arguments.front() << ": " << result.errors;
    return result.output.empty() ? json::object() : result.json();
}

// Refusals by the SDK, and the steps that no example has.
constexpr const char* refusals = R"(chip: sdk6-tiny
steps:
  - inject-fault: { function: bcm_range_create, call: 1, fail: BCM_E_FULL }
  - allocate-range-checker: { name: web, type: l4DstPort, low: 1, high: 2 }
    expect: full
  - compress: { table: srcIp, key: 192.0.2.0/24 }
  - release-compression: { table: srcIp, key: 192.0.2.0/24 }
  - allocate-range-checker: { name: web, type: l4DstPort, low: 1, high: 2 }
  - show-chunks: all
)";

// Rules that need more than there is, and one that no entry can match.
constexpr const char* leftOut = R"(chip: sdk6-tiny
steps:
  - import-rules: { file: some.rules, counters: true }
    expect: full
)";
constexpr const char* someRules =
    "@192.0.2.0/24 198.51.100.1/32 0 : 65535 80 : 90 0x06/0xFF 0x0000/0x0000\n"
    "@192.0.2.0/24 198.51.100.2/32 0 : 65535 81 : 90 0x06/0xFF 0x0000/0x0000\n"
    "@192.0.2.0/24 198.51.100.3/32 0 : 65535 82 : 90 0x06/0xFF 0x0000/0x0000\n"
    "@192.0.2.0/24 198.51.100.4/32 0 : 65535 83 : 83 0x06/0xFF 0x0000/0x0001\n";

// Ends of the process that nobody expects.
constexpr const char* endOfTheProcess = R"(chip: sdk6-tiny
steps:
  - allocate-range-checker: { name: web, type: l4DstPort, low: 1, high: 2 }
  - inject-fault: { function: bcm_range_get, call: 1, fail: BCM_E_INTERNAL }
  - audit: all
)";

constexpr const char* noTranslation = R"(chip: sdk6-tiny
steps:
  - create-group: { name: acl, stage: ifp, key-size: 0, qualifiers: [ 180 ], actions: [] }
)";

// A field of which the chip takes a part.
constexpr const char* takenInPart = R"(chip: hsdk
steps:
  - program-udf: { name: id, base: l3Header, ethertype: ipv4, offset: 4, length: 4 }
)";

// A capture with an ARP packet, and expectations of packets that do not hold.
constexpr const char* packetsNotAsExpected = R"(chip: hsdk
steps:
  - create-group: { name: acl, stage: ifp, key-size: 320, qualifiers: [ etherType ], actions: [ drop ] }
  - create-entry: { name: arp, group: acl, ethertype: arp }
  - send-packet: { packet: arp 10.0.0.1 > 10.0.0.2, expect: { dropped: false } }
  - send-capture: { file: arp.pcap, expect: { dropped: 0 } }
)";

std::string arpCapture()
{
    const std::string header( "\xD4\xC3\xB2\xA1\2\0\4\0\0\0\0\0\0\0\0\0\xFF\xFF\0\0\1\0\0\0", 24 );
    const std::string packet( "\0\0\0\0\0\0\0\0\x0E\0\0\0\x0E\0\0\0", 16 );
    const std::string frame( "\2\0\0\0\0\2\2\0\0\0\0\1\x08\x06", 14 );
    return header + packet + frame;
}

/// What `run` prints for the examples and the scenarios above.
const std::vector< json >& runs()
{
    static const std::vector< json > all = [] {
        std::vector< json > outputs;
        for ( const auto& file :
              std::filesystem::directory_iterator( PELORA_SOURCE_DIR "/examples" ) ) {
            if ( file.path().extension() == ".yaml" ) {
                outputs.push_back( printed( { "run", "--json", "--snapshot", file.path() } ) );
            }
        }
        const ToolFolder folder;
        folder.write( "some.rules", someRules );
        folder.write( "arp.pcap", arpCapture() );
        for ( const char* scenario : { refusals, leftOut, endOfTheProcess, noTranslation,
                                       takenInPart, packetsNotAsExpected } ) {
            const ToolResult result = folder.runScenario( scenario, { "--json", "--snapshot" } );
            outputs.push_back( result.json() );
        }
        return outputs;
    }();
    return all;
}

TEST( JsonPageTest, Run_OfAllExamples_HasTheMembersOfThePage )
{
    Section section( "## `run`" );
    for ( const json& run : runs() ) {
        section.see( run );
    }
    EXPECT_EQ( section.unseen(), none );
}

TEST( JsonPageTest, Steps_OfAllKinds_HaveTheMembersOfThePage )
{
    const Members common = documented( "## Every step" );
    std::map< std::string, Section > sections;
    std::set< std::string > unseenOfAll;
    for ( const auto& member : common ) {
        unseenOfAll.insert( member.first );
    }
    for ( const json& run : runs() ) {
        for ( const json& step : run.at( "steps" ) ) {
            const std::string kind = step.at( "step" );
            if ( !sections.contains( kind ) ) {
                Members members = documented( "### `" + kind + "`" );
                members.insert( common.begin(), common.end() );
                sections.emplace( kind, Section( std::move( members ) ) );
            }
            sections.at( kind ).see( step );
        }
    }
    for ( const auto& [ kind, section ] : sections ) {
        std::set< std::string > unseen = section.unseen();
        std::erase_if( unseenOfAll,
                       [ & ]( const auto& path ) { return !unseen.contains( path ); } );
        std::erase_if( unseen, [ & ]( const auto& path ) { return common.contains( path ); } );
        // The one thing that a scenario cannot bring about.
        unseen.erase( kind == "list-udfs" ? "foreign[]" : "" );
        EXPECT_EQ( unseen, none ) << kind;
    }
    EXPECT_EQ( unseenOfAll, none );
    for ( const std::string& heading :
          headingsOf( sectionOf( contentOf( "docs/json.md" ), "## Each kind of step" ) ) ) {
        EXPECT_TRUE( sections.contains( heading.substr( 1, heading.size() - 2 ) ) ) << heading;
    }
}

TEST( JsonPageTest, Compare_HasTheMembersOfThePage )
{
    Section section( "## `compare`" );
    section.see(
        printed( { "compare", "--json", PELORA_SOURCE_DIR "/examples/three-chips.yaml" } ) );
    EXPECT_EQ( section.unseen(), none );
}

TEST( JsonPageTest, Profiles_TheListAndEachOne_HaveTheMembersOfThePage )
{
    Section section( "## `profiles`" );
    const json list = printed( { "profiles", "--json" } );
    section.see( list );
    for ( const json& profile : list.at( "profiles" ) ) {
        section.see( profile );
        section.see( printed( { "profiles", "--json", profile.at( "name" ) } ) );
    }
    EXPECT_EQ( section.unseen(), none );
}

TEST( JsonPageTest, Maps_TheListAndEachOne_HaveTheMembersOfThePage )
{
    Section section( "## `maps`" );
    const json list = printed( { "maps", "--json" } );
    section.see( list );
    for ( const json& map : list.at( "maps" ) ) {
        section.see( map );
        section.see( printed( { "maps", "--json", map.at( "name" ) } ) );
    }
    EXPECT_EQ( section.unseen(), none );
}

TEST( JsonPageTest, DecodeTrace_WholeAndDamaged_HasTheMembersOfThePage )
{
    const ToolFolder folder;
    static_cast< void >( folder.runScenario( refusals, { "--ring-dump", "ring" } ) );
    folder.write( "cut", folder.read( "ring" ).substr( 0, 1000 ) );
    Section section( "## `decode-trace`" );
    for ( const char* file : { "ring", "cut" } ) {
        section.see( folder.run( { "decode-trace", "--json", file } ).json() );
    }
    EXPECT_EQ( section.unseen(), none );
}

TEST( JsonPageTest, Lookup_OfRulesAndEntries_HasTheMembersOfThePage )
{
    const ToolFolder folder;
    folder.write( "some.rules", someRules );
    folder.write( "scenario.yaml", R"(chip: sdk6-udf
steps:
  - program-udf: { name: id, base: l3Header, ethertype: ipv4, offset: 4, length: 2 }
  - create-group: { name: acl, stage: ifp, key-size: 320, qualifiers: [ l4DstPort ], actions: [ drop ] }
  - create-entry: { name: web, group: acl, dst-port: 80 }
  - import-rules: { file: some.rules, name: firewall }
  - destroy-entry: { name: web-1 }
)" );
    Section section( "## `lookup`" );
    section.see(
        folder
            .run( { "lookup", "--json", "--scenario", "scenario.yaml", "--packet",
                    "tcp 192.0.2.1:1 > 198.51.100.1:80", "--packet",
                    "tcp 192.0.2.1:1 > 198.51.100.2:70", "--packet", "arp 10.0.0.1 > 10.0.0.2" } )
            .json() );
    EXPECT_EQ( section.unseen(), none );
}

TEST( JsonPageTest, ExplainUdf_OnEachKindOfChip_HasTheMembersOfThePage )
{
    const auto explained = []( const std::string& chip, const std::string& base,
                               const std::vector< std::string >& more ) {
        std::vector< std::string > arguments = { "explain-udf", "--json", "--chip",      chip,
                                                 "--base",      base,     "--ethertype", "ipv4",
                                                 "--offset",    "4" };
        arguments.insert( arguments.end(), more.begin(), more.end() );
        return printed( arguments );
    };
    const std::string other = "{ name: id, base: l3Header, ethertype: ipv4, offset: 8, length: 2 }";
    Section section( "## `explain-udf`" );
    section.see( explained( "sdk6-udf", "l3Header", { "--length", "2", "--with", other } ) );
    section.see( explained( "sdk6-udf", "l3Header", { "--length", "2", "--lag-mask", "1" } ) );
    section.see( explained( "hsdk", "l3Header", { "--length", "2", "--with", other } ) );
    section.see( explained( "hsdk", "l3Header", { "--length", "0" } ) );
    section.see( explained( "hsdk", "l3Header", { "--length", "4" } ) );
    section.see( explained( "sdk6-udf", "packetStart", { "--length", "2" } ) );
    EXPECT_EQ( section.unseen(), none );
}

} // namespace
} // namespace DocsTest

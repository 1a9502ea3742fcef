// Real rule sets on each of the built-in chips, and packets around the corners of their rules: the
// entry that a packet hits first is that of the first rule that matches when the rules are compared
// one after the other, which is done here without the chip.
//
// $PELORA_RULE_PACKETS tells how many packets each set meets on each chip.

#include "sim/packets/PacketDescription.h"
#include "sim/packets/PacketPath.h"
#include "tests/reference/RuleScene.h"
#include "tools/rules/FilterRules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <tuple>

namespace {

using Reference::RuleScene;

std::string ruleFolder()
{
    const char* given = std::getenv( "PELORA_TEST_DATA" );
    const std::string data =
        given != nullptr && *given != '\0' ? given : PELORA_SOURCE_DIR "/../shared/data";
    const std::string folder = data + "/classbench";
    return std::filesystem::is_directory( folder ) ? folder : "";
}

std::size_t packetsPerSet()
{
    const char* given = std::getenv( "PELORA_RULE_PACKETS" );
    return given != nullptr ? std::stoul( given ) : 4000;
}

/// What rules look at in a packet.
struct Tuple
{
    std::uint32_t source = 0;
    std::uint32_t destination = 0;
    std::uint16_t sourcePort = 0;
    std::uint16_t destinationPort = 0;
    std::uint8_t protocol = 0;
    /// TCP: the flags byte in the high byte; ICMP: type and code; 0 for any other protocol.
    std::uint16_t flags = 0;
};

constexpr std::uint8_t icmp = 1;
constexpr std::uint8_t tcp = 6;

// ---- Comparing the rules ---------------------------------------------------------------------

/// A rule as least and greatest values.
struct Bounds
{
    std::uint32_t sourceLow = 0;
    std::uint32_t sourceHigh = 0;
    std::uint32_t destinationLow = 0;
    std::uint32_t destinationHigh = 0;
    Tool::PortRange sourcePorts;
    Tool::PortRange destinationPorts;
    Tool::Masked< Agent::U8 > protocol;
    Tool::Masked< Agent::U16 > flags;
};

std::uint32_t hostBits( const Tool::Ipv4Prefix& prefix )
{
    return static_cast< std::uint32_t >( ( std::uint64_t{ 1 } << ( 32 - prefix.length ) ) - 1 );
}

Bounds boundsOf( const Tool::Rule& rule )
{
    return { rule.source.address & ~hostBits( rule.source ),
             rule.source.address | hostBits( rule.source ),
             rule.destination.address & ~hostBits( rule.destination ),
             rule.destination.address | hostBits( rule.destination ),
             rule.sourcePorts,
             rule.destinationPorts,
             rule.protocol,
             rule.tcpFlags };
}

bool matches( const Bounds& rule, const Tuple& packet )
{
    return rule.sourceLow <= packet.source && packet.source <= rule.sourceHigh &&
           rule.destinationLow <= packet.destination &&
           packet.destination <= rule.destinationHigh &&
           rule.sourcePorts.low <= packet.sourcePort &&
           packet.sourcePort <= rule.sourcePorts.high &&
           rule.destinationPorts.low <= packet.destinationPort &&
           packet.destinationPort <= rule.destinationPorts.high &&
           ( packet.protocol & rule.protocol.mask ) ==
               ( rule.protocol.value & rule.protocol.mask ) &&
           ( packet.flags & rule.flags.mask ) == ( rule.flags.value & rule.flags.mask );
}

// ---- Packets around the corners --------------------------------------------------------------

class Corners
{
  public:
    explicit Corners( const std::vector< Bounds >& rules )
        : rules_( rules )
    {}

    Tuple next()
    {
        const Bounds& rule = rules_[ below( rules_.size() ) ];
        Tuple tuple{
            around< std::uint32_t >( rule.sourceLow, rule.sourceHigh ),
            around< std::uint32_t >( rule.destinationLow, rule.destinationHigh ),
            around< std::uint16_t >( rule.sourcePorts.low, rule.sourcePorts.high ),
            around< std::uint16_t >( rule.destinationPorts.low, rule.destinationPorts.high ),
            protocolFor( rule ) };
        tuple.flags = flagsFor( rule, tuple.protocol );
        return tuple;
    }

  private:
    std::size_t below( std::size_t count ) { return engine_() % count; }

    /// Mostly in the range, at its ends or between them, sometimes just outside.
    template< class Number >
    Number around( Number low, Number high )
    {
        switch ( below( 12 ) ) {
        case 0:
            return static_cast< Number >( low - 1 );
        case 1:
            return static_cast< Number >( high + 1 );
        case 2:
        case 3:
        case 4:
            return low;
        case 5:
        case 6:
        case 7:
            return high;
        default:
            return static_cast< Number >( low + engine_() % ( std::uint64_t{ high } - low + 1 ) );
        }
    }

    std::uint8_t protocolFor( const Bounds& rule )
    {
        static constexpr std::uint8_t others[] = { 1, 2, 6, 17, 47, 50, 89, 132 };
        if ( below( 6 ) == 0 ) {
            return others[ below( std::size( others ) ) ];
        }
        const auto random = static_cast< std::uint8_t >( engine_() );
        return static_cast< std::uint8_t >( ( rule.protocol.value & rule.protocol.mask ) |
                                            ( random & ~rule.protocol.mask ) );
    }

    std::uint16_t flagsFor( const Bounds& rule, std::uint8_t protocol )
    {
        auto flags = static_cast< std::uint16_t >( engine_() );
        if ( below( 4 ) != 0 ) {
            flags = static_cast< std::uint16_t >( ( rule.flags.value & rule.flags.mask ) |
                                                  ( flags & ~rule.flags.mask ) );
        }
        return static_cast< std::uint16_t >( protocol == tcp    ? flags & 0xFF00
                                             : protocol == icmp ? flags
                                                                : 0 );
    }

    const std::vector< Bounds >& rules_;
    std::mt19937_64 engine_{ 30 };
};

/// Makes packets of tuples: IPv4 without options, 54 bytes.
class TuplePacket
{
  public:
    explicit TuplePacket( const Sim::SdkNumbering& numbering )
        : numbering_( numbering )
        , packet_( Sim::packetFromDescription( "tcp 10.0.0.1:1 > 10.0.0.2:2" ) )
    {}

    /// Valid until the next call. Protocols without ports are given the ports.
    const Sim::Packet& of( const Tuple& tuple )
    {
        static constexpr std::uint8_t withPorts[] = { 6, 17, 33, 132, 136 };
        put( 23, 1, tuple.protocol );
        put( 26, 4, tuple.source );
        put( 30, 4, tuple.destination );
        put( 47, 1, 0U );
        packet_.given.clear();
        if ( std::ranges::find( withPorts, tuple.protocol ) != std::end( withPorts ) ) {
            put( 34, 2, tuple.sourcePort );
            put( 36, 2, tuple.destinationPort );
        } else {
            packet_.given[ numbering_.bcmFieldQualifyL4SrcPort ] = tuple.sourcePort;
            packet_.given[ numbering_.bcmFieldQualifyL4DstPort ] = tuple.destinationPort;
        }
        if ( tuple.protocol == tcp ) {
            put( 47, 1, tuple.flags >> 8 );
        } else if ( tuple.protocol == icmp ) {
            put( 34, 2, tuple.flags );
        }
        return packet_;
    }

  private:
    void put( std::size_t at, unsigned width, std::uint32_t value )
    {
        for ( unsigned byte = 0; byte < width; ++byte ) {
            packet_.bytes[ at + byte ] =
                static_cast< std::uint8_t >( value >> 8 * ( width - 1 - byte ) );
        }
    }

    const Sim::SdkNumbering& numbering_;
    Sim::Packet packet_;
};

// ---- Sets and chips --------------------------------------------------------------------------

class RuleSetPacketsTest : public testing::TestWithParam< std::tuple< const char*, const char* > >
{
  protected:
    void SetUp() override
    {
        if ( ruleFolder().empty() ) {
            GTEST_SKIP() << "no test data: set PELORA_TEST_DATA to the folder that holds them";
        }
    }
};

INSTANTIATE_TEST_SUITE_P(
    Sets,
    RuleSetPacketsTest,
    testing::Combine(
        testing::Values( "acl1_1k", "acl1_8k", "acl4_1k", "fw1_1k", "fw4_1k", "ipc1_1k" ),
        testing::Values( "sdk6-udf", "sdk6-flex", "sdk6-large", "hsdk", "hsdk-large" ) ),
    []( const auto& test ) {
        std::string name =
            std::string( std::get< 0 >( test.param ) ) + "_" + std::get< 1 >( test.param );
        std::ranges::replace( name, '-', '_' );
        return name;
    } );

/// The entries of the rules that are on the chip, and these rules.
struct Programmed
{
    std::vector< Bounds > rules;
    std::vector< bcm_field_entry_t > entries;
};

Programmed program( RuleScene& scene, const Tool::RuleSet& file )
{
    const std::vector< Reference::FilterRule > rules = Tool::filterRulesOf( file );
    const Reference::RuleSetReport report = scene.programmer().program( rules, {} );
    Programmed programmed;
    for ( std::size_t rule = 0; rule < rules.size(); ++rule ) {
        if ( const auto entry = scene.programmer().entry( report.id, rule ) ) {
            programmed.rules.push_back( boundsOf( file.rules[ rule ] ) );
            programmed.entries.push_back( static_cast< bcm_field_entry_t >( *entry ) );
        }
    }
    EXPECT_EQ( programmed.rules.size(), report.programmed );
    return programmed;
}

/// The entry of the first rule that matches; 0 if none does.
bcm_field_entry_t firstOf( const Programmed& programmed, const Tuple& packet )
{
    for ( std::size_t rule = 0; rule < programmed.rules.size(); ++rule ) {
        if ( matches( programmed.rules[ rule ], packet ) ) {
            return programmed.entries[ rule ];
        }
    }
    return 0;
}

bcm_field_entry_t firstOf( const std::vector< Sim::GroupVerdict >& hits )
{
    const auto found =
        std::ranges::find_if( hits, []( const auto& hit ) { return hit.entry.has_value(); } );
    return found == hits.end() ? 0 : *found->entry;
}

TEST_P( RuleSetPacketsTest, Find_PacketsAroundTheCornersOfRules_HitTheFirstRuleThatMatches )
{
    const auto& [ set, profile ] = GetParam();
    RuleScene scene( Sim::builtInProfile( profile ) );
    const Programmed programmed =
        program( scene, Tool::readRuleSet( ruleFolder() + "/" + set + ".rules" ) );
    ASSERT_GT( programmed.rules.size(), 20U );
    const Sim::SdkNumbering& numbering = scene.tcam().chips.numbering();
    const Sim::PacketPath path( scene.tcam().chip(), numbering );
    Corners corners( programmed.rules );
    TuplePacket packet( numbering );
    std::vector< Sim::GroupVerdict > hits;
    std::size_t matched = 0;
    for ( std::size_t count = packetsPerSet(); count != 0; --count ) {
        const Tuple tuple = corners.next();
        const bcm_field_entry_t expected = firstOf( programmed, tuple );
        path.find( packet.of( tuple ), hits );
        ASSERT_EQ( firstOf( hits ), expected )
            << std::hex << tuple.source << " " << tuple.destination << " " << std::dec
            << tuple.sourcePort << " " << tuple.destinationPort << " " << +tuple.protocol << " "
            << tuple.flags;
        matched += expected != 0 ? 1 : 0;
    }
    EXPECT_GT( matched, packetsPerSet() / 10 );
    RecordProperty( "rules", std::to_string( programmed.rules.size() ) );
    RecordProperty( "matched", std::to_string( matched ) );
}

} // namespace

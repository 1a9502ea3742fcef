// pelora-lookup-bench: how many packets a second a simulated chip classifies that the reference
// agent has programmed with a rule set.
//
//     pelora-lookup-bench RULES...
//
// For each rule set, on SDK-6 and on HSDK: lookups with the key given, whole frames with their
// headers, frames on all processors at once, and the comparison of every entry. Packets are drawn
// around the rules: for each field the least or the greatest value of a rule, or one between them.

#include "sim/packets/PacketExplanation.h"
#include "sim/packets/PacketPath.h"
#include "sim/profiles/BuiltInProfiles.h"
#include "tests/reference/RuleScene.h"
#include "tools/rules/ClassBench.h"
#include "tools/rules/FilterRules.h"
#include "tools/traffic/TraceFile.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t numberOfPackets = 20'000;
constexpr std::size_t numberCompared = 200;
constexpr int repetitions = 5;

std::uint32_t oneOf( std::uint32_t low, std::uint32_t high, std::mt19937& random )
{
    switch ( random() % 3 ) {
    case 0:
        return low;
    case 1:
        return high;
    default:
        return std::uniform_int_distribution< std::uint32_t >( low, high )( random );
    }
}

std::uint32_t inPrefix( const Tool::Ipv4Prefix& prefix, std::mt19937& random )
{
    const auto free =
        static_cast< std::uint32_t >( ( std::uint64_t{ 1 } << ( 32 - prefix.length ) ) - 1 );
    return oneOf( prefix.address & ~free, prefix.address | free, random );
}

std::vector< Sim::Packet > packetsAround( const Tool::RuleSet& set )
{
    std::mt19937 random( 20261122 );
    std::vector< Sim::Packet > packets( numberOfPackets );
    for ( Sim::Packet& packet : packets ) {
        const Tool::Rule& rule = set.rules[ random() % set.rules.size() ];
        Tool::TracePacket line;
        line.source = inPrefix( rule.source, random );
        line.destination = inPrefix( rule.destination, random );
        line.sourcePort = static_cast< std::uint16_t >(
            oneOf( rule.sourcePorts.low, rule.sourcePorts.high, random ) );
        line.destinationPort = static_cast< std::uint16_t >(
            oneOf( rule.destinationPorts.low, rule.destinationPorts.high, random ) );
        line.protocol = rule.protocol.mask == 0
                            ? ( random() % 2 == 0 ? std::uint8_t{ 6 } : std::uint8_t{ 17 } )
                            : static_cast< std::uint8_t >( rule.protocol.value );
        line.flags = static_cast< std::uint16_t >( rule.tcpFlags.value & rule.tcpFlags.mask );
        packet = Tool::packetOf( line );
    }
    return packets;
}

/// Millions a second: the best of several runs.
template< class Work >
double millionsASecond( std::size_t count, const Work& work )
{
    double best = 0;
    for ( int repetition = 0; repetition < repetitions; ++repetition ) {
        const Clock::time_point start = Clock::now();
        work();
        const std::chrono::duration< double > took = Clock::now() - start;
        best = std::max( best, static_cast< double >( count ) / took.count() / 1e6 );
    }
    return best;
}

/// What the lookups found, so that they cannot be left out.
std::size_t found = 0;

double keysASecond( const Sim::PacketPath& path, const std::vector< Sim::Packet >& packets )
{
    std::vector< std::vector< std::uint8_t > > keys;
    keys.reserve( packets.size() );
    for ( const Sim::Packet& packet : packets ) {
        keys.push_back( path.keyOf( packet ) );
    }
    const std::vector< bcm_field_group_t > groups = path.groups();
    return millionsASecond( keys.size(), [ & ] {
        for ( const auto& key : keys ) {
            for ( const bcm_field_group_t group : groups ) {
                found += path.findKey( group, key ) ? 1U : 0U;
            }
        }
    } );
}

void classify( const Sim::PacketPath& path,
               const std::vector< Sim::Packet >& packets,
               std::size_t first,
               std::size_t step )
{
    std::vector< Sim::GroupVerdict > hits;
    for ( std::size_t packet = first; packet < packets.size(); packet += step ) {
        path.find( packets[ packet ], hits );
    }
}

double framesASecond( const Sim::PacketPath& path,
                      const std::vector< Sim::Packet >& packets,
                      unsigned threads )
{
    return millionsASecond( packets.size(), [ & ] {
        std::vector< std::thread > others;
        for ( unsigned thread = 1; thread < threads; ++thread ) {
            others.emplace_back( [ &, thread ] { classify( path, packets, thread, threads ); } );
        }
        classify( path, packets, 0, threads );
        for ( std::thread& other : others ) {
            other.join();
        }
    } );
}

/// Packets a second when every entry is compared.
double comparedASecond( const Sim::PacketPath& path, const std::vector< Sim::Packet >& packets )
{
    const Clock::time_point start = Clock::now();
    for ( std::size_t packet = 0; packet < numberCompared; ++packet ) {
        found += Sim::explain( path, packets[ packet ] ).groups.size();
    }
    const std::chrono::duration< double > took = Clock::now() - start;
    return static_cast< double >( numberCompared ) / took.count();
}

void measure( const std::string& file, const Tool::RuleSet& set, const char* profile )
{
    Reference::RuleScene scene( Sim::builtInProfile( profile ) );
    const Reference::RuleSetReport report =
        scene.programmer().program( Tool::filterRulesOf( set ), Reference::RuleOptions() );
    const Sim::PacketPath path( scene.tcam().chip(), scene.tcam().chips.numbering() );
    const std::vector< Sim::Packet > packets = packetsAround( set );
    const unsigned processors = std::max( 1U, std::thread::hardware_concurrency() );
    const double frames = framesASecond( path, packets, 1 );
    std::printf( "%-16s %-12s %6zu %10.2f %10.2f %10.2f %10.0f %8zu\n",
                 file.substr( file.rfind( '/' ) + 1 ).c_str(), profile, report.programmed,
                 keysASecond( path, packets ), frames, framesASecond( path, packets, processors ),
                 frames * 1e6 / comparedASecond( path, packets ),
                 path.memory() / std::max< std::size_t >( 1, report.programmed ) );
}

} // namespace

int main( int argc, char** argv )
{
    std::printf( "%-16s %-12s %6s %10s %10s %10s %10s %8s\n", "rule set", "chip", "rules",
                 "keys M/s", "frames M/s", "all cores", "x compared", "B/rule" );
    for ( int argument = 1; argument < argc; ++argument ) {
        const Tool::RuleSet set = Tool::readRuleSet( argv[ argument ] );
        for ( const char* profile : { "sdk6-large", "hsdk-large" } ) {
            measure( argv[ argument ], set, profile );
        }
    }
    return found == 0 ? 1 : 0;
}

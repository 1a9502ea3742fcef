#include "bench/MadeRules.h"

#include <array>
#include <random>

namespace Bench {

namespace {

using Reference::FilterRule;
using Reference::IpPrefix;
using Reference::PortRange;

/// Of the rules of a set, so many have something of their own; the others share it.
constexpr unsigned sources = 1000;
constexpr unsigned destinations = 2000;
constexpr unsigned ports = 200;

constexpr std::array< Agent::U8, 3 > protocols = { 6, 17, 1 };

class RuleMaker
{
  public:
    FilterRule next()
    {
        FilterRule rule;
        rule.source = prefix( 0x0A000000, below( sources ) );
        rule.destination = prefix( 0xAC000000, below( destinations ) );
        const Agent::U8 protocol = protocols[ below( protocols.size() ) ];
        rule.protocol = { protocol, 0xFF };
        if ( protocol != protocols.back() ) {
            rule.destinationPorts = portsOf( below( ports ) );
        }
        return rule;
    }

  private:
    unsigned below( std::size_t count ) { return static_cast< unsigned >( random_() % count ); }

    /// None contains another one.
    static IpPrefix prefix( Agent::U32 network, unsigned number )
    {
        constexpr unsigned hostBits = 8;
        constexpr Agent::U32 length = 24;
        return { PeloraTcam::IpAddress::v4( network | number << hostBits ), length };
    }

    /// One of four ranges, or a single port.
    PortRange portsOf( unsigned number )
    {
        const auto low = static_cast< Agent::U16 >( 1000 + number );
        if ( below( 8 ) != 0 ) {
            return { low, low };
        }
        const auto first = static_cast< Agent::U16 >( 10000 * ( 1 + below( 4 ) ) );
        return { first, static_cast< Agent::U16 >( first + 999 ) };
    }

    std::mt19937 random_{ 1 };
};

} // namespace

std::vector< FilterRule > madeRules( std::size_t count )
{
    RuleMaker maker;
    std::vector< FilterRule > rules;
    rules.reserve( count );
    while ( rules.size() < count ) {
        rules.push_back( maker.next() );
    }
    return rules;
}

} // namespace Bench

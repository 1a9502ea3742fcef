// pelora-index-bench: lookups in the simulated chip's ternary index, and changes of it.
//
//     pelora-index-bench RULES...
//
// Each rule of a set becomes entries over addresses, ports, protocol and TCP flags, one for each
// pair of port prefixes that its ranges take. They go into the index in random order. The keys are
// corners of rules, and every fourth differs from such a corner in one bit of the mask. The same
// keys are looked up by comparing every entry in order, which has to find the same.

#include "sim/packets/TernaryIndex.h"
#include "tools/rules/ClassBench.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <limits>
#include <numeric>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t keyWidth = 15;
constexpr std::size_t numberOfKeys = 1U << 14U;
constexpr int repetitions = 5;
constexpr uint32_t few = 80;

using Key = std::array< uint8_t, keyWidth >;

struct Entry
{
    Key data{};
    Key mask{};
};

// ---- Entries and keys ------------------------------------------------------------------------

/// Writes fields one after the other, most significant byte first.
class EntryWriter
{
  public:
    explicit EntryWriter( Entry& entry )
        : entry_( entry )
    {}

    void put( uint32_t value, uint32_t mask, unsigned bytes )
    {
        for ( unsigned left = bytes; left-- > 0; ++at_ ) {
            entry_.mask[ at_ ] = static_cast< uint8_t >( mask >> 8 * left );
            entry_.data[ at_ ] = static_cast< uint8_t >( ( value & mask ) >> 8 * left );
        }
    }

  private:
    Entry& entry_;
    std::size_t at_ = 0;
};

using Prefix = std::pair< uint32_t, uint32_t >; // Value and mask.

/// The fewest prefixes that cover a range of ports.
std::vector< Prefix > prefixesOf( const Tool::PortRange& range )
{
    std::vector< Prefix > prefixes;
    for ( uint32_t low = range.low; low <= range.high; ) {
        uint32_t size = low == 0 ? 0x10000 : low & ( ~low + 1 );
        while ( low + size - 1 > range.high ) {
            size /= 2;
        }
        prefixes.emplace_back( low, 0xFFFF & ~( size - 1 ) );
        low += size;
    }
    return prefixes;
}

uint32_t maskOf( const Tool::Ipv4Prefix& prefix )
{
    return prefix.length == 0 ? 0 : ~uint32_t{ 0 } << ( 32 - prefix.length );
}

Entry entryOf( const Tool::Rule& rule, const Prefix& sourcePort, const Prefix& destinationPort )
{
    Entry entry;
    EntryWriter writer( entry );
    writer.put( rule.source.address, maskOf( rule.source ), 4 );
    writer.put( rule.destination.address, maskOf( rule.destination ), 4 );
    writer.put( sourcePort.first, sourcePort.second, 2 );
    writer.put( destinationPort.first, destinationPort.second, 2 );
    writer.put( rule.protocol.value, rule.protocol.mask, 1 );
    writer.put( rule.tcpFlags.value, rule.tcpFlags.mask, 2 );
    return entry;
}

std::vector< Entry > entriesOf( const Tool::RuleSet& set )
{
    std::vector< Entry > entries;
    for ( const Tool::Rule& rule : set.rules ) {
        for ( const Prefix& source : prefixesOf( rule.sourcePorts ) ) {
            for ( const Prefix& destination : prefixesOf( rule.destinationPorts ) ) {
                entries.push_back( entryOf( rule, source, destination ) );
            }
        }
    }
    return entries;
}

/// The least or the greatest key that an entry takes, or one between them.
Key cornerOf( const Entry& entry, std::mt19937& random )
{
    const auto corner = random() % 3;
    Key key{};
    for ( std::size_t i = 0; i < keyWidth; ++i ) {
        const unsigned free = corner == 0 ? 0 : corner == 1 ? 0xFF : random() & 0xFF;
        key[ i ] = static_cast< uint8_t >( entry.data[ i ] | ( free & ~entry.mask[ i ] ) );
    }
    return key;
}

std::vector< Key > keysAround( const std::vector< Entry >& entries, std::mt19937& random )
{
    std::vector< Key > keys;
    while ( keys.size() < numberOfKeys ) {
        const Entry& entry = entries[ random() % entries.size() ];
        Key key = cornerOf( entry, random );
        const unsigned bit = static_cast< unsigned >( random() % ( 8 * keyWidth ) );
        const unsigned inMask = entry.mask[ bit / 8 ] & 1U << bit % 8;
        if ( keys.size() % 4 != 0 ) {
            keys.push_back( key );
        } else if ( inMask != 0 ) {
            key[ bit / 8 ] = static_cast< uint8_t >( key[ bit / 8 ] ^ inMask );
            keys.push_back( key );
        } else if ( entry.mask == Key{} ) {
            keys.push_back( key ); // There is nothing outside.
        }
    }
    return keys;
}

// ---- Measurements ----------------------------------------------------------------------------

/// The least processor time of several repetitions, in nanoseconds for each of `number` operations.
template< class Work >
double nanosecondsEach( std::size_t number, int times, const Work& work )
{
    double best = std::numeric_limits< double >::max();
    for ( int i = 0; i < times; ++i ) {
        const std::clock_t start = std::clock();
        work();
        const double seconds = static_cast< double >( std::clock() - start ) / CLOCKS_PER_SEC;
        best = std::min( best, seconds * 1e9 / static_cast< double >( number ) );
    }
    return best;
}

/// Entries in an index, those before others in the set being better.
class Measured
{
  public:
    explicit Measured( std::vector< Entry > entries )
        : entries_( std::move( entries ) )
        , order_( entries_.size() )
    {
        std::iota( order_.begin(), order_.end(), 0U );
        std::shuffle( order_.begin(), order_.end(), random_ );
        keys_ = keysAround( entries_, random_ );
    }

    void print( const std::string& name )
    {
        const double small = changing( few );
        const double large = changing( static_cast< uint32_t >( entries_.size() ) - few );
        const double lookup = lookingUp();
        const double comparison = comparing();
        std::cout << std::left << std::setw( 18 ) << name.substr( name.rfind( '/' ) + 1 )
                  << std::right << std::fixed << std::setw( 8 ) << entries_.size()
                  << std::setprecision( 2 ) << std::setw( 8 ) << matching() << std::setw( 12 )
                  << 1e3 / lookup << std::setprecision( 0 ) << std::setw( 8 ) << comparison / lookup
                  << std::setw( 9 ) << index_.memory() / index_.size() << std::setw( 11 ) << small
                  << std::setw( 11 ) << large << '\n';
    }

  private:
    void insert( uint32_t i )
    {
        index_.insert( i, { 0, i }, entries_[ i ].data, entries_[ i ].mask );
    }

    /// Inserts up to a number, and from there `few` more several times; those after the last stay.
    double changing( uint32_t number )
    {
        while ( index_.size() < number ) {
            insert( order_[ index_.size() ] );
        }
        double best = std::numeric_limits< double >::max();
        for ( int i = 0; i < repetitions; ++i ) {
            while ( index_.size() > number ) {
                index_.remove( order_[ index_.size() - 1 ] );
            }
            best = std::min( best, nanosecondsEach( few, 1, [ & ] {
                                 for ( uint32_t j = 0; j < few; ++j ) {
                                     insert( order_[ number + j ] );
                                 }
                             } ) );
        }
        return best;
    }

    double lookingUp()
    {
        constexpr int rounds = 10;
        std::size_t found = 0;
        return nanosecondsEach( rounds * numberOfKeys, repetitions, [ & ] {
            found = 0;
            for ( int round = 0; round < rounds; ++round ) {
                for ( const Key& key : keys_ ) {
                    found += index_.find( key ).has_value() ? 1 : 0;
                }
            }
            found_ = found / rounds;
        } );
    }

    [[nodiscard]] std::optional< uint32_t > compareAll( const Key& key ) const
    {
        for ( uint32_t i = 0; i < entries_.size(); ++i ) {
            const Entry& entry = entries_[ i ];
            std::size_t byte = 0;
            while ( byte < keyWidth &&
                    ( key[ byte ] & entry.mask[ byte ] ) == entry.data[ byte ] ) {
                ++byte;
            }
            if ( byte == keyWidth ) {
                return i;
            }
        }
        return std::nullopt;
    }

    /// Takes a part of the keys, and ends the program if the index finds anything else.
    double comparing()
    {
        constexpr std::size_t part = numberOfKeys / 16;
        std::vector< std::optional< uint32_t > > found( part );
        const double each = nanosecondsEach( part, 1, [ & ] {
            for ( std::size_t i = 0; i < part; ++i ) {
                found[ i ] = compareAll( keys_[ i ] );
            }
        } );
        for ( std::size_t i = 0; i < part; ++i ) {
            if ( found[ i ] != index_.find( keys_[ i ] ) ) {
                std::cerr << "key " << i << " finds another entry in the index\n";
                std::exit( 1 );
            }
        }
        return each;
    }

    [[nodiscard]] double matching() const
    {
        return static_cast< double >( found_ ) / static_cast< double >( numberOfKeys );
    }

    std::mt19937 random_{ 1 };
    std::vector< Entry > entries_;
    std::vector< uint32_t > order_;
    std::vector< Key > keys_;
    Sim::TernaryIndex index_{ keyWidth };
    std::size_t found_ = 0;
};

} // namespace

int main( int argc, char** argv )
{
    if ( argc < 2 ) {
        std::cerr << "Usage: pelora-index-bench RULES...\n";
        return 2;
    }
    std::cout << "rule set           entries matching   million/s   ratio  B/entry  insert/" << few
              << " insert/all\n";
    for ( int i = 1; i < argc; ++i ) {
        std::vector< Entry > entries = entriesOf( Tool::readRuleSet( argv[ i ] ) );
        if ( entries.size() < 2 * few ) {
            std::cout << argv[ i ] << " has fewer than " << 2 * few << " entries: not measured\n";
            continue;
        }
        Measured( std::move( entries ) ).print( argv[ i ] );
    }
    return 0;
}

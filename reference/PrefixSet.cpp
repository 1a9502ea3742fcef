#include "reference/PrefixSet.h"

#include "agent/base/Assert.h"

#include <algorithm>
#include <bit>
#include <iterator>

namespace Reference {

using Prefix = PrefixSet::Prefix;

namespace {

constexpr Agent::U32 wordBits = 64;
constexpr Agent::U64 allOnes = ~Agent::U64{ 0 };

Agent::U64 leadingOnes( Agent::U32 count )
{
    return count == 0 ? 0 : allOnes << ( wordBits - std::min( count, wordBits ) );
}

void cut( Prefix& prefix, Agent::U32 length )
{
    prefix.length = length;
    prefix.high &= leadingOnes( length );
    prefix.low &= length > wordBits ? leadingOnes( length - wordBits ) : 0;
}

/// How many leading bits two addresses of one family share.
Agent::U32 sharedBits( const Prefix& left, const Prefix& right )
{
    const Agent::U64 high = left.high ^ right.high;
    const int bits =
        high != 0 ? std::countl_zero( high )
                  : static_cast< int >( wordBits ) + std::countl_zero( left.low ^ right.low );
    return static_cast< Agent::U32 >( bits );
}

bool contains( const Prefix& outer, const Prefix& inner )
{
    return outer.isV6 == inner.isV6 && outer.length <= inner.length &&
           sharedBits( outer, inner ) >= outer.length;
}

Agent::U64 bigEndian( const PeloraTcam::IpAddress::Bytes& bytes, std::size_t first )
{
    Agent::U64 value = 0;
    for ( std::size_t i = first; i < first + sizeof( value ); ++i ) {
        value = value << 8 | bytes[ i ];
    }
    return value;
}

} // namespace

Prefix::Prefix( const PeloraTcam::IpAddress& address, Agent::U32 wantedLength )
    : isV6( address.isV6() )
    , high( isV6 ? bigEndian( address.bytes(), 0 ) : Agent::U64{ address.value() } << 32 )
    , low( isV6 ? bigEndian( address.bytes(), sizeof( high ) ) : 0 )
    , length( wantedLength )
{
    cut( *this, wantedLength );
}

void PrefixSet::erase( const Prefix& prefix )
{
    const auto found = counts_.find( prefix );
    AGENT_ASSERT( found != counts_.end() && "the prefix is there" );
    if ( --found->second == 0 ) {
        counts_.erase( found );
    }
}

bool PrefixSet::overlapsAnother( const Prefix& prefix ) const
{
    auto next = counts_.upper_bound( prefix );
    if ( next != counts_.end() && contains( prefix, next->first ) ) {
        return true;
    }
    if ( next != counts_.begin() && std::prev( next )->first == prefix ) {
        --next; // Not another one.
    }
    return isContained( prefix, next );
}

/// What contains the prefix stands before it, and contains whatever stands between the two: so each
/// step looks at the nearest one before, and goes on before what this one and the prefix share.
bool PrefixSet::isContained( const Prefix& prefix, Counts::const_iterator next ) const
{
    while ( next != counts_.begin() ) {
        const Prefix& before = std::prev( next )->first;
        if ( before.isV6 != prefix.isV6 ) {
            return false;
        }
        if ( contains( before, prefix ) ) {
            return true;
        }
        Prefix both = prefix;
        cut( both, sharedBits( before, prefix ) );
        next = counts_.upper_bound( both );
    }
    return false;
}

} // namespace Reference

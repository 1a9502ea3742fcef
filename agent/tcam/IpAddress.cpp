#include "agent/tcam/IpAddress.h"

#include "agent/base/Assert.h"
#include "agent/base/TextPieces.h"

#include <algorithm>

namespace PeloraTcam {

namespace {

constexpr Agent::U32 bitsPerByte = 8;

void printV4( std::ostream& stream, Agent::U32 value )
{
    constexpr Agent::U32 byteMask = 0xFF;
    stream << ( value >> 24 ) << '.' << ( value >> 16 & byteMask ) << '.'
           << ( value >> 8 & byteMask ) << '.' << ( value & byteMask );
}

void printV6( std::ostream& stream, const IpAddress::Bytes& bytes )
{
    for ( std::size_t i = 0; i < bytes.size(); i += 2 ) {
        stream << ( i == 0 ? "" : ":" )
               << Agent::hex(
                      static_cast< Agent::U16 >( bytes[ i ] << bitsPerByte | bytes[ i + 1 ] ) );
    }
}

} // namespace

IpAddress IpAddress::v4( Agent::U32 value )
{
    IpAddress address;
    address.value_ = value;
    return address;
}

IpAddress IpAddress::v6( const Bytes& bytes )
{
    IpAddress address;
    address.v6_ = true;
    address.bytes_ = bytes;
    return address;
}

std::ostream& operator<<( std::ostream& stream, const IpAddress& address )
{
    if ( address.isV6() ) {
        printV6( stream, address.bytes() );
    } else {
        printV4( stream, address.value() );
    }
    return stream;
}

Agent::U32 ip4PrefixMask( Agent::U32 len )
{
    constexpr Agent::U32 addressBits = 32;
    if ( len == 0 ) {
        return 0;
    }
    return len >= addressBits ? ~Agent::U32{ 0 } : ~Agent::U32{ 0 } << ( addressBits - len );
}

void ip6PrefixMask( Agent::U32 len, bcm_ip6_t& mask )
{
    AGENT_ASSERT( len <= 128 );
    for ( Agent::U32 i = 0; i < sizeof( mask ); ++i ) {
        const Agent::U32 before = i * bitsPerByte;
        const Agent::U32 bits = len <= before ? 0 : std::min( len - before, bitsPerByte );
        mask[ i ] = static_cast< Agent::U8 >( 0xFF00U >> bits );
    }
}

} // namespace PeloraTcam

// Layer 3.

#include "sim/packets/HeaderReader.h"
#include "sim/packets/InternetChecksum.h"
#include "sim/packets/PacketNumbers.h"

namespace Sim {

namespace {

/// Whether a next header is an extension header that names the next one in its first byte. The
/// encapsulating security payload does not: what follows is encrypted.
bool isExtensionHeader( std::uint8_t next )
{
    switch ( next ) {
    case IpProtocols::hopByHop:
    case IpProtocols::routing:
    case IpProtocols::fragment:
    case IpProtocols::authentication:
    case IpProtocols::destinationOptions:
    case IpProtocols::mobility:
    case IpProtocols::hostIdentity:
    case IpProtocols::shim6:
        return true;
    default:
        return false;
    }
}

/// How many bytes an extension header has; `units` is its second byte.
std::size_t extensionHeaderLength( std::uint8_t type, std::uint8_t units )
{
    if ( type == IpProtocols::fragment ) {
        return 8;
    }
    if ( type == IpProtocols::authentication ) {
        return ( std::size_t{ units } + 2 ) * 4; // RFC 4302
    }
    return ( std::size_t{ units } + 1 ) * 8; // RFC 8200
}

} // namespace

void HeaderReader::readPayload( LayerHeaders& layer, std::uint16_t etherType, std::size_t at )
{
    switch ( etherType ) {
    case EtherTypes::ip4:
        return readIp4( layer, at );
    case EtherTypes::ip6:
        return readIp6( layer, at );
    case EtherTypes::arp:
        return readArp( layer, L3Kind::arp, at );
    case EtherTypes::rarp:
        return readArp( layer, L3Kind::rarp, at );
    case EtherTypes::mpls:
    case EtherTypes::mplsMulticast:
        return readMpls( layer, at );
    default:
        layer.l3 = offset( at );
    }
}

void HeaderReader::readArp( LayerHeaders& layer, L3Kind kind, std::size_t at )
{
    layer.l3 = offset( at );
    if ( !require( at, 8 ) ) {
        return;
    }
    layer.l3Kind = kind;
    layer.arpOperation = number16( at + 6 );
    constexpr std::uint32_t ethernetAndIp4 = 0x00010800;
    constexpr std::uint16_t lengthsOfThese = 0x0604;
    const bool isUsual = number32( at ) == ethernetAndIp4 && number16( at + 4 ) == lengthsOfThese;
    if ( isUsual && require( at, 28 ) ) {
        layer.arpSourceMac = offset( at + 8 );
        layer.sourceAddress = offset( at + 14 );
        layer.arpTargetMac = offset( at + 18 );
        layer.destinationAddress = offset( at + 24 );
    }
}

void HeaderReader::readIp4( LayerHeaders& layer, std::size_t at )
{
    layer.l3 = offset( at );
    if ( !require( at, 20 ) ) {
        return;
    }
    const std::size_t headerLength = ( byte( at ) & 0xF ) * std::size_t{ 4 };
    if ( byte( at ) >> 4 != 4 || headerLength < 20 ) {
        headers_.malformed = true;
        return;
    }
    layer.l3Kind = L3Kind::ip4;
    layer.ipHeaderLength = static_cast< std::uint16_t >( headerLength );
    layer.hasIpOptions = headerLength > 20;
    layer.typeOfService = byte( at + 1 );
    layer.ipLength = number16( at + 2 );
    layer.identification = number16( at + 4 );
    layer.ipFlags = byte( at + 6 ) >> 5;
    layer.moreFragments = ( layer.ipFlags & 1 ) != 0;
    layer.fragmentOffset = number16( at + 6 ) & 0x1FFF;
    layer.ttl = byte( at + 8 );
    layer.nextHeader = byte( at + 9 );
    layer.protocol = layer.nextHeader;
    layer.sourceAddress = offset( at + 12 );
    layer.destinationAddress = offset( at + 16 );
    if ( !require( at, headerLength ) ) {
        return;
    }
    InternetChecksum sum;
    sum.add( bytes_.subspan( at, headerLength ) );
    layer.ipChecksumRight = sum.value() == 0;
    readBehindIp( layer, at + headerLength );
}

void HeaderReader::readIp6( LayerHeaders& layer, std::size_t at )
{
    layer.l3 = offset( at );
    if ( !require( at, 40 ) ) {
        return;
    }
    const std::uint32_t firstWord = number32( at );
    if ( firstWord >> 28 != 6 ) {
        headers_.malformed = true;
        return;
    }
    layer.l3Kind = L3Kind::ip6;
    layer.ipHeaderLength = 40;
    layer.typeOfService = static_cast< std::uint8_t >( firstWord >> 20 );
    layer.flowLabel = firstWord & 0xFFFFF;
    layer.ipLength = number16( at + 4 );
    layer.nextHeader = byte( at + 6 );
    layer.ttl = byte( at + 7 );
    layer.sourceAddress = offset( at + 8 );
    layer.destinationAddress = offset( at + 24 );
    readExtensionHeaders( layer, at + 40 );
}

// Behind the header of a later fragment stands the middle of something: what its next header says
// is not there. A fragment of a fragment is nothing that a packet can be.
void HeaderReader::readExtensionHeaders( LayerHeaders& layer, std::size_t at )
{
    std::uint8_t next = layer.nextHeader;
    bool isFragment = false;
    while ( isExtensionHeader( next ) && layer.fragmentOffset == 0 ) {
        if ( !require( at, 8 ) ) {
            return;
        }
        if ( next == IpProtocols::fragment && isFragment ) {
            headers_.malformed = true;
            return;
        }
        isFragment |= next == IpProtocols::fragment;
        noteExtensionHeader( layer, next, at );
        const std::size_t length = extensionHeaderLength( next, byte( at + 1 ) );
        if ( !require( at, length ) ) {
            return;
        }
        next = byte( at );
        at += length;
    }
    layer.protocol = next;
    readBehindIp( layer, at );
}

void HeaderReader::noteExtensionHeader( LayerHeaders& layer,
                                        std::uint8_t type,
                                        std::size_t at ) const
{
    if ( layer.extensionHeaders < mostExtensionHeaders ) {
        layer.extensionHeader[ layer.extensionHeaders ] = { type, byte( at + 2 ), offset( at ) };
    }
    ++layer.extensionHeaders;
    if ( type == IpProtocols::routing && layer.routingHeader == absentOffset ) {
        layer.routingHeader = offset( at );
        layer.routingType = byte( at + 2 );
        layer.segmentsLeft = byte( at + 3 );
    }
    if ( type == IpProtocols::fragment ) {
        layer.fragmentOffset = number16( at + 2 ) >> 3;
        layer.moreFragments = ( byte( at + 3 ) & 1 ) != 0;
        layer.identification = number32( at + 4 );
    }
}

void HeaderReader::readBehindIp( LayerHeaders& layer, std::size_t at )
{
    layer.l3End = offset( at );
    const bool isNothing =
        layer.l3Kind == L3Kind::ip6 && layer.protocol == IpProtocols::noNextHeader;
    if ( layer.fragmentOffset == 0 && !isNothing ) {
        readLayer4( layer, at );
    }
}

} // namespace Sim

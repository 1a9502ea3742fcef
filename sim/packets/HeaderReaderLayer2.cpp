// Layer 2 and MPLS.

#include "sim/packets/HeaderReader.h"
#include "sim/packets/PacketNumbers.h"

namespace Sim {

namespace {

bool isTagProtocol( std::uint16_t type )
{
    return type == EtherTypes::customerTag || type == EtherTypes::serviceTag ||
           type == EtherTypes::olderServiceTag;
}

/// What is taken for the EtherType of a frame in a pseudowire.
bool isTellingEtherType( std::uint16_t type )
{
    return isTagProtocol( type ) || type == EtherTypes::ip4 || type == EtherTypes::ip6 ||
           type == EtherTypes::arp || type == EtherTypes::mpls || type == EtherTypes::mplsMulticast;
}

} // namespace

void HeaderReader::readEthernet( LayerHeaders& layer, std::size_t at )
{
    if ( !require( at, 14 ) ) {
        return;
    }
    layer.l2 = offset( at );
    at += 12;
    std::uint16_t type = number16( at );
    while ( isTagProtocol( type ) && layer.vlanTags < mostVlanTags ) {
        if ( !require( at, 6 ) ) {
            return;
        }
        layer.vlanTag[ layer.vlanTags ] = { type, number16( at + 2 ) };
        ++layer.vlanTags;
        at += 4;
        type = number16( at );
    }
    at += 2;
    if ( type >= EtherTypes::first ) {
        layer.l2Format = L2Format::ethernet2;
        layer.etherType = type;
        readPayload( layer, type, at );
    } else if ( type <= EtherTypes::greatestLength ) {
        layer.ieeeLength = type;
        readLlc( layer, at );
    }
}

void HeaderReader::readLlc( LayerHeaders& layer, std::size_t at )
{
    if ( !require( at, 3 ) ) {
        return;
    }
    constexpr std::uint16_t noLlc = 0xFFFF; // the checksum of IPX stands there
    constexpr std::uint32_t snap = 0xAAAA03;
    if ( number16( at ) == noLlc ) {
        layer.l2Format = L2Format::ieee802dot3;
        return;
    }
    layer.llc = offset( at );
    layer.llcDestination = byte( at );
    layer.llcSource = byte( at + 1 );
    layer.llcControl = byte( at + 2 );
    if ( number24( at ) == snap ) {
        readSnap( layer, at + 3 );
    } else {
        layer.l2Format = L2Format::llc;
    }
}

void HeaderReader::readSnap( LayerHeaders& layer, std::size_t at )
{
    if ( !require( at, 5 ) ) {
        return;
    }
    layer.l2Format = L2Format::snap;
    layer.snapOrganisation = number24( at );
    layer.snapProtocol = number16( at + 3 );
    constexpr std::uint32_t etherTypes = 0;      // RFC 1042
    constexpr std::uint32_t bridgeTunnel = 0xF8; // IEEE 802.1H
    if ( layer.snapOrganisation == etherTypes || layer.snapOrganisation == bridgeTunnel ) {
        layer.etherType = layer.snapProtocol;
        readPayload( layer, layer.etherType, at + 5 );
    }
}

void HeaderReader::readMpls( LayerHeaders& layer, std::size_t at )
{
    constexpr std::uint32_t bottomOfStack = 0x100;
    while ( !layer.mplsBottom ) {
        if ( !require( at, 4 ) ) {
            return;
        }
        if ( layer.mplsDepth == 0 ) {
            layer.mpls = offset( at );
        }
        const std::uint32_t entry = number32( at );
        if ( layer.mplsDepth < mostMplsEntries ) {
            layer.mplsEntry[ layer.mplsDepth ] = entry;
        }
        ++layer.mplsDepth;
        layer.mplsBottom = ( entry & bottomOfStack ) != 0;
        at += 4;
    }
    readBehindMpls( layer, at );
}

// A label does not say what it stands before. IP is known by its version, as routers do that
// balance load by what they find there (RFC 4928).
void HeaderReader::readBehindMpls( LayerHeaders& layer, std::size_t at )
{
    if ( !require( at, 1 ) ) {
        return;
    }
    const unsigned version = byte( at ) >> 4;
    if ( version == 4 ) {
        readIp4( layer, at );
    } else if ( version == 6 ) {
        readIp6( layer, at );
    } else if ( &layer == &headers_.outer ) {
        readPseudowire( at );
    }
}

// Ethernet stands behind the labels with or without a control word (RFC 4448). A control word
// begins with 16 zero bits, which a MAC address may do as well: it is taken for what puts a known
// EtherType where it belongs, and for nothing if both do or neither.
void HeaderReader::readPseudowire( std::size_t at )
{
    constexpr std::size_t controlWord = 4;
    constexpr std::size_t typeOffset = 12;
    if ( !require( at, typeOffset + 2 ) ) {
        return;
    }
    const bool mayBeControlWord = number16( at ) == 0;
    if ( mayBeControlWord && !require( at, controlWord + typeOffset + 2 ) ) {
        return;
    }
    const bool isWithout = isTellingEtherType( number16( at + typeOffset ) );
    const bool isWith =
        mayBeControlWord && isTellingEtherType( number16( at + controlWord + typeOffset ) );
    if ( isWith == isWithout ) {
        return;
    }
    at += isWith ? controlWord : 0;
    headers_.tunnel.kind = TunnelKind::pseudowire;
    headers_.tunnel.payload = offset( at );
    readEthernet( headers_.inner, at );
}

} // namespace Sim

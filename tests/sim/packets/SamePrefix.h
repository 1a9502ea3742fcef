#pragma once

/// What must hold of the headers that were read of any bytes.

#include "sim/packets/PacketHeaders.h"

#include <cstddef>
#include <string>
#include <vector>

namespace SimPacketTest {

/// A number that was read, by the names of the part and of its member. Of the beginning of a packet
/// it is the same as of the whole packet, or else absent.
struct ReadNumber
{
    const char* part;
    const char* name;
    std::uint64_t value;
    std::uint64_t absent; ///< the value that says that it is not there
    bool isOffset;
    bool isCount; ///< may also be smaller
};

/// Collects the numbers of headers.
class ReadNumbers
{
  public:
    explicit ReadNumbers( const Sim::PacketHeaders& headers )
    {
        constexpr std::size_t more = 256; // than there are
        numbers_.reserve( more );
        addLayer( "outer.", headers.outer );
        addTunnel( headers.tunnel );
        addLayer( "inner.", headers.inner );
        add( "", "malformed", headers.malformed );
    }

    [[nodiscard]] const std::vector< ReadNumber >& numbers() const { return numbers_; }

  private:
    void add( const char* part, const char* name, std::uint64_t value )
    {
        numbers_.push_back( { part, name, value, 0, false, false } );
    }

    void addCount( const char* part, const char* name, std::uint64_t value )
    {
        numbers_.push_back( { part, name, value, 0, false, true } );
    }

    void addOffset( const char* part, const char* name, Sim::PacketOffset value )
    {
        numbers_.push_back( { part, name, value, Sim::absentOffset, true, false } );
    }

    void addLayer( const char* part, const Sim::LayerHeaders& layer )
    {
        addLayer2( part, layer );
        addLayer3( part, layer );
        addExtensionHeaders( part, layer );
        addLayer4( part, layer );
    }

    void addLayer2( const char* part, const Sim::LayerHeaders& layer )
    {
        addOffset( part, "l2", layer.l2 );
        add( part, "l2Format", static_cast< std::uint64_t >( layer.l2Format ) );
        addCount( part, "vlanTags", layer.vlanTags );
        for ( const Sim::VlanTag& tag : layer.vlanTag ) {
            add( part, "vlanTag", std::uint64_t{ tag.tpid } << 16 | tag.control );
        }
        add( part, "etherType", layer.etherType );
        add( part, "ieeeLength", layer.ieeeLength );
        addOffset( part, "llc", layer.llc );
        add( part, "llcDestination", layer.llcDestination );
        add( part, "llcSource", layer.llcSource );
        add( part, "llcControl", layer.llcControl );
        add( part, "snapOrganisation", layer.snapOrganisation );
        add( part, "snapProtocol", layer.snapProtocol );
        addOffset( part, "mpls", layer.mpls );
        addCount( part, "mplsDepth", layer.mplsDepth );
        add( part, "mplsBottom", layer.mplsBottom );
        for ( const std::uint32_t entry : layer.mplsEntry ) {
            add( part, "mplsEntry", entry );
        }
    }

    void addLayer3( const char* part, const Sim::LayerHeaders& layer )
    {
        addOffset( part, "l3", layer.l3 );
        add( part, "l3Kind", static_cast< std::uint64_t >( layer.l3Kind ) );
        addOffset( part, "l3End", layer.l3End );
        addOffset( part, "sourceAddress", layer.sourceAddress );
        addOffset( part, "destinationAddress", layer.destinationAddress );
        addOffset( part, "arpSourceMac", layer.arpSourceMac );
        addOffset( part, "arpTargetMac", layer.arpTargetMac );
        add( part, "arpOperation", layer.arpOperation );
        add( part, "typeOfService", layer.typeOfService );
        add( part, "ttl", layer.ttl );
        add( part, "nextHeader", layer.nextHeader );
        add( part, "protocol", layer.protocol );
        add( part, "ipLength", layer.ipLength );
        add( part, "ipHeaderLength", layer.ipHeaderLength );
        add( part, "identification", layer.identification );
        add( part, "ipFlags", layer.ipFlags );
        add( part, "fragmentOffset", layer.fragmentOffset );
        add( part, "moreFragments", layer.moreFragments );
        add( part, "hasIpOptions", layer.hasIpOptions );
        add( part, "ipChecksumRight", layer.ipChecksumRight );
        add( part, "flowLabel", layer.flowLabel );
    }

    void addExtensionHeaders( const char* part, const Sim::LayerHeaders& layer )
    {
        addCount( part, "extensionHeaders", layer.extensionHeaders );
        for ( const Sim::ExtensionHeader& header : layer.extensionHeader ) {
            add( part, "extensionHeader.type", header.type );
            add( part, "extensionHeader.subCode", header.subCode );
            addOffset( part, "extensionHeader.offset", header.offset );
        }
        addOffset( part, "routingHeader", layer.routingHeader );
        add( part, "routingType", layer.routingType );
        add( part, "segmentsLeft", layer.segmentsLeft );
    }

    void addLayer4( const char* part, const Sim::LayerHeaders& layer )
    {
        addOffset( part, "l4", layer.l4 );
        add( part, "hasPorts", layer.hasPorts );
        add( part, "hasTypeCode", layer.hasTypeCode );
        add( part, "hasTcpControl", layer.hasTcpControl );
        add( part, "sourcePort", layer.sourcePort );
        add( part, "destinationPort", layer.destinationPort );
        add( part, "type", layer.type );
        add( part, "code", layer.code );
        add( part, "tcpControl", layer.tcpControl );
        add( part, "tcpWindow", layer.tcpWindow );
        add( part, "l4HeaderLength", layer.l4HeaderLength );
        addOffset( part, "l4Payload", layer.l4Payload );
    }

    void addTunnel( const Sim::TunnelHeader& tunnel )
    {
        add( "tunnel.", "kind", static_cast< std::uint64_t >( tunnel.kind ) );
        addOffset( "tunnel.", "header", tunnel.header );
        add( "tunnel.", "greFlags", tunnel.greFlags );
        add( "tunnel.", "protocol", tunnel.protocol );
        add( "tunnel.", "greKey", tunnel.greKey );
        add( "tunnel.", "greSequence", tunnel.greSequence );
        add( "tunnel.", "flags", tunnel.flags );
        add( "tunnel.", "vni", tunnel.vni );
        add( "tunnel.", "reserved", tunnel.reserved );
        add( "tunnel.", "lastReserved", tunnel.lastReserved );
        add( "tunnel.", "optionsLength", tunnel.optionsLength );
        addOffset( "tunnel.", "options", tunnel.options );
        addOffset( "tunnel.", "payload", tunnel.payload );
    }

    std::vector< ReadNumber > numbers_;
};

/// The first offset that is neither absent nor one of `size` bytes; empty if there is none.
[[nodiscard]] inline std::string offsetBeyond( const Sim::PacketHeaders& headers, std::size_t size )
{
    const ReadNumbers all( headers );
    for ( const ReadNumber& number : all.numbers() ) {
        if ( number.isOffset && number.value != number.absent && number.value >= size ) {
            return std::string( number.part ) + number.name;
        }
    }
    return {};
}

/// The first number that was read otherwise of a packet's beginning than of the whole packet; empty
/// if there is none.
[[nodiscard]] inline std::string differenceOfPrefix( const Sim::PacketHeaders& ofPrefix,
                                                     const Sim::PacketHeaders& ofPacket )
{
    const ReadNumbers fewer( ofPrefix );
    const ReadNumbers all( ofPacket );
    for ( std::size_t i = 0; i < all.numbers().size(); ++i ) {
        const ReadNumber& one = fewer.numbers()[ i ];
        const ReadNumber& other = all.numbers()[ i ];
        const bool isSame = one.value == other.value || one.value == one.absent ||
                            ( one.isCount && one.value < other.value );
        if ( !isSame ) {
            return std::string( one.part ) + one.name;
        }
    }
    return {};
}

/// What is wrong with the headers of a packet and of each of its beginnings; empty if nothing is.
[[nodiscard]] inline std::string faultOfPrefixes( std::span< const std::uint8_t > packet )
{
    const Sim::PacketHeaders whole = Sim::readHeaders( packet );
    for ( std::size_t size = 0; size <= packet.size(); ++size ) {
        // A copy, so that a sanitizer sees what is read behind its end.
        const std::vector< std::uint8_t > prefix( packet.begin(),
                                                  packet.begin() + static_cast< long >( size ) );
        const Sim::PacketHeaders headers = Sim::readHeaders( prefix );
        const std::string beyond = offsetBeyond( headers, size );
        const std::string difference = differenceOfPrefix( headers, whole );
        if ( !beyond.empty() || !difference.empty() ) {
            return ( beyond.empty() ? "differs: " + difference : "beyond the end: " + beyond ) +
                   ", of " + std::to_string( size ) + " bytes";
        }
    }
    return {};
}

} // namespace SimPacketTest

#include "sim/packets/HeaderTexts.h"

#include <array>
#include <cstdio>

namespace Sim {

namespace {

using Texts = std::vector< std::pair< std::string, std::string > >;
using Bytes = std::span< const std::uint8_t >;

template< class... Arguments >
std::string formatted( const char* format, Arguments... arguments )
{
    std::array< char, 64 > text{};
    std::snprintf( text.data(), text.size(), format, arguments... );
    return text.data();
}

Bytes at( Bytes bytes, PacketOffset offset, std::size_t count )
{
    return offset == absentOffset || offset + count > bytes.size() ? Bytes()
                                                                   : bytes.subspan( offset, count );
}

std::string macText( Bytes mac )
{
    return mac.empty() ? "absent"
                       : formatted( "%02x:%02x:%02x:%02x:%02x:%02x", mac[ 0 ], mac[ 1 ], mac[ 2 ],
                                    mac[ 3 ], mac[ 4 ], mac[ 5 ] );
}

std::string ip4Text( Bytes address )
{
    return address.empty()
               ? "absent"
               : formatted( "%u.%u.%u.%u", address[ 0 ], address[ 1 ], address[ 2 ], address[ 3 ] );
}

/// All eight groups of an IPv6 address, without leading zeros (RFC 4291, section 2.2, form 1).
std::string ip6Text( Bytes address )
{
    std::string text;
    for ( std::size_t byte = 0; byte + 1 < address.size(); byte += 2 ) {
        text += ( byte == 0 ? "" : ":" ) +
                formatted( "%x", unsigned{ address[ byte ] } << 8 | address[ byte + 1 ] );
    }
    return text.empty() ? "absent" : text;
}

/// Adds what one layer says.
class LayerTexts
{
  public:
    LayerTexts( Texts& texts, std::string prefix, Bytes bytes )
        : texts_( texts )
        , prefix_( std::move( prefix ) )
        , bytes_( bytes )
    {}

    void add( const LayerHeaders& layer )
    {
        addLayer2( layer );
        addLayer3( layer );
        addLayer4( layer );
    }

  private:
    void add( const std::string& name, std::string value )
    {
        texts_.emplace_back( prefix_ + name, std::move( value ) );
    }

    void addLayer2( const LayerHeaders& layer )
    {
        if ( layer.l2 != absentOffset ) {
            add( "destination MAC", macText( at( bytes_, layer.l2, 6 ) ) );
            add( "source MAC",
                 macText( at( bytes_, static_cast< PacketOffset >( layer.l2 + 6 ), 6 ) ) );
        }
        for ( unsigned tag = 0; tag < layer.vlanTags; ++tag ) {
            add( "VLAN", std::to_string( layer.vlanTag[ tag ].vlan() ) );
        }
        if ( layer.etherType != 0 ) {
            add( "EtherType", formatted( "0x%04x", unsigned{ layer.etherType } ) );
        }
        if ( layer.mpls != absentOffset ) {
            add( "MPLS label", std::to_string( layer.mplsLabel( 0 ) ) );
        }
    }

    void addLayer3( const LayerHeaders& layer )
    {
        if ( layer.l3Kind == L3Kind::ip4 ) {
            add( "source", ip4Text( at( bytes_, layer.sourceAddress, 4 ) ) );
            add( "destination", ip4Text( at( bytes_, layer.destinationAddress, 4 ) ) );
        } else if ( layer.l3Kind == L3Kind::ip6 ) {
            add( "source", ip6Text( at( bytes_, layer.sourceAddress, 16 ) ) );
            add( "destination", ip6Text( at( bytes_, layer.destinationAddress, 16 ) ) );
        } else if ( layer.l3Kind == L3Kind::arp || layer.l3Kind == L3Kind::rarp ) {
            add( "ARP operation", std::to_string( layer.arpOperation ) );
        }
        if ( layer.isIp() ) {
            add( "protocol", std::to_string( layer.protocol ) );
            add( "TTL", std::to_string( layer.ttl ) );
            if ( layer.isFragment() ) {
                add( "fragment offset", std::to_string( layer.fragmentOffset * 8 ) );
            }
        }
    }

    void addLayer4( const LayerHeaders& layer )
    {
        if ( layer.hasPorts ) {
            add( "source port", std::to_string( layer.sourcePort ) );
            add( "destination port", std::to_string( layer.destinationPort ) );
        }
        if ( layer.hasTcpControl ) {
            add( "TCP flags", formatted( "0x%02x", unsigned{ layer.tcpFlags() } ) );
        }
        if ( layer.hasTypeCode ) {
            add( "type", std::to_string( layer.type ) );
            add( "code", std::to_string( layer.code ) );
        }
    }

    Texts& texts_;
    std::string prefix_;
    Bytes bytes_;
};

const char* nameOf( TunnelKind kind )
{
    switch ( kind ) {
    case TunnelKind::none:
        return "none";
    case TunnelKind::gre:
        return "GRE";
    case TunnelKind::ipInIp:
        return "IP in IP";
    case TunnelKind::vxlan:
        return "VXLAN";
    case TunnelKind::geneve:
        return "Geneve";
    case TunnelKind::mplsInUdp:
        return "MPLS in UDP";
    case TunnelKind::pseudowire:
        return "Ethernet pseudowire";
    }
    return "none";
}

void addTunnel( Texts& texts, const TunnelHeader& tunnel )
{
    texts.emplace_back( "tunnel", nameOf( tunnel.kind ) );
    if ( tunnel.kind == TunnelKind::vxlan || tunnel.kind == TunnelKind::geneve ) {
        texts.emplace_back( "VNI", std::to_string( tunnel.vni ) );
    }
    if ( tunnel.kind == TunnelKind::gre ) {
        texts.emplace_back( "GRE protocol", formatted( "0x%04x", unsigned{ tunnel.protocol } ) );
        if ( tunnel.greHasKey() ) {
            texts.emplace_back( "GRE key", std::to_string( tunnel.greKey ) );
        }
    }
}

} // namespace

Texts textsOf( const PacketHeaders& headers, Bytes bytes )
{
    Texts texts;
    LayerTexts( texts, "", bytes ).add( headers.outer );
    if ( headers.tunnel.kind != TunnelKind::none ) {
        addTunnel( texts, headers.tunnel );
        LayerTexts( texts, "inner ", bytes ).add( headers.inner );
    }
    if ( headers.truncated ) {
        texts.emplace_back( "cut short", "yes" );
    }
    return texts;
}

} // namespace Sim

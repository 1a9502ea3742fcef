#include "sim/packets/UdfExtraction.h"

#include <algorithm>
#include <bit>
#include <cstddef>

namespace Sim {

namespace {

constexpr unsigned bitsOfByte = 8;
constexpr unsigned bytesOfChunk = 2;

/// Whether a layer's IP is the one that is asked for, or none is.
bool isOfIp( const SdkNumbering& numbering, bcm_udf_pkt_format_ip_t ip, const LayerHeaders& layer )
{
    return ip == numbering.bcmUdfPktFormatIp4   ? layer.l3Kind == L3Kind::ip4
           : ip == numbering.bcmUdfPktFormatIp6 ? layer.l3Kind == L3Kind::ip6
                                                : true;
}

bool isOfL2( const SdkNumbering& numbering, bcm_udf_pkt_format_l2_t l2, L2Format format )
{
    return l2 != numbering.bcmUdfPktFormatL2EthII || format == L2Format::ethernet2;
}

/// Outside of GRE a packet format has no say in tunnels: its fields count from the outer headers.
bool isOfTunnel( const SdkNumbering& numbering,
                 bcm_udf_pkt_format_tunnel_t tunnel,
                 TunnelKind kind )
{
    return tunnel != numbering.bcmUdfPktFormatTunnelGre || kind == TunnelKind::gre;
}

PacketOffset
layerAt( const SdkNumbering& numbering, bcm_udf_layer_t layer, const PacketHeaders& headers )
{
    return layer == numbering.bcmUdfLayerL2Header        ? headers.outer.l2
           : layer == numbering.bcmUdfLayerL3OuterHeader ? headers.outer.l3
           : layer == numbering.bcmUdfLayerL4OuterHeader ? headers.outer.l4
           : layer == numbering.bcmUdfLayerL3InnerHeader ? headers.inner.l3
           : layer == numbering.bcmUdfLayerL4InnerHeader ? headers.inner.l4
                                                         : absentOffset;
}

/// So many bytes from there on; none if there are not as many.
std::span< const uint8_t >
bytesFrom( const Packet& packet, PacketOffset layer, std::size_t start, std::size_t width )
{
    if ( layer == absentOffset || layer + start + width > packet.bytes.size() ) {
        return {};
    }
    return { packet.bytes.data() + layer + start, width };
}

} // namespace

bool isOfFormat( const SdkNumbering& numbering,
                 const bcm_udf_pkt_format_info_t& format,
                 const PacketHeaders& headers )
{
    const LayerHeaders& outer = headers.outer;
    const auto differs = []( unsigned value, unsigned wanted, unsigned mask ) {
        return ( ( value ^ wanted ) & mask ) != 0;
    };
    return outer.l2 != absentOffset &&
           !differs( outer.etherType, format.ethertype(), format.ethertype_mask() ) &&
           !differs( outer.protocol, format.ip_protocol(), format.ip_protocol_mask() ) &&
           isOfL2( numbering, format.l2(), outer.l2Format ) &&
           isOfIp( numbering, format.outer_ip(), outer ) &&
           isOfIp( numbering, format.inner_ip(), headers.inner ) &&
           isOfTunnel( numbering, format.tunnel(), headers.tunnel.kind );
}

bool isOfFormat( const SdkNumbering& numbering,
                 bcm_udf_abstract_pkt_format_t format,
                 const PacketHeaders& headers )
{
    const LayerHeaders& outer = headers.outer;
    const bool isArp = outer.l3Kind == L3Kind::arp || outer.l3Kind == L3Kind::rarp;
    return format == numbering.bcmUdfAbstractPktFormatL3Ipv4 ? outer.l3Kind == L3Kind::ip4
           : format == numbering.bcmUdfAbstractPktFormatL3Ipv4WithoutOptions
               ? outer.l3Kind == L3Kind::ip4 && !outer.hasIpOptions
           : format == numbering.bcmUdfAbstractPktFormatL3Ipv6 ? outer.l3Kind == L3Kind::ip6
           : format == numbering.bcmUdfAbstractPktFormatArp ||
                   format == numbering.bcmUdfAbstractPktFormatKnownNonIp
               ? isArp
           : format == numbering.bcmUdfAbstractPktFormatUnknownL3 ? !isArp && !outer.isIp()
                                                                  : false;
}

std::span< const uint8_t > extractedBytes( const SdkNumbering& numbering,
                                           const SimUdfModule::State& module,
                                           bcm_udf_id_t udfId,
                                           const Packet& packet,
                                           const PacketHeaders& headers )
{
    const auto found = module.udfs.find( udfId );
    const bool isOfOne = std::ranges::any_of( module.pktFormats, [ & ]( const auto& format ) {
        return format.second.udfs.contains( udfId ) &&
               isOfFormat( numbering, format.second.info, headers );
    } );
    if ( found == module.udfs.end() || !isOfOne ) {
        return {};
    }
    const bcm_udf_t& udf = found->second.udf;
    return bytesFrom( packet, layerAt( numbering, udf.layer(), headers ),
                      static_cast< unsigned >( udf.start() ) / bitsOfByte,
                      static_cast< unsigned >( udf.width() ) / bitsOfByte );
}

std::span< const uint8_t > extractedBytes( const SdkNumbering& numbering,
                                           const SimFlexParser::State& parser,
                                           bcm_udf_id_t udfId,
                                           const Packet& packet,
                                           const PacketHeaders& headers )
{
    const auto found = parser.find( udfId );
    if ( found == parser.end() || !isOfFormat( numbering, found->second.format, headers ) ) {
        return {};
    }
    const SimFlexParser::Udf& udf = found->second;
    const unsigned room = bytesOfChunk * static_cast< unsigned >( std::popcount( udf.chunks ) );
    const unsigned width = std::min( udf.width / bitsOfByte, room );
    return bytesFrom( packet, headers.outer.l3, udf.offset / bitsOfByte, width );
}

std::span< const uint8_t > extractedBytes( const SimulatedChip& chip,
                                           bcm_udf_id_t udfId,
                                           const SdkNumbering& numbering,
                                           const Packet& packet,
                                           const PacketHeaders& headers )
{
    return chip.udfModule() != nullptr
               ? extractedBytes( numbering, chip.udfModule()->state(), udfId, packet, headers )
               : extractedBytes( numbering, chip.flexParser()->state(), udfId, packet, headers );
}

std::vector< bcm_udf_id_t > udfsOf( const SimulatedChip& chip )
{
    std::vector< bcm_udf_id_t > ids;
    const auto addIds = [ & ]( const auto& udfs ) {
        for ( const auto& [ id, udf ] : udfs ) {
            ids.push_back( id );
        }
    };
    if ( chip.udfModule() != nullptr ) {
        addIds( chip.udfModule()->state().udfs );
    } else {
        addIds( chip.flexParser()->state() );
    }
    return ids;
}

} // namespace Sim

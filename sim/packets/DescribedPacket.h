#pragma once

/// A packet as it is described, before it is bytes.

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace Sim {

/// An address of IPv4 or IPv6.
struct PacketAddress
{
    bool is6 = false;
    std::array< std::uint8_t, 16 > all{}; ///< of IPv4 the first four

    [[nodiscard]] std::span< const std::uint8_t > bytes() const
    {
        return std::span( all ).first( is6 ? 16 : 4 );
    }
};

using PacketMac = std::array< std::uint8_t, 6 >;

/// The address that a text stands for: "192.0.2.1" or "2001:db8::1".
[[nodiscard]] std::optional< PacketAddress > packetAddressOf( std::string_view text );

/// "02:00:00:00:00:01"
[[nodiscard]] std::optional< PacketMac > packetMacOf( std::string_view text );

/// What a layer is: a packet, or the tunnel around one.
enum class PacketKind : unsigned
{
    tcp = 1U << 0U,
    udp = 1U << 1U,
    sctp = 1U << 2U,
    icmp = 1U << 3U,
    icmp6 = 1U << 4U,
    ip = 1U << 5U,
    arp = 1U << 6U,
    ethernet = 1U << 7U,
    vxlan = 1U << 8U,
    geneve = 1U << 9U,
    gre = 1U << 10U,
    ipInIp = 1U << 11U,
};

struct DescribedTag
{
    std::uint16_t vlan = 0;
    std::uint8_t priority = 0;
};

/// A packet, or a tunnel with its own layers 2 and 3. What is not of its kind is not looked at.
struct DescribedLayer
{
    PacketKind kind = PacketKind::ethernet;

    std::optional< PacketMac > sourceMac; ///< those that go with the addresses if not given
    std::optional< PacketMac > destinationMac;
    std::vector< DescribedTag > tags;    ///< the outermost first
    std::vector< std::uint32_t > labels; ///< of MPLS, the topmost first
    std::uint16_t etherType = 0;
    std::uint16_t arpOperation = 1;

    PacketAddress source;
    PacketAddress destination;
    std::uint8_t protocol = 0;
    std::uint8_t ttl = 64;
    std::uint8_t dscp = 0;
    std::uint8_t ecn = 0;
    std::uint32_t identification = 0;
    std::uint32_t flowLabel = 0;
    bool dontFragment = false;
    bool isFragment = false;
    std::uint16_t fragmentOffset = 0; ///< in bytes
    bool moreFragments = false;
    std::vector< std::uint8_t > options; ///< of IPv4: a multiple of four bytes, 40 at most

    std::uint16_t sourcePort = 0;
    std::uint16_t destinationPort = 0;
    std::uint16_t tcpFlags = 0x02; ///< 12 bits
    std::uint16_t window = 65535;
    std::uint8_t type = 0;
    std::uint8_t code = 0;

    std::uint32_t vni = 0;
    std::optional< std::uint32_t > key;
};

/// A packet in any number of tunnels.
struct DescribedPacket
{
    std::vector< DescribedLayer > layers; ///< the innermost first; at least one
    std::vector< std::uint8_t > payload;  ///< of the innermost
};

/// Whether a layer has an IP header of version 6. It has one.
[[nodiscard]] inline bool isIp6( const DescribedLayer& layer )
{
    return layer.source.is6;
}

/// Whether a layer has no IP header.
[[nodiscard]] inline bool isWithoutIp( const DescribedLayer& layer )
{
    return layer.kind == PacketKind::arp || layer.kind == PacketKind::ethernet;
}

/// Whether a packet has to stand in an Ethernet frame, also where a tunnel could do without.
[[nodiscard]] inline bool needsEthernet( const DescribedLayer& layer )
{
    return isWithoutIp( layer ) || layer.sourceMac || !layer.tags.empty();
}

/// The bytes on the wire, with all lengths and checksums.
[[nodiscard]] std::vector< std::uint8_t > bytesOf( const DescribedPacket& packet );

} // namespace Sim

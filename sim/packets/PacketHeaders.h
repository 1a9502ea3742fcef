#pragma once

/// What the headers of a packet say: where each one stands, and its fields as numbers.
///
/// The reader takes the bytes from the destination MAC address on, without the frame check
/// sequence, and never looks past them. Every offset counts from the first byte and is that of a
/// byte that is there; `absentOffset` stands for what the packet has not. A number is 0 and a flag
/// is false as long as its header is absent.
///
/// A packet that is cut short is read up to its end: what is read of its beginning is what would be
/// read of all of it.
///
/// Two layers are read, the outer one and, of a tunnel, the one inside. A tunnel within the tunnel
/// is only named, by its protocol or port.
///
/// Assumptions, all as a parser in hardware has them: lengths that headers state do not bound what
/// is read behind these headers; a tunnel is recognised by its port or protocol alone; fragments
/// are not put together.
///
///     const PacketHeaders headers = readHeaders( packet.bytes );
///     if ( headers.outer.hasPorts && headers.outer.destinationPort == 80 ) { ... }
///
/// Nothing here allocates or throws; all functions may be called by any thread.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Sim {

/// Where a header stands, in bytes from the start of the packet.
using PacketOffset = std::uint16_t;

/// The offset of what a packet has not.
inline constexpr PacketOffset absentOffset = 0xFFFF;

/// How many bytes of a packet are looked at, at most.
inline constexpr std::size_t mostBytesRead = 0xFFFF;

/// How the frame says what it carries.
enum class L2Format : std::uint8_t
{
    none,        ///< no layer 2, or cut short, or neither a type nor a length
    ethernet2,   ///< an EtherType
    ieee802dot3, ///< a length, and no LLC header behind it
    llc,         ///< a length and an LLC header (IEEE 802.2)
    snap,        ///< a length, an LLC header and a SNAP header
};

/// What layer 3 is.
enum class L3Kind : std::uint8_t
{
    none, ///< absent, or something else
    ip4,
    ip6,
    arp,
    rarp,
};

/// What stands around the inner layer.
enum class TunnelKind : std::uint8_t
{
    none,
    gre,
    ipInIp,
    vxlan,
    geneve,
    mplsInUdp,
    pseudowire, ///< Ethernet over MPLS
};

/// A tag of IEEE 802.1Q.
struct VlanTag
{
    std::uint16_t tpid = 0;    ///< 0x8100, 0x88A8 or 0x9100
    std::uint16_t control = 0; ///< all 16 bits

    [[nodiscard]] std::uint16_t vlan() const { return control & 0xFFF; }

    [[nodiscard]] std::uint8_t priority() const
    {
        return static_cast< std::uint8_t >( control >> 13 );
    }

    [[nodiscard]] bool dropEligible() const { return ( control & 0x1000 ) != 0; }
};

/// An extension header of IPv6.
struct ExtensionHeader
{
    std::uint8_t type = 0; ///< its number as a next header

    /// The third byte: of a routing header the routing type, of hop-by-hop and destination options
    /// the type of the first option.
    std::uint8_t subCode = 0;

    PacketOffset offset = absentOffset;
};

inline constexpr std::size_t mostVlanTags = 2;
inline constexpr std::size_t mostMplsEntries = 8;
inline constexpr std::size_t mostExtensionHeaders = 8;

/// Layers 2 to 4, outside of a tunnel or inside of it.
struct LayerHeaders
{
    // ---- Layer 2. Inside of a tunnel for IP there is none.

    PacketOffset l2 =
        absentOffset; ///< the destination MAC address; the source stands 6 bytes behind
    L2Format l2Format = L2Format::none;
    std::uint8_t vlanTags = 0;                   ///< how many
    std::array< VlanTag, mostVlanTags > vlanTag; ///< the outermost first

    /// The EtherType behind all tags, also that of a SNAP header of the EtherTypes' organisation
    /// (RFC 1042); of what is in GRE or Geneve, the one that their header states.
    std::uint16_t etherType = 0;

    std::uint16_t ieeeLength = 0; ///< the length field, of a frame that has no EtherType
    PacketOffset llc = absentOffset;
    std::uint8_t llcDestination = 0; ///< the access point of the destination (DSAP)
    std::uint8_t llcSource = 0;
    std::uint8_t llcControl = 0;        ///< the first byte
    std::uint32_t snapOrganisation = 0; ///< 24 bits
    std::uint16_t snapProtocol = 0;

    // ---- MPLS (RFC 3032)

    PacketOffset mpls = absentOffset; ///< the first entry of the label stack
    std::uint16_t mplsDepth = 0;      ///< how many entries there are
    bool mplsBottom = false;          ///< whether the bottom of the stack was seen
    std::array< std::uint32_t, mostMplsEntries > mplsEntry{}; ///< the topmost first

    // ---- Layer 3

    PacketOffset l3 = absentOffset; ///< also of a protocol that is not read
    L3Kind l3Kind = L3Kind::none;
    PacketOffset l3End = absentOffset; ///< behind options and extension headers

    PacketOffset sourceAddress = absentOffset;      ///< 4 or 16 bytes; of ARP the sender's
    PacketOffset destinationAddress = absentOffset; ///< of ARP the target's
    PacketOffset arpSourceMac = absentOffset;
    PacketOffset arpTargetMac = absentOffset;
    std::uint16_t arpOperation = 0; ///< 1 asks, 2 answers

    std::uint8_t typeOfService = 0;   ///< or traffic class: DSCP and ECN
    std::uint8_t ttl = 0;             ///< or hop limit
    std::uint8_t nextHeader = 0;      ///< as the IP header itself states it
    std::uint8_t protocol = 0;        ///< behind all extension headers
    std::uint16_t ipLength = 0;       ///< total length of IPv4, payload length of IPv6
    std::uint16_t ipHeaderLength = 0; ///< with options, without extension headers
    std::uint32_t identification = 0; ///< of IPv4, or of a fragment header
    std::uint8_t ipFlags = 0; ///< the three bits of IPv4: 2 do not fragment, 1 more fragments
    std::uint16_t fragmentOffset = 0; ///< in units of 8 bytes
    bool moreFragments = false;
    bool hasIpOptions = false;    ///< of IPv4
    bool ipChecksumRight = false; ///< of IPv4
    std::uint32_t flowLabel = 0;  ///< 20 bits

    std::uint16_t extensionHeaders = 0;                                  ///< how many there are
    std::array< ExtensionHeader, mostExtensionHeaders > extensionHeader; ///< the first ones
    PacketOffset routingHeader = absentOffset;
    std::uint8_t routingType = 0; ///< 4 is segment routing (RFC 8754)
    std::uint8_t segmentsLeft = 0;

    // ---- Layer 4. There is none in a fragment other than the first.

    PacketOffset l4 = absentOffset; ///< also of a protocol that is not read
    bool hasPorts = false;          ///< TCP, UDP, UDP-Lite, DCCP, SCTP
    bool hasTypeCode = false;       ///< ICMP, ICMPv6, IGMP
    bool hasTcpControl = false;
    std::uint16_t sourcePort = 0;
    std::uint16_t destinationPort = 0;
    std::uint8_t type = 0;
    std::uint8_t code = 0; ///< of IGMP the greatest response time

    std::uint16_t tcpControl = 0; ///< header length, reserved bits and flags: all 16 bits
    std::uint16_t tcpWindow = 0;
    std::uint16_t l4HeaderLength = 0;      ///< in bytes; 0 if the header is not all there
    PacketOffset l4Payload = absentOffset; ///< behind TCP, UDP, UDP-Lite or SCTP's common header

    [[nodiscard]] std::uint8_t dscp() const { return typeOfService >> 2; }

    [[nodiscard]] std::uint8_t ecn() const { return typeOfService & 3; }

    [[nodiscard]] bool isIp() const { return l3Kind == L3Kind::ip4 || l3Kind == L3Kind::ip6; }

    [[nodiscard]] bool isFragment() const { return moreFragments || fragmentOffset != 0; }

    /// Whether it is no fragment at all or the first one.
    [[nodiscard]] bool isFirstFragment() const { return isIp() && fragmentOffset == 0; }

    [[nodiscard]] std::uint8_t tcpFlags() const
    {
        return static_cast< std::uint8_t >( tcpControl );
    }

    /// The label of one of the first `mostMplsEntries` entries, 20 bits.
    [[nodiscard]] std::uint32_t mplsLabel( std::size_t entry ) const
    {
        return mplsEntry[ entry ] >> 12;
    }
};

/// The header between the outer and the inner layer.
struct TunnelHeader
{
    TunnelKind kind = TunnelKind::none;
    PacketOffset header = absentOffset; ///< of GRE, VXLAN or Geneve

    std::uint16_t greFlags = 0;    ///< the first two bytes of GRE
    std::uint16_t protocol = 0;    ///< of GRE or Geneve: the EtherType of the payload
    std::uint32_t greKey = 0;      ///< if greHasKey()
    std::uint32_t greSequence = 0; ///< if greHasSequence()

    std::uint8_t flags = 0;              ///< of VXLAN: the first byte; of Geneve: the second
    std::uint32_t vni = 0;               ///< of VXLAN or Geneve: 24 bits
    std::uint32_t reserved = 0;          ///< of VXLAN: the 24 bits behind the flags
    std::uint8_t lastReserved = 0;       ///< of VXLAN or Geneve: the byte behind the VNI
    std::uint16_t optionsLength = 0;     ///< of Geneve: in bytes
    PacketOffset options = absentOffset; ///< of Geneve
    PacketOffset payload = absentOffset; ///< behind the header

    [[nodiscard]] bool greHasChecksum() const { return ( greFlags & 0x8000 ) != 0; }

    [[nodiscard]] bool greHasKey() const { return ( greFlags & 0x2000 ) != 0; }

    [[nodiscard]] bool greHasSequence() const { return ( greFlags & 0x1000 ) != 0; }

    [[nodiscard]] std::uint8_t greVersion() const { return greFlags & 7; }
};

/// All that was read of a packet.
struct PacketHeaders
{
    LayerHeaders outer;
    TunnelHeader tunnel;
    LayerHeaders inner; ///< all absent if there is no tunnel, or its payload is not known

    /// Whether the packet ends where a header would go on. Trailing bytes are not looked for, so
    /// this says nothing of payload that is missing.
    bool truncated = false;

    /// Whether a header contradicts itself, or is a second one for fragments; nothing behind it is
    /// read.
    bool malformed = false;
};

/// Reads the headers of a packet.
[[nodiscard]] PacketHeaders readHeaders( std::span< const std::uint8_t > packet );

} // namespace Sim

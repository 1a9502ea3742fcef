#pragma once

/// The numbers that protocols are known by, as IEEE and IANA have assigned them.

#include <cstdint>

namespace Sim::EtherTypes {

inline constexpr std::uint16_t ip4 = 0x0800;
inline constexpr std::uint16_t arp = 0x0806;
inline constexpr std::uint16_t ethernet = 0x6558; ///< in GRE and Geneve
inline constexpr std::uint16_t rarp = 0x8035;
inline constexpr std::uint16_t customerTag = 0x8100;
inline constexpr std::uint16_t ip6 = 0x86DD;
inline constexpr std::uint16_t mpls = 0x8847;
inline constexpr std::uint16_t mplsMulticast = 0x8848;
inline constexpr std::uint16_t serviceTag = 0x88A8;
inline constexpr std::uint16_t olderServiceTag = 0x9100;

inline constexpr std::uint16_t first = 0x0600;        ///< smaller ones are none
inline constexpr std::uint16_t greatestLength = 1500; ///< of a frame with a length instead

} // namespace Sim::EtherTypes

namespace Sim::IpProtocols {

inline constexpr std::uint8_t hopByHop = 0;
inline constexpr std::uint8_t icmp = 1;
inline constexpr std::uint8_t igmp = 2;
inline constexpr std::uint8_t ip4 = 4;
inline constexpr std::uint8_t tcp = 6;
inline constexpr std::uint8_t udp = 17;
inline constexpr std::uint8_t dccp = 33;
inline constexpr std::uint8_t ip6 = 41;
inline constexpr std::uint8_t routing = 43;
inline constexpr std::uint8_t fragment = 44;
inline constexpr std::uint8_t gre = 47;
inline constexpr std::uint8_t authentication = 51;
inline constexpr std::uint8_t icmp6 = 58;
inline constexpr std::uint8_t noNextHeader = 59;
inline constexpr std::uint8_t destinationOptions = 60;
inline constexpr std::uint8_t sctp = 132;
inline constexpr std::uint8_t mobility = 135;
inline constexpr std::uint8_t udpLite = 136;
inline constexpr std::uint8_t hostIdentity = 139;
inline constexpr std::uint8_t shim6 = 140;

} // namespace Sim::IpProtocols

namespace Sim::UdpPorts {

inline constexpr std::uint16_t vxlan = 4789;  ///< RFC 7348
inline constexpr std::uint16_t geneve = 6081; ///< RFC 8926
inline constexpr std::uint16_t mpls = 6635;   ///< RFC 7510

} // namespace Sim::UdpPorts

#pragma once

/// Where the headers of an Ethernet packet start and end. Written for tests: it knows nothing of
/// the library or of the chip, and takes nothing for granted that a packet says itself.
///
///     const std::optional< PacketHeaders > headers = headersOf( packet );
///     if ( headers && headers->outer.l4 ) {
///         const std::uint8_t* tcp = packet.data() + *headers->outer.l4;
///     }

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace PacketTest {

/// One layer 3 and what it carries. Positions are bytes from the start of the packet.
struct LayerHeaders
{
    std::uint16_t ethType = 0;
    std::size_t l3 = 0;

    // Of IPv4 and IPv6 only.
    std::optional< std::size_t > l3End; ///< behind IPv4 options and IPv6 extension headers
    std::uint8_t ipProto = 0;           ///< of what stands behind the extension headers
    std::size_t l3Extra = 0;            ///< bytes of options or extension headers

    // Not of a fragment other than the first.
    std::optional< std::size_t > l4;
    std::optional< std::size_t > l4End; ///< of TCP and UDP only: behind TCP options
    std::size_t l4Extra = 0;            ///< bytes of TCP options
};

struct PacketHeaders
{
    unsigned vlanTags = 0;
    LayerHeaders outer;
    std::optional< std::uint16_t > greEthType; ///< what a GRE packet carries
    std::optional< LayerHeaders > inner;       ///< if that is IPv4 or IPv6
};

/// Walks the headers; nothing if the packet is no Ethernet II frame or ends within a header.
[[nodiscard]] std::optional< PacketHeaders > headersOf( std::span< const std::uint8_t > packet );

} // namespace PacketTest

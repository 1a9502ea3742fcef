#pragma once

/// The reader behind `readHeaders`: one function a header, each of which goes on to the next one.
///
/// Each function takes the layer that it fills in and where its header begins. It fills in what is
/// there; when the packet ends too early it says so in `truncated` and goes no further.

#include "sim/packets/PacketHeaders.h"

namespace Sim {

/// Reads one packet into `headers`, which start out empty. Keeps references to both.
class HeaderReader
{
  public:
    HeaderReader( std::span< const std::uint8_t > packet, PacketHeaders& headers )
        : bytes_( packet.first( packet.size() < mostBytesRead ? packet.size() : mostBytesRead ) )
        , headers_( headers )
    {}

    void read();

  private:
    // ---- Layer 2 and MPLS
    void readEthernet( LayerHeaders& layer, std::size_t at );
    void readLlc( LayerHeaders& layer, std::size_t at );
    void readSnap( LayerHeaders& layer, std::size_t at );
    void readMpls( LayerHeaders& layer, std::size_t at );
    void readBehindMpls( LayerHeaders& layer, std::size_t at );
    void readPseudowire( std::size_t at );

    // ---- Layer 3
    void readPayload( LayerHeaders& layer, std::uint16_t etherType, std::size_t at );
    void readArp( LayerHeaders& layer, L3Kind kind, std::size_t at );
    void readIp4( LayerHeaders& layer, std::size_t at );
    void readIp6( LayerHeaders& layer, std::size_t at );
    void readExtensionHeaders( LayerHeaders& layer, std::size_t at );
    void noteExtensionHeader( LayerHeaders& layer, std::uint8_t type, std::size_t at ) const;
    void readBehindIp( LayerHeaders& layer, std::size_t at );

    // ---- Layer 4
    void readLayer4( LayerHeaders& layer, std::size_t at );
    void readTypeCode( LayerHeaders& layer, std::size_t at );
    void readPorts( LayerHeaders& layer, std::size_t at );
    void readTcp( LayerHeaders& layer, std::size_t at );
    void readFixedLayer4( LayerHeaders& layer, std::size_t at, std::uint16_t length );

    // ---- Tunnels
    void readTunnel();
    void readGre( std::size_t at );
    void readUdpTunnel( std::size_t at );
    void readVxlan( std::size_t at );
    void readGeneve( std::size_t at );
    void readTunnelPayload( std::size_t at );

    // ---- Bytes

    [[nodiscard]] bool has( std::size_t at, std::size_t count ) const
    {
        return at + count <= bytes_.size();
    }

    /// Whether so many bytes are there; if not, the packet is truncated.
    [[nodiscard]] bool require( std::size_t at, std::size_t count )
    {
        const bool isThere = has( at, count );
        headers_.truncated |= !isThere;
        return isThere;
    }

    /// An offset that may be the one behind the last byte, where there is nothing.
    [[nodiscard]] PacketOffset offset( std::size_t at ) const
    {
        return at < bytes_.size() ? static_cast< PacketOffset >( at ) : absentOffset;
    }

    // These are for bytes that are there.

    [[nodiscard]] std::uint8_t byte( std::size_t at ) const { return bytes_[ at ]; }

    [[nodiscard]] std::uint16_t number16( std::size_t at ) const
    {
        return static_cast< std::uint16_t >( bytes_[ at ] << 8 | bytes_[ at + 1 ] );
    }

    [[nodiscard]] std::uint32_t number24( std::size_t at ) const
    {
        return std::uint32_t{ number16( at ) } << 8 | bytes_[ at + 2 ];
    }

    [[nodiscard]] std::uint32_t number32( std::size_t at ) const
    {
        return std::uint32_t{ number16( at ) } << 16 | number16( at + 2 );
    }

    std::span< const std::uint8_t > bytes_;
    PacketHeaders& headers_;
};

} // namespace Sim

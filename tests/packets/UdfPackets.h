#pragma once

/// Where the chip finds a user-defined field in a packet, and where its descriptor says it is.
///
/// The chip is told a layer and a start from it, in bits. Its parser knows where the layers of a
/// packet are, whatever options and tags there are. A descriptor names a point of the packet, from
/// which its offset counts; where that point is, the header walk tells.

#include "tests/library/UdfScene.h"
#include "tests/packets/HandPackets.h"
#include "tests/packets/PacketHeaders.h"

#include <map>
#include <optional>

namespace PacketTest {

using PeloraTcam::UdfDesc;
using PeloraTcam::UdfOffsetBase;
using Position = std::optional< std::size_t >;

/// Bytes of a packet, in hexadecimal; empty if it has not as many.
[[nodiscard]] inline std::string bytesAt( const Packet& packet, std::size_t at, std::size_t length )
{
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    for ( std::size_t i = at; i < at + length && at + length <= packet.size(); ++i ) {
        text += digits[ packet[ i ] >> 4 ];
        text += digits[ packet[ i ] & 0xF ];
    }
    return text;
}

/// What the chip was told.
struct Placement
{
    std::string layer; ///< the SDK's name
    int start = 0;     ///< in bits
    int width = 0;     ///< in bits
};

/// Where a layer starts in a packet, by the SDK's name of it: what a parser finds.
[[nodiscard]] inline Position layerIn( const PacketHeaders& headers, const std::string& layer )
{
    const std::map< std::string, Position > positions = {
        { "bcmUdfLayerL2Header", 0 },
        { "bcmUdfLayerL3OuterHeader", headers.outer.l3 },
        { "bcmUdfLayerL4OuterHeader", headers.outer.l4 },
        { "bcmUdfLayerL3InnerHeader", headers.inner ? Position( headers.inner->l3 ) : Position() },
        { "bcmUdfLayerL4InnerHeader", headers.inner ? headers.inner->l4 : Position() },
    };
    return positions.at( layer );
}

/// The point of a packet that an offset base names; none if the packet has none.
[[nodiscard]] inline Position namedPoint( const PacketHeaders& headers, UdfOffsetBase base )
{
    switch ( base ) {
    case PeloraTcam::UdfBaseL2Header_:
        return 0;
    case PeloraTcam::UdfBaseL3Header_:
    case PeloraTcam::UdfBaseL3OuterHeader_:
        return headers.outer.l3;
    case PeloraTcam::UdfBaseL3OuterPayload_:
        return headers.outer.l3End;
    case PeloraTcam::UdfBaseL3InnerHeader_:
        return headers.inner ? Position( headers.inner->l3 ) : Position();
    case PeloraTcam::UdfBaseL4InnerHeader_:
        return headers.inner ? headers.inner->l4 : Position();
    case PeloraTcam::UdfBaseL4OuterHeader_:
        return headers.outer.l4;
    case PeloraTcam::UdfBaseL4OuterPayload_:
        return headers.outer.l4End;
    case PeloraTcam::UdfBasePacketStart_:
        break;
    }
    return {};
}

/// A request for bytes of packets like this one.
[[nodiscard]] inline UdfDesc descFor( const PacketHeaders& headers,
                                      UdfOffsetBase base,
                                      std::uint8_t offset,
                                      std::uint8_t length )
{
    UdfDesc desc;
    desc.baseIs( base );
    desc.ethTypeIs( headers.outer.ethType );
    desc.ipProtoIs( headers.outer.ipProto );
    desc.innerEtherTypeIs( headers.inner ? headers.inner->ethType : 0 );
    desc.offsetIs( offset );
    desc.lengthIs( length );
    return desc;
}

class UdfPacketsScene : public LibraryTest::UdfScene
{
  protected:
    UdfPacketsScene() { chips.chipIs( unit, Sim::builtInProfile( "sdk6-udf" ) ); }

    /// What the library tells the chip for a descriptor.
    const Placement& placementOf( const UdfDesc& desc )
    {
        const auto [ found, isNew ] = placements_.try_emplace( desc );
        if ( isNew ) {
            const LibraryTest::QualIdList quals = create( desc );
            EXPECT_EQ( quals.qualIds(), 1U );
            const auto& udfs = chips.chip( unit )->udfModule()->state().udfs;
            EXPECT_EQ( udfs.size(), 1U );
            const bcm_udf_t& udf = udfs.begin()->second.udf;
            found->second = { chips.numbering().nameOf( udf.layer() ), udf.start(), udf.width() };
            destroy( desc, quals );
            sdk.clear();
        }
        return found->second;
    }

    /// Where the chip finds the field.
    Position positionOnChip( const PacketHeaders& headers, const UdfDesc& desc )
    {
        const Placement& placement = placementOf( desc );
        EXPECT_EQ( placement.start % 8, 0 );
        EXPECT_EQ( placement.width, desc.length() * 8 );
        const Position layer = layerIn( headers, placement.layer );
        return layer ? *layer + static_cast< std::size_t >( placement.start / 8 ) : layer;
    }

    /// The bytes that the chip extracts; empty if the packet has not as many.
    std::string bytesOnChip( const Packet& packet, const UdfDesc& desc )
    {
        const std::optional< PacketHeaders > headers = headersOf( packet );
        const Position start = headers ? positionOnChip( *headers, desc ) : Position();
        return start ? bytesAt( packet, *start, desc.length() ) : "";
    }

  private:
    std::map< UdfDesc, Placement > placements_;
};

} // namespace PacketTest

#include "agent/tcam/UdfTypes.h"

#include "agent/base/TextPieces.h"

#include <array>
#include <string_view>

namespace PeloraTcam {

namespace {

using Agent::packForRing;

constexpr std::array< std::string_view, 9 > baseNames = {
    "UdfBasePacketStart_",   "UdfBaseL2Header_",       "UdfBaseL3Header_",
    "UdfBaseL3OuterHeader_", "UdfBaseL3OuterPayload_", "UdfBaseL3InnerHeader_",
    "UdfBaseL4InnerHeader_", "UdfBaseL4OuterHeader_",  "UdfBaseL4OuterPayload_",
};

constexpr std::array< std::string_view, 4 > appTypeNames = {
    "ipv4Acl",
    "ipv6Acl",
    "macAcl",
    "ipv4TrafficPolicy",
};

/// Packs what `operator<<` prints. A name is packed as it stands: a stream would cost many times
/// the rest of the record.
template< std::size_t count, class Enumeration >
void packName( Agent::RingPacker& packer,
               const std::array< std::string_view, count >& names,
               Enumeration value )
{
    const auto number = static_cast< std::size_t >( value );
    if ( number < count ) {
        packer.packText( names[ number ] );
    } else {
        packer.packText( Agent::joinPieces( value ) );
    }
}

} // namespace

std::ostream& operator<<( std::ostream& stream, UdfOffsetBase base )
{
    const auto number = static_cast< Agent::U32 >( base );
    if ( number < baseNames.size() ) {
        return stream << baseNames[ number ];
    }
    return stream << "UdfOffsetBase(" << number << ")";
}

void packForRing( Agent::RingPacker& packer, UdfOffsetBase base )
{
    packName( packer, baseNames, base );
}

std::ostream& operator<<( std::ostream& stream, UdfAppType appType )
{
    const auto number = static_cast< unsigned >( appType );
    if ( number < appTypeNames.size() ) {
        return stream << appTypeNames[ number ];
    }
    return stream << "UdfAppType(" << number << ")";
}

Agent::U8 UdfDesc::lagHashingMaskByte( Agent::U8 index ) const
{
    const auto found = lagHashingMask_.find( index );
    return found == lagHashingMask_.end() ? Agent::U8{ 0 } : found->second;
}

Agent::U32 UdfDesc::packedLagHashingMask() const
{
    return Agent::U32{ lagHashingMaskByte( 0 ) } << 24 |
           Agent::U32{ lagHashingMaskByte( 1 ) } << 16 |
           Agent::U32{ lagHashingMaskByte( 2 ) } << 8 | lagHashingMaskByte( 3 );
}

std::ostream& operator<<( std::ostream& stream, const UdfDesc& desc )
{
    return stream << "{appType: " << desc.appType() << ", ethType: 0x"
                  << Agent::hex( desc.ethType() ) << ", base: " << desc.base()
                  << ", ipProto: " << unsigned{ desc.ipProto() } << ", innerEtherType: 0x"
                  << Agent::hex( desc.innerEtherType() )
                  << ", offset: " << unsigned{ desc.offset() }
                  << ", length: " << unsigned{ desc.length() } << ", lagHashingMask: 0x"
                  << Agent::hex( desc.packedLagHashingMask() )
                  << ", priority: " << unsigned{ desc.priority() } << "}";
}

void packForRing( Agent::RingPacker& packer, const UdfDesc& desc )
{
    packName( packer, appTypeNames, desc.appType() );
    packForRing( packer, desc.ethType() );
    packForRing( packer, desc.base() );
    packForRing( packer, desc.ipProto() );
    packForRing( packer, desc.innerEtherType() );
    packForRing( packer, desc.offset() );
    packForRing( packer, desc.length() );
    packForRing( packer, desc.packedLagHashingMask() );
    packForRing( packer, desc.priority() );
}

std::ostream& operator<<( std::ostream& stream, const QualIdList& quals )
{
    const char* separator = "{";
    for ( const Agent::U32 id : quals ) {
        stream << separator << id;
        separator = ", ";
    }
    return stream << ( quals.qualIds() == 0 ? "{}" : "}" );
}

void packForRing( Agent::RingPacker& packer, const QualIdList& quals )
{
    for ( const Agent::U32 id : quals ) {
        packForRing( packer, id );
    }
}

} // namespace PeloraTcam

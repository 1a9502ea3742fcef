#include "agent/tcam/UdfTypes.h"

#include "agent/base/TextPieces.h"

#include <string_view>

namespace PeloraTcam {

namespace {

using Agent::packForRing;

/// Packs what `operator<<` prints; a name as it stands, without a stream.
template< class Enumeration >
void packName( Agent::RingPacker& packer, Enumeration value )
{
    const std::string_view name = nameOfEnumerator( value );
    if ( !name.empty() ) {
        packer.packText( name );
    } else {
        packer.packText( Agent::joinPieces( value ) );
    }
}

} // namespace

std::ostream& operator<<( std::ostream& stream, UdfOffsetBase base )
{
    return printEnumerator( stream, base );
}

void packForRing( Agent::RingPacker& packer, UdfOffsetBase base )
{
    packName( packer, base );
}

std::ostream& operator<<( std::ostream& stream, UdfAppType appType )
{
    return printEnumerator( stream, appType );
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
    packName( packer, desc.appType() );
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

#include "PeloraTcam/UdfChunks.h"

#include "agent/base/Assert.h"
#include "agent/base/TextPieces.h"
#include "agent/tcam/EthType.h"

namespace PeloraTcam {

namespace {

std::string chunkString( ChunkText text )
{
    std::string string( chunksOfFormat, '0' );
    for ( Agent::U32 i = 0; i < chunksOfFormat; ++i ) {
        if ( chunkIsSet( text.chunks, i ) ) {
            string[ chunksOfFormat - 1 - i ] = '1';
        }
    }
    return string;
}

AbstractPktKind kindOfMacAcl( Agent::U16 ethType )
{
    switch ( ethType ) {
    case Kvnet::EthType::ethTypeArp_:
        return AbstractPktKind::arp;
    case Kvnet::EthType::ethTypeIp_:
        Agent::assertionFailed(
            "Cannot specify ethertype ip with mac ACL", __FILE__, __LINE__, __PRETTY_FUNCTION__ );
    case Kvnet::EthType::ethTypeIp6_:
        return AbstractPktKind::ipv6;
    default:
        return AbstractPktKind::unknownL3;
    }
}

} // namespace

ChunkText chunkText( const Agent::Bitmap& bitmap )
{
    Agent::U32 chunks = 0;
    for ( Agent::U32 i = 0; i < bitmap.size() && i < chunksOfFormat; ++i ) {
        chunks |= bitmap.isBitSet( i ) ? 1U << i : 0;
    }
    return { chunks };
}

std::ostream& operator<<( std::ostream& stream, ChunkText text )
{
    return stream << chunkString( text );
}

void packForRing( Agent::RingPacker& packer, ChunkText text )
{
    packer.packText( chunkString( text ) );
}

std::string notEnoughChunksText( Agent::U32 available, Agent::U32 requested )
{
    return Agent::joinPieces( "Not enough chunks to program UDF availChunks ",
                              available,
                              " requested chunks: ",
                              requested );
}

AbstractPktKind abstractPktKind( const UdfDesc& udfDesc )
{
    switch ( udfDesc.appType() ) {
    case UdfAppType::ipv4Acl:
    case UdfAppType::ipv4TrafficPolicy:
        return AbstractPktKind::ipv4;
    case UdfAppType::ipv6Acl:
        return AbstractPktKind::ipv6;
    case UdfAppType::macAcl:
        return kindOfMacAcl( udfDesc.ethType() );
    }
    Agent::assertionFailed( "Specified invalid appType", __FILE__, __LINE__, __PRETTY_FUNCTION__ );
}

void judgeObjectList( const Agent::TraceHandle& handle, const Shim::CallSite& site, int rc )
{
    if ( rc < 0 && rc != Shim::sdk_->BCM_E_NOT_FOUND() ) {
        Shim::writeApiError( site, rc );
    } else {
        Shim::maybeTraceCall( handle, site, rc );
    }
}

} // namespace PeloraTcam

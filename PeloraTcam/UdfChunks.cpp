#include "PeloraTcam/UdfChunks.h"

#include "agent/base/Assert.h"
#include "agent/base/TextPieces.h"
#include "agent/tcam/EthType.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace PeloraTcam {

namespace {

/// The characters of a set of chunks: an array, as a string of sixteen would be on the heap.
using ChunkCharacters = std::array< char, chunksOfFormat >;

std::string_view viewOf( const ChunkCharacters& characters )
{
    return { characters.data(), characters.size() };
}

AbstractPktKind kindOfMacAcl( Agent::U16 ethType, const Agent::CallLocation& location )
{
    switch ( ethType ) {
    case Kvnet::EthType::ethTypeArp_:
        return AbstractPktKind::arp;
    case Kvnet::EthType::ethTypeIp_:
        Agent::assertionFailed( "Cannot specify ethertype ip with mac ACL", location.file,
                                location.line, location.function );
    case Kvnet::EthType::ethTypeIp6_:
        return AbstractPktKind::ipv6;
    default:
        return AbstractPktKind::unknownL3;
    }
}

} // namespace

ChunkCharacters ringText( ChunkSet chunks )
{
    ChunkCharacters characters;
    for ( Agent::U32 i = 0; i < chunksOfFormat; ++i ) {
        characters[ chunksOfFormat - 1 - i ] = chunks.has( i ) ? '1' : '0';
    }
    return characters;
}

std::ostream& operator<<( std::ostream& stream, ChunkSet chunks )
{
    const ChunkCharacters characters = ringText( chunks );
    return stream << viewOf( characters );
}

void packForRing( Agent::RingPacker& packer, ChunkSet chunks )
{
    const ChunkCharacters characters = ringText( chunks );
    packer.packText( viewOf( characters ) );
}

std::string notEnoughChunksText( Agent::U32 available, Agent::U32 requested )
{
    return Agent::joinPieces( "Not enough chunks to program UDF availChunks ", available,
                              " requested chunks: ", requested );
}

AbstractPktKind abstractPktKind( const UdfDesc& udfDesc, const Agent::CallLocation& location )
{
    switch ( udfDesc.appType() ) {
    case UdfAppType::ipv4Acl:
    case UdfAppType::ipv4TrafficPolicy:
        return AbstractPktKind::ipv4;
    case UdfAppType::ipv6Acl:
        return AbstractPktKind::ipv6;
    case UdfAppType::macAcl:
        return kindOfMacAcl( udfDesc.ethType(), location );
    }
    Agent::assertionFailed( "Specified invalid appType", location.file, location.line,
                            location.function );
}

void UdfsOfFormat::addTo( UdfIdList& list ) const
{
    for ( int i = 0; i < std::min( count, most ); ++i ) {
        list.udfIdIs( UdfId( ids[ i ] ) );
    }
}

UdfsOfFormat readUdfsOfFormat( const Agent::TraceHandle& apiTraceHandle,
                               const Shim::CallSite& site,
                               Agent::U32 unit,
                               bcm_udf_abstract_pkt_format_t absPktFmt )
{
    UdfsOfFormat udfs;
    Shim::SdkAccess& access = Shim::sdkFor( site );
    const int rc = Shim::callWithLocksReleased( [ & ] {
        return access.bcm_udf_abstract_pkt_format_object_list_get(
            static_cast< int >( unit ), absPktFmt, UdfsOfFormat::most, udfs.ids, &udfs.count );
    } );
    if ( rc < 0 ) {
        udfs.count = 0;
    }
    if ( rc < 0 && rc != access.BCM_E_NOT_FOUND() ) {
        Shim::writeApiError( site, rc );
    } else {
        Shim::maybeTraceCall( apiTraceHandle, site, rc );
    }
    return udfs;
}

} // namespace PeloraTcam

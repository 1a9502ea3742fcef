#include "PeloraTcam/UdfChunks.h"

#include "agent/base/Assert.h"
#include "agent/base/TextPieces.h"
#include "agent/tcam/EthType.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace PeloraTcam {

namespace {

/// The characters of a set of chunks. No string, which would be one too long to do without the
/// heap: some stand in each record of the ring-buffer trace.
using ChunkCharacters = std::array< char, chunksOfFormat >;

constexpr Agent::U32 chunksOfQuarter = chunksOfFormat / 4;
using QuarterCharacters = std::array< char, chunksOfQuarter >;

/// The characters of each set of four chunks.
constexpr auto quarters = [] {
    std::array< QuarterCharacters, 1U << chunksOfQuarter > all{};
    for ( Agent::U32 chunks = 0; chunks < all.size(); ++chunks ) {
        for ( Agent::U32 i = 0; i < chunksOfQuarter; ++i ) {
            all[ chunks ][ chunksOfQuarter - 1 - i ] = chunkIsSet( chunks, i ) ? '1' : '0';
        }
    }
    return all;
}();

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
        Agent::assertionFailed( "Cannot specify ethertype ip with mac ACL",
                                location.file,
                                location.line,
                                location.function );
    case Kvnet::EthType::ethTypeIp6_:
        return AbstractPktKind::ipv6;
    default:
        return AbstractPktKind::unknownL3;
    }
}

} // namespace

ChunkCharacters ringText( ChunkText text )
{
    ChunkCharacters characters;
    for ( Agent::U32 i = 0; i < chunksOfFormat; i += chunksOfQuarter ) {
        const QuarterCharacters& quarter = quarters[ text.chunks >> i & ( quarters.size() - 1 ) ];
        std::ranges::copy( quarter, characters.end() - chunksOfQuarter - i );
    }
    return characters;
}

std::ostream& operator<<( std::ostream& stream, ChunkText text )
{
    const ChunkCharacters characters = ringText( text );
    return stream << viewOf( characters );
}

void packForRing( Agent::RingPacker& packer, ChunkText text )
{
    const ChunkCharacters characters = ringText( text );
    packer.packText( viewOf( characters ) );
}

std::string notEnoughChunksText( Agent::U32 available, Agent::U32 requested )
{
    return Agent::joinPieces( "Not enough chunks to program UDF availChunks ",
                              available,
                              " requested chunks: ",
                              requested );
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
    Agent::assertionFailed(
        "Specified invalid appType", location.file, location.line, location.function );
}

void UdfsOfFormat::addTo( UdfIdList& list ) const
{
    for ( int i = 0; i < std::min( count, most ); ++i ) {
        list.udfIdIs( UdfId( ids[ i ] ) );
    }
}

UdfsOfFormat readUdfsOfFormat( const Agent::TraceHandle& apiTraceHandle,
                               const Shim::CallSite& site,
                               Agent::U32 moduleUnit,
                               bcm_udf_abstract_pkt_format_t absPktFmt )
{
    const int unit = static_cast< int >( moduleUnit );
    UdfsOfFormat udfs;
    const int rc = Shim::callWithLocksReleased( [ & ] {
        return Shim::sdk().bcm_udf_abstract_pkt_format_object_list_get(
            unit, absPktFmt, UdfsOfFormat::most, udfs.ids, &udfs.count );
    } );
    if ( rc < 0 && rc != Shim::sdk().BCM_E_NOT_FOUND() ) {
        Shim::writeApiError( site, rc );
    } else {
        Shim::maybeTraceCall( apiTraceHandle, site, rc );
    }
    return udfs;
}

} // namespace PeloraTcam

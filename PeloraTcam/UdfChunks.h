#pragma once

/// Chunks of the flexible parser: what the SDK-6 and the HSDK path have in common.
///
/// A chunk is a two-byte extraction unit; every abstract packet format has sixteen of them.

#include "agent/base/BaseTypes.h"
#include "agent/base/CallLocation.h"
#include "agent/base/RingPacker.h"
#include "agent/tcam/UdfTypes.h"
#include "sdk/SdkCall.h"
#include "sdk/SdkTypes.h"

#include <array>
#include <bit>
#include <ostream>
#include <string>

namespace PeloraTcam {

/// How many chunks an abstract packet format has.
inline constexpr Agent::U32 chunksOfFormat = 16;

/// The chunks that a UDF of so many bytes needs.
constexpr Agent::U32 chunksNeeded( Agent::U32 bytes )
{
    return ( bytes + 1 ) / 2;
}

/// A set of chunks: what the library works with, whatever form the SDK and the agent give it. It
/// prints as sixteen characters '0' or '1', chunk 15 first.
struct ChunkSet
{
    Agent::U32 bits = 0; ///< bit i stands for chunk i; an SDK-6 record may have bits above 15

    /// Whether a chunk, 0 to 31, is in the set.
    [[nodiscard]] constexpr bool has( Agent::U32 chunk ) const
    {
        return ( bits >> chunk & 1U ) != 0;
    }

    /// Adds a chunk, 0 to 31.
    constexpr void add( Agent::U32 chunk ) { bits |= 1U << chunk; }

    /// Takes a chunk, 0 to 31, out.
    constexpr void remove( Agent::U32 chunk ) { bits &= ~( 1U << chunk ); }

    /// The lowest chunk in the set; 32 if there is none.
    [[nodiscard]] constexpr Agent::U32 lowest() const
    {
        return static_cast< Agent::U32 >( std::countr_zero( bits ) );
    }

    /// How many of the sixteen chunks of a format are in the set.
    [[nodiscard]] constexpr Agent::U32 count() const
    {
        constexpr Agent::U32 allChunks = ( 1U << chunksOfFormat ) - 1;
        return static_cast< Agent::U32 >( std::popcount( bits & allChunks ) );
    }

    friend bool operator==( ChunkSet, ChunkSet ) = default;
};

std::ostream& operator<<( std::ostream& stream, ChunkSet chunks );
void packForRing( Agent::RingPacker& packer, ChunkSet chunks );
std::array< char, chunksOfFormat > ringText( ChunkSet chunks );

/// The bits of a byte: the SDK counts in bits what descriptors count in bytes.
inline constexpr Agent::U32 chunkBitsPerByte = 8;

/// What is traced when there are not enough chunks.
std::string notEnoughChunksText( Agent::U32 available, Agent::U32 requested );

/// The kinds of packet that a UDF of the flexible parser can be extracted from.
enum class AbstractPktKind
{
    ipv4,
    ipv6,
    arp,
    unknownL3,
};

/// The kind of packet that a descriptor asks for: by what asks for the UDF, and for a MAC ACL by
/// the EtherType. A MAC ACL with the EtherType of IPv4, and an unknown application type, are
/// assertion failures at `location`, which is that of the helper that was asked.
AbstractPktKind abstractPktKind( const UdfDesc& udfDesc, const Agent::CallLocation& location );

/// Where a removal calls the SDK. The removal of a qualifier and the rollback of a creation take
/// the same steps at places of their own: so an error line tells which of the two it was.
struct RemovalSites
{
    Shim::CallSite readStart;
    Shim::CallSite readChunks;
    Shim::CallSite destroyUdf;
    Shim::CallSite readEnd;
};

/// The UDFs of one abstract packet format, as the SDK lists them.
struct UdfsOfFormat
{
    /// The most that are read.
    static constexpr int most = 128;

    bcm_udf_id_t ids[ most ] = {};
    int count = 0; ///< as the SDK says, which may be more than were read; 0 if it failed

    /// Adds those that were read to a list.
    void addTo( UdfIdList& list ) const;
};

/// Reads the UDFs of a format. A failure is tolerated: one other than "not found" is an error line
/// on standard error, anything else a trace of the helper's own file. Of a call that failed nothing
/// is taken: there are no UDFs then, whatever the SDK has written.
UdfsOfFormat readUdfsOfFormat( const Agent::TraceHandle& apiTraceHandle,
                               const Shim::CallSite& site,
                               Agent::U32 unit,
                               bcm_udf_abstract_pkt_format_t absPktFmt );

} // namespace PeloraTcam

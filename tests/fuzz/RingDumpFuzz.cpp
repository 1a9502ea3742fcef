// The decoder of ring-buffer traces: of whatever bytes it gives records that can be written out,
// never more of them than the bytes have room for, and finds them again behind other bytes.

#include "agent/base/RingTrace.h"
#include "agent/base/RingTraceDecoder.h"
#include "tests/fuzz/FuzzTarget.h"

namespace Fuzz {
namespace {

using Agent::DecodedRing;

std::size_t recordsIn( const std::vector< DecodedRing >& rings )
{
    std::size_t records = 0;
    for ( const DecodedRing& ring : rings ) {
        records += ring.records.size();
        for ( const Agent::DecodedRecord& record : ring.records ) {
            require( !Agent::decodedRecordText( record ).empty(), "a record has a text" );
        }
    }
    return records;
}

} // namespace
} // namespace Fuzz

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* data, std::size_t size )
{
    const std::string bytes( Fuzz::textOf( data, size ) );
    const auto rings = Agent::decodeRings( bytes );
    Fuzz::require( rings.size() <= size / Agent::ringMagic.size(), "each trace has a mark" );
    Fuzz::require( Fuzz::recordsIn( rings ) <= rings.size() * size / sizeof( Agent::RingRecord ),
                   "no more records than there is room for" );
    const auto behind = Agent::decodeRings( "core" + bytes );
    Fuzz::require( behind.size() == rings.size() &&
                       Fuzz::recordsIn( behind ) == Fuzz::recordsIn( rings ),
                   "where a trace stands in a file does not matter" );
    return 0;
}

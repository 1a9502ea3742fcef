#include "tools/traces/RingDumpReader.h"

#include "input/TextFile.h"

#include <algorithm>

namespace Tool {

namespace {

bool isUnreadable( const Agent::DecodedRing& ring )
{
    return ring.records.empty() && !ring.problem.empty();
}

} // namespace

std::vector< Agent::DecodedRing > readRingTraces( const std::string& file )
{
    std::vector< Agent::DecodedRing > rings = Agent::decodeRings( Input::readTextFile( file ) );
    if ( !std::ranges::all_of( rings, isUnreadable ) ) {
        std::erase_if( rings, isUnreadable );
    }
    return rings;
}

} // namespace Tool

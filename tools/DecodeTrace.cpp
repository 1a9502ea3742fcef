#include "tools/DecodeTrace.h"

#include "agent/base/RingTraceDecoder.h"
#include "tools/ExitCodes.h"
#include "tools/Json.h"
#include "tools/PrintableText.h"
#include "tools/TextFile.h"

#include <algorithm>
#include <fmt/format.h>
#include <vector>

namespace Tool {

namespace {

using Agent::DecodedRing;
using Rings = std::vector< DecodedRing >;

bool isUnreadable( const DecodedRing& ring )
{
    return ring.records.empty() && !ring.problem.empty();
}

/// The traces of the file. A core also holds the mark by which traces are found where the program
/// keeps it as a constant; such a place is none, unless there is nothing better.
Rings readRings( const std::string& file )
{
    Rings rings = Agent::decodeRings( readTextFile( file ) );
    if ( !std::ranges::all_of( rings, isUnreadable ) ) {
        std::erase_if( rings, isUnreadable );
    }
    return rings;
}

Json jsonOf( const DecodedRing& ring )
{
    Json records = Json::array();
    for ( const Agent::DecodedRecord& record : ring.records ) {
        records.push_back( { { "nanoseconds", record.nanoseconds },
                             { "file", record.file },
                             { "line", record.line },
                             { "function", record.function },
                             { "text", record.text } } );
    }
    Json json = { { "written", ring.written }, { "records", records } };
    if ( !ring.problem.empty() ) {
        json[ "problem" ] = ring.problem;
    }
    return json;
}

void printJson( const std::string& file, const Rings& rings )
{
    Json traces = Json::array();
    for ( const DecodedRing& ring : rings ) {
        traces.push_back( jsonOf( ring ) );
    }
    fmt::print( "{}\n", jsonDocument( Json{ { "file", file }, { "traces", traces } } ) );
}

void printText( const Rings& rings )
{
    for ( const DecodedRing& ring : rings ) {
        fmt::print( "Trace of {} records, {} written in all\n", ring.records.size(), ring.written );
        for ( const Agent::DecodedRecord& record : ring.records ) {
            fmt::print( "{}\n", printable( Agent::decodedRecordText( record ) ) );
        }
    }
}

/// Says what is wrong with the traces; whether anything is.
bool reportProblems( const std::string& file, const Rings& rings )
{
    if ( rings.empty() ) {
        fmt::print( stderr, "{}: holds no ring-buffer trace\n", printable( file ) );
    }
    for ( const DecodedRing& ring : rings ) {
        if ( !ring.problem.empty() ) {
            fmt::print( stderr, "{}: the trace is damaged: {}\n", printable( file ),
                        printable( ring.problem ) );
        }
    }
    return rings.empty() ||
           std::ranges::any_of( rings, []( const auto& ring ) { return !ring.problem.empty(); } );
}

} // namespace

int decodeTrace( const DecodeTraceOptions& options )
{
    const Rings rings = readRings( options.file );
    if ( options.json ) {
        printJson( options.file, rings );
    } else {
        printText( rings );
    }
    return reportProblems( options.file, rings ) ? exitBadInput : exitAsExpected;
}

} // namespace Tool

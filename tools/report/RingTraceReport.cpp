#include "tools/report/RingTraceReport.h"

#include "tools/text/Json.h"
#include "tools/text/PrintableText.h"

#include <fmt/format.h>

namespace Tool {

namespace {

using Agent::DecodedRing;
using Rings = std::vector< DecodedRing >;

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

} // namespace

void printRingTraces( const Rings& rings )
{
    for ( const DecodedRing& ring : rings ) {
        fmt::print( "Trace of {} records, {} written in all\n", ring.records.size(), ring.written );
        for ( const Agent::DecodedRecord& record : ring.records ) {
            fmt::print( "{}\n", printable( Agent::decodedRecordText( record ) ) );
        }
    }
}

void printRingTracesJson( const std::string& file, const Rings& rings )
{
    Json traces = Json::array();
    for ( const DecodedRing& ring : rings ) {
        traces.push_back( jsonOf( ring ) );
    }
    fmt::print( "{}\n", jsonDocument( Json{ { "file", file }, { "traces", traces } } ) );
}

void printRingTraceProblems( const std::string& file, const Rings& rings )
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
}

} // namespace Tool

#include "tools/TraceOption.h"

#include "agent/base/Trace.h"
#include "sim/InputText.h"
#include "sim/NameHints.h"
#include "tools/ExitCodes.h"

#include <algorithm>
#include <set>

namespace Tool {

namespace {

constexpr std::string_view everyFacility = "*";

/// The facilities whose handles are made at their first use, so that the trace settings do not
/// know them before.
constexpr std::string_view lateFacilities[] = {
    "PeloraTcamCounterManager", "PeloraTcamHsdkCounterHelper",     "PeloraTcamPolicer",
    "PeloraTcamRangeChecker",   "PeloraTcamSdk6CompressionHelper", "PeloraTcamSdk6Helper",
    "PeloraTcamUdfHsdkHelper",  "PeloraTcamUdfProgramHelper",      "PeloraTcamUdfSdk6Helper",
    toolTraceFacility,
};

} // namespace

std::vector< std::string > knownTraceFacilities()
{
    const std::vector< std::string > early = Agent::traceFacilities();
    std::set< std::string > names( early.begin(), early.end() );
    names.insert( std::begin( lateFacilities ), std::end( lateFacilities ) );
    return { names.begin(), names.end() };
}

TraceSetting traceSettingFromOption( const std::string& text )
{
    const std::size_t equals = text.find( '=' );
    if ( equals == std::string::npos ) {
        throw CommandLineError( "--trace: expected FACILITY=LEVELS, found '" + text + "'" );
    }
    const std::string facility = text.substr( 0, equals );
    const std::vector< std::string > known = knownTraceFacilities();
    if ( facility != everyFacility && std::ranges::count( known, facility ) == 0 ) {
        throw CommandLineError( "--trace: unknown facility '" + facility + "'" +
                                Sim::nameHint( facility, known ) );
    }
    const std::string levels = text.substr( equals + 1 );
    const std::optional< Agent::U32 > mask = Agent::traceMaskFromText( levels );
    if ( !mask || Sim::hasLeadingZero( levels ) ) {
        throw CommandLineError( "--trace: expected levels from 0 to 31 such as '4' or '0,8-9', "
                                "'all' or 'none', found '" +
                                levels + "'" );
    }
    return { facility, *mask };
}

} // namespace Tool

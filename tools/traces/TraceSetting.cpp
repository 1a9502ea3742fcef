#include "tools/traces/TraceSetting.h"

#include "agent/base/Trace.h"
#include "input/NameHints.h"

#include <algorithm>
#include <set>
#include <stdexcept>

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

TraceSetting traceSettingFromText( const std::string& text )
{
    const std::size_t equals = text.find( '=' );
    if ( equals == std::string::npos ) {
        throw std::invalid_argument( "expected FACILITY=LEVELS, found '" + text + "'" );
    }
    const std::string facility = text.substr( 0, equals );
    const std::vector< std::string > known = knownTraceFacilities();
    if ( facility != everyFacility && std::ranges::count( known, facility ) == 0 ) {
        throw std::invalid_argument( "unknown facility '" + facility + "'" +
                                     Input::nameHint( facility, known ) );
    }
    const std::string levels = text.substr( equals + 1 );
    const std::optional< Agent::U32 > mask = Agent::traceMaskFromText( levels );
    if ( !mask ) {
        throw std::invalid_argument( "expected levels from 0 to 31 such as '4' or '0,8-9', "
                                     "'all' or 'none', found '" +
                                     levels + "'" );
    }
    return { facility, *mask };
}

} // namespace Tool

#include "tools/scenario/PolicerReader.h"

#include "input/RateUnits.h"
#include "tools/scenario/EnumeratorReader.h"

#include <utility>

namespace Tool {

namespace {

using Input::YamlNode;
using PeloraTcam::PolicerMode;

constexpr std::pair< std::string_view, PolicerMode > modes[] = {
    { "committed", PolicerMode::committed },
    { "trTcm", PolicerMode::trTcm },
    { "srTcm", PolicerMode::srTcm },
};

constexpr std::pair< std::string_view, bool > colors[] = {
    { "aware", true },
    { "blind", false },
};

/// A mode by its name; or by its number, so that one can be tried that there is not.
PolicerMode readMode( const YamlNode& node )
{
    PolicerMode mode = PolicerMode::committed;
    if ( looksLikeANumber( node ) ) {
        Agent::U8 number = 0;
        node.read( number );
        return static_cast< PolicerMode >( number );
    }
    node.read( mode, modes );
    return mode;
}

} // namespace

void PolicerReader::read( Input::YamlMembers& members )
{
    const auto rateInto = []( Agent::U32& rate ) {
        return [ & ]( const YamlNode& value ) { rate = Input::readRate( value ); };
    };
    const auto burstInto = []( Agent::U32& burst ) {
        return [ & ]( const YamlNode& value ) { burst = Input::readBurst( value ); };
    };
    members.optional( "mode",
                      [ & ]( const YamlNode& value ) { policer_.mode = readMode( value ); } );
    members.required( "cir", rateInto( policer_.committedRate ) );
    members.required( "cbs", burstInto( policer_.committedBurst ) );
    hasPeakRate_ = members.optional( "pir", rateInto( policer_.peakRate ) );
    hasPeakBurst_ = members.optional( "pbs", burstInto( policer_.peakBurst ) );
    members.optional( "color", policer_.colorAware, colors );
    members.optional( "shared", shared_ );
}

// A peak belongs to the mode with two rates; without one the chip would be asked for none.
void PolicerReader::check( const YamlNode& node ) const
{
    if ( hasPeakRate_ != hasPeakBurst_ ) {
        node.fail( "expected 'pir' and 'pbs' together" );
    }
    if ( policer_.mode == PolicerMode::trTcm && !hasPeakRate_ ) {
        node.fail( "expected 'pir' and 'pbs' with the mode 'trTcm'" );
    }
    if ( policer_.mode != PolicerMode::trTcm && hasPeakRate_ ) {
        node.fail( "'pir' and 'pbs' belong to the mode 'trTcm'" );
    }
}

} // namespace Tool

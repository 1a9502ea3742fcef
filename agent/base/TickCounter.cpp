#include "agent/base/TickCounter.h"

#include <fstream>
#include <string>

namespace Agent {

bool tickCounterIsSteady()
{
    // Linux names its source "tsc" only as long as its own checks of the counter hold.
    std::ifstream file( "/sys/devices/system/clocksource/clocksource0/current_clocksource" );
    std::string source;
    return std::getline( file, source ) && source == "tsc";
}

} // namespace Agent

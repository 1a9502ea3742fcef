#include "tests/agent/RingTraceStatements.h"

#include "agent/base/RingTrace.h"

namespace {

void writeStatement( const Agent::TraceHandle& handle )
{
    Agent::traceBoth( handle, 4, "unit two: ", 2 );
}

} // namespace

namespace RingTraceStatements {

void writeFromUnitTwo()
{
    writeStatement( Agent::TraceHandle( "RingTraceStatements" ) );
}

} // namespace RingTraceStatements

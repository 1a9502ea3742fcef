#pragma once

/// Trace statements that look alike in two units of the test of the ring-buffer trace.

namespace RingTraceStatements {

/// Writes "unit two: 2" to the ring-buffer trace, from a function that has a namesake with the
/// same signature and the same kinds of pieces in the other unit.
void writeFromUnitTwo();

} // namespace RingTraceStatements

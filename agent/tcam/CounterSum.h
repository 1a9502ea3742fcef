#pragma once

/// What a counter of limited width has counted in all, made up from its readings.
///
/// A hardware counter wraps at its width. Each reading adds what was counted since the one before;
/// the sum is right, whatever the number of wraps, as long as less than one wrap lies between two
/// readings. The sum itself wraps at 64 bits.
///
///     CounterSum sum;
///     sum.readingIs( 250, counterMask( 8 ) );   // 250
///     sum.readingIs( 4, counterMask( 8 ) );     // 260

#include "agent/base/Assert.h"
#include "agent/base/BaseTypes.h"

namespace PeloraTcam {

/// The greatest value of a counter of that many bits, 1 to 64 (an assertion failure otherwise).
inline Agent::U64 counterMask( unsigned counterBits )
{
    constexpr unsigned widestCounter = 64;
    AGENT_ASSERT( counterBits >= 1 && counterBits <= widestCounter );
    return ~Agent::U64{ 0 } >> ( widestCounter - counterBits );
}

/// A sum that goes on counting where the hardware's counter wraps; see the top of this header.
class CounterSum
{
  public:
    /// Adds what a counter with that mask has counted since the reading before, and gives the sum.
    Agent::U64 readingIs( Agent::U64 reading, Agent::U64 mask )
    {
        sum_ += ( reading - lastReading_ ) & mask;
        lastReading_ = reading;
        return sum_;
    }

    /// What has been counted.
    [[nodiscard]] Agent::U64 value() const { return sum_; }

    /// Starts again from 0 with a counter that goes on from where it is.
    void restart() { sum_ = 0; }

    /// Goes on with a counter that has been set to a value: what it counted before is lost.
    void counterIsSetTo( Agent::U64 value ) { lastReading_ = value; }

    /// Starts again from 0 with a counter that has been set to 0, and has not wrapped since.
    void clear() { *this = CounterSum(); }

  private:
    Agent::U64 sum_ = 0;
    Agent::U64 lastReading_ = 0;
};

} // namespace PeloraTcam

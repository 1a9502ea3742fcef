#include "agent/base/TickCounter.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <string>
#include <thread>

namespace Agent {

namespace {

TEST( TickCounterTest, TickCount_WhereItIsSteady_GoesForwardWithTheClock )
{
    if ( !tickCounterIsSteady() ) {
        GTEST_SKIP() << "the kernel keeps time with something else";
    }
    // Two stretches of time, with about as many ticks to a nanosecond in each.
    const auto ticksOfANanosecond = [] {
        const auto start = std::chrono::steady_clock::now();
        const U64 before = tickCount();
        std::this_thread::sleep_for( std::chrono::milliseconds( 50 ) );
        const U64 ticks = tickCount() - before;
        const std::chrono::duration< double, std::nano > passed =
            std::chrono::steady_clock::now() - start;
        return static_cast< double >( ticks ) / passed.count();
    };

    const double first = ticksOfANanosecond();

    EXPECT_GT( first, 0.1 );
    EXPECT_LT( first, 10 );
    EXPECT_NEAR( ticksOfANanosecond() / first, 1, 0.05 );
}

TEST( TickCounterTest, TickCounterIsSteady_KernelsSourceOfTime_DecidesIt )
{
    std::ifstream file( "/sys/devices/system/clocksource/clocksource0/current_clocksource" );
    std::string source;
    file >> source;

    EXPECT_EQ( tickCounterIsSteady(), source == "tsc" );
}

} // namespace

} // namespace Agent

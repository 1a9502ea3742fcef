#pragma once

/// What the tests of the counter eviction helper share: one over an SDK with counters of 8 bits,
/// told by its access object of what happens to statistics.

#include "agent/tcam/CounterEvictionSdk.h"
#include "tests/support/ReusingStatSdk.h"

#include <gtest/gtest.h>

#include <array>

namespace AgentTest {

using Agent::U32;
using Agent::U64;

constexpr U32 unit = 3;

/// An eviction helper over an SDK with counters of 8 bits.
class CounterEvictionTest : public ::testing::Test
{
  protected:
    CounterEvictionTest() { Shim::sdk_ = &sdk; }

    ~CounterEvictionTest() override { Shim::sdk_ = nullptr; }

    U32 created()
    {
        std::array< bcm_field_stat_t, 2 > types = { bytes, packets };
        int id = 0;
        EXPECT_EQ( sdk.bcm_field_stat_create( unit, 7, 2, types.data(), &id ), 0 );
        return static_cast< U32 >( id );
    }

    void destroy( U32 statId )
    {
        EXPECT_EQ( sdk.bcm_field_stat_destroy( unit, static_cast< int >( statId ) ), 0 );
    }

    void count( U32 statId, U64 packetCount, U64 byteCount )
    {
        const int id = static_cast< int >( statId );
        EXPECT_EQ( chip.counted( id, packets, packetCount ), 0 );
        EXPECT_EQ( chip.counted( id, bytes, byteCount ), 0 );
    }

    U64 packetsOf( U32 statId )
    {
        U64 value = 4711;
        EXPECT_EQ( eviction->fieldStatGetPackets( unit, statId, packets, &value ), 0 );
        return value;
    }

    U64 bytesOf( U32 statId )
    {
        U64 value = 4711;
        EXPECT_EQ( eviction->fieldStatGetBytes( unit, statId, bytes, &value ), 0 );
        return value;
    }

    TestSupport::ReusingStatSdk chip{ 8 };
    const bcm_field_stat_t bytes = chip.bcmFieldStatBytes();
    const bcm_field_stat_t packets = chip.bcmFieldStatPackets();
    Agent::Ptr< PeloraTcam::PeloraTcamSdk6CounterEvictionHelper > eviction{
        new PeloraTcam::PeloraTcamSdk6CounterEvictionHelper( 8 ) };
    PeloraTcam::CounterEvictionSdk sdk{ chip, eviction };
};

} // namespace AgentTest

#pragma once

/// Software accumulation of the chip's counters, whose hardware width may be below 64 bits.
///
/// The eviction helper reads a counter, adds what it has counted since the last reading to a
/// 64-bit sum, and gives the sum. It is right as long as a counter does not wrap more than once
/// between two readings (`CounterSum.h`). The agent has one for each chip kind, reached through its
/// registered initialiser object.
///
/// The SDK hands out the ids of destroyed statistics again, and a new statistic counts from 0. So
/// the eviction helper must be told when a statistic is made and destroyed; put a
/// `CounterEvictionSdk` in front of the SDK, which does that. It also makes the room for the sums,
/// so that reading allocates nothing.
///
/// Its operations make SDK calls, so they are called with the agent's locks released; they guard
/// themselves. A statistic is not to be cleared and read at the same time.

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"
#include "agent/base/Ptr.h"
#include "agent/base/ReferenceCount.h"
#include "agent/tcam/CounterSum.h"
#include "sdk/SdkTypes.h"

#include <cstddef>
#include <map>
#include <mutex>
#include <span>
#include <tuple>

namespace PeloraTcam {

/// Widens the counters of a chip to 64 bits; see the top of this header.
class AGENT_EXPORT PeloraTcamSdk6CounterEvictionHelper
    : public Agent::SharedValue< PeloraTcamSdk6CounterEvictionHelper >
{
  public:
    /// `counterBits`: the width of the chip's counters, 1 to 64 bits.
    explicit PeloraTcamSdk6CounterEvictionHelper( unsigned counterBits );
    ~PeloraTcamSdk6CounterEvictionHelper();

    /// The accumulated packets of a statistic. Gives the SDK's return code; `value` is left as it
    /// is when the code is negative.
    int fieldStatGetPackets( Agent::U32 unit,
                             Agent::U32 statId,
                             bcm_field_stat_t statType,
                             Agent::U64* value );

    /// The accumulated bytes of a statistic, likewise.
    int fieldStatGetBytes( Agent::U32 unit,
                           Agent::U32 statId,
                           bcm_field_stat_t statType,
                           Agent::U64* value );

    /// Forgets what was accumulated of a statistic: its packets, its bytes, or both. The hardware
    /// counter has been set to 0.
    void clearEvictionCounter(
        Agent::U32 unit, Agent::U32 statId, bcm_field_stat_t statType, bool packets, bool bytes );

    /// Says that the SDK has made a statistic with these types: whatever an earlier one of that id
    /// has left is forgotten.
    void statisticCreated( Agent::U32 unit,
                           Agent::U32 statId,
                           std::span< const bcm_field_stat_t > statTypes );

    /// Says that the SDK has destroyed a statistic.
    void statisticDestroyed( Agent::U32 unit, Agent::U32 statId );

    /// How many types of statistics it has sums of.
    [[nodiscard]] std::size_t accumulated() const;

    /// Whether the SDK can be asked for the pool indices of a statistic.
    [[nodiscard]] bool poolIndicesAvailable() const { return poolIndicesAvailable_; }

    /// Says whether the SDK can be asked for the pool indices of a statistic.
    void poolIndicesAvailableIs( bool available ) { poolIndicesAvailable_ = available; }

  private:
    /// Unit, statistic, type.
    using Key = std::tuple< Agent::U32, Agent::U32, bcm_field_stat_t >;

    struct Sums
    {
        CounterSum packets;
        CounterSum bytes;
    };

    int read( const Key& key, CounterSum Sums::*sum, Agent::U64* value );
    void forget( Agent::U32 unit, Agent::U32 statId );

    const Agent::U64 counterMask_;
    bool poolIndicesAvailable_ = false;
    mutable std::mutex mutex_;
    std::map< Key, Sums > sums_;
};

/// The agent's initialiser object of an SDK-6 chip.
class AGENT_EXPORT BaseSdk6InitFunc : public Agent::SharedValue< BaseSdk6InitFunc >
{
  public:
    /// `evictionHelper` may be null.
    explicit BaseSdk6InitFunc( Agent::Ptr< PeloraTcamSdk6CounterEvictionHelper > evictionHelper );
    ~BaseSdk6InitFunc();

    /// The helper; may be null.
    [[nodiscard]] const Agent::Ptr< PeloraTcamSdk6CounterEvictionHelper >& evictionHelper() const
    {
        return evictionHelper_;
    }

  private:
    Agent::Ptr< PeloraTcamSdk6CounterEvictionHelper > evictionHelper_;
};

} // namespace PeloraTcam

#pragma once

/// Software accumulation of the chip's counters, whose hardware width may be below 64 bits.
///
/// The eviction helper reads a counter, adds what it has counted since the last reading to a
/// 64-bit sum, and gives the sum. It is right as long as a counter does not wrap more than once
/// between two readings (`CounterSum.h`). The agent has one for each chip kind, reached through its
/// registered initialiser object.
///
/// The chip's counters change in other ways than by counting: the SDK hands out the ids of
/// destroyed statistics again, and a new statistic counts from 0; a counter is set to 0 before its
/// sum is cleared, and may be read in between. So statistics must be made, destroyed and set
/// through `fieldStatCreate`, `fieldStatDestroy` and `fieldStatSet`: put a `CounterEvictionSdk` in
/// front of the SDK, which does that. The first also makes the room for the sums, so that reading
/// allocates nothing. Without it a reading between the setting of a counter and the clearing of its
/// sum takes the counter for one that has wrapped, and a statistic may begin with what an earlier
/// one of its id has left.
///
/// Its operations make SDK calls or wait for such a call, so they are called with the agent's locks
/// released; they guard themselves. Each statistic has a guard of its own, which is held while the
/// SDK reads or sets it: other statistics do not wait for it, and neither do creation and
/// destruction. The access object in use must hold no lock of its own while it hands a call on to a
/// `CounterEvictionSdk`.

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"
#include "agent/base/Ptr.h"
#include "agent/base/ReferenceCount.h"
#include "agent/tcam/CounterSum.h"
#include "sdk/SdkAccess.h"

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <utility>

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
    /// counter has been set to 0 before, and has not wrapped since. Waits while the statistic is
    /// being read.
    void clearEvictionCounter(
        Agent::U32 unit, Agent::U32 statId, bcm_field_stat_t statType, bool packets, bool bytes );

    /// Lets `sdk` make a statistic, with the arguments of `bcm_field_stat_create`; whatever an
    /// earlier one of its id has left is forgotten. Gives the SDK's return code.
    int fieldStatCreate( Shim::SdkAccess& sdk,
                         int unit,
                         bcm_field_group_t group,
                         std::span< bcm_field_stat_t > statTypes,
                         int* statId );

    /// Lets `sdk` destroy a statistic, and forgets it, unless the SDK refuses. It may be being read
    /// meanwhile. Gives the SDK's return code.
    int fieldStatDestroy( Shim::SdkAccess& sdk, int unit, int statId );

    /// Lets `sdk` set a counter of a statistic, which is no counting: what is read later adds to
    /// the sums from that value on. What the counter has counted since it was last read is lost.
    /// Gives the SDK's return code.
    int fieldStatSet(
        Shim::SdkAccess& sdk, int unit, int statId, bcm_field_stat_t statType, Agent::U64 value );

    /// How many types of statistics it has sums of. Waits for the statistics that are being read.
    [[nodiscard]] std::size_t accumulated() const;

    /// Whether the SDK can be asked for the pool indices of a statistic.
    [[nodiscard]] bool poolIndicesAvailable() const { return poolIndicesAvailable_; }

    /// Says whether the SDK can be asked for the pool indices of a statistic.
    void poolIndicesAvailableIs( bool available ) { poolIndicesAvailable_ = available; }

  private:
    struct Sums
    {
        CounterSum packets;
        CounterSum bytes;
    };

    /// The sums of a statistic, by type. Whoever uses one holds it: it may be forgotten meanwhile.
    struct Statistic
    {
        mutable std::mutex mutex;
        std::map< bcm_field_stat_t, Sums > sums;
    };

    /// Unit and id of a statistic.
    using Key = std::pair< Agent::U32, Agent::U32 >;
    using Held = std::shared_ptr< Statistic >;

    int read( const Key& key, bcm_field_stat_t statType, CounterSum Sums::*sum, Agent::U64* value );
    [[nodiscard]] Held find( const Key& key ) const;
    [[nodiscard]] Held findOrMake( const Key& key );
    void forgetIfEmpty( const Key& key, const Held& statistic );

    const Agent::U64 counterMask_;
    bool poolIndicesAvailable_ = false;
    // Guards the table; never held while the SDK is called, or while a statistic is waited for.
    mutable std::mutex mutex_;
    std::map< Key, Held > statistics_;
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

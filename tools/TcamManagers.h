#pragma once

/// The managers of what TCAM entries are made of, for the chip of a scenario: counters, policers
/// and compression.
///
/// Belongs to the run context, which has set `Shim::sdk_` before; used with the agent's activity
/// lock held.

#include "reference/CompressionManager.h"
#include "reference/CounterManager.h"
#include "reference/CounterServices.h"
#include "reference/PolicerManager.h"
#include "tools/Scenario.h"

#include <cstddef>
#include <optional>

namespace Tool {

/// Which SDK a kind of chip is driven through.
[[nodiscard]] Reference::SdkVariant sdkVariantOf( Sim::ChipKind chip );

class TcamManagers
{
  public:
    /// The services must outlive this.
    TcamManagers( const Scenario& scenario, Reference::CounterServices& services );
    TcamManagers( const TcamManagers& ) = delete;
    TcamManagers& operator=( const TcamManagers& ) = delete;
    ~TcamManagers();

    [[nodiscard]] Reference::SdkVariant variant() const { return variant_; }

    /// The manager of counters. On HSDK the chip's counter objects are made when it is asked for
    /// first, for groups of priority 0.
    [[nodiscard]] Reference::CounterManager& counters();

    /// Gives HSDK's counter objects back to the chip if no entry has counters.
    void releaseUnusedCounterObjects();

    [[nodiscard]] Reference::PolicerManager& policers() { return policers_; }

    /// The manager of the compression tables; null on a chip without them.
    [[nodiscard]] Reference::CompressionManager* compression()
    {
        return compression_ ? &*compression_ : nullptr;
    }

    /// Compares what the managers have recorded with the chip and gives the number of comparisons;
    /// a mismatch ends the process.
    [[nodiscard]] std::size_t audit() const;

  private:
    [[nodiscard]] Reference::CounterObjectPlace place( PeloraTcam::StageType stage ) const;
    void makeCounterObjects();

    const Reference::SdkVariant variant_;
    const Agent::U32 unit_;
    const Agent::U8 pipe_;
    const Agent::U32 flexCounters_; ///< of the chip
    Reference::CounterServices& services_;
    bool hasCounterObjects_ = false;
    Reference::CounterManager counters_;
    Reference::PolicerManager policers_;
    std::optional< Reference::CompressionManager > compression_;
};

} // namespace Tool

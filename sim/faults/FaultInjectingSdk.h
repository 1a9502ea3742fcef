#pragma once

/// A simulated SDK whose calls go wrong by plan.
///
/// Stands between the caller and the simulated SDK, counts the calls of SDK functions, and lets
/// the plan's faults happen. Initialisers, set operations and enumerators are handed on and not
/// counted. Several threads may call it; faults may be added at any time.
///
///     SimulatedSdk chips;
///     FaultInjectingSdk sdk( chips );
///     sdk.add( { { .function = "bcm_range_destroy" }, DropCall{} } );
///     Shim::sdk_ = &sdk;

#include "sdk/ForwardingSdk.h"
#include "sim/access/SimulatedSdk.h"
#include "sim/faults/FaultPlan.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <string_view>
#include <vector>

namespace Sim {

/// An access object that follows a plan of faults; see the top of this header.
class FaultInjectingSdk : public Shim::ForwardingSdk
{
  public:
    /// The simulated SDK is not owned and must outlive this.
    explicit FaultInjectingSdk( SimulatedSdk& simulated, FaultPlan plan = {} );

    /// Adds a fault whose calls are counted from the beginning. Throws as `FaultPlan::add` does.
    void add( const Fault& fault );

    /// Adds a fault whose calls are counted from now: 1 is the next call.
    void addFromNow( Fault fault );

    /// Takes all faults away. The counters go on.
    void clearFaults();

    /// How many calls of a function there have been, or of all ("all"). Throws
    /// std::invalid_argument if the function is none.
    [[nodiscard]] uint64_t calls( std::string_view function = everyFunction ) const;

#define SDK_FUNCTION( family, name, parameters, arguments ) int name parameters override;
#include "sdk/SdkFunctions.def"

  private:
    using Call = std::function< int() >;
    using Corrupt = std::function< void( const SdkFunction&, const CorruptOutput& ) >;

    /// Counts a call and tells what happens at it.
    DueFaults count( SdkFunctionId function );

    int injected( SdkFunctionId id, int unit, const Call& call, const Corrupt& corrupt );
    int called( const DueFaults& due,
                const SdkFunction& function,
                int unit,
                const Call& call,
                const Corrupt& corrupt );

    SimulatedSdk& simulated_;
    mutable std::mutex mutex_; // Of the plan and the counters.
    FaultPlan plan_;
    std::vector< uint64_t > calls_; // By function id.
    uint64_t allCalls_ = 0;
};

} // namespace Sim

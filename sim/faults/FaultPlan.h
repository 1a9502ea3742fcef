#pragma once

/// Which SDK calls go wrong, and how.
///
///     FaultPlan plan;
///     plan.add( { { .function = "bcm_range_create", .call = 3 },
///                 FailCall{ ReturnCode::BCM_E_FULL } } );
///     plan.add( { { .function = "bcm_range_get", .fromThenOn = true },
///                 CorruptOutput{ "max", 81 } } );
///
/// A plan keeps nothing but the faults; who counts calls is `FaultInjectingSdk`.

#include "sim/access/SdkOutputs.h"
#include "sim/chip/SoftError.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace Sim {

/// The function name that stands for all of them.
inline constexpr std::string_view everyFunction = "all";

/// When a fault happens.
struct FaultTrigger
{
    /// An SDK function; or all, and then calls of all functions are counted together.
    std::string function{ everyFunction };
    /// The call, counted from 1.
    uint64_t call = 1;
    /// Whether it also happens at every later call.
    bool fromThenOn = false;
};

/// The call fails with a return code, which is negative; the chip is not called.
struct FailCall
{
    int rc; ///< the return code, which is negative
};

/// The call throws std::runtime_error with the text "injected fault: FUNCTION"; the chip is not
/// called.
struct ThrowFromCall
{};

/// The call is made later.
struct DelayCall
{
    std::chrono::milliseconds delay; ///< how long before the call is made
};

/// The call is made and reports what it reports, but if it succeeds the chip stays as it was.
struct DropCall
{};

/// The call is made; if it succeeds, one of its outputs (`SdkOutputs.h`) is set to a value; a
/// negative one is given in two's complement.
struct CorruptOutput
{
    std::string output; ///< the name of the output field
    uint64_t value;     ///< what it is changed to; as many bits as the field has
};

/// The call is made; after it, a bit of what the chip holds changes, if the chip holds it then.
struct FlipBit
{
    SoftError error; ///< which bit
};

/// What happens at a call.
using FaultEffect =
    std::variant< FailCall, ThrowFromCall, DelayCall, DropCall, CorruptOutput, FlipBit >;

/// A fault: when it happens, and what.
struct Fault
{
    FaultTrigger when; ///< the calls that it is about
    FaultEffect what;  ///< what happens at them
};

/// What happens at one call. Of several faults at one call all have their effect: the delays
/// first, then the first that ends the call, or else the drop and the corruptions; bits change
/// last, however the call ended, unless by an exception.
struct DueFaults
{
    std::chrono::milliseconds delay{ 0 }; ///< all delays together
    /// What ends the call before the chip is asked, if anything does.
    std::optional< std::variant< FailCall, ThrowFromCall > > end;
    bool drop = false;                        ///< whether the chip must stay as it was
    std::vector< CorruptOutput > corruptions; ///< in the order in which they were planned
    std::vector< SoftError > softErrors;      ///< the same

    /// Adds one more effect; of several ends the first one counts.
    void add( const FaultEffect& effect );
};

/// Which faults are due at which call; see the top of this header.
class FaultPlan
{
  public:
    /// Adds a fault. Throws std::invalid_argument, with what was expected, if the function is
    /// none, if the function does not have the output or the output cannot hold the value, or if
    /// a number makes no sense: call 0, a return code that is no failure, a negative delay.
    void add( const Fault& fault );

    /// Whether nothing is planned.
    [[nodiscard]] bool empty() const { return planned_.empty(); }

    /// What happens at a call: the nth of its function and the nth of all.
    [[nodiscard]] DueFaults
    dueAt( SdkFunctionId function, uint64_t callOfFunction, uint64_t callOfAll ) const;

  private:
    struct Planned
    {
        const SdkFunction* function; // Null for all.
        Fault fault;
    };

    std::vector< Planned > planned_;
};

} // namespace Sim

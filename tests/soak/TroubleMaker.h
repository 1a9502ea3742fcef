#pragma once

/// Lets operations run, some of them with a fault injected, and holds each to what must come of it.
///
/// Only faults are injected for which the library and the managers promise an end other than the
/// process's: a failure that the caller judges, an exception at a call at which nothing is left
/// half done, a delay, and a call that is dropped whose effect nobody misses. What must end the
/// process has tests of its own.
///
///     const Outcome outcome = trouble.run( { .refusable = { "bcm_range_create" }, .throwing = 1 },
///                                          [ & ] { return manager.acquire( desc ).has_value(); }
///                                          );

#include "sim/FaultInjectingSdk.h"
#include "tests/soak/Choices.h"
#include "tests/soak/Require.h"
#include "tests/soak/Tally.h"

#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace Soak {

/// What may go wrong with one operation.
struct Trouble
{
    /// The SDK functions of which a failure is an answer.
    std::span< const char* const > refusable = {};
    /// From how many of the operation's first SDK calls an exception may come.
    unsigned throwing = 0;
    /// The SDK function of which one call may have no effect; null for none.
    const char* droppable = nullptr;
    /// Whether the operation says that it is refused when one of these calls fails.
    bool failureRefuses = true;
    /// Whether after an exception the chip is as before; otherwise the operation was stopped
    /// halfway and can be repeated.
    bool undone = true;
};

enum class Outcome
{
    done,
    refused,
    thrown,
};

class TroubleMaker
{
  public:
    /// Every operation has a fault once in `faultOneIn` times, and is watched once in `watchOneIn`
    /// times: then the chip is compared with what it was if the operation has changed nothing.
    struct Rates
    {
        unsigned faultOneIn = 8;
        unsigned watchOneIn = 1;
    };

    TroubleMaker( Sim::SimulatedSdk& chips,
                  Sim::FaultInjectingSdk& faulty,
                  int unit,
                  Choices& choices,
                  Tally& tally,
                  const Rates& rates );

    /// Runs an operation, which tells whether it has done what it is for. When it has not, the chip
    /// must be as before.
    template< class Operation >
    Outcome run( const Trouble& trouble, const Operation& operation )
    {
        begin( trouble );
        Outcome outcome = Outcome::thrown;
        try {
            outcome = operation() ? Outcome::done : Outcome::refused;
        } catch ( const std::runtime_error& error ) {
            checkException( error );
        }
        end( trouble, outcome );
        return outcome;
    }

    /// Runs an operation that cannot be refused: after an exception it is repeated.
    template< class Operation >
    void finish( const Trouble& trouble, const Operation& operation )
    {
        const Outcome outcome = run( trouble, operation );
        require( outcome != Outcome::refused, "what cannot be refused is not" );
        require( outcome == Outcome::done || operation(), "after an exception it can be repeated" );
    }

    /// Whether the last operation has met a fault.
    [[nodiscard]] bool fired() const { return fired_; }

    /// Whether that was a call without effect.
    [[nodiscard]] bool dropped() const { return fired_ && planned_.kind == Kind::drop; }

  private:
    enum class Kind
    {
        none,
        fail,
        raise, ///< an exception
        delay,
        drop,
    };

    struct Planned
    {
        Kind kind = Kind::none;
        std::string function;
        std::uint64_t firesAt = 0; ///< how many calls of it there have been then
    };

    void begin( const Trouble& trouble );
    void end( const Trouble& trouble, Outcome outcome );
    void checkException( const std::runtime_error& error ) const;
    void plan( const Trouble& trouble );
    void inject( Kind kind, std::string_view function, unsigned call, Sim::FaultEffect effect );
    void countFault();
    [[nodiscard]] Sim::ChipSnapshot snapshot() const;

    Sim::SimulatedSdk& chips_;
    Sim::FaultInjectingSdk& faulty_;
    const int unit_;
    Choices& choices_;
    Tally& tally_;
    const Rates rates_;
    Planned planned_;
    bool fired_ = false;
    std::optional< Sim::ChipSnapshot > before_;
};

} // namespace Soak

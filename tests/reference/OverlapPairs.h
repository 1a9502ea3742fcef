#pragma once

/// Runs every operation of a manager on a second thread while each SDK call of every operation is
/// under way, and looks whether records, users and chip agree afterwards.
///
///     struct World : OverlapWorld { ... };
///     expectAllPairsRight( [] { return std::make_unique< World >(); } );

#include "agent/base/Locks.h"
#include "reference/Overlap.h"
#include "sdk/ForwardingSdk.h"
#include "sim/ChipSnapshot.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace Reference {

/// Where in an SDK call the other thread has its operation.
enum class Interruption
{
    beforeTheChip, ///< before the chip has done anything
    behindTheChip, ///< when it has, and before the caller has its locks again
    thrown,        ///< the call throws then, and the chip does nothing
};

/// What an interrupted call throws.
struct CallThrew : std::runtime_error
{
    CallThrew()
        : std::runtime_error( "the SDK call threw" )
    {}
};

/// An access object that has a second thread's operation run in one call of the thread that made
/// it. The call goes on when the operation is done, or waits for a turn.
class InterruptingSdk final : public Shim::ForwardingSdk
{
  public:
    using ForwardingSdk::ForwardingSdk;

    ~InterruptingSdk() override { finish(); }

    /// In the call of that number, counted from now, from 1.
    void interruptionIs( std::size_t call, Interruption kind, std::function< void() > operation )
    {
        call_ = call;
        kind_ = kind;
        operation_ = std::move( operation );
    }

    [[nodiscard]] bool hasInterrupted() const { return other_.joinable(); }

    /// Waits until the other thread is done. The activity lock is held.
    void finish()
    {
        call_ = 0;
        if ( other_.joinable() ) {
            const Agent::UnlockAnchor released( Agent::activityLock() );
            other_.join();
        }
    }

#define SDK_FUNCTION( family, name, parameters, arguments )                                        \
    int name parameters override                                                                   \
    {                                                                                              \
        return interrupted( [ & ] { return next().name arguments; } );                             \
    }
#include "sdk/SdkFunctions.def"

  private:
    template< class Call >
    int interrupted( const Call& call )
    {
        if ( std::this_thread::get_id() != thread_ || call_ == 0 || --call_ != 0 ) {
            return call();
        }
        if ( kind_ == Interruption::behindTheChip ) {
            const int rc = call();
            runTheOther();
            return rc;
        }
        runTheOther();
        if ( kind_ == Interruption::thrown ) {
            throw CallThrew();
        }
        return call();
    }

    void runTheOther()
    {
        using Clock = std::chrono::steady_clock;
        // A service of the agent may guard itself; then the other waits there, unseen.
        const auto enough = Clock::now() + std::chrono::milliseconds( 200 );
        other_ = std::thread( [ this ] {
            {
                const Agent::LockAnchor activity( Agent::activityLock() );
                operation_();
            }
            isDone_ = true;
        } );
        while ( !isDone_ && waitingThreads() == 0 && Clock::now() < enough ) {
            std::this_thread::yield();
        }
    }

    const std::thread::id thread_ = std::this_thread::get_id();
    std::size_t call_ = 0;
    Interruption kind_ = Interruption::beforeTheChip;
    std::function< void() > operation_;
    std::atomic< bool > isDone_{ false };
    std::thread other_;
};

/// An operation of a manager, as an agent that keeps to the manager's contract calls it.
struct OverlapOperation
{
    std::string name;
    std::function< void() > run;
    bool canBeThrownOutOf = true; ///< the library leaves nothing behind then
};

/// A chip with a manager, and what its users hold.
class OverlapWorld
{
  public:
    virtual ~OverlapWorld() = default;
    [[nodiscard]] virtual std::vector< OverlapOperation > operations() = 0;
    /// That the records, what the users hold, and the chip agree.
    virtual void expectRight() = 0;
    virtual void giveAllBack() = 0;
    [[nodiscard]] virtual Sim::ChipSnapshot snapshot() = 0;
    [[nodiscard]] virtual InterruptingSdk& sdk() = 0;
    /// As it was before anything was made.
    Sim::ChipSnapshot empty;
    bool hasThrown = false;
};

/// Tells which pair it was when the process ends in it.
class PairName
{
  public:
    explicit PairName( std::string name )
    {
        current() = std::move( name );
        std::signal( SIGABRT, []( int ) {
            const std::string line = "in the pair: " + current() + "\n";
            static_cast< void >( !write( STDERR_FILENO, line.data(), line.size() ) );
        } );
    }

    PairName( const PairName& ) = delete;
    PairName& operator=( const PairName& ) = delete;

    ~PairName() { std::signal( SIGABRT, SIG_DFL ); }

  private:
    static std::string& current()
    {
        static std::string name;
        return name;
    }
};

using MakeWorld = std::function< std::unique_ptr< OverlapWorld >() >;

/// Whether the first operation made that many calls.
inline bool pairIsRight( const MakeWorld& makeWorld,
                         const std::pair< std::size_t, std::size_t >& pair,
                         Interruption kind,
                         std::size_t call )
{
    const std::unique_ptr< OverlapWorld > world = makeWorld();
    const OverlapOperation first = world->operations().at( pair.first );
    const OverlapOperation second = world->operations().at( pair.second );
    const std::string name = first.name + " | " + second.name + ", call " + std::to_string( call ) +
                             ", kind " + std::to_string( static_cast< int >( kind ) );
    SCOPED_TRACE( name );
    const PairName pairName( name );
    if ( kind == Interruption::thrown && !first.canBeThrownOutOf ) {
        return false;
    }
    world->sdk().interruptionIs( call, kind, second.run );
    try {
        first.run();
    } catch ( const CallThrew& ) {
        world->hasThrown = true;
    }
    const bool isReached = world->sdk().hasInterrupted();
    world->sdk().finish();
    world->expectRight();
    world->giveAllBack();
    EXPECT_THAT( Sim::difference( world->empty, world->snapshot() ), ::testing::ElementsAre() );
    return isReached;
}

inline void expectAllPairsRight( const MakeWorld& makeWorld )
{
    const std::size_t operations = makeWorld()->operations().size();
    std::size_t pairs = 0;
    for ( std::size_t first = 0; first < operations; ++first ) {
        for ( std::size_t second = 0; second < operations; ++second ) {
            for ( const Interruption kind :
                  { Interruption::beforeTheChip, Interruption::behindTheChip,
                    Interruption::thrown } ) {
                std::size_t call = 1;
                while ( pairIsRight( makeWorld, { first, second }, kind, call ) ) {
                    ++call;
                    ++pairs;
                }
                if ( ::testing::Test::HasFailure() ) {
                    return;
                }
            }
        }
    }
    EXPECT_GT( pairs, operations ) << "the operations make calls";
}

} // namespace Reference

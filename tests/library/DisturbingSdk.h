#pragma once

/// An access object that lets something happen while one SDK function is called: another thread
/// takes the activity lock, which must be free, and does it, before the function is called.
///
///     DisturbingSdk disturbing( sdk );
///     disturbing.disturbanceIs( 2, [ & ] { quals.clear(); } );
///     Shim::sdk_ = &disturbing;
///     operation( quals );                     // The list is empty from the second call on.

#include "agent/base/Locks.h"
#include "sdk/ForwardingSdk.h"

#include <functional>
#include <thread>
#include <utility>

namespace LibraryTest {

class DisturbingSdk final : public Shim::ForwardingSdk
{
  public:
    using ForwardingSdk::ForwardingSdk;

    /// During that call of an SDK function, counted from 1, that happens.
    void disturbanceIs( std::size_t call, std::function< void() > disturbance )
    {
        call_ = call;
        disturbance_ = std::move( disturbance );
    }

    /// How many SDK functions have been called.
    [[nodiscard]] std::size_t calls() const { return calls_; }

#define SDK_FUNCTION( family, name, parameters, arguments )                                        \
    int name parameters override                                                                   \
    {                                                                                              \
        countAndDisturb();                                                                         \
        return next().name arguments;                                                              \
    }
#include "sdk/SdkFunctions.def"

  private:
    void countAndDisturb()
    {
        if ( ++calls_ == call_ ) {
            std::thread( [ this ] {
                const Agent::LockAnchor activity( Agent::activityLock() );
                disturbance_();
            } ).join();
        }
    }

    std::size_t call_ = 0;
    std::size_t calls_ = 0;
    std::function< void() > disturbance_;
};

} // namespace LibraryTest

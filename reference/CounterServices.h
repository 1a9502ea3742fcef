#pragma once

/// The agent's services behind counters, as an agent sets them up at its start.
///
/// On SDK-6 that is the counter eviction helper, registered where counter helpers look for it; put
/// a `CounterEvictionSdk` with it in front of the SDK. On HSDK it is the managers of counter
/// objects and flex counters. While this lives they are the agent's; there is one at a time. Used
/// with the agent's activity lock held.
///
///     Reference::CounterServices services( SdkVariant::hsdk, 36 );
///     services.counterObjectIs( { unit, stageIfp(), pipe, priority }, 1023 );

#include "agent/base/Ptr.h"
#include "agent/tcam/CounterEvictionHelper.h"
#include "agent/tcam/SdkCounterObjectManager.h"
#include "agent/tcam/SdkFlexctrManager.h"
#include "reference/SdkVariant.h"

namespace Reference {

/// What an HSDK chip has a counter object for.
struct CounterObjectPlace
{
    Agent::U32 unit = 0;                                  ///< the chip's SDK unit
    PeloraTcam::StageType stage = PeloraTcam::stageIfp(); ///< of the entries that use the object
    Agent::U8 pipe = 0;                                   ///< 0 to 255
    PeloraTcam::TcamGroupPriority priority = 0;           ///< of the group
};

/// Owns the agent's services that counter helpers ask for; see the top of this header.
class CounterServices
{
  public:
    /// `counterBits`: the width of the chip's counters, 1 to 64.
    CounterServices( SdkVariant variant, unsigned counterBits );
    CounterServices( const CounterServices& ) = delete;
    CounterServices& operator=( const CounterServices& ) = delete;
    ~CounterServices();

    [[nodiscard]] const Agent::Ptr< PeloraTcam::PeloraTcamSdk6CounterEvictionHelper >&
    /// The eviction helper that widens the chip's counters; never null.
    eviction() const
    {
        return eviction_;
    }

    /// HSDK: makes a counter object with room for so many counters. False if the SDK refuses.
    [[nodiscard]] bool counterObjectIs( const CounterObjectPlace& place, Agent::U32 counters );

    /// HSDK: destroys a counter object, if there is one; none of its counters may be in use.
    void counterObjectDel( const CounterObjectPlace& place );

  private:
    const SdkVariant variant_;
    const Agent::Ptr< PeloraTcam::PeloraTcamSdk6CounterEvictionHelper > eviction_;
    PeloraTcam::SdkCounterObjectManager objects_;
    PeloraTcam::SdkFlexctrManager flexctrs_;
};

} // namespace Reference

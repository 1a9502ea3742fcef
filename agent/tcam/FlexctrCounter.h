#pragma once

/// One counter of a flex counter object, and what it has counted in all.
///
/// Shared by its entry's record and whoever reads it at the moment. Its operations call the SDK and
/// are called with the agent's locks released; they guard themselves, so that readings are added
/// up in the order in which they were taken.

#include "agent/base/Export.h"
#include "agent/base/ReferenceCount.h"
#include "agent/tcam/CounterSum.h"
#include "agent/tcam/FlexctrServices.h"

#include <mutex>

namespace PeloraTcam {

/// One counter of a flex counter object, widened to 64 bits; see the top of this header.
class AGENT_EXPORT FlexctrCounter : public Agent::SharedValue< FlexctrCounter >
{
  public:
    /// The counter at an index, from 0, of an object.
    FlexctrCounter( FlexctrObjectId object, U32 index )
        : object_( object )
        , index_( index )
    {}

    /// Reads the counter, of that mask, and gives the SDK's return code. `packets` and `bytes` are
    /// what has been counted as far as it could be read.
    int read( int unit, U64 mask, U64& packets, U64& bytes );

    /// Sets the counter to 0 and forgets what it has counted, if the SDK does it. Gives its return
    /// code.
    int clear( int unit );

    /// Forgets what the counter, of that mask, has counted until now, and leaves the chip alone.
    /// Gives the SDK's return code of the reading.
    int restart( int unit, U64 mask );

    /// The SDK's id of the object.
    [[nodiscard]] FlexctrObjectId object() const { return object_; }

    /// Which of its counters this is, from 0.
    [[nodiscard]] U32 index() const { return index_; }

  private:
    int readGuarded( int unit, U64 mask );

    const FlexctrObjectId object_;
    const U32 index_;
    std::mutex mutex_;
    CounterSum packets_;
    CounterSum bytes_;
};

} // namespace PeloraTcam

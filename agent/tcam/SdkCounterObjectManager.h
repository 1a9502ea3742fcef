#pragma once

/// The counter object manager over the SDK's flex counter objects.
///
/// It makes and destroys the objects, and keeps which of their counters are free. Used under the
/// activity lock, which it releases while it calls the SDK.
///
///     SdkCounterObjectManager objects;
///     objects.counterObjectIs( unit, stageIfp(), pipe, priority, 1024 );
///     counterObjectManagerIs( &objects );

#include "agent/base/Export.h"
#include "agent/tcam/FlexctrServices.h"
#include "agent/tcam/IdPool.h"

#include <map>
#include <tuple>

namespace PeloraTcam {

/// Makes counter objects with the SDK, one for each use; see the top of this header.
class AGENT_EXPORT SdkCounterObjectManager final : public PeloraTcamCounterObjectManager
{
  public:
    /// Makes the object of a unit, stage, pipe and group priority, which must not have one (an
    /// assertion failure), with room for so many counters, 1 to 0xFFFFFFFE. Gives the SDK's return
    /// code; when it is negative nothing was made. If another thread makes the object while the
    /// SDK is called, that one stays, and the SDK's code for "exists" is given.
    int
    counterObjectIs( U32 unit, StageType stage, U8 pipe, TcamGroupPriority priority, U32 counters );

    /// Destroys the object, if there is one. No counter of it may be in use (an assertion
    /// failure); a failure of the SDK is fatal.
    void counterObjectDel( U32 unit, StageType stage, U8 pipe, TcamGroupPriority priority );

    FlexctrObjectId
    getCounterObject( U32 unit, StageType stage, U8 pipe, TcamGroupPriority priority ) override;

    /// The indices of an object that there is. The first is 1: a counter helper gives 0 for a
    /// counter that an entry does not have.
    [[nodiscard]] IdPool& indices( U32 unit, FlexctrObjectId object );

  private:
    std::map< std::tuple< U32, StageType, U8, TcamGroupPriority >, FlexctrObjectId > objects_;
    std::map< std::pair< U32, FlexctrObjectId >, IdPool > indices_;
};

} // namespace PeloraTcam

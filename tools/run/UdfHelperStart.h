#pragma once

/// Makes the UDF helper that suits a chip, in each of the ways in which an agent can.
///
/// Called with the agent's activity lock held, once `Shim::sdk_` is set.
///
///     const Agent::Ptr< PeloraTcam::UdfHelperBase > helper = makeUdfHelper(
///         { .chip = Sim::ChipKind::sdk6UdfModule, .unit = 0, .pipe = 0,
///           .lagHashingSupported = true, .origin = UdfHelperOrigin::registry } );

#include "agent/base/Ptr.h"
#include "agent/tcam/UdfHelper.h"
#include "reference/UdfManager.h"
#include "sim/ChipProfile.h"
#include "tools/scenario/UdfHelperOrigin.h"

namespace Tool {

struct UdfHelperRequest
{
    Sim::ChipKind chip = Sim::ChipKind::sdk6UdfModule;
    int unit = 0;
    Agent::U8 pipe = 0;
    bool lagHashingSupported = false;
    UdfHelperOrigin origin = UdfHelperOrigin::registry;
};

/// A new helper, never null. Throws a `StepError` if the library has none for such a chip, or if
/// the unit is above the 65535 that a UDF helper can have.
[[nodiscard]] Agent::Ptr< PeloraTcam::UdfHelperBase >
makeUdfHelper( const UdfHelperRequest& request );

/// What the helper for such a chip programs. Throws a `StepError` if the library has none.
[[nodiscard]] Reference::UdfPath udfPathOf( Sim::ChipKind chip );

} // namespace Tool

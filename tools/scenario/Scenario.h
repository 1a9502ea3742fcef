#pragma once

/// A scenario: a file that says what chip there is, what goes wrong in it, and which steps an
/// agent takes.
///
///     chip: sdk6-udf                  # a built-in profile, or a file beside this one
///     unit: 0
///     pipe: 0
///     udf-helper: registry            # who makes it
///     faults:
///       - { function: bcm_range_create, call: 3, fail: BCM_E_RESOURCE }
///     steps:
///       - allocate-range-checker: { name: web, type: l4DstPort, low: 8000, high: 8999 }
///       - audit: all
///
/// Everything that the scenario names is read with it, so a scenario that has been read can be run.
/// Whatever is wrong with any of it is a `Input::InputError`.

#include "sim/ChipProfile.h"
#include "sim/FaultPlan.h"
#include "sim/SdkNumbering.h"
#include "tools/scenario/StepKind.h"
#include "tools/scenario/UdfHelperOrigin.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Tool {

struct ScenarioStep
{
    std::string kind;
    Outcome expected = Outcome::ok;
    std::unique_ptr< const Step > step;
};

struct Scenario
{
    std::string file;
    Sim::ChipProfile profile;
    int unit = 0;
    std::uint8_t pipe = 0;
    UdfHelperOrigin udfHelper = UdfHelperOrigin::registry;
    Sim::FaultPlan faults;
    std::vector< ScenarioStep > steps;
};

/// How a scenario is to be read.
struct ScenarioReading
{
    std::string file;
    std::optional< Sim::ChipProfile > profile; ///< the one to use instead of the scenario's own
    Sim::SdkNumbering numbering;               ///< what the SDK's enumerators stand for
};

/// Reads a scenario and all that it names. Its steps are of the kinds given.
[[nodiscard]] Scenario readScenario( const ScenarioReading& reading,
                                     std::span< const StepKind > stepKinds );

} // namespace Tool

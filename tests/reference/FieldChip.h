#pragma once

/// A chip with a field processor, for the managers that need no helper.

#include "agent/base/Locks.h"
#include "reference/TranslationStart.h"
#include "sim/FaultInjectingSdk.h"
#include "sim/SimulatedSdk.h"
#include "tests/support/EnvironmentNumbering.h"

#include <stdexcept>
#include <string>

namespace Reference {

/// The chip of unit 2, with room for 2 groups of 4 entries and 2 preselectors, under the numbering
/// that the test command asks for; the activity lock is held and the maps are built.
class FieldChip
{
  public:
    static constexpr int unit = 2;

    FieldChip()
    {
        chips.chipIs( unit, Sim::builtInProfile( "sdk6-tiny" ) );
        Shim::sdk_ = &faulty;
        buildTranslationMaps();
    }

    FieldChip( const FieldChip& ) = delete;
    FieldChip& operator=( const FieldChip& ) = delete;

    ~FieldChip() { Shim::sdk_ = nullptr; }

    [[nodiscard]] std::string text() const { return chips.chip( unit )->snapshot().text(); }

    /// Lets the next call of a function go wrong.
    void nextCallIs( const std::string& function, const Sim::FaultEffect& effect )
    {
        faulty.addFromNow( { { function, 1, false }, effect } );
    }

    Sim::SimulatedSdk chips{ TestSupport::environmentNumbering() };
    Sim::FaultInjectingSdk faulty{ chips };
    Agent::LockAnchor activity{ Agent::activityLock() };
};

} // namespace Reference

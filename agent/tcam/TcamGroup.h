#pragma once

/// How the agent names its TCAM groups, and how wide their keys are.

#include "agent/base/BaseTypes.h"

namespace PeloraTcam {

/// A kind of group: which feature of the agent uses it. At most 8 bits are in use.
using TcamGroupId = Agent::U32;

/// One group of a chip. The low 8 bits name the group; bit 24 tells its two instances apart.
using LogicalGroupId = Agent::U32;

/// The width of a group's key in bits.
struct TcamKeySize
{
    /// Widths, in bits.
    enum TcamKeySizeValue : Agent::U32
    {
        /// The SDK chooses the width from the group's qualifiers.
        automatic = 0,
        single = 160,
        doubleWide = 320,
        tripleWide = 480,
        quadWide = 640,
    };
};

} // namespace PeloraTcam

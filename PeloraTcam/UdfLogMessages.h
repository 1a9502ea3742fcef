#pragma once

/// The log messages about the chip's room for user-defined fields. Every UDF source file has a
/// handle of its own on each of them.

#include "agent/base/Export.h"
#include "agent/base/Log.h"

namespace PeloraTcam {

/// All UDFs are programmed. Nothing in this library raises it.
extern PELORA_TCAM_EXPORT const Agent::LogDescriptor PELORA_TCAM_UDF_HW_RESOURCE_NORMAL;

/// A UDF could not be programmed for want of room.
extern PELORA_TCAM_EXPORT const Agent::LogDescriptor PELORA_TCAM_UDF_HW_RESOURCE_FULL;

/// The two handles of one source file.
struct UdfLogHandles
{
    const Agent::LogHandle full{ PELORA_TCAM_UDF_HW_RESOURCE_FULL, 0, 1.0, 0, 0 };
    const Agent::LogHandle normal{ PELORA_TCAM_UDF_HW_RESOURCE_NORMAL, 0, 1.0, 0, 0 };
};

} // namespace PeloraTcam

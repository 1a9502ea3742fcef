#pragma once

/// The part of a lookup that happens in the child process.
///
/// Events, in their order:
///
///     { "event": "step",     "index": N, "kind": TEXT, "name": TEXT }  the set-up begins with it
///     { "event": "failed",   "message": TEXT }                         of the set-up
///     { "event": "packets" }                                           the set-up has ended
///     { "event": "answers",  "answers": LIST, "done": N }
///     { "event": "winners",  "lines": TEXT, "done": N }

#include "tools/lookup/Lookup.h"
#include "tools/run/ChildProcess.h"

namespace Tool {

namespace LookupEvent {

inline constexpr const char* step = "step";
inline constexpr const char* failed = "failed";
inline constexpr const char* packets = "packets";
inline constexpr const char* answers = "answers";
inline constexpr const char* winners = "winners";

} // namespace LookupEvent

/// Sets the chip up, looks all packets up, and reports.
void lookUpInChild( const LookupQuestion& question, EventSender& events );

} // namespace Tool

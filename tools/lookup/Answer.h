#pragma once

/// What a packet met, as JSON: which rule or entry won, what it does, and why others lost. The text
/// report is made of the same.

#include "sim/packets/PacketExplanation.h"
#include "tools/run/EntryNames.h"
#include "tools/text/Json.h"

#include <span>
#include <string>
#include <vector>

namespace Tool {

/// The hit that counts: the first of an entry that is of a rule set, or else the first. Null if
/// there is none.
[[nodiscard]] const Sim::GroupVerdict* winnerOf( std::span< const Sim::GroupVerdict > hits,
                                                 const EntryOrigins& origins );

/// "green", "yellow" or "red"
[[nodiscard]] std::string colourName( Sim::TrafficColor colour );

/// The actions that were done, by the agent's names, in the order in which they were.
[[nodiscard]] std::vector< std::string > doneActions( const Sim::PacketFate& fate );

/// An entry that a packet hit: `entry`, `group`, `file`, `line`, `priority`, `entryId`, `groupId`.
/// Without a rule, `file` is null and `line` 0.
[[nodiscard]] Json entryJson( bcm_field_group_t group,
                              bcm_field_entry_t entry,
                              RunContext& context,
                              const EntryOrigins& origins );

/// What became of a packet: `winner`, `actions`, `dropped`, `copied`, `redirected`, `colour`.
[[nodiscard]] Json
verdictJson( const Sim::PacketVerdict& verdict, RunContext& context, const EntryOrigins& origins );

/// Why: `headers`, `classes`, `ranges`, `udfs`, and `groups` with what lost in them.
[[nodiscard]] Json explanationJson( const Sim::PacketExplanation& explanation,
                                    RunContext& context,
                                    const EntryOrigins& origins );

} // namespace Tool

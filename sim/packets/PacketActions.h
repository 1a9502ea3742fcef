#pragma once

/// What the actions of the entries that a packet hits do to it together.
///
/// Actions belong to families: all that drop, all that decide of a copy for the processor, all that
/// set the DSCP and so on; every other action is a family of its own. Within a stage the entry of
/// the better group decides a family, and a later stage decides anew what an earlier one has
/// decided. That order, and the families, are assumptions of this model.
///
/// A coloured action acts on packets of its colour only: "Gp" on green ones, "Yp" on yellow ones,
/// "Rp" on red ones, "NonGp" on those that are not green.

#include "sim/chip/SimFieldEntries.h"
#include "sim/chip/Traffic.h"
#include "sim/values/SdkNumbering.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Sim {

/// What an action did, or why it did nothing.
enum class ActionFate : uint8_t
{
    done,
    ofAnotherColor, ///< it acts on packets of another colour
    overruled,      ///< another entry decides its family
};

/// An action of an entry that the packet hit.
struct PacketAction
{
    std::string name; ///< without what all of them start with: "Drop"
    FieldAction parameters{};
    bcm_field_group_t group = 0;
    bcm_field_entry_t entry = 0;
    ActionFate fate = ActionFate::done;

    [[nodiscard]] bool operator==( const PacketAction& ) const = default;
};

/// What becomes of a packet.
struct PacketFate
{
    bool dropped = false;
    bool copiedToCpu = false;            ///< it, or a copy of it, goes to the processor
    bool redirected = false;             ///< it goes elsewhere than it would have gone
    std::vector< PacketAction > actions; ///< in the order of stages and groups

    [[nodiscard]] bool operator==( const PacketFate& ) const = default;
};

/// The family of an action: "drop", "cpu", "redirect", "dscp" ..., or its own name.
[[nodiscard]] std::string_view familyOf( std::string_view action );

/// Whether an action of that name acts on packets of the colour.
[[nodiscard]] bool actsOn( std::string_view action, TrafficColor color );

/// Adds what an entry does to a packet of a colour. `decidedBefore` is how many of `fate.actions`
/// belong to earlier stages: those can be overruled, the others overrule.
void addActions( PacketFate& fate,
                 std::size_t decidedBefore,
                 const SdkNumbering& numbering,
                 bcm_field_entry_t entryId,
                 const FieldEntry& entry,
                 TrafficColor color );

/// Sets what becomes of the packet from the actions that were done.
void conclude( PacketFate& fate );

} // namespace Sim

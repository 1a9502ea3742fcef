#include "sim/packets/PacketActions.h"

#include "sim/chip/FieldCriteria.h"

#include <algorithm>
#include <array>

namespace Sim {

namespace {

constexpr std::string_view drop = "drop";
constexpr std::string_view cpu = "cpu";
constexpr std::string_view redirect = "redirect";

/// A word in the names of actions, and the family of those that have it.
struct Family
{
    std::string_view word;
    std::string_view name;
};

// The first row that fits counts.
constexpr Family families[] = {
    { "CopyToCpu", cpu },
    { "SwitchToCpu", cpu },
    { "UnmodifiedPktRedirect", redirect },
    { "Redirect", redirect },
    { "EgressPortMask", redirect },
    { "EgressMask", redirect },
    { "L3Switch", redirect },
    { "Drop", drop },
    { "CosQCpu", "cpu queue" },
    { "CosQ", "queue" },
    { "Dscp", "dscp" },
    { "EcnNew", "ecn" },
    { "PrioPktAndInt", "priority" },
    { "PrioInt", "priority" },
    { "PrioPkt", "priority" },
    { "InnerVlanPrio", "inner priority" },
    { "OuterVlanPrio", "outer priority" },
    { "InnerVlan", "inner vlan" },
    { "OuterVlan", "outer vlan" },
    { "Ttl", "ttl" },
    { "Timestamp", "timestamp" },
    { "VnTag", "vn tag" },
    { "Urpf", "urpf" },
};

bool startsWith( std::string_view name, std::initializer_list< std::string_view > starts )
{
    return std::ranges::any_of(
        starts, [ name ]( std::string_view start ) { return name.starts_with( start ); } );
}

/// An action that takes back what its family does.
bool cancels( std::string_view action )
{
    return action.ends_with( "Cancel" ) || action.starts_with( "Preserve" );
}

} // namespace

std::string_view familyOf( std::string_view action )
{
    const auto* found = std::ranges::find_if( families, [ action ]( const Family& family ) {
        return action.find( family.word ) != std::string_view::npos;
    } );
    return found == std::end( families ) ? action : found->name;
}

bool actsOn( std::string_view action, TrafficColor color )
{
    if ( startsWith( action, { "NonGp" } ) ) {
        return color != TrafficColor::green;
    }
    if ( startsWith( action, { "GpDrop", "GpDscp", "GpPrio", "GpSwitch" } ) ) {
        return color == TrafficColor::green;
    }
    if ( startsWith( action, { "Yp" } ) ) {
        return color == TrafficColor::yellow;
    }
    return !startsWith( action, { "Rp" } ) || color == TrafficColor::red;
}

void addActions( PacketFate& fate,
                 std::size_t decidedBefore,
                 const SdkNumbering& numbering,
                 bcm_field_entry_t entryId,
                 const FieldEntry& entry,
                 TrafficColor color )
{
    std::vector< PacketAction > added;
    for ( const auto& [ action, parameters ] : entry.actions ) {
        added.push_back(
            { shortName( numbering.nameOf( action ) ), parameters, entry.group, entryId } );
    }
    std::ranges::sort( added, {}, &PacketAction::name );
    for ( PacketAction& action : added ) {
        if ( !actsOn( action.name, color ) ) {
            action.fate = ActionFate::ofAnotherColor;
            continue;
        }
        const std::string_view family = familyOf( action.name );
        for ( std::size_t other = 0; other < fate.actions.size(); ++other ) {
            PacketAction& earlier = fate.actions[ other ];
            if ( earlier.fate != ActionFate::done || familyOf( earlier.name ) != family ) {
                continue;
            }
            PacketAction& overruled = other < decidedBefore ? earlier : action;
            overruled.fate = ActionFate::overruled;
        }
    }
    std::ranges::move( added, std::back_inserter( fate.actions ) );
}

void conclude( PacketFate& fate )
{
    fate.dropped = false;
    fate.copiedToCpu = false;
    fate.redirected = false;
    for ( const PacketAction& action : fate.actions ) {
        if ( action.fate != ActionFate::done || cancels( action.name ) ) {
            continue;
        }
        const std::string_view family = familyOf( action.name );
        fate.dropped = fate.dropped || family == drop;
        fate.copiedToCpu = fate.copiedToCpu || family == cpu;
        fate.redirected = fate.redirected || family == redirect;
    }
}

} // namespace Sim

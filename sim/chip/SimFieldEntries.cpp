#include "sim/chip/SimFieldEntries.h"

#include "sim/values/ReturnCode.h"
#include "sim/values/SimSets.h"

#include <algorithm>
#include <string>

namespace Sim {

namespace {

/// What is going to be changed is not in the hardware until the entry is installed again.
void noteChange( FieldEntry& entry )
{
    if ( entry.hardware == FieldEntry::Hardware::current ) {
        entry.installed = std::make_shared< FieldEntry >( entry );
        entry.hardware = FieldEntry::Hardware::outdated;
    }
}

const char* hardwareText( FieldEntry::Hardware hardware )
{
    switch ( hardware ) {
    case FieldEntry::Hardware::none:
        return "no";
    case FieldEntry::Hardware::current:
        return "yes";
    case FieldEntry::Hardware::outdated:
        return "outdated";
    }
    return "";
}

bool isLevel( int level )
{
    return level >= 0 && level < SimFieldEntries::policerLevels;
}

} // namespace

SimFieldEntries::SimFieldEntries( const SdkNumbering& numbering,
                                  const SimFieldGroups& groups,
                                  const Capacities& capacities )
    : numbering_( numbering )
    , groups_( groups )
    , capacities_( capacities )
{}

// ---- Making and destroying -------------------------------------------------------------------

int SimFieldEntries::create( bcm_field_group_t group, bcm_field_entry_t* entry )
{
    if ( entry == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    if ( groups_.find( group ) == nullptr ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( countIn( group ) >= capacityOf( group ) ) {
        return ReturnCode::BCM_E_FULL;
    }
    *entry = static_cast< bcm_field_entry_t >( ids_.next( [ this ]( uint32_t id ) {
        return state_.entries.contains( static_cast< bcm_field_entry_t >( id ) );
    } ) );
    state_.entries[ *entry ].group = group;
    ++state_.countByGroup[ group ];
    return ReturnCode::BCM_E_NONE;
}

int SimFieldEntries::destroy( bcm_field_entry_t entry )
{
    const FieldEntry* found = find( entry );
    if ( found == nullptr ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( useChecks_.isInUse( entry ) ) {
        return ReturnCode::BCM_E_BUSY;
    }
    for ( const auto& [ level, policerId ] : found->policers ) {
        discountPolicer( policerId );
    }
    --state_.countByGroup.at( found->group );
    const bool wasInstalled = isInstalled( entry );
    state_.entries.erase( entry );
    if ( wasInstalled ) {
        tellRemoved( entry );
    }
    return ReturnCode::BCM_E_NONE;
}

void SimFieldEntries::tellRemoved( bcm_field_entry_t entry ) const
{
    for ( HardwareListener* listener : listeners_ ) {
        listener->removed( entry );
    }
}

void SimFieldEntries::stateIs( const State& state )
{
    state_ = state;
    tellReplaced();
}

void SimFieldEntries::tellReplaced() const
{
    for ( HardwareListener* listener : listeners_ ) {
        listener->replaced();
    }
}

bool SimFieldEntries::flip( bcm_field_entry_t entry, const SoftError& error )
{
    FieldEntry* found = findToChange( entry );
    if ( found == nullptr || found->hardware == FieldEntry::Hardware::none ) {
        return false;
    }
    const bool ofMask = error.field.ends_with( ".mask" );
    const std::string field = error.field.substr( 0, error.field.rfind( ".mask" ) );
    const auto flipIn = [ & ]( FieldEntry& held ) {
        if ( field != "priority" ) {
            return held.criteria.flip( numbering_, field, ofMask, error.bit );
        }
        // The sign of a priority is no bit of the hardware's.
        held.priority ^= error.bit < 31 ? 1 << error.bit : 0;
        return error.bit < 31;
    };
    bool changed = flipIn( *found );
    if ( found->installed ) {
        FieldEntry held = *found->installed;
        changed = flipIn( held ) || changed;
        found->installed = std::make_shared< FieldEntry >( held );
    }
    for ( HardwareListener* listener : listeners_ ) {
        listener->installed( entry, found->inHardware() );
    }
    return changed;
}

uint32_t SimFieldEntries::capacityOf( bcm_field_group_t group ) const
{
    return groups_.isCompression( group ) ? capacities_.perCompressionGroup : capacities_.perGroup;
}

// ---- The hardware ----------------------------------------------------------------------------

int SimFieldEntries::install( bcm_field_entry_t entry )
{
    FieldEntry* found = findToChange( entry );
    if ( found == nullptr ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    found->hardware = FieldEntry::Hardware::current;
    found->installed = nullptr;
    for ( HardwareListener* listener : listeners_ ) {
        listener->installed( entry, *found );
    }
    return ReturnCode::BCM_E_NONE;
}

int SimFieldEntries::remove( bcm_field_entry_t entry )
{
    if ( !isInstalled( entry ) ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    FieldEntry& found = *findToChange( entry );
    found.hardware = FieldEntry::Hardware::none;
    found.installed = nullptr;
    tellRemoved( entry );
    return ReturnCode::BCM_E_NONE;
}

// ---- Qualifiers ------------------------------------------------------------------------------

int SimFieldEntries::priorityIs( bcm_field_entry_t entry, int priority )
{
    FieldEntry* found = findToChange( entry );
    if ( found == nullptr ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( priority < 0 ) {
        return ReturnCode::BCM_E_PARAM;
    }
    noteChange( *found );
    found->priority = priority;
    return ReturnCode::BCM_E_NONE;
}

int SimFieldEntries::qualify( bcm_field_entry_t entry,
                              bcm_field_qualify_t qualifier,
                              const FieldMatch& match )
{
    FieldEntry* found = findToChange( entry );
    if ( found == nullptr ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( !groupHas( *found, qualifier ) || !isValid( match ) ) {
        return ReturnCode::BCM_E_PARAM;
    }
    noteChange( *found );
    found->criteria.matchIs( qualifier, match );
    return ReturnCode::BCM_E_NONE;
}

int SimFieldEntries::qualifySourceClasses( bcm_field_entry_t entry,
                                           const bcm_field_src_class_t* data,
                                           const bcm_field_src_class_t* mask )
{
    FieldEntry* found = findToChange( entry );
    if ( found == nullptr ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( data == nullptr || mask == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const auto matches = sourceClassMatches( numbering_, *data, *mask );
    for ( const auto& [ qualifier, match ] : matches ) {
        if ( !groupHas( *found, qualifier ) ) {
            return ReturnCode::BCM_E_PARAM;
        }
    }
    noteChange( *found );
    found->criteria.sourceClassesAre( numbering_, matches );
    return ReturnCode::BCM_E_NONE;
}

int SimFieldEntries::qualifyUdf( bcm_field_entry_t entry,
                                 bcm_udf_id_t udfId,
                                 const MaskedBytes& match )
{
    FieldEntry* found = findToChange( entry );
    if ( found == nullptr ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( !groupHasUdfs( *found ) ) {
        return ReturnCode::BCM_E_PARAM;
    }
    noteChange( *found );
    found->criteria.udfIs( udfId, match );
    return ReturnCode::BCM_E_NONE;
}

bool SimFieldEntries::groupHasUdfs( const FieldEntry& entry ) const
{
    const bcm_field_qualify_t udfQualifiers[] = {
        numbering_.bcmFieldQualifyUdf,       numbering_.bcmFieldQualifyUdfChunk0,
        numbering_.bcmFieldQualifyUdfChunk1, numbering_.bcmFieldQualifyUdfChunk2,
        numbering_.bcmFieldQualifyUdfChunk3, numbering_.bcmFieldQualifyUdfChunk4,
        numbering_.bcmFieldQualifyUdfChunk5, numbering_.bcmFieldQualifyUdfChunk6,
        numbering_.bcmFieldQualifyUdfChunk7,
    };
    return std::ranges::any_of( udfQualifiers, [ & ]( bcm_field_qualify_t qualifier ) {
        return groupHas( entry, qualifier );
    } );
}

bool SimFieldEntries::groupHas( const FieldEntry& entry, bcm_field_qualify_t qualifier ) const
{
    return isInSet( groups_.find( entry.group )->qset.w, qualifier );
}

// ---- Actions and policers --------------------------------------------------------------------

int SimFieldEntries::addAction( bcm_field_entry_t entry,
                                bcm_field_action_t action,
                                const FieldAction& what )
{
    FieldEntry* found = findToChange( entry );
    if ( found == nullptr ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( !groupTakes( *found, action ) ) {
        return ReturnCode::BCM_E_PARAM;
    }
    if ( found->actions.contains( action ) ) {
        return ReturnCode::BCM_E_EXISTS;
    }
    noteChange( *found );
    found->actions.emplace( action, what );
    return ReturnCode::BCM_E_NONE;
}

int SimFieldEntries::addClass( bcm_field_entry_t entry, const bcm_field_class_info_t* classInfo )
{
    const bcm_field_action_t assigning[] = {
        numbering_.bcmFieldActionClassSet,
        numbering_.bcmFieldActionClassDestSet,
        numbering_.bcmFieldActionClassSourceSet,
        numbering_.bcmFieldActionFlowClassIdSet,
        numbering_.bcmFieldActionExactMatchClassIdSet,
    };
    if ( find( entry ) == nullptr ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( classInfo == nullptr || std::ranges::count( assigning, classInfo->action ) == 0 ) {
        return ReturnCode::BCM_E_PARAM;
    }
    return addAction( entry, classInfo->action, { classInfo->class_id, 0 } );
}

bool SimFieldEntries::groupTakes( const FieldEntry& entry, bcm_field_action_t action ) const
{
    const SetWords& actions = groups_.find( entry.group )->aset.w;
    return membersOf( actions ).empty() ? numbering_.has( action ) : isInSet( actions, action );
}

int SimFieldEntries::attachPolicer( bcm_field_entry_t entry, int level, bcm_policer_t policerId )
{
    FieldEntry* found = findToChange( entry );
    if ( found == nullptr ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( !isLevel( level ) ) {
        return ReturnCode::BCM_E_PARAM;
    }
    if ( found->policers.contains( level ) ) {
        return ReturnCode::BCM_E_EXISTS;
    }
    noteChange( *found );
    found->policers.emplace( level, policerId );
    ++state_.attachmentsByPolicer[ policerId ];
    return ReturnCode::BCM_E_NONE;
}

int SimFieldEntries::detachPolicer( bcm_field_entry_t entry, int level )
{
    FieldEntry* found = findToChange( entry );
    if ( found == nullptr ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( !isLevel( level ) ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const auto attached = found->policers.find( level );
    if ( attached == found->policers.end() ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    noteChange( *found );
    discountPolicer( attached->second );
    found->policers.erase( attached );
    return ReturnCode::BCM_E_NONE;
}

void SimFieldEntries::discountPolicer( bcm_policer_t policerId )
{
    const auto attachments = state_.attachmentsByPolicer.find( policerId );
    if ( --attachments->second == 0 ) {
        state_.attachmentsByPolicer.erase( attachments );
    }
}

// ---- Looking ---------------------------------------------------------------------------------

const FieldEntry* SimFieldEntries::find( bcm_field_entry_t entry ) const
{
    const auto found = state_.entries.find( entry );
    return found == state_.entries.end() ? nullptr : &found->second;
}

FieldEntry* SimFieldEntries::findToChange( bcm_field_entry_t entry )
{
    const auto found = state_.entries.find( entry );
    return found == state_.entries.end() ? nullptr : &found->second;
}

bool SimFieldEntries::isRangeUsed( bcm_range_t rangeId ) const
{
    return std::ranges::any_of( state_.entries, [ rangeId ]( const auto& entry ) {
        return entry.second.criteria.ranges().contains( rangeId );
    } );
}

bool SimFieldEntries::isUdfUsed( bcm_udf_id_t udfId ) const
{
    return std::ranges::any_of( state_.entries, [ udfId ]( const auto& entry ) {
        return entry.second.criteria.udf( udfId ) != nullptr;
    } );
}

bool SimFieldEntries::isInstalled( bcm_field_entry_t entry ) const
{
    const FieldEntry* found = find( entry );
    return found != nullptr && found->hardware != FieldEntry::Hardware::none;
}

uint32_t SimFieldEntries::countIn( bcm_field_group_t group ) const
{
    const auto found = state_.countByGroup.find( group );
    return found == state_.countByGroup.end() ? 0 : found->second;
}

uint32_t SimFieldEntries::compressionUsed() const
{
    uint32_t count = 0;
    for ( const auto& [ group, entries ] : state_.countByGroup ) {
        count += groups_.isCompression( group ) ? entries : 0;
    }
    return count;
}

uint32_t SimFieldEntries::used() const
{
    return static_cast< uint32_t >( state_.entries.size() ) - compressionUsed();
}

ChipSnapshot::Fields SimFieldEntries::fieldsOf( const FieldEntry& entry ) const
{
    ChipSnapshot::Fields fields{ { "group", std::to_string( entry.group ) },
                                 { "priority", std::to_string( entry.priority ) },
                                 { "installed", hardwareText( entry.hardware ) } };
    const ChipSnapshot::Fields criteria = entry.criteria.fields( numbering_ );
    fields.insert( fields.end(), criteria.begin(), criteria.end() );
    ChipSnapshot::Fields actions;
    for ( const auto& [ action, what ] : entry.actions ) {
        actions.emplace_back( "action:" + shortName( numbering_.nameOf( action ) ),
                              std::to_string( what.param0 ) + "," + std::to_string( what.param1 ) );
    }
    std::ranges::sort( actions );
    fields.insert( fields.end(), actions.begin(), actions.end() );
    for ( const auto& [ level, policerId ] : entry.policers ) {
        fields.emplace_back( "policer" + std::to_string( level ), std::to_string( policerId ) );
    }
    return fields;
}

void SimFieldEntries::addTo( ChipSnapshot& snapshot ) const
{
    for ( const auto& [ id, entry ] : state_.entries ) {
        snapshot.add( "field entry " + std::to_string( id ), fieldsOf( entry ) );
    }
}

} // namespace Sim

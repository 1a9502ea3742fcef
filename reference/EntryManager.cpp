#include "reference/EntryManager.h"

#include "PeloraTcam/PeloraTcamSdk6Helper.h"
#include "agent/base/Assert.h"
#include "sdk/SdkCall.h"

namespace Reference {

using PeloraTcam::PolicerId;

namespace {

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

/// The level at which an entry's policer is attached: the first of the chip's two.
constexpr int policerLevel = 0;

bcm_field_entry_t sdkEntry( EntryManager::EntryId entryId )
{
    return static_cast< bcm_field_entry_t >( entryId );
}

} // namespace

EntryManager::EntryManager( Agent::U32 unit )
    : unit_( static_cast< int >( unit ) )
{}

bool EntryManager::accepted( std::string_view function, int rc )
{
    if ( rc < 0 ) {
        lastRefusal_ = { function, rc };
    }
    return rc >= 0;
}

// ---- Making ----------------------------------------------------------------------------------

std::optional< EntryManager::EntryId > EntryManager::create( const EntryDesc& desc )
{
    bcm_field_entry_t entry = 0;
    const int rc = SDK_TRACED_CALL( bcm_field_entry_create, unit_, desc.group, &entry );
    if ( !accepted( "bcm_field_entry_create", rc ) ) {
        return std::nullopt;
    }
    const auto entryId = static_cast< EntryId >( entry );
    const auto [ record, isNewId ] = records_.emplace( entryId, Record{ desc, {}, false } );
    AGENT_ASSERT( isNewId && "the SDK gave an id that is in use" );
    record->second.desc.policer.reset(); // Until it is attached.
    ++entriesByGroup_[ desc.group ];
    bool done = false;
    try {
        done = program( entryId, record->second ) &&
               ( !desc.policer || attachPolicer( entryId, *desc.policer ) );
    } catch ( ... ) {
        destroy( entryId );
        throw;
    }
    if ( !done ) {
        const SdkRefusal why = lastRefusal_;
        destroy( entryId );
        lastRefusal_ = why;
        return std::nullopt;
    }
    return entryId;
}

bool EntryManager::program( EntryId entryId, Record& record )
{
    const bcm_field_entry_t entry = sdkEntry( entryId );
    const SdkRefusal refusal = qualifyEntry( unit_, entry, record.desc.qualifiers );
    if ( !accepted( refusal.function, refusal.rc ) ) {
        return false;
    }
    const int priority = record.desc.priority;
    const int rc = SDK_TRACED_CALL( bcm_field_entry_prio_set, unit_, entry, priority );
    return accepted( "bcm_field_entry_prio_set", rc ) && addActions( entryId, record.desc.actions );
}

bool EntryManager::addActions( EntryId entryId, const std::vector< EntryAction >& actions )
{
    for ( const EntryAction& wanted : actions ) {
        const bcm_field_action_t action = PeloraTcam::getBcmAction( wanted.type );
        const int rc = SDK_TRACED_CALL( bcm_field_action_add,
                                        unit_,
                                        sdkEntry( entryId ),
                                        action,
                                        wanted.param0,
                                        wanted.param1 );
        if ( !accepted( "bcm_field_action_add", rc ) ) {
            return false;
        }
    }
    return true;
}

// ---- In and out of the hardware --------------------------------------------------------------

bool EntryManager::install( EntryId entryId )
{
    AGENT_ASSERT( records_.contains( entryId ) && "the entry is unknown" );
    const int rc = SDK_TRACED_CALL( bcm_field_entry_install, unit_, sdkEntry( entryId ) );
    if ( !accepted( "bcm_field_entry_install", rc ) ) {
        return false;
    }
    records_.at( entryId ).installed = true;
    return true;
}

bool EntryManager::remove( EntryId entryId )
{
    if ( !isInstalled( entryId ) ) {
        return false;
    }
    SDK_CHECKED_CALL( bcm_field_entry_remove, unit_, sdkEntry( entryId ) );
    records_.at( entryId ).installed = false;
    return true;
}

bool EntryManager::destroy( EntryId entryId )
{
    const auto found = records_.find( entryId );
    if ( found == records_.end() ) {
        return false;
    }
    // Each step is noted as soon as the chip has made it: after an exception it is destroyed from
    // where it was left.
    const bcm_field_group_t group = found->second.desc.group;
    remove( entryId );
    detachStatistic( entryId );
    detachPolicer( entryId );
    SDK_CHECKED_CALL( bcm_field_entry_destroy, unit_, sdkEntry( entryId ) );
    records_.erase( entryId );
    if ( --entriesByGroup_.at( group ) == 0 ) {
        entriesByGroup_.erase( group );
    }
    return true;
}

/// What has changed of an entry does not reach the hardware by itself.
void EntryManager::writeAgain( EntryId entryId )
{
    if ( isInstalled( entryId ) ) {
        SDK_CHECKED_CALL( bcm_field_entry_install, unit_, sdkEntry( entryId ) );
    }
}

// ---- Attachments -----------------------------------------------------------------------------

bool EntryManager::attachPolicer( EntryId entryId, PolicerId policerId )
{
    AGENT_ASSERT( records_.contains( entryId ) && "the entry is unknown" );
    const auto policer = static_cast< bcm_policer_t >( policerId );
    const int rc = SDK_TRACED_CALL(
        bcm_field_entry_policer_attach, unit_, sdkEntry( entryId ), policerLevel, policer );
    if ( !accepted( "bcm_field_entry_policer_attach", rc ) ) {
        return false;
    }
    records_.at( entryId ).desc.policer = policerId;
    writeAgain( entryId );
    return true;
}

bool EntryManager::detachPolicer( EntryId entryId )
{
    const auto found = records_.find( entryId );
    if ( found == records_.end() || !found->second.desc.policer ) {
        return false;
    }
    SDK_CHECKED_CALL( bcm_field_entry_policer_detach, unit_, sdkEntry( entryId ), policerLevel );
    records_.at( entryId ).desc.policer.reset();
    writeAgain( entryId );
    return true;
}

bool EntryManager::attachStatistic( EntryId entryId, int statId )
{
    AGENT_ASSERT( records_.contains( entryId ) && "the entry is unknown" );
    const int rc =
        SDK_TRACED_CALL( bcm_field_entry_stat_attach, unit_, sdkEntry( entryId ), statId );
    if ( !accepted( "bcm_field_entry_stat_attach", rc ) ) {
        return false;
    }
    records_.at( entryId ).statistic = statId;
    return true;
}

bool EntryManager::detachStatistic( EntryId entryId )
{
    const auto found = records_.find( entryId );
    if ( found == records_.end() || !found->second.statistic ) {
        return false;
    }
    const int statId = *found->second.statistic;
    SDK_CHECKED_CALL( bcm_field_entry_stat_detach, unit_, sdkEntry( entryId ), statId );
    records_.at( entryId ).statistic.reset();
    return true;
}

// ---- Looking ---------------------------------------------------------------------------------

std::size_t EntryManager::size( bcm_field_group_t group ) const
{
    const auto found = entriesByGroup_.find( group );
    return found == entriesByGroup_.end() ? 0 : found->second;
}

const EntryDesc* EntryManager::find( EntryId entryId ) const
{
    const auto found = records_.find( entryId );
    return found == records_.end() ? nullptr : &found->second.desc;
}

bool EntryManager::isInstalled( EntryId entryId ) const
{
    const auto found = records_.find( entryId );
    return found != records_.end() && found->second.installed;
}

// ---- Audit -----------------------------------------------------------------------------------

std::size_t EntryManager::audit() const
{
    // Over a copy: each call lets go of the activity lock, and records may come and go meanwhile.
    const std::map< EntryId, Record > records = records_;
    for ( const auto& [ entryId, record ] : records ) {
        verify( entryId, record );
    }
    return records.size();
}

void EntryManager::verify( EntryId entryId, const Record& record ) const
{
    const bcm_field_entry_t entry = sdkEntry( entryId );
    int installed = 0;
    SDK_CHECKED_CALL( bcm_field_entry_installed_get, unit_, entry, &installed );
    AGENT_ASSERT( ( installed != 0 ) == record.installed );
    verifyQualifiers( unit_, entry, record.desc.qualifiers );
    int priority = 0;
    SDK_CHECKED_CALL( bcm_field_entry_prio_get, unit_, entry, &priority );
    AGENT_ASSERT( priority == record.desc.priority );
    verifyActions( entry, record.desc.actions );
    verifyAttachments( entry, record );
}

void EntryManager::verifyActions( bcm_field_entry_t entry,
                                  const std::vector< EntryAction >& actions ) const
{
    for ( const EntryAction& wanted : actions ) {
        const bcm_field_action_t action = PeloraTcam::getBcmAction( wanted.type );
        EntryAction inHardware{ wanted.type, 0, 0 };
        SDK_CHECKED_CALL(
            bcm_field_action_get, unit_, entry, action, &inHardware.param0, &inHardware.param1 );
        AGENT_ASSERT( inHardware == wanted );
    }
}

void EntryManager::verifyAttachments( bcm_field_entry_t entry, const Record& record ) const
{
    if ( record.desc.policer ) {
        bcm_policer_t policer = 0;
        SDK_CHECKED_CALL( bcm_field_entry_policer_get, unit_, entry, policerLevel, &policer );
        AGENT_ASSERT( static_cast< PolicerId >( policer ) == *record.desc.policer );
    }
    if ( record.statistic ) {
        int statId = 0;
        SDK_CHECKED_CALL( bcm_field_entry_stat_get, unit_, entry, &statId );
        AGENT_ASSERT( statId == *record.statistic );
    }
}

} // namespace Reference

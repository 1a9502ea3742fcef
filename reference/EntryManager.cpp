#include "reference/EntryManager.h"

#include "PeloraTcam/PeloraTcamSdk6Helper.h"
#include "agent/base/Assert.h"
#include "sdk/SdkCall.h"

#include <utility>

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

/// The refusal of an entry that is unknown is the same whether it has never been one, or has gone:
/// another thread may have destroyed it a moment ago.
bool EntryManager::isKnown( const EntryTurn& turn, std::string_view function )
{
    return turn || accepted( function, Shim::sdk().BCM_E_NOT_FOUND() );
}

// ---- Making ----------------------------------------------------------------------------------

std::optional< EntryManager::EntryId > EntryManager::create( const EntryDesc& desc )
{
    return create( EntryDesc( desc ) ); // A copy: it may change while the locks are free.
}

std::optional< EntryManager::EntryId > EntryManager::create( EntryDesc&& desc )
{
    const auto entryId = make( desc );
    if ( entryId ) {
        record( *entryId, std::move( desc ) );
    }
    return entryId;
}

void EntryManager::record( EntryId entryId, EntryDesc&& desc )
{
    const bool isNewId = records_.try_emplace( entryId, std::move( desc ) ).second;
    AGENT_ASSERT( isNewId && "the SDK gave an id that is in use" );
}

/// Makes an entry that is not recorded yet, so that nobody else can do anything with it.
std::optional< EntryManager::EntryId > EntryManager::make( const EntryDesc& desc )
{
    const bcm_field_group_t group = desc.group;
    bcm_field_entry_t entry = 0;
    const int rc = SDK_TRACED_CALL( bcm_field_entry_create, unit_, group, &entry );
    if ( !accepted( "bcm_field_entry_create", rc ) ) {
        return std::nullopt;
    }
    const auto entryId = static_cast< EntryId >( entry );
    ++entriesByGroup_[ group ];
    bool done = false;
    try {
        done = program( entry, desc ) && ( !desc.policer || attach( entry, *desc.policer ) );
    } catch ( ... ) {
        undo( entryId, group );
        throw;
    }
    if ( done ) {
        return entryId;
    }
    const SdkRefusal why = lastRefusal_;
    undo( entryId, group );
    lastRefusal_ = why;
    return std::nullopt;
}

/// Of an entry that could not be made only the entry itself is left: its policer comes last.
void EntryManager::undo( EntryId entryId, bcm_field_group_t group )
{
    EntryDesc bare;
    bare.group = group;
    record( entryId, std::move( bare ) ); // Recorded, should the undoing throw.
    destroy( entryId );
}

bool EntryManager::program( bcm_field_entry_t entry, const EntryDesc& desc )
{
    const SdkRefusal refusal = qualifyEntry( unit_, entry, desc.qualifiers );
    if ( !accepted( refusal.function, refusal.rc ) ) {
        return false;
    }
    const int priority = desc.priority;
    const int rc = SDK_TRACED_CALL( bcm_field_entry_prio_set, unit_, entry, priority );
    return accepted( "bcm_field_entry_prio_set", rc ) && addActions( entry, desc.actions );
}

bool EntryManager::addActions( bcm_field_entry_t entry, const EntryActions& actions )
{
    for ( const EntryAction& wanted : actions ) {
        const bcm_field_action_t action = PeloraTcam::getBcmAction( wanted.type );
        const int rc = SDK_TRACED_CALL( bcm_field_action_add, unit_, entry, action, wanted.param0,
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
    const EntryTurn turn( records_, entryId );
    if ( !isKnown( turn, "bcm_field_entry_install" ) ) {
        return false;
    }
    const int rc = SDK_TRACED_CALL( bcm_field_entry_install, unit_, sdkEntry( entryId ) );
    if ( !accepted( "bcm_field_entry_install", rc ) ) {
        return false;
    }
    turn.record().installed = true;
    turn.record().outdated = false;
    return true;
}

bool EntryManager::remove( EntryId entryId )
{
    const EntryTurn turn( records_, entryId );
    return turn && remove( turn );
}

bool EntryManager::remove( const EntryTurn& turn )
{
    if ( !turn.record().installed ) {
        return false;
    }
    SDK_CHECKED_CALL( bcm_field_entry_remove, unit_, sdkEntry( turn.id() ) );
    turn.record().installed = false;
    return true;
}

bool EntryManager::destroy( EntryId entryId )
{
    EntryTurn turn( records_, entryId );
    if ( !turn ) {
        return false;
    }
    // Each step is noted as soon as the chip has made it: after an exception the entry is destroyed
    // from where it was left.
    const bcm_field_entry_t entry = sdkEntry( entryId );
    const bcm_field_group_t group = turn.record().desc.group;
    remove( turn );
    detachStatistic( turn );
    detachPolicer( turn );
    auto taken = turn.takeOut();
    try {
        SDK_CHECKED_CALL( bcm_field_entry_destroy, unit_, entry );
    } catch ( ... ) {
        if ( !records_.insert( std::move( taken ) ).inserted ) {
            forgetOneOf( group ); // The SDK, which has it back, has given its id away.
        }
        throw;
    }
    forgetOneOf( group );
    return true;
}

void EntryManager::forgetOneOf( bcm_field_group_t group )
{
    if ( --entriesByGroup_.at( group ) == 0 ) {
        entriesByGroup_.erase( group );
    }
}

/// What has changed of an entry does not reach the hardware by itself.
void EntryManager::writeAgain( const EntryTurn& turn )
{
    if ( turn.record().installed ) {
        turn.record().outdated = true;
        SDK_CHECKED_CALL( bcm_field_entry_install, unit_, sdkEntry( turn.id() ) );
        turn.record().outdated = false;
    }
}

// ---- Attachments -----------------------------------------------------------------------------

bool EntryManager::attachPolicer( EntryId entryId, PolicerId policerId )
{
    const EntryTurn turn( records_, entryId );
    if ( !isKnown( turn, "bcm_field_entry_policer_attach" ) ||
         !attach( sdkEntry( entryId ), policerId ) ) {
        return false;
    }
    turn.record().desc.policer = policerId;
    writeAgain( turn );
    return true;
}

bool EntryManager::attach( bcm_field_entry_t entry, PolicerId policerId )
{
    const auto policer = static_cast< bcm_policer_t >( policerId );
    const int rc =
        SDK_TRACED_CALL( bcm_field_entry_policer_attach, unit_, entry, policerLevel, policer );
    return accepted( "bcm_field_entry_policer_attach", rc );
}

bool EntryManager::detachPolicer( EntryId entryId )
{
    const EntryTurn turn( records_, entryId );
    return turn && detachPolicer( turn );
}

bool EntryManager::detachPolicer( const EntryTurn& turn )
{
    if ( !turn.record().desc.policer ) {
        return false;
    }
    const bcm_field_entry_t entry = sdkEntry( turn.id() );
    SDK_CHECKED_CALL( bcm_field_entry_policer_detach, unit_, entry, policerLevel );
    turn.record().desc.policer.reset();
    writeAgain( turn );
    return true;
}

bool EntryManager::attachStatistic( EntryId entryId, int statId )
{
    const EntryTurn turn( records_, entryId );
    if ( !isKnown( turn, "bcm_field_entry_stat_attach" ) ) {
        return false;
    }
    const int rc =
        SDK_TRACED_CALL( bcm_field_entry_stat_attach, unit_, sdkEntry( entryId ), statId );
    if ( !accepted( "bcm_field_entry_stat_attach", rc ) ) {
        return false;
    }
    turn.record().statistic = statId;
    return true;
}

bool EntryManager::detachStatistic( EntryId entryId )
{
    const EntryTurn turn( records_, entryId );
    return turn && detachStatistic( turn );
}

bool EntryManager::detachStatistic( const EntryTurn& turn )
{
    if ( !turn.record().statistic ) {
        return false;
    }
    const int statId = *turn.record().statistic;
    SDK_CHECKED_CALL( bcm_field_entry_stat_detach, unit_, sdkEntry( turn.id() ), statId );
    turn.record().statistic.reset();
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
    std::size_t compared = 0;
    for ( const EntryId entryId : idsOf( records_ ) ) {
        const auto found = records_.find( entryId );
        if ( found == records_.end() || found->second.underWay ) {
            continue;
        }
        const Record seen = found->second;
        const auto stillSeen = [ & ] {
            const auto now = records_.find( entryId );
            return now != records_.end() && now->second.stamp == seen.stamp;
        };
        verify( sdkEntry( entryId ), seen, stillSeen );
        compared += stillSeen() ? 1 : 0;
    }
    return compared;
}

void EntryManager::verify( bcm_field_entry_t entry,
                           const Record& record,
                           const StillSeen& stillSeen ) const
{
    int installed = 0;
    if ( SDK_AUDIT_CALL( stillSeen, bcm_field_entry_installed_get, unit_, entry, &installed ) ) {
        AGENT_ASSERT( ( installed != 0 ) == ( record.installed && !record.outdated ) );
    }
    verifyQualifiers( unit_, entry, record.desc.qualifiers, stillSeen );
    int priority = 0;
    if ( SDK_AUDIT_CALL( stillSeen, bcm_field_entry_prio_get, unit_, entry, &priority ) ) {
        AGENT_ASSERT( priority == record.desc.priority );
    }
    verifyActions( entry, record.desc.actions, stillSeen );
    verifyAttachments( entry, record, stillSeen );
}

void EntryManager::verifyActions( bcm_field_entry_t entry,
                                  const EntryActions& actions,
                                  const StillSeen& stillSeen ) const
{
    for ( const EntryAction& wanted : actions ) {
        const bcm_field_action_t action = PeloraTcam::getBcmAction( wanted.type );
        EntryAction inHardware{ wanted.type, 0, 0 };
        if ( SDK_AUDIT_CALL( stillSeen, bcm_field_action_get, unit_, entry, action,
                             &inHardware.param0, &inHardware.param1 ) ) {
            AGENT_ASSERT( inHardware == wanted );
        }
    }
}

void EntryManager::verifyAttachments( bcm_field_entry_t entry,
                                      const Record& record,
                                      const StillSeen& stillSeen ) const
{
    bcm_policer_t policer = 0;
    if ( record.desc.policer && SDK_AUDIT_CALL( stillSeen, bcm_field_entry_policer_get, unit_,
                                                entry, policerLevel, &policer ) ) {
        AGENT_ASSERT( static_cast< PolicerId >( policer ) == *record.desc.policer );
    }
    int statId = 0;
    if ( record.statistic &&
         SDK_AUDIT_CALL( stillSeen, bcm_field_entry_stat_get, unit_, entry, &statId ) ) {
        AGENT_ASSERT( statId == *record.statistic );
    }
}

} // namespace Reference

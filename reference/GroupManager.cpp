#include "reference/GroupManager.h"

#include "PeloraTcam/PeloraTcamSdk6Helper.h"
#include "agent/base/Assert.h"
#include "sdk/SdkCall.h"

#include <utility>

namespace Reference {

using PeloraTcam::QualifierSet;
using PeloraTcam::QualifierType;
using PeloraTcam::StageType;

namespace {

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

/// The SDK takes the stage of a group from its qualifier set.
void addStage( bcm_field_qset_t& qset, StageType stage )
{
    switch ( stage ) {
    case StageType::vfp:
        Shim::sdk().BCM_FIELD_QSET_ADD( &qset, Shim::sdk().bcmFieldQualifyStageLookup() );
        return;
    case StageType::ifp:
        Shim::sdk().BCM_FIELD_QSET_ADD( &qset, Shim::sdk().bcmFieldQualifyStageIngress() );
        return;
    case StageType::efp:
        Shim::sdk().BCM_FIELD_QSET_ADD( &qset, Shim::sdk().bcmFieldQualifyStageEgress() );
        return;
    case StageType::invalid:
        break;
    }
    AGENT_ASSERT( false && "a group belongs to a stage" );
}

/// What the library reports of a group with these qualifiers: not the stage, and of several
/// qualifiers that are one for the SDK only the first.
QualifierSet readBackOf( const QualifierSet& qualifiers )
{
    QualifierSet readBack;
    for ( const QualifierType type : qualifiers ) {
        if ( type != QualifierType::stage ) {
            readBack.insert( PeloraTcam::getBcmQualifier( PeloraTcam::getBcmQualifier( type ) ) );
        }
    }
    return readBack;
}

} // namespace

GroupManager::GroupManager( Agent::U32 unit, bool narrowWideTcamWidthSupport )
    : unit_( static_cast< int >( unit ) )
    , narrowWideTcamWidthSupport_( narrowWideTcamWidthSupport )
{}

std::optional< bcm_field_group_t > GroupManager::create( const GroupDesc& desc )
{
    bcm_field_group_config_t config = configOf( desc );
    // Before the call: the descriptor may change while the locks are free.
    const Record record{ .qualifiers = readBackOf( desc.qualifiers ) };
    const int rc = SDK_TRACED_CALL( bcm_field_group_config_create, unit_, &config );
    if ( rc < 0 ) {
        return std::nullopt;
    }
    const bcm_field_group_t group = config.group;
    try {
        verify( group, record.qualifiers, {} );
    } catch ( ... ) {
        records_.insert_or_assign( group, record );
        destroy( group );
        throw;
    }
    // Only now: what is not verified yet is nobody's to destroy.
    records_.insert_or_assign( group, record );
    return group;
}

bcm_field_group_config_t GroupManager::configOf( const GroupDesc& desc ) const
{
    bcm_field_group_config_t config;
    Shim::sdk().bcm_field_group_config_t_init( &config );
    if ( desc.logicalId ) {
        config.group = static_cast< bcm_field_group_t >(
            PeloraTcam::generateSdk6GroupIdFormat( *desc.logicalId, desc.subId ) );
    }
    config.qset = PeloraTcam::getBcmQualifierSet( desc.qualifiers );
    addStage( config.qset, desc.stage );
    config.aset = PeloraTcam::getBcmActionSet( desc.actions );
    config.mode =
        PeloraTcam::getBcmTcamKeySize( desc.keySize, desc.stage, narrowWideTcamWidthSupport_ );
    config.mode_type =
        PeloraTcam::getGroupOperationModeType( PeloraTcam::TcamGroupModeType::standard );
    config.packet_type =
        PeloraTcam::getGroupOperationPacketType( PeloraTcam::TcamGroupPacketType::any );
    return config;
}

void GroupManager::verify( bcm_field_group_t group,
                           const QualifierSet& qualifiers,
                           const StillSeen& stillSeen ) const
{
    bcm_field_qset_t qset;
    Shim::sdk().BCM_FIELD_QSET_INIT( &qset );
    if ( !SDK_AUDIT_CALL( stillSeen, bcm_field_group_get, unit_, group, &qset ) ) {
        return;
    }
    const QualifierSet inHardware = PeloraTcam::getBcmQualifierSet( &qset );
    AGENT_ASSERT( inHardware == qualifiers );
}

bool GroupManager::destroy( bcm_field_group_t group )
{
    auto taken = records_.extract( group );
    if ( !taken ) {
        return false;
    }
    const auto isNoResult = []( int rc ) { return rc != Shim::sdk().BCM_E_BUSY(); };
    int rc = 0;
    try {
        rc =
            judgedCall( apiTraceHandle_, SDK_CALL_SITE( "bcm_field_group_destroy( unit_, group )" ),
                        isNoResult, &Shim::SdkAccess::bcm_field_group_destroy, unit_, group );
    } catch ( ... ) {
        records_.insert( std::move( taken ) );
        throw;
    }
    if ( rc < 0 ) {
        records_.insert( std::move( taken ) );
    }
    return rc >= 0;
}

std::size_t GroupManager::audit() const
{
    std::size_t compared = 0;
    for ( const bcm_field_group_t group : idsOf( records_ ) ) {
        const auto found = records_.find( group );
        if ( found == records_.end() ) {
            continue;
        }
        const Record seen = found->second;
        const auto stillSeen = [ & ] {
            const auto now = records_.find( group );
            return now != records_.end() && now->second.stamp == seen.stamp;
        };
        verify( group, seen.qualifiers, stillSeen );
        compared += stillSeen() ? 1 : 0;
    }
    return compared;
}

const QualifierSet* GroupManager::qualifiers( bcm_field_group_t group ) const
{
    const auto found = records_.find( group );
    return found == records_.end() ? nullptr : &found->second.qualifiers;
}

} // namespace Reference

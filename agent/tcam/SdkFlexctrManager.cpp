#include "agent/tcam/SdkFlexctrManager.h"

#include "agent/base/Assert.h"
#include "sdk/SdkCall.h"

#include <iterator>
#include <utility>

namespace PeloraTcam {

namespace {

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

/// The packet types of the pairs in a set; empty if a type is of no pair.
CounterSet packetTypesOf( const CounterSet& counterSet )
{
    CounterSet packetTypes;
    for ( const auto& [ type, wanted ] : counterSet ) {
        if ( !isByteType( type ) && !isPacketType( type ) ) {
            return {};
        }
        packetTypes.emplace( packetTypeOfPair( type ), wanted );
    }
    return packetTypes;
}

bcm_field_flexctr_config_t configOf( CounterType packetType, const FlexctrCounter& counter )
{
    bcm_field_flexctr_config_t config;
    Shim::sdk().bcm_field_flexctr_config_t_init( &config );
    config.flexctr_action_id = counter.object();
    config.counter_index = counter.index();
    config.color = flexctrColorOf( packetType );
    return config;
}

} // namespace

bcm_flexctr_color_t flexctrColorOf( CounterType packetType )
{
    switch ( packetType ) {
    case CounterType::greenPackets:
        return Shim::sdk().bcmFlexctrColorGreen();
    case CounterType::yellowPackets:
        return Shim::sdk().bcmFlexctrColorYellow();
    case CounterType::redPackets:
        return Shim::sdk().bcmFlexctrColorRed();
    default:
        return Shim::sdk().bcmFlexctrColorAny();
    }
}

SdkFlexctrManager::SdkFlexctrManager( SdkCounterObjectManager& objects, unsigned counterBits )
    : objects_( objects )
    , counterMask_( counterMask( counterBits ) )
{}

SdkFlexctrManager::~SdkFlexctrManager() = default;

SdkFlexctrManager::Record* SdkFlexctrManager::find( const Key& key )
{
    const auto found = records_.find( key );
    return found == records_.end() ? nullptr : &found->second;
}

const FlexctrAllocPerEntry*
SdkFlexctrManager::getFlexctrAllocPerEntry( U32 unit, TcamEntryId entryId, U8 pipe )
{
    const Record* record = find( { unit, entryId, pipe } );
    return record == nullptr ? nullptr : &record->indices;
}

U8 SdkFlexctrManager::getPipe( U8 pipeId, StageType stage )
{
    return stage == StageType::efp ? U8{ 0 } : pipeId;
}

// ---- Attaching and detaching -----------------------------------------------------------------

FlexctrAttachment SdkFlexctrManager::attachFlexctr( U32 unit,
                                                    StageType stage,
                                                    U8 pipe,
                                                    const PeloraCentral::ChipInfo&,
                                                    TcamGroupPriority priority,
                                                    TcamEntryId entryId,
                                                    const CounterSet& counterSet,
                                                    S32 )
{
    const Key key( unit, entryId, getPipe( pipe, stage ) );
    const CounterSet packetTypes = packetTypesOf( counterSet );
    if ( packetTypes.empty() || records_.contains( key ) ) {
        return { FlexctrAttachState::refused };
    }
    Record record;
    record.object = objects_.getCounterObject( unit, stage, pipe, priority );
    if ( record.object == Shim::sdk().BCM_FLEXCTR_INVALID_OBJECT() ||
         !takeIndices( unit, record, packetTypes ) ) {
        return { FlexctrAttachState::noFreeIndex };
    }
    if ( !attachAll( static_cast< int >( unit ), entryId, record ) ) {
        giveIndicesBack( unit, record );
        return { FlexctrAttachState::refused };
    }
    const auto [ place, isNew ] = records_.try_emplace( key, std::move( record ) );
    if ( !isNew ) {
        // Somebody else gave the entry flex counters while the locks were released.
        detachAll( static_cast< int >( unit ), entryId, record );
        giveIndicesBack( unit, record );
        return { FlexctrAttachState::refused };
    }
    return { FlexctrAttachState::complete };
}

/// Takes an index for each packet type; none if they do not suffice.
bool SdkFlexctrManager::takeIndices( U32 unit, Record& record, const CounterSet& packetTypes )
{
    IdPool& free = objects_.indices( unit, record.object );
    if ( free.size() - free.allocated() < packetTypes.size() ) {
        return false;
    }
    for ( const auto& [ type, wanted ] : packetTypes ) {
        const U32 index = free.allocate();
        record.indices.emplace( type, index );
        record.counters.emplace(
            type, Agent::Ptr< FlexctrCounter >( new FlexctrCounter( record.object, index ) ) );
    }
    return true;
}

void SdkFlexctrManager::giveIndicesBack( U32 unit, const Record& record )
{
    for ( const auto& [ type, index ] : record.indices ) {
        objects_.indices( unit, record.object ).free( index );
    }
}

/// Attaches the entry to all its counters, each set to 0 before: an entry that had it earlier may
/// have left something in it. When the SDK refuses one, those before it are detached again.
bool SdkFlexctrManager::attachAll( int unit, TcamEntryId entryId, Record& record )
{
    const auto entry = static_cast< bcm_field_entry_t >( entryId );
    for ( const auto& [ type, counter ] : record.counters ) {
        Shim::checkedCall( apiTraceHandle_,
                           SDK_CALL_SITE( "bcm_flexctr_stat_set( unit, object, index, &zero )" ),
                           [ &, &cleared = *counter ] { return cleared.clear( unit ); } );
        bcm_field_flexctr_config_t config = configOf( type, *counter );
        const int rc = SDK_TRACED_CALL( bcm_field_entry_flexctr_attach, unit, entry, &config );
        if ( rc < 0 ) {
            detachAll( unit, entryId, record );
            return false;
        }
        ++record.attached;
    }
    return true;
}

/// Detaches the entry from the counters that it is attached to, the last of them first.
void SdkFlexctrManager::detachAll( int unit, TcamEntryId entryId, Record& record )
{
    const auto entry = static_cast< bcm_field_entry_t >( entryId );
    auto next =
        std::next( record.counters.begin(), static_cast< std::ptrdiff_t >( record.attached ) );
    while ( record.attached != 0 ) {
        --next;
        bcm_field_flexctr_config_t config = configOf( next->first, *next->second );
        SDK_CHECKED_CALL( bcm_field_entry_flexctr_detach, unit, entry, &config );
        --record.attached;
    }
}

void SdkFlexctrManager::detachFlexctr( U32 unit,
                                       StageType stage,
                                       U8 pipe,
                                       const PeloraCentral::ChipInfo&,
                                       TcamGroupPriority,
                                       TcamEntryId entryId )
{
    const auto found = records_.find( { unit, entryId, getPipe( pipe, stage ) } );
    AGENT_ASSERT( found != records_.end() && "entry has no flex counters" );
    // Taken out first: nobody finds a record while the locks are released that is going away.
    auto taken = records_.extract( found );
    try {
        detachAll( static_cast< int >( unit ), entryId, taken.mapped() );
    } catch ( ... ) {
        records_.insert( std::move( taken ) );
        throw;
    }
    giveIndicesBack( unit, taken.mapped() );
}

// ---- Reading and clearing --------------------------------------------------------------------

void SdkFlexctrManager::getFlexctr( U32 unit,
                                    StageType stage,
                                    U8 pipe,
                                    const PeloraCentral::ChipInfo&,
                                    TcamEntryId entryId,
                                    CounterType counterType,
                                    U64& packets,
                                    U64& bytes )
{
    packets = 0;
    bytes = 0;
    const Record* record = find( { unit, entryId, getPipe( pipe, stage ) } );
    if ( record == nullptr ) {
        return;
    }
    const auto found = record->counters.find( counterType );
    if ( found == record->counters.end() ) {
        return;
    }
    // Held: the record may go while the locks are released.
    const Agent::Ptr< FlexctrCounter > counter = found->second;
    Shim::tracedCall(
        apiTraceHandle_, SDK_CALL_SITE( "bcm_flexctr_stat_get( unit, object, index, &value )" ),
        [ & ] {
            return counter->read( static_cast< int >( unit ), counterMask_, packets, bytes );
        } );
}

void SdkFlexctrManager::clearFlexctr( U32 unit,
                                      StageType stage,
                                      U8 pipe,
                                      const PeloraCentral::ChipInfo&,
                                      TcamEntryId entryId,
                                      bool inHardware )
{
    const Record* record = find( { unit, entryId, getPipe( pipe, stage ) } );
    if ( record == nullptr ) {
        return;
    }
    const int sdkUnit = static_cast< int >( unit );
    // A copy: the record may go while the locks are released.
    const auto counters = record->counters;
    for ( const auto& [ type, held ] : counters ) {
        FlexctrCounter& counter = *held;
        if ( inHardware ) {
            Shim::checkedCall(
                apiTraceHandle_,
                SDK_CALL_SITE( "bcm_flexctr_stat_set( unit, object, index, &zero )" ),
                [ & ] { return counter.clear( sdkUnit ); } );
        } else {
            Shim::tracedCall(
                apiTraceHandle_,
                SDK_CALL_SITE( "bcm_flexctr_stat_get( unit, object, index, &value )" ),
                [ & ] { return counter.restart( sdkUnit, counterMask_ ); } );
        }
    }
}

} // namespace PeloraTcam

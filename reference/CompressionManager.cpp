#include "reference/CompressionManager.h"

#include "agent/base/Assert.h"
#include "reference/QualifierReading.h"
#include "sdk/SdkCall.h"

#include <algorithm>

namespace Reference {

using PeloraTcam::CompressionData;
using PeloraTcam::CompressionKey;
using PeloraTcam::IpAddress;
using Table = PeloraTcam::PeloraCompressionTableType;

namespace {

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

constexpr std::array< Table, 6 > allTables = { Table::etherType, Table::ipProto, Table::l4SrcPort,
                                               Table::l4DstPort, Table::srcIp,   Table::dstIp };

bool isAddressTable( Table table )
{
    return table == Table::srcIp || table == Table::dstIp;
}

Agent::U32 addressBits( const IpAddress& address )
{
    return address.isV6() ? 128 : 32;
}

/// The prefix of an address, with zeros behind its length.
CompressionKey prefixOf( const IpAddress& address, Agent::U32 length )
{
    if ( !address.isV6() ) {
        return { IpAddress::v4( address.value() & PeloraTcam::ip4PrefixMask( length ) ), length };
    }
    IpAddress::Bytes bytes = address.bytes();
    bcm_ip6_t mask;
    PeloraTcam::ip6PrefixMask( length, mask );
    for ( std::size_t i = 0; i < bytes.size(); ++i ) {
        bytes[ i ] = static_cast< Agent::U8 >( bytes[ i ] & mask[ i ] );
    }
    return { IpAddress::v6( bytes ), length };
}

/// The key as the chip sees it: equal ones are one value.
CompressionKey asProgrammed( Table table, const CompressionKey& key )
{
    if ( isAddressTable( table ) ) {
        const Agent::U32 bits = addressBits( key.getIpAddress() );
        return prefixOf( key.getIpAddress(), std::min( key.prefixLength(), bits ) );
    }
    const Agent::U32 mask = table == Table::ipProto ? 0xFF : 0xFFFF;
    return CompressionKey( key.getU32Key() & mask );
}

/// The class id that is wanted, which is free, or the lowest free one.
Agent::U32 takeClassId( PeloraTcam::IdPool& pool, std::optional< Agent::U32 > wanted )
{
    if ( !wanted ) {
        return pool.allocate();
    }
    pool.allocate( *wanted );
    return *wanted;
}

} // namespace

CompressionLimitsByTable sameLimits( const CompressionLimits& limits )
{
    CompressionLimitsByTable all;
    for ( const Table table : allTables ) {
        all.emplace( table, limits );
    }
    return all;
}

CompressionManager::CompressionManager(
    Agent::Ptr< PeloraTcam::PeloraTcamCompressionHelperBase > helper,
    const CompressionLimitsByTable& limits )
    : helper_( std::move( helper ) )
{
    for ( const auto& [ table, limit ] : limits ) {
        if ( TableState* const state = stateOf( table ) ) {
            state->capacity = limit.entries;
            state->classIds = PeloraTcam::IdPool( limit.firstClassId, limit.classIds );
        }
    }
}

int CompressionManager::unit() const
{
    return PeloraTcam::sdkUnit( helper_->fapId() );
}

CompressionManager::Place CompressionManager::placeOf( Table table, const Key& key )
{
    return { table, asProgrammed( table, key ) };
}

CompressionManager::TableState* CompressionManager::stateOf( Table table ) const
{
    const auto index = static_cast< std::size_t >( table );
    return index < tables_.size() ? &tables_[ index ] : nullptr;
}

// ---- Values ----------------------------------------------------------------------------------

class CompressionManager::Reservation
{
  public:
    Reservation( TableState& state, const Place& place, std::optional< Agent::U32 > wanted )
        : state_( state )
        , place_( place )
        , classId_( takeClassId( state.classIds, wanted ) )
    {
        ++state.used;
        if ( isAddressTable( place.table ) ) {
            state.prefixes.insert( { place.key.getIpAddress(), place.key.prefixLength() } );
        }
    }

    Reservation( const Reservation& ) = delete;
    Reservation& operator=( const Reservation& ) = delete;

    ~Reservation()
    {
        if ( !isKept_ ) {
            undo( state_, place_, classId_ );
        }
    }

    static void undo( TableState& state, const Place& place, Agent::U32 classId )
    {
        state.classIds.free( classId );
        --state.used;
        if ( isAddressTable( place.table ) ) {
            state.prefixes.erase( { place.key.getIpAddress(), place.key.prefixLength() } );
        }
    }

    [[nodiscard]] Agent::U32 classId() const { return classId_; }

    /// The value is in the chip.
    void keep() { isKept_ = true; }

  private:
    TableState& state_;
    const Place& place_;
    const Agent::U32 classId_;
    bool isKept_ = false;
};

auto CompressionManager::givingBack() const
{
    return [ this ]( Record& record ) { giveBack( record ); };
}

CompressionClass CompressionManager::oneMoreUser( Record& record )
{
    ++record.users;
    return { record.id, record.value.classId, record.key.table, false };
}

std::optional< CompressionClass > CompressionManager::shareClass( Table table, const Key& key )
{
    Record* const record = records_.shared( placeOf( table, key ) );
    return record == nullptr ? std::nullopt : std::optional( oneMoreUser( *record ) );
}

std::optional< Agent::U32 >
CompressionManager::acquire( Table table, const Key& key, std::optional< Agent::U32 > wanted )
{
    const auto taken = acquireClass( table, key, wanted );
    return taken ? std::optional( taken->classId ) : std::nullopt;
}

std::optional< CompressionClass >
CompressionManager::acquireClass( Table table, const Key& key, std::optional< Agent::U32 > wanted )
{
    const Place place = placeOf( table, key );
    for ( ;; ) {
        if ( Record* const equal = records_.shared( place ) ) {
            if ( wanted && *wanted != equal->value.classId ) {
                return std::nullopt;
            }
            return oneMoreUser( *equal );
        }
        const bool hasRoom = room( table ) == CompressionRoom::free &&
                             ( !wanted || stateOf( table )->classIds.isFree( *wanted ) );
        if ( !hasRoom ) {
            if ( !records_.waitForAnEqual( place ) ) {
                return std::nullopt;
            }
        } else if ( const auto made = make( place, wanted ) ) {
            return made;
        }
    }
}

/// The class of a new value, for which there is room. Nothing when another thread has had an equal
/// one made meanwhile, which is to be shared.
std::optional< CompressionClass > CompressionManager::make( const Place& place,
                                                            std::optional< Agent::U32 > wanted )
{
    Reservation reserved( *stateOf( place.table ), place, wanted );
    const Agent::U32 classId = reserved.classId();
    Agent::U64 entryId = 0;
    {
        const Records::Making making( records_, place );
        entryId =
            helper_->getFieldCompressionEntry( CompressionData( place.key ), classId, place.table );
    }
    reserved.keep();
    const bool isNewId = records_.find( entryId ) == nullptr;
    AGENT_ASSERT( isNewId && "the SDK gave an id that is in use" );
    const bool isAdded = records_.add( { entryId, place, { classId } }, givingBack() );
    return isAdded ? std::optional( CompressionClass{ entryId, classId, place.table, true } )
                   : std::nullopt;
}

bool CompressionManager::release( Table table, const Key& key )
{
    // One that could not be given back first: whoever tries again means that.
    const Record* const record = find( table, key );
    return record != nullptr && records_.release( record->id, givingBack() );
}

/// An exception may have lost the record, and the SDK given its id to another entry; the class id
/// is not given to another one then.
bool CompressionManager::release( const CompressionClass& taken )
{
    const Record* const record = records_.find( taken.entryId );
    return record != nullptr && record->key.table == taken.table &&
           record->value.classId == taken.classId &&
           records_.release( taken.entryId, givingBack() );
}

/// Each step is noted as soon as the chip has made it: after an exception the entry is given back
/// from where it was left.
void CompressionManager::giveBack( Record& record ) const
{
    if ( !record.value.takenOut ) {
        helper_->releaseFieldCompressionEntry( record.id, record.key.table );
        record.value.takenOut = true;
        record.isShared = false;
    }
    const auto entry = static_cast< bcm_field_entry_t >( record.id );
    SDK_CHECKED_CALL( bcm_field_entry_destroy, unit(), entry );
    Reservation::undo( *stateOf( record.key.table ), record.key, record.value.classId );
}

CompressionRoom CompressionManager::room( Table table ) const
{
    const TableState* const state = stateOf( table );
    if ( state == nullptr || state->used >= state->capacity ) {
        return CompressionRoom::noEntry;
    }
    return state->classIds.canAllocate() ? CompressionRoom::free : CompressionRoom::noClassId;
}

bool CompressionManager::overlapsAnother( Table table, const Key& key ) const
{
    if ( !isAddressTable( table ) ) {
        return false;
    }
    const Key value = asProgrammed( table, key );
    return stateOf( table )->prefixes.overlapsAnother(
        { value.getIpAddress(), value.prefixLength() } );
}

// ---- Looking ---------------------------------------------------------------------------------

const CompressionManager::Record* CompressionManager::find( Table table, const Key& key ) const
{
    const Place place = placeOf( table, key );
    const Record* const withheld = records_.withheld( place );
    return withheld != nullptr ? withheld : records_.shared( place );
}

std::size_t CompressionManager::size( Table table ) const
{
    const TableState* const state = stateOf( table );
    return state == nullptr ? 0 : state->used;
}

std::optional< Agent::U32 > CompressionManager::classId( Table table, const Key& key ) const
{
    const Record* const record = records_.shared( placeOf( table, key ) );
    return record == nullptr ? std::nullopt : std::optional( record->value.classId );
}

std::size_t CompressionManager::users( Table table, const Key& key ) const
{
    const Record* const record = find( table, key );
    return record == nullptr ? 0 : record->users;
}

std::size_t CompressionManager::PlaceHash::operator()( const Place& place ) const
{
    const Key& key = place.key;
    const IpAddress& address = key.getIpAddress();
    std::size_t hash = mixed( static_cast< std::size_t >( place.table ), key.getU32Key() );
    hash = mixed( hash, std::size_t{ address.value() } << 8 | key.prefixLength() );
    if ( address.isV6() ) {
        for ( const Agent::U8 byte : address.bytes() ) {
            hash = mixed( hash, byte );
        }
    }
    return hash;
}

// ---- Audit -----------------------------------------------------------------------------------

std::size_t CompressionManager::audit() const
{
    const auto verifying = [ this ]( const Record& record ) { return verify( record ); };
    return records_.audit( verifying, givingBack() );
}

/// False for what is out of the hardware and could not be destroyed.
bool CompressionManager::verify( const Record& record ) const
{
    if ( record.value.takenOut ) {
        return false;
    }
    const auto entry = static_cast< bcm_field_entry_t >( record.id );
    int installed = 0;
    SDK_CHECKED_CALL( bcm_field_entry_installed_get, unit(), entry, &installed );
    AGENT_ASSERT( installed && "the entry is not in the hardware" );
    const bcm_field_action_t action = Shim::sdk().bcmFieldActionClassSet();
    Agent::U32 classId = 0;
    Agent::U32 unused = 0;
    SDK_CHECKED_CALL( bcm_field_action_get, unit(), entry, action, &classId, &unused );
    AGENT_ASSERT( classId == record.value.classId );
    verifyValue( record.key.table, record.key.key, entry );
    return true;
}

void CompressionManager::verifyValue( Table table, const Key& key, bcm_field_entry_t entry ) const
{
    const auto number = static_cast< Agent::U16 >( key.getU32Key() );
    const IpPrefix prefix{ key.getIpAddress(), key.prefixLength() };
    switch ( table ) {
    case Table::etherType:
        return verifyEtherType( unit(), entry, { number, 0xFFFF } );
    case Table::ipProto:
        return verifyProtocol( unit(), entry, { static_cast< Agent::U8 >( number ), 0xFF } );
    case Table::l4SrcPort:
        return verifySourcePort( unit(), entry, { number, 0xFFFF } );
    case Table::l4DstPort:
        return verifyDestinationPort( unit(), entry, { number, 0xFFFF } );
    case Table::srcIp:
        return verifySource( unit(), entry, prefix );
    case Table::dstIp:
        return verifyDestination( unit(), entry, prefix );
    case Table::invalid:
        break;
    }
    AGENT_ASSERT( false && "there is no such table" );
}

} // namespace Reference

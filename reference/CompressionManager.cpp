#include "reference/CompressionManager.h"

#include "agent/base/Assert.h"
#include "reference/QualifierReading.h"
#include "sdk/SdkCall.h"

#include <algorithm>
#include <array>

namespace Reference {

using PeloraTcam::CompressionData;
using PeloraTcam::CompressionKey;
using PeloraTcam::IpAddress;
using Table = PeloraTcam::PeloraCompressionTableType;

namespace {

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

constexpr std::array< Table, 6 > allTables = { Table::etherType,
                                               Table::ipProto,
                                               Table::l4SrcPort,
                                               Table::l4DstPort,
                                               Table::srcIp,
                                               Table::dstIp };

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
        tables_[ table ] = {
            limit.entries, 0, PeloraTcam::IdPool( limit.firstClassId, limit.classIds ) };
    }
}

int CompressionManager::unit() const
{
    return PeloraTcam::sdkUnit( helper_->fapId() );
}

// ---- Values ----------------------------------------------------------------------------------

std::optional< Agent::U32 >
CompressionManager::acquire( Table table, const Key& key, std::optional< Agent::U32 > wanted )
{
    const Key value = asProgrammed( table, key );
    const auto shared = records_.find( { table, value } );
    if ( shared != records_.end() ) {
        if ( wanted && *wanted != shared->second.classId ) {
            return std::nullopt;
        }
        ++shared->second.users;
        return shared->second.classId;
    }
    if ( room( table ) != CompressionRoom::free ) {
        return std::nullopt;
    }
    TableState& state = tables_.at( table );
    if ( wanted && !state.classIds.isFree( *wanted ) ) {
        return std::nullopt;
    }
    const Agent::U32 classId = takeClassId( state.classIds, wanted );
    Agent::U64 entryId = 0;
    try {
        entryId = helper_->getFieldCompressionEntry( CompressionData( value ), classId, table );
    } catch ( ... ) {
        state.classIds.free( classId );
        throw;
    }
    ++state.used;
    const bool isNew =
        records_.emplace( std::pair( table, value ), Record{ classId, entryId, 1, false } ).second;
    AGENT_ASSERT( isNew && "the value was given a class while the SDK was called" );
    return classId;
}

bool CompressionManager::release( Table table, const Key& key )
{
    const Key value = asProgrammed( table, key );
    const auto found = records_.find( { table, value } );
    if ( found == records_.end() ) {
        return false;
    }
    if ( found->second.users > 1 ) {
        --found->second.users;
        return true;
    }
    // Forgotten only once the chip has it back: after an exception it is released where it was
    // left. The calls let go of the activity lock, so nothing found before is used after them.
    const Record record = found->second;
    const auto entry = static_cast< bcm_field_entry_t >( record.entryId );
    if ( !record.takenOut ) {
        helper_->releaseFieldCompressionEntry( record.entryId, table );
        records_.at( { table, value } ).takenOut = true;
    }
    SDK_CHECKED_CALL( bcm_field_entry_destroy, unit(), entry );
    records_.erase( { table, value } );
    TableState& state = tables_.at( table );
    state.classIds.free( record.classId );
    --state.used;
    return true;
}

CompressionRoom CompressionManager::room( Table table ) const
{
    const auto found = tables_.find( table );
    if ( found == tables_.end() || found->second.used >= found->second.capacity ) {
        return CompressionRoom::noEntry;
    }
    return found->second.classIds.canAllocate() ? CompressionRoom::free
                                                : CompressionRoom::noClassId;
}

bool CompressionManager::overlapsAnother( Table table, const Key& key ) const
{
    if ( !isAddressTable( table ) ) {
        return false;
    }
    const Key value = asProgrammed( table, key );
    const IpAddress& address = value.getIpAddress();
    // Those that lie in it stand behind the shortest prefix of its address.
    const auto isInside = [ & ]( const Key& other ) {
        return other.getIpAddress().isV6() == address.isV6() &&
               prefixOf( other.getIpAddress(), value.prefixLength() ) == value;
    };
    for ( auto row = records_.lower_bound( { table, Key( address, 0 ) } );
          row != records_.end() && row->first.first == table && isInside( row->first.second );
          ++row ) {
        if ( row->first.second != value ) {
            return true;
        }
    }
    for ( Agent::U32 length = 0; length < value.prefixLength(); ++length ) {
        if ( records_.contains( { table, prefixOf( address, length ) } ) ) {
            return true;
        }
    }
    return false;
}

// ---- Looking ---------------------------------------------------------------------------------

const CompressionManager::Record* CompressionManager::find( Table table, const Key& key ) const
{
    const auto found = records_.find( { table, asProgrammed( table, key ) } );
    return found == records_.end() ? nullptr : &found->second;
}

std::size_t CompressionManager::size( Table table ) const
{
    const auto found = tables_.find( table );
    return found == tables_.end() ? 0 : found->second.used;
}

std::optional< Agent::U32 > CompressionManager::classId( Table table, const Key& key ) const
{
    const Record* record = find( table, key );
    return record == nullptr ? std::nullopt : std::optional( record->classId );
}

std::size_t CompressionManager::users( Table table, const Key& key ) const
{
    const Record* record = find( table, key );
    return record == nullptr ? 0 : record->users;
}

// ---- Audit -----------------------------------------------------------------------------------

std::size_t CompressionManager::audit() const
{
    // Over a copy: each call lets go of the activity lock, and records may come and go meanwhile.
    const Records records = records_;
    for ( const auto& [ where, record ] : records ) {
        verify( where.first, where.second, record );
    }
    return records.size();
}

void CompressionManager::verify( Table table, const Key& key, const Record& record ) const
{
    const auto entry = static_cast< bcm_field_entry_t >( record.entryId );
    int installed = 0;
    SDK_CHECKED_CALL( bcm_field_entry_installed_get, unit(), entry, &installed );
    AGENT_ASSERT( installed && "the entry is not in the hardware" );
    const bcm_field_action_t action = Shim::sdk_->bcmFieldActionClassSet();
    Agent::U32 classId = 0;
    Agent::U32 unused = 0;
    SDK_CHECKED_CALL( bcm_field_action_get, unit(), entry, action, &classId, &unused );
    AGENT_ASSERT( classId == record.classId );
    verifyValue( table, key, entry );
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

#include "sim/chip/SimField.h"

#include "sim/values/ReturnCode.h"

#include <algorithm>
#include <cstddef>

namespace Sim {

namespace {

bool isPreselector( bcm_field_entry_t entry )
{
    return entry >= SimField::preselectorBit;
}

bcm_field_presel_t preselectorOf( bcm_field_entry_t entry )
{
    return entry & ~SimField::preselectorBit;
}

MaskedBytes maskedBytes( const uint8_t* data, const uint8_t* mask, int length )
{
    return { { data, data + length }, { mask, mask + length } };
}

} // namespace

SimField::SimField( const SdkNumbering& numbering, const ChipProfile::Field& capacities )
    : groups_( numbering, capacities.groups )
    , entries_( numbering, groups_, { capacities.entriesPerGroup, capacities.compressionEntries } )
    , preselectors_( numbering, capacities.preselectors )
{
    groups_.useChecks().add(
        [ this ]( bcm_field_group_t group ) { return entries_.countIn( group ) > 0; } );
}

int SimField::qualify( bcm_field_entry_t entry,
                       const FieldQualifier& qualifier,
                       const FieldMatch& match )
{
    if ( !isPreselector( entry ) ) {
        return entries_.qualify( entry, qualifier.number, match );
    }
    if ( qualifier.users == FieldQualifier::entries ) {
        return refusalOfPreselector( entry );
    }
    return preselectors_.qualify( preselectorOf( entry ), qualifier.number, match );
}

int SimField::qualifyBytes( bcm_field_entry_t entry,
                            const FieldQualifier& qualifier,
                            int length,
                            const uint8_t* data,
                            const uint8_t* mask )
{
    if ( data == nullptr || mask == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    return qualify( entry, qualifier, maskedBytes( data, mask, length ) );
}

int SimField::qualifyPorts( bcm_field_entry_t entry,
                            const FieldQualifier& qualifier,
                            const _shr_pbmp* data,
                            const _shr_pbmp* mask )
{
    if ( data == nullptr || mask == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    return qualify( entry, qualifier, maskedPorts( *data, *mask ) );
}

int SimField::qualifySourceClasses( bcm_field_entry_t entry,
                                    const bcm_field_src_class_t* data,
                                    const bcm_field_src_class_t* mask )
{
    return isPreselector( entry )
               ? preselectors_.qualifySourceClasses( preselectorOf( entry ), data, mask )
               : entries_.qualifySourceClasses( entry, data, mask );
}

int SimField::qualifyUdf( bcm_field_entry_t entry,
                          bcm_udf_id_t udfId,
                          int length,
                          const uint8_t* data,
                          const uint8_t* mask )
{
    if ( data == nullptr || mask == nullptr || udfId <= 0 || length <= 0 ||
         length > FieldCriteria::longestUdf ) {
        return ReturnCode::BCM_E_PARAM;
    }
    if ( isPreselector( entry ) ) {
        return refusalOfPreselector( entry );
    }
    return entries_.qualifyUdf( entry, udfId, maskedBytes( data, mask, length ) );
}

int SimField::getUdf( bcm_field_entry_t entry,
                      bcm_udf_id_t udfId,
                      int maxLength,
                      uint8_t* data,
                      uint8_t* mask,
                      int* actualLength ) const
{
    if ( data == nullptr || mask == nullptr || actualLength == nullptr || maxLength <= 0 ) {
        return ReturnCode::BCM_E_PARAM;
    }
    if ( isPreselector( entry ) ) {
        return refusalOfPreselector( entry );
    }
    const FieldEntry* found = entries_.find( entry );
    const MaskedBytes* match = found == nullptr ? nullptr : found->criteria.udf( udfId );
    if ( match == nullptr ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    const auto length = static_cast< int >( match->data.size() );
    const auto copied = static_cast< size_t >( std::min( length, maxLength ) );
    std::copy_n( match->data.begin(), copied, data );
    std::copy_n( match->mask.begin(), copied, mask );
    *actualLength = length;
    return ReturnCode::BCM_E_NONE;
}

int SimField::refusalOfPreselector( bcm_field_entry_t entry ) const
{
    return preselectors_.has( preselectorOf( entry ) ) ? ReturnCode::BCM_E_UNAVAIL
                                                       : ReturnCode::BCM_E_NOT_FOUND;
}

void SimField::addTo( ChipSnapshot& snapshot ) const
{
    groups_.addTo( snapshot );
    entries_.addTo( snapshot );
    preselectors_.addTo( snapshot );
}

SimField::State SimField::state() const
{
    return { groups_.state(), entries_.state(), preselectors_.state() };
}

void SimField::stateIs( const State& state )
{
    groups_.stateIs( state.groups );
    entries_.stateIs( state.entries );
    preselectors_.stateIs( state.preselectors );
}

} // namespace Sim

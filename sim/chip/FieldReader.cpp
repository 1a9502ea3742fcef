#include "sim/chip/FieldReader.h"

#include <algorithm>

namespace Sim {

int FieldReader::bytes( bcm_field_entry_t entry,
                        bcm_field_qualify_t qualifier,
                        uint8_t* data,
                        uint8_t* mask ) const
{
    return read< MaskedBytes >( entry, qualifier, data != nullptr && mask != nullptr,
                                [ & ]( const MaskedBytes& match ) {
                                    std::ranges::copy( match.data, data );
                                    std::ranges::copy( match.mask, mask );
                                } );
}

int FieldReader::ports( bcm_field_entry_t entry,
                        bcm_field_qualify_t qualifier,
                        _shr_pbmp* data,
                        _shr_pbmp* mask ) const
{
    return read< MaskedPorts >( entry, qualifier, data != nullptr && mask != nullptr,
                                [ & ]( const MaskedPorts& match ) {
                                    std::ranges::copy( match.data, data->pbits.begin() );
                                    std::ranges::copy( match.mask, mask->pbits.begin() );
                                } );
}

int FieldReader::sourceClasses( bcm_field_entry_t entry,
                                bcm_field_src_class_t* data,
                                bcm_field_src_class_t* mask ) const
{
    if ( data == nullptr || mask == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const FieldEntry* found = entries_.find( entry );
    if ( found == nullptr ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    found->criteria.sourceClasses( numbering_, *data, *mask );
    return ReturnCode::BCM_E_NONE;
}

int FieldReader::ranges( bcm_field_entry_t entry,
                         int maxRanges,
                         uint32_t* rangeIds,
                         int* inverts,
                         int* actualRanges ) const
{
    if ( rangeIds == nullptr || inverts == nullptr || actualRanges == nullptr || maxRanges <= 0 ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const FieldEntry* found = entries_.find( entry );
    if ( found == nullptr ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    int position = 0;
    for ( const auto& [ rangeId, inverted ] : found->criteria.ranges() ) {
        if ( position < maxRanges ) {
            rangeIds[ position ] = rangeId;
            inverts[ position ] = inverted ? 1 : 0;
        }
        ++position;
    }
    *actualRanges = position;
    return ReturnCode::BCM_E_NONE;
}

int FieldReader::priority( bcm_field_entry_t entry, int* priority ) const
{
    if ( priority == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const FieldEntry* found = entries_.find( entry );
    if ( found == nullptr ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    *priority = found->priority;
    return ReturnCode::BCM_E_NONE;
}

int FieldReader::action( bcm_field_entry_t entry,
                         bcm_field_action_t action,
                         uint32_t* param0,
                         uint32_t* param1 ) const
{
    if ( param0 == nullptr || param1 == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const FieldEntry* found = entries_.find( entry );
    if ( found == nullptr || !found->actions.contains( action ) ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    *param0 = found->actions.at( action ).param0;
    *param1 = found->actions.at( action ).param1;
    return ReturnCode::BCM_E_NONE;
}

int FieldReader::policer( bcm_field_entry_t entry, int level, bcm_policer_t* policerId ) const
{
    if ( policerId == nullptr || level < 0 || level >= SimFieldEntries::policerLevels ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const FieldEntry* found = entries_.find( entry );
    if ( found == nullptr || !found->policers.contains( level ) ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    *policerId = found->policers.at( level );
    return ReturnCode::BCM_E_NONE;
}

int FieldReader::installed( bcm_field_entry_t entry, int* installed ) const
{
    if ( installed == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const FieldEntry* found = entries_.find( entry );
    if ( found == nullptr ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    *installed = found->hardware == FieldEntry::Hardware::current ? 1 : 0;
    return ReturnCode::BCM_E_NONE;
}

} // namespace Sim

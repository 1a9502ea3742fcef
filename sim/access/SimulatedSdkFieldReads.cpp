// The SDK functions that read field entries back.

#include "sim/access/SimulatedSdk.h"
#include "sim/chip/FieldReader.h"

namespace Sim {

namespace {

FieldReader readerOf( const SdkNumbering& numbering, const SimulatedChip& chip )
{
    return FieldReader( numbering, chip.field().entries() );
}

} // namespace

int SimulatedSdk::bcm_field_entry_installed_get( int unit, bcm_field_entry_t entry, int* installed )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) {
        return readerOf( numbering(), found ).installed( entry, installed );
    } );
}

int SimulatedSdk::bcm_field_entry_prio_get( int unit, bcm_field_entry_t entry, int* priority )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) {
        return readerOf( numbering(), found ).priority( entry, priority );
    } );
}

int SimulatedSdk::bcm_field_entry_policer_get( int unit,
                                               bcm_field_entry_t entry,
                                               int level,
                                               bcm_policer_t* policerId )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) {
        return readerOf( numbering(), found ).policer( entry, level, policerId );
    } );
}

int SimulatedSdk::bcm_field_action_get( int unit,
                                        bcm_field_entry_t entry,
                                        bcm_field_action_t action,
                                        uint32_t* param0,
                                        uint32_t* param1 )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) {
        return readerOf( numbering(), found ).action( entry, action, param0, param1 );
    } );
}

#define FIELD_NUMBER_READ( name, type )                                                            \
    int SimulatedSdk::bcm_field_qualify_##name##_get( int unit, bcm_field_entry_t entry,           \
                                                      type* data, type* mask )                     \
    {                                                                                              \
        return onChip( unit, [ & ]( SimulatedChip& found ) {                                       \
            return readerOf( numbering(), found )                                                  \
                .number( entry, numbering().bcmFieldQualify##name, data, mask );                   \
        } );                                                                                       \
    }
#define FIELD_NAMED_READ( name, type )                                                             \
    int SimulatedSdk::bcm_field_qualify_##name##_get( int unit, bcm_field_entry_t entry,           \
                                                      type* value )                                \
    {                                                                                              \
        return onChip( unit, [ & ]( SimulatedChip& found ) {                                       \
            return readerOf( numbering(), found )                                                  \
                .enumerator( entry, numbering().bcmFieldQualify##name, value );                    \
        } );                                                                                       \
    }
#define FIELD_BYTES_READ( name, type )                                                             \
    int SimulatedSdk::bcm_field_qualify_##name##_get( int unit, bcm_field_entry_t entry,           \
                                                      uint8_t* data, uint8_t* mask )               \
    {                                                                                              \
        return onChip( unit, [ & ]( SimulatedChip& found ) {                                       \
            return readerOf( numbering(), found )                                                  \
                .bytes( entry, numbering().bcmFieldQualify##name, data, mask );                    \
        } );                                                                                       \
    }
#define FIELD_PORTS_READ( name )                                                                   \
    int SimulatedSdk::bcm_field_qualify_##name##_get( int unit, bcm_field_entry_t entry,           \
                                                      _shr_pbmp* data, _shr_pbmp* mask )           \
    {                                                                                              \
        return onChip( unit, [ & ]( SimulatedChip& found ) {                                       \
            return readerOf( numbering(), found )                                                  \
                .ports( entry, numbering().bcmFieldQualify##name, data, mask );                    \
        } );                                                                                       \
    }
#include "sim/access/FieldQualifiers.def"

int SimulatedSdk::bcm_field_qualify_RangeCheck_get( int unit,
                                                    bcm_field_entry_t entry,
                                                    int maxRanges,
                                                    uint32_t* rangeIds,
                                                    int* inverts,
                                                    int* actualRanges )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) {
        return readerOf( numbering(), found )
            .ranges( entry, maxRanges, rangeIds, inverts, actualRanges );
    } );
}

int SimulatedSdk::bcm_field_qualify_SrcClass_get( int unit,
                                                  bcm_field_entry_t entry,
                                                  bcm_field_src_class_t* data,
                                                  bcm_field_src_class_t* mask )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) {
        return readerOf( numbering(), found ).sourceClasses( entry, data, mask );
    } );
}

} // namespace Sim

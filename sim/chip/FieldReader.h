#pragma once

/// What the SDK tells of an entry: its qualifiers, priority, actions, policers, and whether the
/// hardware holds it.
///
/// Operations answer as the SDK does: BCM_E_PARAM if a pointer is null, BCM_E_NOT_FOUND if there is
/// no entry of that id or if it does not have what is asked for. Preselectors are not read.

#include "sim/chip/SimFieldEntries.h"
#include "sim/values/ReturnCode.h"

#include <cstdint>
#include <variant>

namespace Sim {

class FieldReader
{
  public:
    /// Numbering and entries must outlive this.
    FieldReader( const SdkNumbering& numbering, const SimFieldEntries& entries )
        : numbering_( numbering )
        , entries_( entries )
    {}

    /// A qualifier with a number.
    template< class Number >
    int number( bcm_field_entry_t entry,
                bcm_field_qualify_t qualifier,
                Number* data,
                Number* mask ) const
    {
        return read< MaskedNumber >( entry, qualifier, data != nullptr && mask != nullptr,
                                     [ & ]( const auto& match ) {
                                         *data = static_cast< Number >( match.data );
                                         *mask = static_cast< Number >( match.mask );
                                     } );
    }

    /// A qualifier with one of the SDK's enumerators.
    template< class Enumeration >
    int
    enumerator( bcm_field_entry_t entry, bcm_field_qualify_t qualifier, Enumeration* value ) const
    {
        return read< NamedValue >( entry, qualifier, value != nullptr, [ & ]( const auto& match ) {
            *value = static_cast< Enumeration >( match.number );
        } );
    }

    /// A qualifier with a value of bytes, as many as it was set with.
    int bytes( bcm_field_entry_t entry,
               bcm_field_qualify_t qualifier,
               uint8_t* data,
               uint8_t* mask ) const;

    /// A qualifier with a set of ports.
    int ports( bcm_field_entry_t entry,
               bcm_field_qualify_t qualifier,
               _shr_pbmp* data,
               _shr_pbmp* mask ) const;

    /// The source classes; those that the entry does not ask for have no mask.
    int sourceClasses( bcm_field_entry_t entry,
                       bcm_field_src_class_t* data,
                       bcm_field_src_class_t* mask ) const;

    /// The range checkers, by their ids: at most maxRanges of them; actualRanges is how many
    /// there are, which may be 0. Answers BCM_E_PARAM if maxRanges is not above 0, too.
    int ranges( bcm_field_entry_t entry,
                int maxRanges,
                uint32_t* rangeIds,
                int* inverts,
                int* actualRanges ) const;

    int priority( bcm_field_entry_t entry, int* priority ) const;

    int action( bcm_field_entry_t entry,
                bcm_field_action_t action,
                uint32_t* param0,
                uint32_t* param1 ) const;

    /// The policer of a level; BCM_E_PARAM if there is no such level, too.
    int policer( bcm_field_entry_t entry, int level, bcm_policer_t* policerId ) const;

    /// 1 if the hardware holds the entry as it is now, else 0.
    int installed( bcm_field_entry_t entry, int* installed ) const;

  private:
    /// Gives `take` what the entry asks for of a qualifier.
    template< class Match, class Take >
    int read( bcm_field_entry_t entry,
              bcm_field_qualify_t qualifier,
              bool hasPlace,
              const Take& take ) const
    {
        if ( !hasPlace ) {
            return ReturnCode::BCM_E_PARAM;
        }
        const FieldEntry* found = entries_.find( entry );
        const FieldMatch* asked = found == nullptr ? nullptr : found->criteria.match( qualifier );
        if ( asked == nullptr ) {
            return ReturnCode::BCM_E_NOT_FOUND;
        }
        take( std::get< Match >( *asked ) );
        return ReturnCode::BCM_E_NONE;
    }

    const SdkNumbering& numbering_;
    const SimFieldEntries& entries_;
};

} // namespace Sim

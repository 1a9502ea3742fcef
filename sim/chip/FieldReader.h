#pragma once

/// What the SDK tells of an entry: its qualifiers, priority, actions, policers, and whether the
/// hardware holds it.
///
/// Operations answer as the SDK does: BCM_E_PARAM if a pointer is null, BCM_E_NOT_FOUND if there is
/// no entry of that id or if it does not have what is asked for. Preselectors are not read.

#include "sim/chip/SimFieldEntries.h"

#include <cstdint>

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
        MaskedNumber match{};
        const int rc = readNumber( entry, qualifier, data != nullptr && mask != nullptr, match );
        if ( rc >= 0 ) {
            *data = static_cast< Number >( match.data );
            *mask = static_cast< Number >( match.mask );
        }
        return rc;
    }

    /// A qualifier with a value of 16 bytes.
    int address( bcm_field_entry_t entry,
                 bcm_field_qualify_t qualifier,
                 uint8_t* data,
                 uint8_t* mask ) const;

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
    int readNumber( bcm_field_entry_t entry,
                    bcm_field_qualify_t qualifier,
                    bool hasPlace,
                    MaskedNumber& match ) const;

    const SdkNumbering& numbering_;
    const SimFieldEntries& entries_;
};

} // namespace Sim

#pragma once

/// Arguments of SDK calls as text, for tests that compare sequences of calls.
///
/// - numbers in decimal, `bool` as true and false;
/// - values of an SDK enumeration by name, so that a text is the same under every numbering; a
///   value that has no name as a number;
/// - structures, also behind a pointer, as "{min: 1, max: 2, ...}"; one that this file does not
///   know as "{...}";
/// - any other pointer as "&", because what it points to may not be written yet; "null" if it is.

#include "sdk/SdkAccess.h"

#include <cstdint>
#include <map>
#include <string>
#include <type_traits>
#include <typeindex>
#include <utility>

namespace TestSupport {

class SdkText
{
  public:
    /// `sdk` says which value each enumerator has.
    explicit SdkText( const Shim::SdkAccess& sdk );

    template< class Value >
    [[nodiscard]] std::string operator()( const Value& value ) const
    {
        if constexpr ( std::is_same_v< Value, bool > ) {
            return value ? "true" : "false";
        } else if constexpr ( std::is_integral_v< Value > ) {
            return std::to_string( value );
        } else if constexpr ( std::is_enum_v< Value > ) {
            return enumerator( typeid( Value ), static_cast< uint32_t >( value ) );
        } else if constexpr ( std::is_pointer_v< Value > ) {
            return value == nullptr ? "null" : pointee( *value );
        } else {
            return structure( value );
        }
    }

  private:
    [[nodiscard]] std::string enumerator( const std::type_info& type, uint32_t value ) const;

    template< class Value >
    [[nodiscard]] std::string pointee( const Value& value ) const
    {
        if constexpr ( std::is_class_v< Value > ) {
            return structure( value );
        } else {
            return "&";
        }
    }

    template< class Structure >
    [[nodiscard]] std::string structure( const Structure& ) const
    {
        return "{...}";
    }

    [[nodiscard]] std::string structure( const bcm_field_class_info_t& info ) const;
    [[nodiscard]] std::string structure( const bcm_field_flexctr_config_t& config ) const;
    [[nodiscard]] std::string structure( const bcm_flexctr_action_t& action ) const;
    [[nodiscard]] std::string structure( const bcm_flexctr_counter_value_t& value ) const;
    [[nodiscard]] std::string structure( const bcm_policer_config_t& config ) const;
    [[nodiscard]] std::string structure( const bcm_range_config_t& config ) const;
    [[nodiscard]] std::string structure( const bcm_udf_t& udf ) const;
    [[nodiscard]] std::string structure( const bcm_udf_alloc_hints_t& hints ) const;
    [[nodiscard]] std::string structure( const bcm_udf_chunk_info_t& info ) const;
    [[nodiscard]] std::string structure( const bcm_udf_cbmp_t& chunks ) const;
    [[nodiscard]] std::string structure( const bcm_udf_hash_config_t& config ) const;
    [[nodiscard]] std::string structure( const bcm_udf_multi_chunk_info_t& info ) const;
    [[nodiscard]] std::string structure( const bcm_udf_pkt_format_info_t& format ) const;

    std::map< std::pair< std::type_index, uint32_t >, const char* > enumerators_;
};

} // namespace TestSupport

#include "tests/support/SdkText.h"

#include <algorithm>
#include <initializer_list>

namespace TestSupport {

namespace {

struct Field
{
    const char* name;
    std::string value;
};

std::string fieldsText( std::initializer_list< Field > fields )
{
    std::string text;
    for ( const Field& field : fields ) {
        text += ( text.empty() ? "" : ", " ) + std::string( field.name ) + ": " + field.value;
    }
    return "{" + text + "}";
}

} // namespace

SdkText::SdkText( const Shim::SdkAccess& sdk )
{
    const auto add = [ this ]( auto value, const char* name ) {
        if constexpr ( std::is_enum_v< decltype( value ) > ) {
            enumerators_.try_emplace( { typeid( value ), static_cast< uint32_t >( value ) }, name );
        }
    };
#define SDK_ENUMERATOR( type, name, value ) add( sdk.name(), #name );
#include "sdk/SdkEnumerators.def"
}

std::string SdkText::enumerator( const std::type_info& type, uint32_t value ) const
{
    const auto found = enumerators_.find( { type, value } );
    return found == enumerators_.end() ? std::to_string( value ) : found->second;
}

std::string SdkText::structure( const bcm_field_class_info_t& info ) const
{
    const SdkText& text = *this;
    return fieldsText(
        { { "action", text( info.action ) }, { "class_id", text( info.class_id ) } } );
}

std::string SdkText::structure( const bcm_field_flexctr_config_t& config ) const
{
    const SdkText& text = *this;
    return fieldsText( { { "flexctr_action_id", text( config.flexctr_action_id ) },
                         { "counter_index", text( config.counter_index ) },
                         { "color", text( config.color ) } } );
}

std::string SdkText::structure( const bcm_flexctr_action_t& action ) const
{
    const SdkText& text = *this;
    return fieldsText( { { "index_num", text( action.index_num ) } } );
}

std::string SdkText::structure( const bcm_flexctr_counter_value_t& value ) const
{
    const SdkText& text = *this;
    return fieldsText( { { "packets", text( value.packets ) }, { "bytes", text( value.bytes ) } } );
}

std::string SdkText::structure( const bcm_policer_config_t& config ) const
{
    const SdkText& text = *this;
    return fieldsText( { { "flags", text( config.flags ) },
                         { "mode", text( config.mode ) },
                         { "ckbits_sec", text( config.ckbits_sec ) },
                         { "ckbits_burst", text( config.ckbits_burst ) },
                         { "pkbits_sec", text( config.pkbits_sec ) },
                         { "pkbits_burst", text( config.pkbits_burst ) } } );
}

std::string SdkText::structure( const bcm_range_config_t& config ) const
{
    const SdkText& text = *this;
    return fieldsText( { { "min", text( config.min ) },
                         { "max", text( config.max ) },
                         { "instance", text( config.instance ) },
                         { "rtype", text( config.rtype ) },
                         { "rid", text( config.rid ) } } );
}

std::string SdkText::structure( const bcm_udf_t& udf ) const
{
    const SdkText& text = *this;
    return fieldsText( { { "layer", text( udf.layer() ) },
                         { "start", text( udf.start() ) },
                         { "width", text( udf.width() ) },
                         { "hw_bmap", text( udf.hw_bmap() ) } } );
}

std::string SdkText::structure( const bcm_udf_alloc_hints_t& hints ) const
{
    const SdkText& text = *this;
    return fieldsText( { { "flags", text( hints.flags() ) } } );
}

std::string SdkText::structure( const bcm_udf_chunk_info_t& info ) const
{
    const SdkText& text = *this;
    return fieldsText( { { "offset", text( info.offset() ) },
                         { "width", text( info.width() ) },
                         { "chunk_bmap", text( info.chunk_bmap() ) },
                         { "abstract_pkt_format", text( info.abstract_pkt_format() ) } } );
}

std::string SdkText::structure( const bcm_udf_cbmp_t& chunks ) const
{
    const SdkText& text = *this;
    return fieldsText( { { "w", text( chunks.w[ 0 ] ) } } );
}

/// With the mask bytes that take part.
std::string SdkText::structure( const bcm_udf_hash_config_t& config ) const
{
    const SdkText& text = *this;
    std::string mask;
    for ( unsigned byte = 0; byte < std::min( config.mask_length(), config.maskRoom ); ++byte ) {
        mask += ( mask.empty() ? "" : " " ) + text( config.hash_mask( byte ) );
    }
    return fieldsText( { { "udf_id", text( config.udf_id() ) },
                         { "mask_length", text( config.mask_length() ) },
                         { "hash_mask", mask } } );
}

std::string SdkText::structure( const bcm_udf_multi_chunk_info_t& info ) const
{
    const SdkText& text = *this;
    return fieldsText( { { "offset", text( info.offset() ) },
                         { "width", text( info.width() ) },
                         { "two_byte_chunk_bmap", text( info.two_byte_chunk_bmap() ) },
                         { "abstract_pkt_format", text( info.abstract_pkt_format() ) } } );
}

std::string SdkText::structure( const bcm_udf_pkt_format_info_t& format ) const
{
    const SdkText& text = *this;
    return fieldsText( { { "ethertype", text( format.ethertype() ) },
                         { "ethertype_mask", text( format.ethertype_mask() ) },
                         { "l2", text( format.l2() ) },
                         { "vlan_tag", text( format.vlan_tag() ) },
                         { "outer_ip", text( format.outer_ip() ) },
                         { "inner_ip", text( format.inner_ip() ) },
                         { "tunnel", text( format.tunnel() ) },
                         { "ip_protocol", text( format.ip_protocol() ) },
                         { "ip_protocol_mask", text( format.ip_protocol_mask() ) },
                         { "prio", text( format.prio() ) } } );
}

} // namespace TestSupport

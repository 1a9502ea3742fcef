#pragma once

/// The SDK's enumerations.
///
/// Each is an opaque type with no enumerators, of 32 bits (spanning-tree states have 16): a value
/// of it can only come from the access object (`sdk/SdkAccess.h`), so nothing of the SDK's
/// numbering is ever compiled in. `sdk/SdkEnumerators.def` lists the accessors.

#include <cstdint>

enum bcm_field_action_t : uint32_t
{
};

enum bcm_field_ces_port_type_t : uint32_t
{
};

enum bcm_field_drop_reason_t : uint32_t
{
};

enum bcm_field_DstType_t : uint32_t
{
};

enum bcm_field_egress_class_select_t : uint32_t
{
};

enum bcm_field_egress_flow_control_t : uint32_t
{
};

enum bcm_field_egress_flow_encap_t : uint32_t
{
};

enum bcm_field_ForwardingType_t : uint32_t
{
};

enum bcm_field_group_mode_t : uint32_t
{
};

enum bcm_field_group_mode_type_t : uint32_t
{
};

enum bcm_field_group_packet_type_t : uint32_t
{
};

enum bcm_field_higig_class_select_t : uint32_t
{
};

enum bcm_field_int_pkt_type_t : uint32_t
{
};

enum bcm_field_IntHdr_Type_t : uint32_t
{
};

enum bcm_field_IpFrag_t : uint32_t
{
};

enum bcm_field_IpType_t : uint32_t
{
};

enum bcm_field_l2_pkt_type_t : uint32_t
{
};

enum bcm_field_l2_mac_info_t : uint32_t
{
};

enum bcm_field_L2Format_t : uint32_t
{
};

enum bcm_field_loopback_subtype_t : uint32_t
{
};

enum bcm_field_LoopbackType_t : uint32_t
{
};

enum bcm_field_macsec_encrypt_decrypt_pkt_e : uint32_t
{
};

enum bcm_field_macsec_flow_e : uint32_t
{
};

enum bcm_field_pkt_res_t : uint32_t
{
};

enum bcm_field_pkt_type_t : uint32_t
{
};

enum bcm_field_PktFwdType_t : uint32_t
{
};

enum bcm_field_qualify_t : uint32_t
{
};

enum bcm_field_stat_t : uint32_t
{
};

enum bcm_field_svtag_port_sub_type_t : uint32_t
{
};

enum bcm_field_sys_hdr_type_t : uint32_t
{
};

enum bcm_field_TunnelType_t : uint32_t
{
};

enum bcm_flexctr_color_t : uint32_t
{
};

enum bcm_policer_mode_t : uint32_t
{
};

enum bcm_range_type_t : uint32_t
{
};

enum bcm_stg_stp_t : uint16_t
{
};

enum bcm_udf_abstract_pkt_format_t : uint32_t
{
};

enum bcm_udf_layer_t : uint32_t
{
};

enum bcm_udf_pkt_format_ip_t : uint32_t
{
};

enum bcm_udf_pkt_format_l2_t : uint32_t
{
};

enum bcm_udf_pkt_format_tunnel_t : uint32_t
{
};

enum bcm_udf_pkt_format_vlan_tag_t : uint32_t
{
};

#pragma once

/// The SDK's enumerations.
///
/// Each is an opaque type with no enumerators, of 32 bits (spanning-tree states have 16): a value
/// of it can only come from the access object (`sdk/SdkAccess.h`), so nothing of the SDK's
/// numbering is ever compiled in. `sdk/SdkEnumerators.def` lists the accessors.

#include <cstdint>

/// What an entry does with a packet.
enum bcm_field_action_t : uint32_t
{
};

/// Types of carrier-Ethernet ports.
enum bcm_field_ces_port_type_t : uint32_t
{
};

/// Why a packet is dropped.
enum bcm_field_drop_reason_t : uint32_t
{
};

/// Types of destinations.
enum bcm_field_DstType_t : uint32_t
{
};

/// Which class an egress entry matches.
enum bcm_field_egress_class_select_t : uint32_t
{
};

/// Flow control of egress flows.
enum bcm_field_egress_flow_control_t : uint32_t
{
};

/// Encapsulations of egress flows.
enum bcm_field_egress_flow_encap_t : uint32_t
{
};

/// How a packet is forwarded.
enum bcm_field_ForwardingType_t : uint32_t
{
};

/// How wide a group's key is.
enum bcm_field_group_mode_t : uint32_t
{
};

/// The modes of one width.
enum bcm_field_group_mode_type_t : uint32_t
{
};

/// Which packets a group looks at.
enum bcm_field_group_packet_type_t : uint32_t
{
};

/// Which class stands in a stacking header.
enum bcm_field_higig_class_select_t : uint32_t
{
};

/// The chip's internal packet types.
enum bcm_field_int_pkt_type_t : uint32_t
{
};

/// Types of the chip's internal headers.
enum bcm_field_IntHdr_Type_t : uint32_t
{
};

/// Whether and how a packet is a fragment.
enum bcm_field_IpFrag_t : uint32_t
{
};

/// Kinds of IP packets.
enum bcm_field_IpType_t : uint32_t
{
};

/// Types of layer-2 packets.
enum bcm_field_l2_pkt_type_t : uint32_t
{
};

/// What is known of a MAC address.
enum bcm_field_l2_mac_info_t : uint32_t
{
};

/// Layer-2 framings.
enum bcm_field_L2Format_t : uint32_t
{
};

/// Subtypes of looped-back packets.
enum bcm_field_loopback_subtype_t : uint32_t
{
};

/// Types of looped-back packets.
enum bcm_field_LoopbackType_t : uint32_t
{
};

/// Whether MACsec encrypts or decrypts a packet.
enum bcm_field_macsec_encrypt_decrypt_pkt_e : uint32_t
{
};

/// MACsec flows.
enum bcm_field_macsec_flow_e : uint32_t
{
};

/// What the chip's lookups made of a packet.
enum bcm_field_pkt_res_t : uint32_t
{
};

/// Types of packets by their addresses.
enum bcm_field_pkt_type_t : uint32_t
{
};

/// By what a packet was forwarded.
enum bcm_field_PktFwdType_t : uint32_t
{
};

/// What an entry can match.
enum bcm_field_qualify_t : uint32_t
{
};

/// What a statistic counts.
enum bcm_field_stat_t : uint32_t
{
};

/// Subtypes of ports with a service tag.
enum bcm_field_svtag_port_sub_type_t : uint32_t
{
};

/// Types of system headers.
enum bcm_field_sys_hdr_type_t : uint32_t
{
};

/// Types of tunnels.
enum bcm_field_TunnelType_t : uint32_t
{
};

/// Whose packets a flex counter counts.
enum bcm_flexctr_color_t : uint32_t
{
};

/// How a policer meters.
enum bcm_policer_mode_t : uint32_t
{
};

/// The packet field that a range checker tests.
enum bcm_range_type_t : uint32_t
{
};

/// Spanning-tree states.
enum bcm_stg_stp_t : uint16_t
{
};

/// The abstract packet formats of a flexible parser.
enum bcm_udf_abstract_pkt_format_t : uint32_t
{
};

/// The layer from which a user-defined field counts.
enum bcm_udf_layer_t : uint32_t
{
};

/// Versions of an IP header in a packet format.
enum bcm_udf_pkt_format_ip_t : uint32_t
{
};

/// Layer-2 framings of a packet format.
enum bcm_udf_pkt_format_l2_t : uint32_t
{
};

/// Tunnels of a packet format.
enum bcm_udf_pkt_format_tunnel_t : uint32_t
{
};

/// Numbers of VLAN tags of a packet format.
enum bcm_udf_pkt_format_vlan_tag_t : uint32_t
{
};

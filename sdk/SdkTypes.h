#pragma once

/// The SDK's structures and ids, as the library sees them, and its enumerations
/// (`sdk/SdkEnumerations.h`).
///
/// Structures are plain values; the caller owns them and passes them by pointer. The UDF
/// structures are read and written through accessors: `x.width()` reads, `x.widthIs( value )`
/// writes.

#include "sdk/SdkEnumerations.h"

#include <array>
#include <cstdint>

// ---- Ids -------------------------------------------------------------------------------------

/// The SDK's ids of objects.
using bcm_field_group_t = int32_t;
using bcm_field_entry_t = int32_t;
using bcm_field_presel_t = int32_t;
using bcm_policer_t = int32_t;
using bcm_range_t = uint32_t;
using bcm_udf_id_t = int32_t;
using bcm_udf_pkt_format_id_t = int32_t;
/// An IPv4 address, the first byte in the highest bits.
using bcm_ip_t = uint32_t;
/// An IPv6 address in network order.
using bcm_ip6_t = uint8_t[ 16 ];
/// A MAC address in network order.
using bcm_mac_t = uint8_t[ 6 ];

// ---- Sets ------------------------------------------------------------------------------------
//
// Opaque: only the access object's set operations read and write their words. The storage is
// generous enough for any numbering of the members.

/// A set of qualifiers.
struct bcm_field_qset_s
{
    std::array< uint32_t, 256 > w{}; ///< opaque
};

/// As the SDK names it.
using bcm_field_qset_t = bcm_field_qset_s;

/// A set of actions.
struct bcm_field_aset_s
{
    std::array< uint32_t, 256 > w{}; ///< opaque
};

/// As the SDK names it.
using bcm_field_aset_t = bcm_field_aset_s;

/// A set of ports.
struct _shr_pbmp
{
    std::array< uint32_t, 16 > pbits{}; ///< opaque
};

/// A set of chunks.
struct bcm_udf_cbmp_t
{
    std::array< uint32_t, 1 > w{}; ///< bit i of the word stands for chunk i
};

// ---- Field groups, entries and preselectors --------------------------------------------------

/// What a field group is created with and, read back, what it was created with.
struct bcm_field_group_config_s
{
    uint32_t flags = 0;                          ///< options
    bcm_field_group_t group = 0;                 ///< its id; 0 lets the SDK choose
    int32_t priority = 0;                        ///< among the groups of its stage
    bcm_field_qset_t qset{};                     ///< what its entries can match
    bcm_field_aset_t aset{};                     ///< what its entries can do
    bcm_field_group_mode_t mode{};               ///< how wide its key is
    bcm_field_group_mode_type_t mode_type{};     ///< which of the modes of that width
    bcm_field_group_packet_type_t packet_type{}; ///< which packets it looks at
};

/// As the SDK names it.
using bcm_field_group_config_t = bcm_field_group_config_s;

/// The classes that a class qualifier of a preselector may test, one bit set a field.
struct bcm_field_src_class_t
{
    uint32_t dst_class_field = 0;  ///< the class of the destination
    uint32_t src_class_field = 0;  ///< the class of the source
    uint32_t intf_class_l2 = 0;    ///< the layer-2 class of the interface
    uint32_t intf_class_l3 = 0;    ///< the layer-3 class of the interface
    uint32_t intf_class_port = 0;  ///< the class of the port
    uint32_t intf_class_vport = 0; ///< the class of the virtual port
};

/// A class id that an entry's action assigns.
struct bcm_field_class_info_s
{
    bcm_field_action_t action{}; ///< the action that assigns it
    uint32_t class_id = 0;       ///< the class id
};

/// As the SDK names it.
using bcm_field_class_info_t = bcm_field_class_info_s;

// ---- Policers --------------------------------------------------------------------------------

/// A meter: rates in kilobits a second, bursts in kilobits.
struct bcm_policer_config_s
{
    uint32_t flags = 0;        ///< options
    bcm_policer_mode_t mode{}; ///< how many rates and colours there are
    uint32_t ckbits_sec = 0;   ///< committed rate, kilobits a second
    uint32_t ckbits_burst = 0; ///< committed burst, kilobits
    uint32_t pkbits_sec = 0;   ///< peak rate, kilobits a second
    uint32_t pkbits_burst = 0; ///< peak burst, kilobits
};

/// As the SDK names it.
using bcm_policer_config_t = bcm_policer_config_s;

// ---- Flex counters ---------------------------------------------------------------------------

/// A flex counter object: so many counters, each of which counts packets and bytes.
struct bcm_flexctr_action_s
{
    uint32_t index_num = 0; ///< how many counters it has
};

/// As the SDK names it.
using bcm_flexctr_action_t = bcm_flexctr_action_s;

/// The counter of an object that counts an entry's packets of one colour, or all of them.
struct bcm_field_flexctr_config_s
{
    uint32_t flexctr_action_id = 0; ///< the object's id
    uint32_t counter_index = 0;     ///< which of its counters, from 0
    bcm_flexctr_color_t color{};    ///< the packets that are counted
};

/// As the SDK names it.
using bcm_field_flexctr_config_t = bcm_field_flexctr_config_s;

/// What a counter of a flex counter object has counted.
struct bcm_flexctr_counter_value_s
{
    uint64_t packets = 0; ///< how many there were
    uint64_t bytes = 0;   ///< of all of them together
};

/// As the SDK names it.
using bcm_flexctr_counter_value_t = bcm_flexctr_counter_value_s;

// ---- Range checkers --------------------------------------------------------------------------

/// A range of values of one packet field; `min` and `max` belong to the range.
struct bcm_range_config_s
{
    uint32_t min = 0;         ///< the least value
    uint32_t max = 0;         ///< the greatest value
    uint32_t instance = 0;    ///< the pipe that it is in
    bcm_range_type_t rtype{}; ///< the packet field that is tested
    bcm_range_t rid = 0;      ///< its id
};

/// As the SDK names it.
using bcm_range_config_t = bcm_range_config_s;

// ---- User-defined fields: the UDF module -----------------------------------------------------

/// A user-defined field: `width` bits from bit `start` of a layer, held in the chunks `hw_bmap`.
class bcm_udf_s
{
  public:
    /// The layer from which `start` counts.
    [[nodiscard]] bcm_udf_layer_t layer() const { return layer_; }

    /// The first bit, from the start of the layer.
    [[nodiscard]] int32_t start() const { return start_; }

    /// In bits.
    [[nodiscard]] int32_t width() const { return width_; }

    /// The chunks that hold it: bit i stands for chunk i.
    [[nodiscard]] uint32_t hw_bmap() const { return hwBmap_; }

    void layerIs( bcm_udf_layer_t layer ) { layer_ = layer; }

    void startIs( int32_t bits ) { start_ = bits; }

    void widthIs( int32_t bits ) { width_ = bits; }

    void hw_bmapIs( uint32_t chunks ) { hwBmap_ = chunks; }

  private:
    bcm_udf_layer_t layer_{};
    int32_t start_ = 0;
    int32_t width_ = 0;
    uint32_t hwBmap_ = 0;
};

/// As the SDK names it.
using bcm_udf_t = bcm_udf_s;

/// What the SDK should know of a UDF's later use when it creates it.
class bcm_udf_alloc_hints_s
{
  public:
    /// Options.
    [[nodiscard]] uint32_t flags() const { return flags_; }

    /// The qualifiers that the field will be matched beside.
    [[nodiscard]] const bcm_field_qset_t& qset() const { return qset_; }

    void flagsIs( uint32_t flags ) { flags_ = flags; }

    void qsetIs( const bcm_field_qset_t& qset ) { qset_ = qset; }

  private:
    uint32_t flags_ = 0;
    bcm_field_qset_t qset_{};
};

/// As the SDK names it.
using bcm_udf_alloc_hints_t = bcm_udf_alloc_hints_s;

/// The packets that a UDF is extracted from.
class bcm_udf_pkt_format_info_s
{
  public:
    /// The outer EtherType.
    [[nodiscard]] uint16_t ethertype() const { return ethertype_; }

    /// The bits of the EtherType that count.
    [[nodiscard]] uint16_t ethertype_mask() const { return ethertypeMask_; }

    /// The layer-2 framing.
    [[nodiscard]] bcm_udf_pkt_format_l2_t l2() const { return l2_; }

    /// How many VLAN tags there are.
    [[nodiscard]] bcm_udf_pkt_format_vlan_tag_t vlan_tag() const { return vlanTag_; }

    /// The version of the outer IP header.
    [[nodiscard]] bcm_udf_pkt_format_ip_t outer_ip() const { return outerIp_; }

    /// The version of the inner IP header.
    [[nodiscard]] bcm_udf_pkt_format_ip_t inner_ip() const { return innerIp_; }

    /// What the packet is tunnelled in.
    [[nodiscard]] bcm_udf_pkt_format_tunnel_t tunnel() const { return tunnel_; }

    /// The IP protocol.
    [[nodiscard]] uint8_t ip_protocol() const { return ipProtocol_; }

    /// The bits of the IP protocol that count.
    [[nodiscard]] uint8_t ip_protocol_mask() const { return ipProtocolMask_; }

    /// The priority among packet formats.
    [[nodiscard]] int32_t prio() const { return prio_; }

    void ethertypeIs( uint16_t value ) { ethertype_ = value; }

    void ethertype_maskIs( uint16_t value ) { ethertypeMask_ = value; }

    void l2Is( bcm_udf_pkt_format_l2_t value ) { l2_ = value; }

    void vlan_tagIs( bcm_udf_pkt_format_vlan_tag_t value ) { vlanTag_ = value; }

    void outer_ipIs( bcm_udf_pkt_format_ip_t value ) { outerIp_ = value; }

    void inner_ipIs( bcm_udf_pkt_format_ip_t value ) { innerIp_ = value; }

    void tunnelIs( bcm_udf_pkt_format_tunnel_t value ) { tunnel_ = value; }

    void ip_protocolIs( uint8_t value ) { ipProtocol_ = value; }

    void ip_protocol_maskIs( uint8_t value ) { ipProtocolMask_ = value; }

    void prioIs( int32_t value ) { prio_ = value; }

  private:
    uint16_t ethertype_ = 0;
    uint16_t ethertypeMask_ = 0;
    bcm_udf_pkt_format_l2_t l2_{};
    bcm_udf_pkt_format_vlan_tag_t vlanTag_{};
    bcm_udf_pkt_format_ip_t outerIp_{};
    bcm_udf_pkt_format_ip_t innerIp_{};
    bcm_udf_pkt_format_tunnel_t tunnel_{};
    uint8_t ipProtocol_ = 0;
    uint8_t ipProtocolMask_ = 0;
    int32_t prio_ = 0;
};

/// As the SDK names it.
using bcm_udf_pkt_format_info_t = bcm_udf_pkt_format_info_s;

/// How a UDF takes part in the hash: the first `mask_length` bytes, masked byte by byte.
class bcm_udf_hash_config_s
{
  public:
    /// The room for mask bytes; how many of them the SDK uses, the access object tells.
    static constexpr unsigned maskRoom = 64;

    /// The field.
    [[nodiscard]] bcm_udf_id_t udf_id() const { return udfId_; }

    /// How many bytes of the mask count.
    [[nodiscard]] uint32_t mask_length() const { return maskLength_; }

    /// The mask of a byte, counted from 0. Throws `std::out_of_range` from `maskRoom` on.
    [[nodiscard]] uint8_t hash_mask( unsigned byte ) const { return hashMask_.at( byte ); }

    void udf_idIs( bcm_udf_id_t udfId ) { udfId_ = udfId; }

    void mask_lengthIs( uint32_t bytes ) { maskLength_ = bytes; }

    /// Sets the mask of a byte. Throws `std::out_of_range` from `maskRoom` on.
    void hash_maskIs( unsigned byte, uint8_t mask ) { hashMask_.at( byte ) = mask; }

  private:
    bcm_udf_id_t udfId_ = 0;
    uint32_t maskLength_ = 0;
    std::array< uint8_t, maskRoom > hashMask_{};
};

/// As the SDK names it.
using bcm_udf_hash_config_t = bcm_udf_hash_config_s;

// ---- User-defined fields: the flexible parser ------------------------------------------------

/// One UDF of the SDK-6 flexible parser: bit i of `chunk_bmap` stands for chunk i.
class bcm_udf_chunk_info_s
{
  public:
    /// Written in bits, read back in bytes.
    [[nodiscard]] uint32_t offset() const { return offset_; }

    /// Written in bits, read back in bytes.
    [[nodiscard]] uint32_t width() const { return width_; }

    /// The chunks that hold it: bit i stands for chunk i.
    [[nodiscard]] uint32_t chunk_bmap() const { return chunkBmap_; }

    /// The packets that it is of.
    [[nodiscard]] bcm_udf_abstract_pkt_format_t abstract_pkt_format() const { return format_; }

    void offsetIs( uint32_t offset ) { offset_ = offset; }

    void widthIs( uint32_t width ) { width_ = width; }

    void chunk_bmapIs( uint32_t chunks ) { chunkBmap_ = chunks; }

    void abstract_pkt_formatIs( bcm_udf_abstract_pkt_format_t format ) { format_ = format; }

  private:
    uint32_t offset_ = 0;
    uint32_t width_ = 0;
    uint32_t chunkBmap_ = 0;
    bcm_udf_abstract_pkt_format_t format_{};
};

/// As the SDK names it.
using bcm_udf_chunk_info_t = bcm_udf_chunk_info_s;

/// The chunks of one abstract packet format of the SDK-6 flexible parser.
class bcm_udf_abstract_pkt_format_info_s
{
  public:
    /// How many chunks there are.
    [[nodiscard]] uint32_t num_chunks_max() const { return numChunksMax_; }

    /// The chunks that fields hold: bit i stands for chunk i.
    [[nodiscard]] uint32_t chunk_bmap_used() const { return chunkBmapUsed_; }

    /// The chunks that nobody can have: bit i stands for chunk i.
    [[nodiscard]] uint32_t unavail_chunk_bmap() const { return unavailChunkBmap_; }

    void num_chunks_maxIs( uint32_t count ) { numChunksMax_ = count; }

    void chunk_bmap_usedIs( uint32_t chunks ) { chunkBmapUsed_ = chunks; }

    void unavail_chunk_bmapIs( uint32_t chunks ) { unavailChunkBmap_ = chunks; }

  private:
    uint32_t numChunksMax_ = 0;
    uint32_t chunkBmapUsed_ = 0;
    uint32_t unavailChunkBmap_ = 0;
};

/// As the SDK names it.
using bcm_udf_abstract_pkt_format_info_t = bcm_udf_abstract_pkt_format_info_s;

/// One UDF of the HSDK flexible parser.
class bcm_udf_multi_chunk_info_s
{
  public:
    /// Written and read back in bits.
    [[nodiscard]] uint32_t offset() const { return offset_; }

    /// Written in bits; read back in bytes, two for each chunk.
    [[nodiscard]] uint32_t width() const { return width_; }

    /// The chunks of two bytes that hold it.
    [[nodiscard]] const bcm_udf_cbmp_t& two_byte_chunk_bmap() const { return chunks_; }

    /// The same, to be changed.
    [[nodiscard]] bcm_udf_cbmp_t& two_byte_chunk_bmap() { return chunks_; }

    /// The packets that it is of.
    [[nodiscard]] bcm_udf_abstract_pkt_format_t abstract_pkt_format() const { return format_; }

    void offsetIs( uint32_t offset ) { offset_ = offset; }

    void widthIs( uint32_t width ) { width_ = width; }

    void abstract_pkt_formatIs( bcm_udf_abstract_pkt_format_t format ) { format_ = format; }

  private:
    uint32_t offset_ = 0;
    uint32_t width_ = 0;
    bcm_udf_cbmp_t chunks_{};
    bcm_udf_abstract_pkt_format_t format_{};
};

/// As the SDK names it.
using bcm_udf_multi_chunk_info_t = bcm_udf_multi_chunk_info_s;

/// The free chunks of one abstract packet format of the HSDK flexible parser.
class bcm_udf_multi_abstract_pkt_format_info_s
{
  public:
    /// How many chunks are free.
    [[nodiscard]] uint32_t num_chunks_available() const { return numChunksAvailable_; }

    /// The chunks of two bytes that are free.
    [[nodiscard]] const bcm_udf_cbmp_t& chunk_2b_bmap_avail() const { return available_; }

    /// The same, to be changed.
    [[nodiscard]] bcm_udf_cbmp_t& chunk_2b_bmap_avail() { return available_; }

    void num_chunks_availableIs( uint32_t count ) { numChunksAvailable_ = count; }

  private:
    uint32_t numChunksAvailable_ = 0;
    bcm_udf_cbmp_t available_{};
};

/// As the SDK names it.
using bcm_udf_multi_abstract_pkt_format_info_t = bcm_udf_multi_abstract_pkt_format_info_s;

/// Hints for the creation of flexible-parser UDFs; the library passes none.
struct bcm_udf_chunk_hints_t
{
    uint32_t flags = 0; ///< options; always 0
};

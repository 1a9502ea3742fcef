#pragma once

/// The bytes that a chip extracts from packets for a user-defined field.
///
/// A UDF module extracts a field of a packet that one of the field's packet formats describes, from
/// the layer and the start that it was made with. A flexible parser extracts it of a packet of the
/// field's abstract packet format; that its offset counts from the first byte of layer 3 is an
/// assumption. A field of a packet without that layer, or without all of its bytes, is absent.
///
/// An assumption of which packets the abstract packet formats stand for: `KnownNonIp` for ARP and
/// RARP, `UnknownL3` for whatever is none of IPv4, IPv6, ARP and RARP, and of a packet format's
/// members that are 0 that they describe all packets.

#include "sim/chip/SimulatedChip.h"
#include "sim/packets/Packet.h"
#include "sim/packets/PacketHeaders.h"
#include "sim/values/SdkNumbering.h"

#include <cstdint>
#include <span>
#include <vector>

namespace Sim {

/// Whether a packet format of a UDF module describes the packet.
[[nodiscard]] bool isOfFormat( const SdkNumbering& numbering,
                               const bcm_udf_pkt_format_info_t& format,
                               const PacketHeaders& headers );

/// Whether the packet is of an abstract packet format.
[[nodiscard]] bool isOfFormat( const SdkNumbering& numbering,
                               bcm_udf_abstract_pkt_format_t format,
                               const PacketHeaders& headers );

/// The bytes of a field of a UDF module; empty where the field is absent.
[[nodiscard]] std::span< const uint8_t > extractedBytes( const SdkNumbering& numbering,
                                                         const SimUdfModule::State& module,
                                                         bcm_udf_id_t udfId,
                                                         const Packet& packet,
                                                         const PacketHeaders& headers );

/// The bytes of a field of the chip; empty where the field is absent.
[[nodiscard]] std::span< const uint8_t > extractedBytes( const SimulatedChip& chip,
                                                         bcm_udf_id_t udfId,
                                                         const SdkNumbering& numbering,
                                                         const Packet& packet,
                                                         const PacketHeaders& headers );

/// The ids of all user-defined fields of the chip.
[[nodiscard]] std::vector< bcm_udf_id_t > udfsOf( const SimulatedChip& chip );

/// The bytes of a field of a flexible parser; empty where the field is absent.
[[nodiscard]] std::span< const uint8_t > extractedBytes( const SdkNumbering& numbering,
                                                         const SimFlexParser::State& parser,
                                                         bcm_udf_id_t udfId,
                                                         const Packet& packet,
                                                         const PacketHeaders& headers );

} // namespace Sim

#pragma once

/// What a packet has for each qualifier that an entry or a preselector can ask for: one table, with
/// a row a qualifier.
///
/// A value comes from the packet's bytes or, for what stages before the field processor find out,
/// from what the packet was given; what was given counts before what the bytes say. An assumption:
/// a number of a header that the packet does not have is 0. But an IP address of a version that the
/// packet does not have is absent, and an entry that asks for any bit of it does not match.
///
/// The tables are constant; any thread may read them.

#include "sim/chip/FieldCriteria.h"
#include "sim/packets/Packet.h"
#include "sim/packets/PacketHeaders.h"
#include "sim/values/SdkNumbering.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace Sim {

/// The class fields of a key: those of the SDK's source-class records, in their order.
inline constexpr std::size_t classFieldCount = 6;

/// What the chip has found out about a packet before a group looks at it.
struct PacketFindings
{
    bool drop = false; ///< whether an earlier stage drops it

    /// The class ids that the compression tables give it, by class field; 0 is none.
    std::array< uint32_t, classFieldCount > classes{};
};

/// A packet as a group sees it. All that it refers to must outlive it.
struct PacketView
{
    const SdkNumbering& numbering;
    const Packet& packet;
    const PacketHeaders& headers;
    const PacketFindings& findings;
};

/// What must be there for a field to be there.
enum class FieldPresence : uint8_t
{
    always,
    outerIp4,
    outerIp6,
    innerIp4,
    innerIp6,
};

/// Whether it is there in the packet.
[[nodiscard]] bool isPresent( FieldPresence presence, const PacketHeaders& headers );

/// A qualifier whose value is a number.
struct NumberField
{
    bcm_field_qualify_t SdkNumbering::*qualifier; ///< its accessor
    unsigned width;                               ///< in bytes: 1, 2 or 4
    uint32_t ( *read )( const PacketView& view ); ///< from the bytes; null if they do not tell
    FieldPresence presence = FieldPresence::always;
    bool ofFindings = false; ///< whether it changes on the packet's way, with what is found out
};

/// A qualifier whose value is a run of bytes of the packet.
struct BytesField
{
    bcm_field_qualify_t SdkNumbering::*qualifier;        ///< its accessor
    unsigned width;                                      ///< in bytes
    PacketOffset ( *find )( const PacketHeaders& from ); ///< where it stands in the packet
    FieldPresence presence = FieldPresence::always;
};

/// All qualifiers that are numbers.
[[nodiscard]] std::span< const NumberField > numberFields();

/// All qualifiers that are runs of bytes.
[[nodiscard]] std::span< const BytesField > bytesFields();

/// The row of a qualifier; null if it is none of that table.
[[nodiscard]] const NumberField* findNumberField( const SdkNumbering& numbering,
                                                  bcm_field_qualify_t qualifier );
[[nodiscard]] const BytesField* findBytesField( const SdkNumbering& numbering,
                                                bcm_field_qualify_t qualifier );

/// The packet's number for a field: what it was given, or else what the bytes say, or 0.
[[nodiscard]] uint32_t numberOf( const NumberField& field, const PacketView& view );

/// The bytes of a field; empty where the packet does not have all of them.
[[nodiscard]] std::span< const uint8_t > bytesOf( const BytesField& field, const PacketView& view );

/// Whether the packet is one of those that an enumerator of a named qualifier (IpType, IpFrag,
/// L2Format ...) stands for. Of a qualifier that the bytes do not tell, a packet that was given
/// nothing is one of "any", "none" and "unknown".
[[nodiscard]] bool
isNamed( const PacketView& view, bcm_field_qualify_t qualifier, const NamedValue& value );

/// What range checkers look at in a packet.
class RangeValues
{
  public:
    explicit RangeValues( const PacketView& view );

    /// Whether the value of a range checker's type is in its range.
    [[nodiscard]] bool areIn( const bcm_range_config_t& range ) const;

    /// The value that a range checker looks at; nothing for a type that there is not.
    [[nodiscard]] std::optional< uint32_t > valueFor( bcm_range_type_t type ) const;

  private:
    struct Value
    {
        bcm_range_type_t type{};
        uint32_t value = 0;
    };

    std::array< Value, 4 > values_;
};

} // namespace Sim

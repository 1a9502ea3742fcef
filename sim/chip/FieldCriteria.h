#pragma once

/// What an entry or a preselector asks of a packet: a value for each of some qualifiers.
///
/// Plain values; the owner guards them.

#include "sim/chip/ChipSnapshot.h"
#include "sim/values/SdkNumbering.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Sim {

/// The packet's value must be `data` where `mask` has ones.
struct MaskedNumber
{
    uint32_t data; ///< the bits to match
    uint32_t mask; ///< the bits that count

    [[nodiscard]] bool operator==( const MaskedNumber& ) const = default;
};

/// The same for values of many bytes, the first byte of the packet first.
struct MaskedBytes
{
    std::vector< uint8_t > data; ///< the bytes to match, the first of the packet first
    std::vector< uint8_t > mask; ///< the bits that count; as long as `data`

    [[nodiscard]] bool operator==( const MaskedBytes& ) const = default;
};

/// The port that the packet came in by must be among `data`, or not among `mask`. An assumption:
/// ports outside of the mask match whatever `data` says of them.
struct MaskedPorts
{
    std::vector< uint32_t > data; ///< the ports to match, as the words of an SDK's set of ports
    std::vector< uint32_t > mask; ///< the ports that count; as long as `data`

    [[nodiscard]] bool operator==( const MaskedPorts& ) const = default;
};

/// The packet's value must be one of the SDK's enumerators.
struct NamedValue
{
    uint32_t number;  ///< a value of an SDK enumerator, of the chip's numbering
    std::string name; ///< empty for a number that no enumerator has

    [[nodiscard]] bool operator==( const NamedValue& ) const = default;
};

/// The packet's value must be in a range checker's range, or must not.
struct RangeMatch
{
    uint32_t rangeId; ///< the range checker's id
    bool inverted;    ///< whether the entry matches packets out of the range

    [[nodiscard]] bool operator==( const RangeMatch& ) const = default;
};

/// What an entry wants of one qualifier.
using FieldMatch = std::variant< MaskedNumber, MaskedBytes, MaskedPorts, NamedValue, RangeMatch >;

/// Data and mask of two sets of ports.
[[nodiscard]] MaskedPorts maskedPorts( const _shr_pbmp& data, const _shr_pbmp& mask );

/// As snapshots show it: "0x800/0xffff", "0-3,7/0-511", "bcmFieldIpTypeIpv4Any", "not-5".
[[nodiscard]] std::string textOf( const FieldMatch& match );

/// Whether it can be asked for: all that is none is an enumerator without a name.
[[nodiscard]] bool isValid( const FieldMatch& match );

/// The value, with the name that the numbering has for it.
template< class Enumeration >
[[nodiscard]] NamedValue namedValue( const SdkNumbering& numbering, Enumeration value )
{
    return { static_cast< uint32_t >( value ),
             numbering.has( value ) ? numbering.nameOf( value ) : std::string() };
}

/// The fields of a source-class record that have a mask, each as the qualifier that it stands for;
/// the others are don't-care.
[[nodiscard]] std::map< bcm_field_qualify_t, MaskedNumber >
sourceClassMatches( const SdkNumbering& numbering,
                    const bcm_field_src_class_t& data,
                    const bcm_field_src_class_t& mask );

/// What an entry wants of a packet, by qualifier; see the top of this header.
class FieldCriteria
{
  public:
    /// The most bytes that a user-defined field is matched with.
    static constexpr int longestUdf = 16;

    /// Sets a qualifier, in place of an earlier value of it; but a range comes in addition to
    /// other ranges, and takes the place of the same range only.
    void matchIs( bcm_field_qualify_t qualifier, FieldMatch match );

    /// What is asked for of a qualifier other than ranges; null if nothing is.
    [[nodiscard]] const FieldMatch* match( bcm_field_qualify_t qualifier ) const;

    /// What is asked for of each qualifier other than ranges and user-defined fields.
    [[nodiscard]] const std::map< bcm_field_qualify_t, FieldMatch >& matches() const
    {
        return matches_;
    }

    /// The ranges asked for, by id: whether the packet must be outside.
    [[nodiscard]] const std::map< uint32_t, bool >& ranges() const { return ranges_; }

    /// The source classes asked for, each in its field; the others have no mask.
    void sourceClasses( const SdkNumbering& numbering,
                        bcm_field_src_class_t& data,
                        bcm_field_src_class_t& mask ) const;

    /// Sets the source classes, in place of all earlier ones.
    void sourceClassesAre( const SdkNumbering& numbering,
                           const std::map< bcm_field_qualify_t, MaskedNumber >& matches );

    /// Sets a user-defined field, in place of an earlier value of it.
    void udfIs( bcm_udf_id_t udfId, MaskedBytes match );

    /// The user-defined fields asked for, by id.
    [[nodiscard]] const std::map< bcm_udf_id_t, MaskedBytes >& udfs() const { return udfs_; }

    /// The user-defined field; null if it is not asked for.
    [[nodiscard]] const MaskedBytes* udf( bcm_udf_id_t udfId ) const;

    /// Changes a bit of the data, or of the mask, of a qualifier or a user-defined field, as
    /// `fields()` names it ("DstIp", "udf3"). False if it has no such bit.
    bool flip( const SdkNumbering& numbering, std::string_view field, bool ofMask, unsigned bit );

    /// One field for each qualifier, sorted by name: "EtherType=0x800/0xffff".
    [[nodiscard]] ChipSnapshot::Fields fields( const SdkNumbering& numbering ) const;

    [[nodiscard]] bool operator==( const FieldCriteria& ) const = default;

  private:
    std::map< bcm_field_qualify_t, FieldMatch > matches_;
    std::map< uint32_t, bool > ranges_;
    std::map< bcm_udf_id_t, MaskedBytes > udfs_;
};

/// The name of a qualifier or of an action without what all of them start with: "EtherType".
[[nodiscard]] std::string shortName( const std::string& name );

} // namespace Sim

#pragma once

/// What a TCAM entry asks of one qualifier, whichever that is: one table says which SDK function
/// sets it and which one reads it back.
///
/// The table is made of `QualifierCalls.def`; any thread may read it. What makes SDK calls is
/// called with the agent's activity lock held.
///
///     const QualifierMatch ttl{ QualifierType::ipTtl, Masked< U32 >{ 1, 0xFF } };
///     const SdkRefusal refusal = writeMatch( unit, entry, ttl );
///     verifyMatch( unit, entry, ttl );

#include "agent/tcam/QualifierType.h"
#include "reference/QualifierReading.h"

#include <array>
#include <cstddef>
#include <span>
#include <string_view>
#include <variant>

namespace Reference {

/// A call that the SDK refused.
struct SdkRefusal
{
    std::string_view function; ///< empty if none was refused
    int rc = 0;

    friend bool operator==( const SdkRefusal&, const SdkRefusal& ) = default;
};

/// The packet's value must be one that an enumerator of the SDK stands for.
struct SdkEnumerator
{
    Agent::U32 value = 0; ///< in the SDK build in use

    friend bool operator==( const SdkEnumerator&, const SdkEnumerator& ) = default;
};

/// Bytes of a packet, the first one first, of which only the bits in the mask count.
struct MaskedBytes
{
    /// The longest field: an IPv6 address.
    static constexpr std::size_t most = 16;

    using Bytes = std::array< Agent::U8, most >;

    Bytes value{};
    Bytes mask{};
    Agent::U8 length = 0; ///< so many of them are the field's; the others are 0

    friend bool operator==( const MaskedBytes&, const MaskedBytes& ) = default;
};

/// The bytes of a user-defined field.
struct UdfBytes
{
    bcm_udf_id_t id = 0;
    MaskedBytes bytes;

    friend bool operator==( const UdfBytes&, const UdfBytes& ) = default;
};

/// A qualifier and what a packet must have for it. The value is of the kind that the table has for
/// the qualifier; `UdfBytes` is that of `QualifierType::udf`, which is not in the table.
struct QualifierMatch
{
    PeloraTcam::QualifierType qualifier = PeloraTcam::QualifierType::invalid;
    std::variant< Masked< Agent::U32 >, SdkEnumerator, MaskedBytes, UdfBytes > value;

    friend bool operator==( const QualifierMatch&, const QualifierMatch& ) = default;
};

/// What the values of a qualifier are.
enum class QualifierKind : Agent::U8
{
    number,     ///< `Masked< U32 >`
    enumerator, ///< `SdkEnumerator`
    bytes,      ///< `MaskedBytes`
};

/// A row of the table.
struct QualifierForm
{
    PeloraTcam::QualifierType qualifier;
    QualifierKind kind;
    unsigned bits; ///< how wide the field is; 32 for an enumerator
    std::string_view function;

    int ( *write )( int unit, bcm_field_entry_t entry, const QualifierMatch& match );
    void ( *verify )( int unit,
                      bcm_field_entry_t entry,
                      const QualifierMatch& match,
                      const StillSeen& stillSeen );
};

/// The table.
[[nodiscard]] std::span< const QualifierForm > qualifierForms();

/// The row of a qualifier; null if no SDK function asks an entry for it alone.
[[nodiscard]] const QualifierForm* findQualifierForm( PeloraTcam::QualifierType qualifier );

/// Sets the qualifier of an entry. Gives the call if the SDK refused it. A qualifier that is not in
/// the table, and a value of another kind, are assertion failures, here and below.
[[nodiscard]] SdkRefusal
writeMatch( int unit, bcm_field_entry_t entry, const QualifierMatch& match );

/// Compares the qualifier of an entry with the chip; a mismatch ends the process, unless the entry
/// has changed meanwhile.
void verifyMatch( int unit,
                  bcm_field_entry_t entry,
                  const QualifierMatch& match,
                  const StillSeen& stillSeen = {} );

} // namespace Reference

#include "reference/QualifierMatch.h"

#include "agent/base/Assert.h"
#include "sdk/SdkCall.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace Reference {

using PeloraTcam::QualifierType;

namespace {

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

using Number = Masked< Agent::U32 >;

/// The value of a match, of the kind that the qualifier has.
template< class Value >
const Value& valueOf( const QualifierMatch& match )
{
    const Value* value = std::get_if< Value >( &match.value );
    AGENT_ASSERT( value != nullptr && "the value is none of the qualifier's kind" );
    return *value;
}

/// Bytes as the SDK reads and writes them.
template< class Array >
struct SdkBytes
{
    SdkBytes() = default;

    explicit SdkBytes( const MaskedBytes& bytes )
    {
        AGENT_ASSERT( bytes.length == sizeof( Array ) && "the value is as long as the field" );
        std::copy_n( bytes.value.begin(), sizeof( Array ), data );
        std::copy_n( bytes.mask.begin(), sizeof( Array ), mask );
    }

    friend bool operator==( const SdkBytes& left, const SdkBytes& right )
    {
        return std::ranges::equal( left.data, right.data ) &&
               std::ranges::equal( left.mask, right.mask );
    }

    Array data{};
    Array mask{};
};

// Each row is a pair of functions around a call with a literal text.
// clang-format off
#define NUMBER_QUALIFIER( name, function, type, bits )                                             \
    { QualifierType::name, QualifierKind::number, bits, #function,                                 \
      []( int unit, bcm_field_entry_t entry, const QualifierMatch& match ) {                       \
          const auto data = static_cast< type >( valueOf< Number >( match ).value );               \
          const auto mask = static_cast< type >( valueOf< Number >( match ).mask );                \
          return SDK_TRACED_CALL( function, unit, entry, data, mask );                             \
      },                                                                                           \
      []( int unit, bcm_field_entry_t entry, const QualifierMatch& match,                          \
          const StillSeen& stillSeen ) {                                                           \
          type data = 0;                                                                           \
          type mask = 0;                                                                           \
          if ( SDK_AUDIT_CALL( stillSeen, function##_get, unit, entry, &data, &mask ) ) {          \
              AGENT_ASSERT( ( Number{ data, mask } == valueOf< Number >( match ) ) );              \
          }                                                                                        \
      } },
#define NAMED_QUALIFIER( name, function, type )                                                    \
    { QualifierType::name, QualifierKind::enumerator, 32, #function,                               \
      []( int unit, bcm_field_entry_t entry, const QualifierMatch& match ) {                       \
          const auto value = static_cast< type >( valueOf< SdkEnumerator >( match ).value );       \
          return SDK_TRACED_CALL( function, unit, entry, value );                                  \
      },                                                                                           \
      []( int unit, bcm_field_entry_t entry, const QualifierMatch& match,                          \
          const StillSeen& stillSeen ) {                                                           \
          type value{};                                                                            \
          if ( SDK_AUDIT_CALL( stillSeen, function##_get, unit, entry, &value ) ) {                \
              AGENT_ASSERT( static_cast< Agent::U32 >( value ) ==                                  \
                            valueOf< SdkEnumerator >( match ).value );                             \
          }                                                                                        \
      } },
#define BYTES_QUALIFIER( name, function, type )                                                    \
    { QualifierType::name, QualifierKind::bytes, 8 * sizeof( type ), #function,                    \
      []( int unit, bcm_field_entry_t entry, const QualifierMatch& match ) {                       \
          const SdkBytes< type > bytes( valueOf< MaskedBytes >( match ) );                         \
          return SDK_TRACED_CALL( function, unit, entry, bytes.data, bytes.mask );                 \
      },                                                                                           \
      []( int unit, bcm_field_entry_t entry, const QualifierMatch& match,                          \
          const StillSeen& stillSeen ) {                                                           \
          SdkBytes< type > bytes;                                                                  \
          if ( SDK_AUDIT_CALL( stillSeen, function##_get, unit, entry, bytes.data,                 \
                               bytes.mask ) ) {                                                    \
              AGENT_ASSERT( bytes == SdkBytes< type >( valueOf< MaskedBytes >( match ) ) );        \
          }                                                                                        \
      } },

constexpr QualifierForm forms[] = {
#include "reference/QualifierCalls.def"
};
// clang-format on

constexpr std::size_t noForm = std::size( forms );

/// The place of each qualifier's row, by its number: rules look there often.
constexpr auto formPlaces = [] {
    std::array< Agent::U8, 256 > places{};
    places.fill( static_cast< Agent::U8 >( noForm ) );
    for ( std::size_t place = 0; place < std::size( forms ); ++place ) {
        places[ static_cast< std::size_t >( forms[ place ].qualifier ) ] =
            static_cast< Agent::U8 >( place );
    }
    return places;
}();

// ---- User-defined fields ---------------------------------------------------------------------

constexpr std::string_view udfFunction = "bcm_field_qualify_udf";

int writeUdf( int unit, bcm_field_entry_t entry, const UdfBytes& wanted )
{
    UdfBytes udf = wanted; // The SDK takes pointers to what it does not change.
    return SDK_TRACED_CALL( bcm_field_qualify_udf, unit, entry, udf.id, udf.bytes.length,
                            udf.bytes.value.data(), udf.bytes.mask.data() );
}

void verifyUdf( int unit,
                bcm_field_entry_t entry,
                const UdfBytes& expected,
                const StillSeen& stillSeen )
{
    constexpr auto most = static_cast< int >( MaskedBytes::most );
    const bcm_udf_id_t id = expected.id;
    MaskedBytes bytes;
    int length = 0;
    if ( !SDK_AUDIT_CALL( stillSeen, bcm_field_qualify_udf_get, unit, entry, id, most,
                          bytes.value.data(), bytes.mask.data(), &length ) ) {
        return;
    }
    AGENT_ASSERT( length == expected.bytes.length );
    bytes.length = expected.bytes.length;
    AGENT_ASSERT( bytes == expected.bytes );
}

} // namespace

std::span< const QualifierForm > qualifierForms()
{
    return forms;
}

const QualifierForm* findQualifierForm( QualifierType qualifier )
{
    const std::size_t place = formPlaces[ static_cast< std::size_t >( qualifier ) ];
    return place == noForm ? nullptr : &forms[ place ];
}

SdkRefusal writeMatch( int unit, bcm_field_entry_t entry, const QualifierMatch& match )
{
    const auto refusal = []( std::string_view function, int rc ) {
        return rc < 0 ? SdkRefusal{ function, rc } : SdkRefusal{};
    };
    if ( match.qualifier == QualifierType::udf ) {
        return refusal( udfFunction, writeUdf( unit, entry, valueOf< UdfBytes >( match ) ) );
    }
    const QualifierForm* form = findQualifierForm( match.qualifier );
    AGENT_ASSERT( form != nullptr && "no SDK function asks for the qualifier" );
    return refusal( form->function, form->write( unit, entry, match ) );
}

void verifyMatch( int unit,
                  bcm_field_entry_t entry,
                  const QualifierMatch& match,
                  const StillSeen& stillSeen )
{
    if ( match.qualifier == QualifierType::udf ) {
        return verifyUdf( unit, entry, valueOf< UdfBytes >( match ), stillSeen );
    }
    const QualifierForm* form = findQualifierForm( match.qualifier );
    AGENT_ASSERT( form != nullptr && "no SDK function asks for the qualifier" );
    form->verify( unit, entry, match, stillSeen );
}

} // namespace Reference

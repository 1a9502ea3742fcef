#include "sim/values/SdkNumbering.h"

#include "input/InputText.h"

#include <charconv>
#include <limits>
#include <map>
#include <random>
#include <set>
#include <stdexcept>
#include <type_traits>
#include <typeindex>

namespace Sim {

namespace {

template< class Type, bool isEnumeration = std::is_enum_v< Type > >
struct NumberOf
{
    using type = Type;
};

template< class Type >
struct NumberOf< Type, true >
{
    using type = std::underlying_type_t< Type >;
};

/// Shuffled values of a type are below this. It is one less than a power of two.
template< class Type >
constexpr uint32_t limitOf()
{
    if constexpr ( std::is_same_v< Type, bcm_field_qualify_t > ) {
        // The SDK counts its qualifiers: the count is above all of them, and who walks from 0 up
        // to the count must come to an end.
        return 0x3FFF;
    }
    using Number = typename NumberOf< Type >::type;
    return static_cast< uint32_t >( std::numeric_limits< Number >::max() );
}

/// Hands out values that have not been seen before, for each type separately.
class FreshValues
{
  public:
    explicit FreshValues( uint32_t seed )
        : random_( seed )
    {}

    template< class Type >
    void seen( Type value )
    {
        seen_[ typeid( Type ) ].insert( static_cast< uint32_t >( value ) );
    }

    /// A value from `least` to `greatest`, of which not all have been seen.
    template< class Type >
    Type nextBetween( uint32_t least, uint32_t greatest )
    {
        while ( true ) {
            const uint32_t value =
                least + static_cast< uint32_t >( random_() ) % ( greatest - least + 1 );
            if ( seen_[ typeid( Type ) ].insert( value ).second ) {
                return static_cast< Type >( value );
            }
        }
    }

    template< class Type >
    Type next()
    {
        // The generator's own output: distributions differ between standard libraries.
        while ( true ) {
            const uint32_t value = static_cast< uint32_t >( random_() ) & limitOf< Type >();
            if ( value != limitOf< Type >() && seen_[ typeid( Type ) ].insert( value ).second ) {
                return static_cast< Type >( value );
            }
        }
    }

  private:
    std::mt19937 random_;
    std::map< std::type_index, std::set< uint32_t > > seen_;
};

std::invalid_argument noNumbering( std::string_view text )
{
    return std::invalid_argument( "expected 'default' or 'shuffled:SEED' with a SEED from 0 to "
                                  "4294967295, found '" +
                                  std::string( text ) + "'" );
}

} // namespace

SdkNumbering SdkNumbering::defaults()
{
    return {};
}

SdkNumbering SdkNumbering::shuffled( uint32_t seed )
{
    SdkNumbering numbering;
    FreshValues values( seed );
#define SDK_ENUMERATOR( type, name, value ) values.seen( numbering.name );
#include "sdk/SdkEnumerators.def"
#define SDK_ENUMERATOR( type, name, value ) numbering.name = values.next< type >();
#define SDK_COUNT( type, name, value ) numbering.name = limitOf< type >();
#define SDK_BOUNDED( type, name, value, least, greatest )                                          \
    numbering.name = values.nextBetween< type >( least, greatest );
#include "sdk/SdkEnumerators.def"
    return numbering;
}

SdkNumbering SdkNumbering::fromText( std::string_view text )
{
    constexpr std::string_view prefix = "shuffled:";
    if ( text == "default" ) {
        return defaults();
    }
    if ( !text.starts_with( prefix ) ) {
        throw noNumbering( text );
    }
    const std::string_view digits = text.substr( prefix.size() );
    uint32_t seed = 0;
    const auto [ end, error ] =
        std::from_chars( digits.data(), digits.data() + digits.size(), seed );
    const bool isSeed = error == std::errc() && end == digits.data() + digits.size();
    if ( !isSeed || Input::hasLeadingZero( digits ) ) {
        throw noNumbering( text );
    }
    return shuffled( seed );
}

std::optional< uint32_t > SdkNumbering::valueOf( std::string_view wanted ) const
{
#define SDK_ENUMERATOR( type, name, value )                                                        \
    if ( wanted == #name ) {                                                                       \
        return static_cast< uint32_t >( this->name );                                              \
    }
#include "sdk/SdkEnumerators.def"
    return std::nullopt;
}

std::vector< std::string > SdkNumbering::names()
{
    return {
#define SDK_ENUMERATOR( type, name, value ) #name,
#include "sdk/SdkEnumerators.def"
    };
}

std::vector< std::string > SdkNumbering::namesOf( const std::type_info& wanted )
{
    std::vector< std::string > names;
#define SDK_ENUMERATOR( type, name, value )                                                        \
    if ( wanted == typeid( type ) ) {                                                              \
        names.emplace_back( #name );                                                               \
    }
#include "sdk/SdkEnumerators.def"
    return names;
}

bool SdkNumbering::has( const std::type_info& wanted, uint32_t number ) const
{
#define SDK_ENUMERATOR( type, name, value )                                                        \
    if ( number == static_cast< uint32_t >( this->name ) && wanted == typeid( type ) ) {           \
        return true;                                                                               \
    }
#include "sdk/SdkEnumerators.def"
    return false;
}

std::string SdkNumbering::nameOf( const std::type_info& wanted, uint32_t number ) const
{
#define SDK_ENUMERATOR( type, name, value )                                                        \
    if ( number == static_cast< uint32_t >( this->name ) && wanted == typeid( type ) ) {           \
        return #name;                                                                              \
    }
#include "sdk/SdkEnumerators.def"
    return "unknown(" + std::to_string( number ) + ")";
}

} // namespace Sim

#include "sdk/ForwardingSdk.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace Shim {

namespace {

/// A number for a name, so that every operation and enumerator has an answer of its own.
constexpr uint32_t numberOf( std::string_view name )
{
    uint32_t number = 2166136261U;
    for ( const char character : name ) {
        number = ( number ^ static_cast< unsigned char >( character ) ) * 16777619U;
    }
    return number;
}

/// An argument as a number: its value, or where what it refers to stands.
template< class Argument >
uint64_t wordOf( const Argument& argument )
{
    if constexpr ( std::is_class_v< Argument > ) {
        return reinterpret_cast< uint64_t >( &argument );
    } else if constexpr ( std::is_pointer_v< Argument > ) {
        return reinterpret_cast< uint64_t >( argument );
    } else {
        return static_cast< uint64_t >( argument );
    }
}

template< class... Arguments >
std::vector< uint64_t > wordsOf( const Arguments&... arguments )
{
    return { wordOf( arguments )... };
}

/// The answer of an operation of that name.
template< class Result >
Result answerOf( const char* name )
{
    if constexpr ( std::is_same_v< Result, const char* > ) {
        return name;
    } else if constexpr ( std::is_same_v< Result, bool > ) {
        return true;
    } else {
        return static_cast< Result >( numberOf( name ) );
    }
}

/// Writes down the last call and answers each operation differently.
class WitnessSdk final : public SdkAccess
{
  public:
    std::string lastName;
    std::vector< uint64_t > lastArguments;
    int calls = 0;

#define SDK_FUNCTION( family, name, parameters, arguments )                                        \
    int name parameters override                                                                   \
    {                                                                                              \
        callIs( #name, wordsOf arguments );                                                        \
        return answerOf< int >( #name );                                                           \
    }
#define SDK_OPERATION( family, result, name, parameters, arguments )                               \
    result name parameters override                                                                \
    {                                                                                              \
        callIs( #name, wordsOf arguments );                                                        \
        return answerOf< result >( #name );                                                        \
    }
#include "sdk/SdkFunctions.def"

#define SDK_RETURN_CODE( name, value, text )                                                       \
    [[nodiscard]] int name() const override                                                        \
    {                                                                                              \
        return answerOf< int >( #name );                                                           \
    }
#define SDK_ENUMERATOR( type, name, value )                                                        \
    [[nodiscard]] type name() const override                                                       \
    {                                                                                              \
        return answerOf< type >( #name );                                                          \
    }
#include "sdk/SdkEnumerators.def"

  private:
    void callIs( const char* name, std::vector< uint64_t > arguments )
    {
        lastName = name;
        lastArguments = std::move( arguments );
        ++calls;
    }
};

/// An argument for the place of that number: no two places get the same.
template< class Parameter >
Parameter argumentFor( std::size_t place )
{
    using Value = std::remove_cvref_t< Parameter >;
    if constexpr ( std::is_reference_v< Parameter > ) {
        static std::array< Value, 16 > values{};
        return values.at( place );
    } else if constexpr ( std::is_pointer_v< Parameter > ) {
        // Nobody looks at what it points to.
        alignas( 16 ) static std::array< unsigned char, 256 > places{};
        return reinterpret_cast< Parameter >( &places.at( 16 * place ) );
    } else {
        return static_cast< Value >( 100 + place );
    }
}

/// Calls an operation of the forwarding object and checks what arrives and what comes back.
template< class Result, class... Parameters >
void expectForwarded( const char* name, Result ( SdkAccess::*operation )( Parameters... ) )
{
    SCOPED_TRACE( name );
    WitnessSdk witness;
    ForwardingSdk forwarding( witness );
    SdkAccess& sdk = forwarding;
    const auto call = [ & ]< std::size_t... place >( std::index_sequence< place... > )
    {
        const std::vector< uint64_t > expected = wordsOf( argumentFor< Parameters >( place )... );
        if constexpr ( std::is_void_v< Result > ) {
            ( sdk.*operation )( argumentFor< Parameters >( place )... );
        } else {
            EXPECT_EQ( ( sdk.*operation )( argumentFor< Parameters >( place )... ),
                       answerOf< Result >( name ) );
        }
        EXPECT_EQ( witness.lastArguments, expected );
    };

    call( std::index_sequence_for< Parameters... >() );

    EXPECT_EQ( witness.lastName, name );
    EXPECT_EQ( witness.calls, 1 );
}

TEST( ForwardingSdkTest, EveryOperation_Called_ReachesTheNextWithArgumentsAndResult )
{
#define SDK_FUNCTION( family, name, parameters, arguments )                                        \
    expectForwarded( #name, &SdkAccess::name );
#define SDK_OPERATION( family, result, name, parameters, arguments )                               \
    expectForwarded( #name, &SdkAccess::name );
#include "sdk/SdkFunctions.def"
}

TEST( ForwardingSdkTest, EveryEnumerator_Asked_HasTheValueOfTheNext )
{
    WitnessSdk witness;
    const ForwardingSdk sdk( witness );

#define SDK_RETURN_CODE( name, value, text ) EXPECT_EQ( sdk.name(), answerOf< int >( #name ) );
#define SDK_ENUMERATOR( type, name, value ) EXPECT_EQ( sdk.name(), answerOf< type >( #name ) );
#include "sdk/SdkEnumerators.def"
}

TEST( ForwardingSdkTest, Next_OfAForwardingObject_IsTheOneItWasGiven )
{
    WitnessSdk witness;
    const ForwardingSdk sdk( witness );

    EXPECT_EQ( &sdk.next(), &witness );
}

} // namespace

} // namespace Shim

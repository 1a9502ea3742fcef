#pragma once

/// What each SDK function is called, and what it writes for its caller.
///
/// A function's output fields are the fields of the structures, and the numbers, that it is given
/// a pointer to: a structure's field goes by the field's name, a number by the parameter's. A
/// list stands for its first element. Parameters that are pointers but only read are left out.
///
///     const SdkFunction* function = findSdkFunction( "bcm_range_get" );
///     function->outputs;   // min, max, instance, rtype, rid
///
///     bcm_range_config_t config;
///     setOutput( *function, "max", 80, 0, &config );   // the values and arguments of a call

#include "sdk/SdkTypes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace Sim {

/// A place that a function writes a number to.
struct SdkOutput
{
    std::string name; ///< the field's name, or the parameter's
    unsigned bytes;   ///< its size
    bool isSigned;    ///< whether it is read as a signed number
};

/// Whether the output can hold the value; a negative one is given in two's complement.
[[nodiscard]] bool fits( const SdkOutput& output, uint64_t value );

/// What SDK functions are counted and addressed by: their row in the list of SDK functions.
enum class SdkFunctionId
{
#define SDK_FUNCTION( family, name, parameters, arguments ) name,
#include "sdk/SdkFunctions.def"
};

/// An SDK function as fault plans know it.
struct SdkFunction
{
    SdkFunctionId id;                      ///< what the plan counts its calls by
    std::string name;                      ///< as in the SDK
    std::vector< std::string > parameters; ///< the names of its parameters, in their order
    std::vector< SdkOutput > outputs;      ///< what it gives back, without its return code

    /// The output of that name; null if there is none.
    [[nodiscard]] const SdkOutput* findOutput( std::string_view wanted ) const;
    /// The names of all outputs.
    [[nodiscard]] std::vector< std::string > outputNames() const;
};

/// All SDK functions, in the order of their ids.
[[nodiscard]] const std::vector< SdkFunction >& sdkFunctions();

/// The function of that name; null if there is none.
[[nodiscard]] const SdkFunction* findSdkFunction( std::string_view name );

/// The names of all SDK functions, in the order of the list.
[[nodiscard]] std::vector< std::string > sdkFunctionNames();

/// Whether a parameter is only read although it is a pointer to something that may be written.
[[nodiscard]] bool isInput( std::string_view function, std::string_view parameter );

/// A field of a structure that can be set.
template< class Structure >
struct StructureField
{
    SdkOutput output;                                   ///< what it is called
    void ( *set )( Structure& record, uint64_t value ); ///< writes the value into a record
};

/// The fields of a structure that SDK functions write; empty for any other type.
template< class Structure >
const std::vector< StructureField< Structure > >& fieldsOf()
{
    static const auto fields = [] {
        std::vector< StructureField< Structure > > all;
#define SDK_OUTPUT_FIELD( structure, name, type, assignment )                                      \
    if constexpr ( std::is_same_v< Structure, structure > ) {                                      \
        all.push_back( { { #name, sizeof( type ), std::is_signed_v< type > },                      \
                         []( Structure& record, uint64_t number ) {                                \
                             const auto value = static_cast< type >( number );                     \
                             assignment;                                                           \
                         } } );                                                                    \
    }
#include "sim/access/SdkOutputFields.def"
        return all;
    }();
    return fields;
}

/// Whether an argument of that type is a pointer through which a function may write.
template< class Argument >
constexpr bool isWritable =
    std::is_pointer_v< Argument > && !std::is_const_v< std::remove_pointer_t< Argument > >;

/// How many elements of the lists among its arguments a call has filled. A function with lists
/// is told their room ("max...") and tells how many elements there are ("actual..."); with any
/// other function every pointer is to one element.
template< class... Arguments >
int64_t elementsFilled( const SdkFunction& function, const Arguments&... arguments )
{
    int64_t elements = std::numeric_limits< int64_t >::max();
    size_t position = 0;
    const auto look = [ & ]( const auto& argument ) {
        const std::string& parameter = function.parameters[ position++ ];
        using Argument = std::remove_cvref_t< decltype( argument ) >;
        if constexpr ( std::is_same_v< Argument, int > ) {
            if ( parameter.starts_with( "max" ) ) {
                elements = std::min< int64_t >( elements, argument );
            }
        } else if constexpr ( std::is_same_v< Argument, int* > ) {
            if ( parameter.starts_with( "actual" ) ) {
                elements = argument == nullptr ? 0 : std::min< int64_t >( elements, *argument );
            }
        }
    };
    ( look( arguments ), ... );
    return elements;
}

/// Sets what one argument points to, if that is or has the output of that name.
template< class Argument >
void setThrough( Argument argument,
                 const std::string& parameter,
                 std::string_view output,
                 uint64_t value )
{
    using Pointee = std::remove_pointer_t< Argument >;
    if constexpr ( std::is_integral_v< Pointee > || std::is_enum_v< Pointee > ) {
        if ( parameter == output ) {
            *argument = static_cast< Pointee >( value );
        }
    } else {
        for ( const auto& field : fieldsOf< Pointee >() ) {
            if ( field.output.name == output ) {
                field.set( *argument, value );
            }
        }
    }
}

/// Sets an output of a call that has been made with these arguments. Nothing happens where the
/// caller gave a null pointer or the list has no element.
template< class... Arguments >
void setOutput( const SdkFunction& function,
                std::string_view output,
                uint64_t value,
                Arguments... arguments )
{
    const bool hasElements = elementsFilled( function, arguments... ) > 0;
    size_t position = 0;
    const auto set = [ & ]( auto argument ) {
        const std::string& parameter = function.parameters[ position++ ];
        if constexpr ( isWritable< decltype( argument ) > ) {
            const bool isFilled = hasElements || parameter.starts_with( "actual" );
            if ( argument != nullptr && isFilled && !isInput( function.name, parameter ) ) {
                setThrough( argument, parameter, output, value );
            }
        }
    };
    ( set( arguments ), ... );
}

} // namespace Sim

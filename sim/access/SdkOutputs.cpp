#include "sim/access/SdkOutputs.h"

#include "sdk/SdkAccess.h"

#include <utility>

namespace Sim {

namespace {

/// Pointers that the SDK's declarations leave open for writing, but that are only read.
constexpr std::pair< std::string_view, std::string_view > inputs[] = {
    { "bcm_field_qualify_SrcClass", "data" },
    { "bcm_field_qualify_SrcClass", "mask" },
    { "bcm_field_qualify_udf", "data" },
    { "bcm_field_qualify_udf", "mask" },
    { "bcm_field_stat_create", "stats" },
    { "bcm_flexctr_action_create", "action" },
    { "bcm_field_entry_flexctr_attach", "config" },
    { "bcm_field_entry_flexctr_detach", "config" },
    { "bcm_flexctr_stat_set", "value" },
    { "bcm_policer_create", "config" },
    { "bcm_udf_pkt_format_create", "format" },
    { "bcm_udf_hash_config_add", "config" },
    { "bcm_udf_hash_config_delete", "config" },
    { "bcm_udf_chunk_create", "chunkInfo" },
    { "bcm_udf_multi_chunk_create", "chunkInfo" },
};

/// The names in "( unit, flags, config )".
std::vector< std::string > namesIn( std::string_view arguments )
{
    std::vector< std::string > names;
    std::string name;
    for ( const char c : arguments ) {
        const bool endsName = c == ',' || c == ')';
        if ( endsName && !name.empty() ) {
            names.push_back( std::exchange( name, {} ) );
        } else if ( !endsName && c != '(' && c != ' ' ) {
            name += c;
        }
    }
    return names;
}

template< class Parameter >
void addOutputs( SdkFunction& function, const std::string& parameter )
{
    using Pointee = std::remove_pointer_t< Parameter >;
    if constexpr ( isWritable< Parameter > ) {
        if ( isInput( function.name, parameter ) ) {
            return;
        }
        if constexpr ( std::is_integral_v< Pointee > || std::is_enum_v< Pointee > ) {
            function.outputs.push_back(
                { parameter, sizeof( Pointee ), std::is_signed_v< Pointee > } );
        } else {
            for ( const auto& field : fieldsOf< Pointee >() ) {
                function.outputs.push_back( field.output );
            }
        }
    }
}

template< class... Parameters >
SdkFunction describe( SdkFunctionId id,
                      std::string name,
                      std::string_view arguments,
                      int ( Shim::SdkAccess::* )( Parameters... ) )
{
    SdkFunction function{ id, std::move( name ), namesIn( arguments ), {} };
    size_t position = 0;
    ( addOutputs< Parameters >( function, function.parameters.at( position++ ) ), ... );
    return function;
}

} // namespace

bool fits( const SdkOutput& output, uint64_t value )
{
    const unsigned unused = 64 - 8 * output.bytes;
    if ( unused == 0 ) {
        return true;
    }
    if ( !output.isSigned ) {
        return value << unused >> unused == value;
    }
    const auto number = static_cast< int64_t >( value );
    const int64_t limit = int64_t{ 1 } << ( 8 * output.bytes - 1 );
    return number >= -limit && number < limit;
}

const SdkOutput* SdkFunction::findOutput( std::string_view wanted ) const
{
    const auto found = std::ranges::find( outputs, wanted, &SdkOutput::name );
    return found == outputs.end() ? nullptr : &*found;
}

std::vector< std::string > SdkFunction::outputNames() const
{
    std::vector< std::string > names;
    for ( const SdkOutput& output : outputs ) {
        names.push_back( output.name );
    }
    return names;
}

const std::vector< SdkFunction >& sdkFunctions()
{
    static const std::vector< SdkFunction > functions = {
#define SDK_FUNCTION( family, name, parameters, arguments )                                        \
    describe( SdkFunctionId::name, #name, #arguments, &Shim::SdkAccess::name ),
#include "sdk/SdkFunctions.def"
    };
    return functions;
}

const SdkFunction* findSdkFunction( std::string_view name )
{
    const auto found = std::ranges::find( sdkFunctions(), name, &SdkFunction::name );
    return found == sdkFunctions().end() ? nullptr : &*found;
}

std::vector< std::string > sdkFunctionNames()
{
    std::vector< std::string > names;
    for ( const SdkFunction& function : sdkFunctions() ) {
        names.push_back( function.name );
    }
    return names;
}

bool isInput( std::string_view function, std::string_view parameter )
{
    return std::ranges::find( inputs, std::pair( function, parameter ) ) != std::end( inputs );
}

} // namespace Sim

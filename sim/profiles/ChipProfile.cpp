#include "sim/profiles/ChipProfile.h"

#include "input/NameHints.h"
#include "input/YamlDocument.h"
#include "sim/profiles/BuiltInProfiles.h"
#include "sim/values/SdkNumbering.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace Sim {

namespace {

using Input::YamlMembers;
using Input::YamlNode;

constexpr std::pair< std::string_view, ChipKind > chipKinds[] = {
    { "sdk6-udf-module", ChipKind::sdk6UdfModule },
    { "sdk6-flex-parser", ChipKind::sdk6FlexParser },
    { "hsdk", ChipKind::hsdk },
};

const BuiltInProfile* findBuiltIn( std::string_view name )
{
    const auto found = std::ranges::find( builtInProfiles(), name, &BuiltInProfile::name );
    return found == builtInProfiles().end() ? nullptr : &*found;
}

const BuiltInProfile& builtIn( std::string_view name )
{
    const BuiltInProfile* found = findBuiltIn( name );
    if ( found == nullptr ) {
        throw std::invalid_argument( "no built-in profile '" + std::string( name ) + "'" +
                                     Input::nameHint( name, builtInProfileNames() ) );
    }
    return *found;
}

ChipProfile::RangeCheckers readRangeCheckers( const YamlNode& node )
{
    ChipProfile::RangeCheckers rangeCheckers;
    node.readMembers( [ & ]( YamlMembers& members ) {
        members.required( "capacity", rangeCheckers.capacity, 0U, 4096U );
    } );
    return rangeCheckers;
}

ChipProfile::Field readField( const YamlNode& node )
{
    ChipProfile::Field field;
    node.readMembers( [ & ]( YamlMembers& members ) {
        members.required( "groups", field.groups, 0U, 1024U );
        members.required( "entries-per-group", field.entriesPerGroup, 0U, 65536U );
        members.required( "preselectors", field.preselectors, 0U, 1024U );
        members.required( "compression-entries", field.compressionEntries, 0U, 65536U );
    } );
    return field;
}

ChipProfile::Policers readPolicers( const YamlNode& node )
{
    ChipProfile::Policers policers;
    node.readMembers( [ & ]( YamlMembers& members ) {
        members.required( "capacity", policers.capacity, 0U, 65536U );
    } );
    return policers;
}

ChipProfile::UdfModule readUdfModule( const YamlNode& node )
{
    ChipProfile::UdfModule module;
    node.readMembers( [ & ]( YamlMembers& members ) {
        members.required( "udfs", module.udfs, 0U, 65536U );
        members.required( "chunks", module.chunks, 0U, 16U );
        members.required( "packet-formats", module.pktFormats, 0U, 65536U );
        members.required( "udfs-per-packet-format", module.udfsPerPktFormat, 0U, 65536U );
        members.required( "hash-configurations", module.hashConfigurations, 0U, 65536U );
    } );
    return module;
}

uint32_t readChunks( const YamlNode& node )
{
    uint32_t chunks = 0;
    node.readItems( [ & ]( const YamlNode& item ) {
        uint32_t chunk = 0;
        item.read( chunk, 0U, ChipProfile::FlexParser::chunksPerFormat - 1 );
        if ( ( chunks >> chunk & 1U ) != 0 ) {
            item.fail( "chunk " + std::to_string( chunk ) + " is given twice" );
        }
        chunks |= 1U << chunk;
    } );
    return chunks;
}

ChipProfile::FlexParser readFlexParser( const YamlNode& node )
{
    ChipProfile::FlexParser parser;
    const auto readFormats = [ & ]( YamlMembers& formats ) {
        for ( const std::string& name : SdkNumbering::namesOf< bcm_udf_abstract_pkt_format_t >() ) {
            formats.optional( name, [ & ]( const YamlNode& chunks ) {
                parser.unavailableChunks[ name ] = readChunks( chunks );
            } );
        }
    };
    node.readMembers( [ & ]( YamlMembers& members ) {
        members.required( "udfs", parser.udfs, 0U, 65536U );
        members.required( "unavailable-chunks",
                          [ & ]( const YamlNode& value ) { value.readMembers( readFormats ); } );
    } );
    return parser;
}

ChipProfile::Statistics readStatistics( const YamlNode& node )
{
    ChipProfile::Statistics statistics;
    node.readMembers( [ & ]( YamlMembers& members ) {
        members.required( "capacity", statistics.capacity, 0U, 65536U );
        members.required( "counter-width", statistics.counterWidth, 1U, 64U );
    } );
    return statistics;
}

ChipProfile::FlexCounters readFlexCounters( const YamlNode& node )
{
    ChipProfile::FlexCounters flexCounters;
    node.readMembers( [ & ]( YamlMembers& members ) {
        members.required( "objects", flexCounters.objects, 0U, 1024U );
        members.required( "counters", flexCounters.counters, 0U, 1048576U );
        members.required( "counter-width", flexCounters.counterWidth, 1U, 64U );
    } );
    return flexCounters;
}

ChipProfile readProfile( const YamlNode& node )
{
    ChipProfile profile;
    node.readMembers( [ & ]( YamlMembers& members ) {
        members.required( "name", profile.name );
        members.required( "description", profile.description );
        members.required( "chip", profile.chip, chipKinds );
        members.required( "range-checkers", [ & ]( const YamlNode& value ) {
            profile.rangeCheckers = readRangeCheckers( value );
        } );
        members.required( "field",
                          [ & ]( const YamlNode& value ) { profile.field = readField( value ); } );
        members.required( "policers", [ & ]( const YamlNode& value ) {
            profile.policers = readPolicers( value );
        } );
        members.required( "udf-module", [ & ]( const YamlNode& value ) {
            profile.udfModule = readUdfModule( value );
        } );
        members.required( "flex-parser", [ & ]( const YamlNode& value ) {
            profile.flexParser = readFlexParser( value );
        } );
        members.required( "statistics", [ & ]( const YamlNode& value ) {
            profile.statistics = readStatistics( value );
        } );
        members.required( "flex-counters", [ & ]( const YamlNode& value ) {
            profile.flexCounters = readFlexCounters( value );
        } );
    } );
    return profile;
}

} // namespace

std::string_view nameOf( ChipKind kind )
{
    for ( const auto& [ name, value ] : chipKinds ) {
        if ( value == kind ) {
            return name;
        }
    }
    throw std::invalid_argument( "no kind of chip" );
}

ChipProfile readChipProfile( const std::string& file, const std::string& text )
{
    return readProfile( Input::YamlDocument::fromText( file, text ).root() );
}

ChipProfile loadChipProfile( const std::string& nameOrPath )
{
    if ( findBuiltIn( nameOrPath ) != nullptr ) {
        return builtInProfile( nameOrPath );
    }
    std::error_code ignored;
    const bool isPath = nameOrPath.find( '/' ) != std::string::npos ||
                        nameOrPath.ends_with( ".yaml" ) ||
                        std::filesystem::exists( nameOrPath, ignored );
    if ( !isPath ) {
        throw Input::InputError( nameOrPath, 1, 1,
                                 "neither a built-in profile nor a file" +
                                     Input::nameHint( nameOrPath, builtInProfileNames() ) );
    }
    return readProfile( Input::YamlDocument::fromFile( nameOrPath ).root() );
}

std::vector< std::string > builtInProfileNames()
{
    std::vector< std::string > names;
    for ( const BuiltInProfile& profile : builtInProfiles() ) {
        names.emplace_back( profile.name );
    }
    return names;
}

std::string builtInProfileText( std::string_view name )
{
    return std::string( builtIn( name ).text );
}

ChipProfile builtInProfile( std::string_view name )
{
    const BuiltInProfile& profile = builtIn( name );
    return readChipProfile( "sim/profiles/" + std::string( name ) + ".yaml",
                            std::string( profile.text ) );
}

} // namespace Sim

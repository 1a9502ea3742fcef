#pragma once

/// A chip with a data path, and entries that are made through SDK calls only.

#include "sim/SimulatedSdk.h"
#include "sim/packets/PacketDescription.h"
#include "sim/packets/PacketExplanation.h"
#include "sim/packets/PacketPath.h"
#include "tests/sim/packets/HandPackets.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace SimPacketTest {

constexpr int unit = 3;
constexpr bcm_field_entry_t preselectorBit = 0x40000000;

/// What an entry or a preselector shall ask for of one qualifier.
struct Asked
{
    std::string qualifier; ///< without what all of them start with: "DstIp"
    std::uint32_t data = 0;
    std::uint32_t mask = 0;
    std::string enumerator = {}; ///< in full: "bcmFieldIpTypeArpReply"
    std::string dataBytes = {};  ///< in hexadecimal
    std::string maskBytes = {};
    std::vector< int > ports = {}; ///< of data
    std::vector< int > portsThatCount = {};
};

[[nodiscard]] inline Asked
number( const std::string& qualifier, std::uint32_t data, std::uint32_t mask )
{
    return { .qualifier = qualifier, .data = data, .mask = mask };
}

[[nodiscard]] inline Asked named( const std::string& qualifier, const std::string& enumerator )
{
    return { .qualifier = qualifier, .enumerator = enumerator };
}

[[nodiscard]] inline Asked
bytes( const std::string& qualifier, const std::string& data, const std::string& mask )
{
    return { .qualifier = qualifier, .dataBytes = data, .maskBytes = mask };
}

[[nodiscard]] inline Asked inPorts( const std::vector< int >& ports,
                                    const std::vector< int >& thatCount )
{
    return { .qualifier = "InPorts", .ports = ports, .portsThatCount = thatCount };
}

/// Makes the SDK's call for it; gives its return code.
[[nodiscard]] inline int
askFor( Sim::SimulatedSdk& sdk, bcm_field_entry_t entry, const Asked& asked )
{
    const std::string name = "bcmFieldQualify" + asked.qualifier;
    const Bytes data = bytesOf( asked.dataBytes );
    const Bytes mask = bytesOf( asked.maskBytes );
    const std::uint32_t enumerator =
        asked.enumerator.empty() ? 0 : sdk.numbering().valueOf( asked.enumerator ).value();
    _shr_pbmp ports;
    _shr_pbmp portsThatCount;
    for ( const int port : asked.ports ) {
        sdk.BCM_PBMP_PORT_ADD( &ports, port );
    }
    for ( const int port : asked.portsThatCount ) {
        sdk.BCM_PBMP_PORT_ADD( &portsThatCount, port );
    }
#define FIELD_QUALIFIER_NUMBER( row, type, users )                                                 \
    if ( name == "bcmFieldQualify" #row ) {                                                        \
        return sdk.bcm_field_qualify_##row( unit, entry, static_cast< type >( asked.data ),        \
                                            static_cast< type >( asked.mask ) );                   \
    }
#define FIELD_QUALIFIER_NAMED( row, type, users )                                                  \
    if ( name == "bcmFieldQualify" #row ) {                                                        \
        return sdk.bcm_field_qualify_##row( unit, entry, static_cast< type >( enumerator ) );      \
    }
#define FIELD_QUALIFIER_BYTES( row, type, users )                                                  \
    if ( name == "bcmFieldQualify" #row && data.size() == sizeof( type ) &&                        \
         mask.size() == sizeof( type ) ) {                                                         \
        return sdk.bcm_field_qualify_##row( unit, entry, data.data(), mask.data() );               \
    }
#define FIELD_QUALIFIER_PORTS( row, users )                                                        \
    if ( name == "bcmFieldQualify" #row ) {                                                        \
        return sdk.bcm_field_qualify_##row( unit, entry, &ports, &portsThatCount );                \
    }
#include "sim/access/FieldQualifiers.def"
    ADD_FAILURE() << "no call for " << name;
    return -1;
}

/// The qualifiers that entries and preselectors can ask for; of preselectors only those if asked.
[[nodiscard]] inline std::vector< std::string > qualifierNames( bool ofPreselectors = false )
{
    const bool entries = false;
    const bool entriesAndPreselectors = true;
    std::vector< std::string > names;
    const auto add = [ & ]( std::string_view name, bool preselectorsToo ) {
        if ( preselectorsToo || !ofPreselectors ) {
            names.emplace_back( name );
        }
    };
#define FIELD_QUALIFIER_NUMBER( row, type, users ) add( #row, users );
#define FIELD_QUALIFIER_NAMED( row, type, users ) add( #row, users );
#define FIELD_QUALIFIER_BYTES( row, type, users ) add( #row, users );
#define FIELD_QUALIFIER_PORTS( row, users ) add( #row, users );
#include "sim/access/FieldQualifiers.def"
    return names;
}

/// What a group is made with.
struct GroupOptions
{
    std::string stage = "Ingress";
    int priority = 0;
    std::string packetType = {}; ///< "Ipv4"; empty for one that is not given
    bcm_field_group_t id = 0;
};

/// A chip with its data path.
class PathScene
{
  public:
    explicit PathScene( const std::string& profile = "sdk6-udf",
                        const std::string& numbering = "default" )
        : sdk( Sim::SdkNumbering::fromText( numbering ) )
        , chip( sdk.chipIs( unit, Sim::builtInProfile( profile ) ) )
        , path( chip, sdk.numbering() )
    {}

    /// A group whose entries can ask for everything.
    bcm_field_group_t group( const GroupOptions& options = {} )
    {
        bcm_field_group_config_t config;
        sdk.bcm_field_group_config_t_init( &config );
        config.mode = sdk.bcmFieldGroupModeAuto();
        config.group = options.id;
        config.priority = options.priority;
        if ( !options.packetType.empty() ) {
            config.packet_type = valueOf< bcm_field_group_packet_type_t >(
                "bcmFieldGroupPacketType" + options.packetType );
        }
        if ( !options.stage.empty() ) {
            addQualifier( config, "Stage" + options.stage );
        }
        for ( const std::string& name : qualifierNames() ) {
            addQualifier( config, name );
        }
        for ( const char* name :
              { "RangeCheck", "Udf", "DstClassField", "SrcClassField", "InterfaceClassL2",
                "InterfaceClassL3", "InterfaceClassPort", "InterfaceClassVPort" } ) {
            addQualifier( config, name );
        }
        expectDone( sdk.bcm_field_group_config_create( unit, &config ) );
        return config.group;
    }

    /// An entry that asks for all of these, not installed.
    bcm_field_entry_t made( bcm_field_group_t group, int priority, const std::vector< Asked >& all )
    {
        bcm_field_entry_t entry = 0;
        expectDone( sdk.bcm_field_entry_create( unit, group, &entry ) );
        expectDone( sdk.bcm_field_entry_prio_set( unit, entry, priority ) );
        ask( entry, all );
        return entry;
    }

    /// The same, installed.
    bcm_field_entry_t
    entry( bcm_field_group_t group, int priority, const std::vector< Asked >& all )
    {
        const bcm_field_entry_t entry = made( group, priority, all );
        install( entry );
        return entry;
    }

    void ask( bcm_field_entry_t entry, const std::vector< Asked >& all )
    {
        for ( const Asked& asked : all ) {
            expectDone( askFor( sdk, entry, asked ) );
        }
    }

    void act( bcm_field_entry_t entry,
              const std::string& action,
              std::uint32_t param0 = 0,
              std::uint32_t param1 = 0 )
    {
        expectDone( sdk.bcm_field_action_add(
            unit, entry, valueOf< bcm_field_action_t >( "bcmFieldAction" + action ), param0,
            param1 ) );
    }

    void install( bcm_field_entry_t entry )
    {
        expectDone( sdk.bcm_field_entry_install( unit, entry ) );
    }

    void remove( bcm_field_entry_t entry )
    {
        expectDone( sdk.bcm_field_entry_remove( unit, entry ) );
    }

    void destroy( bcm_field_entry_t entry )
    {
        expectDone( sdk.bcm_field_entry_destroy( unit, entry ) );
    }

    /// A range checker.
    bcm_range_t range( const std::string& type, std::uint32_t min, std::uint32_t max )
    {
        bcm_range_config_t config;
        sdk.bcm_range_config_t_init( &config );
        config.rtype = valueOf< bcm_range_type_t >( "bcmRangeType" + type );
        config.min = min;
        config.max = max;
        expectDone( sdk.bcm_range_create( unit, 0, &config ) );
        return config.rid;
    }

    void askRange( bcm_field_entry_t entry, bcm_range_t range, bool inverted = false )
    {
        expectDone( sdk.bcm_field_qualify_RangeCheck( unit, entry, range, inverted ? 1 : 0 ) );
    }

    [[nodiscard]] bcm_field_qualify_t qualifier( const std::string& name ) const
    {
        return valueOf< bcm_field_qualify_t >( "bcmFieldQualify" + name );
    }

    template< class Enumeration >
    [[nodiscard]] Enumeration valueOf( const std::string& name ) const
    {
        return static_cast< Enumeration >( sdk.numbering().valueOf( name ).value() );
    }

    /// The entry that the only group finds for a packet.
    [[nodiscard]] std::optional< bcm_field_entry_t > found( const Sim::Packet& packet ) const
    {
        const std::vector< Sim::GroupVerdict > hits = path.find( packet );
        EXPECT_LE( hits.size(), 1U );
        return hits.empty() ? std::nullopt : hits.front().entry;
    }

    [[nodiscard]] std::optional< bcm_field_entry_t > found( std::string_view description ) const
    {
        return found( Sim::packetFromDescription( description ) );
    }

    /// The entries that all groups find, in the groups' order; 0 for a group that finds none.
    [[nodiscard]] std::vector< bcm_field_entry_t > foundByAll( const Sim::Packet& packet ) const
    {
        std::vector< bcm_field_entry_t > entries;
        for ( const Sim::GroupVerdict& hit : path.find( packet ) ) {
            entries.push_back( hit.entry.value_or( 0 ) );
        }
        return entries;
    }

    [[nodiscard]] std::vector< bcm_field_entry_t > foundByAll( std::string_view description ) const
    {
        return foundByAll( Sim::packetFromDescription( description ) );
    }

    Sim::PacketVerdict send( std::string_view description )
    {
        return path.send( Sim::packetFromDescription( description ) );
    }

    static void expectDone( int rc ) { EXPECT_EQ( rc, 0 ); }

    Sim::SimulatedSdk sdk;
    Sim::SimulatedChip& chip;
    Sim::PacketPath path;

  private:
    void addQualifier( bcm_field_group_config_t& config, const std::string& name )
    {
        sdk.BCM_FIELD_QSET_ADD( &config.qset, qualifier( name ) );
    }
};

} // namespace SimPacketTest

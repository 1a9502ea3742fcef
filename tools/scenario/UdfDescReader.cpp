#include "tools/scenario/UdfDescReader.h"

#include "tools/scenario/EnumeratorReader.h"
#include "tools/scenario/PacketNames.h"

#include <fmt/format.h>
#include <utility>

namespace Tool {

namespace {

using namespace PeloraTcam;
using Input::YamlNode;

constexpr std::pair< std::string_view, UdfOffsetBase > bases[] = {
    { "packetStart", UdfBasePacketStart_ },
    { "l2Header", UdfBaseL2Header_ },
    { "l3Header", UdfBaseL3Header_ },
    { "l3OuterHeader", UdfBaseL3OuterHeader_ },
    { "l3OuterPayload", UdfBaseL3OuterPayload_ },
    { "l3InnerHeader", UdfBaseL3InnerHeader_ },
    { "l4InnerHeader", UdfBaseL4InnerHeader_ },
    { "l4OuterHeader", UdfBaseL4OuterHeader_ },
    { "l4OuterPayload", UdfBaseL4OuterPayload_ },
};

constexpr std::pair< std::string_view, UdfAppType > apps[] = {
    { "ipv4Acl", UdfAppType::ipv4Acl },
    { "ipv6Acl", UdfAppType::ipv6Acl },
    { "macAcl", UdfAppType::macAcl },
    { "ipv4TrafficPolicy", UdfAppType::ipv4TrafficPolicy },
};

/// A name of the table; or a number, so that one can be tried that there is not.
template< class Value, class Number, class Table >
Value readNameOrNumber( const YamlNode& node, const Table& table )
{
    if ( looksLikeANumber( node ) ) {
        Number number = 0;
        node.read( number );
        return static_cast< Value >( number );
    }
    Value value{};
    node.read( value, table );
    return value;
}

UdfDesc::LagHashingMask readLagMask( const YamlNode& node )
{
    constexpr Agent::U8 maskBytes = 4;
    UdfDesc::LagHashingMask mask;
    Agent::U8 index = 0;
    node.readItems( [ & ]( const YamlNode& item ) {
        if ( index == maskBytes ) {
            item.fail( "expected at most 4 mask bytes" );
        }
        item.read( mask[ index ] );
        ++index;
    } );
    return mask;
}

/// A number of one byte.
Agent::U8 readByte( const YamlNode& node )
{
    Agent::U8 number = 0;
    node.read( number );
    return number;
}

} // namespace

void readUdfDesc( Input::YamlMembers& members, UdfDesc& desc )
{
    members.required( "base", [ & ]( const YamlNode& node ) {
        desc.baseIs( readNameOrNumber< UdfOffsetBase, Agent::U32 >( node, bases ) );
    } );
    members.optional( "ethertype",
                      [ & ]( const YamlNode& node ) { desc.ethTypeIs( readEtherType( node ) ); } );
    members.optional( "inner-ethertype", [ & ]( const YamlNode& node ) {
        desc.innerEtherTypeIs( readEtherType( node ) );
    } );
    members.optional( "protocol",
                      [ & ]( const YamlNode& node ) { desc.ipProtoIs( readIpProtocol( node ) ); } );
    members.required( "offset",
                      [ & ]( const YamlNode& node ) { desc.offsetIs( readByte( node ) ); } );
    members.required( "length",
                      [ & ]( const YamlNode& node ) { desc.lengthIs( readByte( node ) ); } );
    members.optional( "priority",
                      [ & ]( const YamlNode& node ) { desc.priorityIs( readByte( node ) ); } );
    members.optional( "app", [ & ]( const YamlNode& node ) {
        desc.appTypeIs( readNameOrNumber< UdfAppType, Agent::U8 >( node, apps ) );
    } );
    members.optional( "lag-mask", [ & ]( const YamlNode& node ) {
        desc.lagHashingIs( true );
        desc.lagHashingMaskIs( readLagMask( node ) );
    } );
}

std::string udfPlaceText( const UdfDesc& desc )
{
    std::string base = fmt::format( "base {}", static_cast< Agent::U32 >( desc.base() ) );
    for ( const auto& [ name, value ] : bases ) {
        if ( value == desc.base() ) {
            base = name;
        }
    }
    return fmt::format( "{} {} at {} from {}", desc.length(), desc.length() == 1 ? "byte" : "bytes",
                        desc.offset(), base );
}

} // namespace Tool

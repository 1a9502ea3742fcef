#include "tools/udf/UdfExplanation.h"

#include "tools/scenario/PacketNames.h"
#include "tools/udf/UdfNotes.h"
#include "tools/udf/UdfOnChip.h"
#include "tools/udf/UdfProgramming.h"

#include <fmt/format.h>
#include <string>
#include <utility>
#include <vector>

namespace Tool {

namespace {

using PeloraTcam::UdfDesc;

constexpr int bitsPerByte = 8;

/// The explanation while it is put together.
struct Explanation
{
    Json json = Json::object();
    Json lines = Json::array();

    void say( std::string_view heading, const std::string& text )
    {
        lines.push_back( { heading, text } );
    }
};

/// "byte 6", "bytes 6 to 7"
std::string bytesText( int first, int count )
{
    return count == 1 ? fmt::format( "byte {}", first )
                      : fmt::format( "bytes {} to {}", first, first + count - 1 );
}

// ---- The UDF module --------------------------------------------------------------------------

std::string headerText( bcm_udf_layer_t layer, const Sim::SdkNumbering& numbering )
{
    const std::pair< bcm_udf_layer_t, const char* > headers[] = {
        { numbering.bcmUdfLayerL2Header, "the L2 header" },
        { numbering.bcmUdfLayerL3OuterHeader, "the outer L3 header" },
        { numbering.bcmUdfLayerL3InnerHeader, "the inner L3 header" },
        { numbering.bcmUdfLayerL4OuterHeader, "the outer L4 header" },
        { numbering.bcmUdfLayerL4InnerHeader, "the inner L4 header" },
    };
    for ( const auto& [ value, text ] : headers ) {
        if ( value == layer ) {
            return text;
        }
    }
    return numbering.nameOf( layer );
}

void explainPlace( const bcm_udf_t& udf,
                   const UdfDesc& desc,
                   const Sim::SdkNumbering& numbering,
                   Explanation& told )
{
    const int first = udf.start() / bitsPerByte;
    std::string matches = fmt::format( "{}, counted from the start of {}",
                                       bytesText( first, udf.width() / bitsPerByte ),
                                       headerText( udf.layer(), numbering ) );
    if ( first != desc.offset() ) {
        matches += fmt::format( ": offset {} behind a header of {} bytes", desc.offset(),
                                first - desc.offset() );
    }
    const std::vector< int > chunks = chunksIn( udf.hw_bmap() );
    told.say( "Matches", matches );
    told.say( "Chip gets", fmt::format( "layer {}, start {} bits, width {} bits, {}",
                                        numbering.nameOf( udf.layer() ), udf.start(), udf.width(),
                                        chunksText( chunks ) ) );
    told.json[ "udf" ] = { { "layer", numbering.nameOf( udf.layer() ) },
                           { "start", udf.start() },
                           { "width", udf.width() },
                           { "chunks", chunks } };
}

std::string ipText( bcm_udf_pkt_format_ip_t ip, const Sim::SdkNumbering& numbering )
{
    if ( ip == numbering.bcmUdfPktFormatIp4 ) {
        return "IPv4";
    }
    return ip == numbering.bcmUdfPktFormatIp6 ? "IPv6" : numbering.nameOf( ip );
}

/// "ipv4 (0x0800) with an outer IPv4 header, IP protocol udp (17), no tunnel"
std::string packetsText( const bcm_udf_pkt_format_info_t& format,
                         const Sim::SdkNumbering& numbering )
{
    std::string text = fmt::format( "EtherType {}", etherTypeText( format.ethertype() ) );
    if ( format.outer_ip() != bcm_udf_pkt_format_ip_t{} ) {
        text += fmt::format( " with an outer {} header", ipText( format.outer_ip(), numbering ) );
    }
    if ( format.l2() == numbering.bcmUdfPktFormatL2EthII ) {
        text += " in Ethernet II frames";
    }
    text += format.ip_protocol_mask() == 0
                ? ", any IP protocol"
                : fmt::format( ", IP protocol {}", ipProtocolText( format.ip_protocol() ) );
    if ( format.tunnel() == numbering.bcmUdfPktFormatTunnelGre ) {
        text += fmt::format( ", {} in a GRE tunnel", ipText( format.inner_ip(), numbering ) );
    } else {
        text += ", no tunnel";
    }
    if ( format.vlan_tag() == numbering.bcmUdfPktFormatVlanTagAny ) {
        text += ", any VLAN tags";
    }
    return text;
}

/// The chip's own name of a value; empty where it has none.
template< class Enumeration >
Json nameOrNull( Enumeration value, const Sim::SdkNumbering& numbering )
{
    return value == Enumeration{} ? Json() : Json( numbering.nameOf( value ) );
}

Json jsonOf( const bcm_udf_pkt_format_info_t& format, const Sim::SdkNumbering& numbering )
{
    return { { "ethertype", format.ethertype() },
             { "ethertypeMask", format.ethertype_mask() },
             { "l2", nameOrNull( format.l2(), numbering ) },
             { "vlanTag", nameOrNull( format.vlan_tag(), numbering ) },
             { "outerIp", nameOrNull( format.outer_ip(), numbering ) },
             { "innerIp", nameOrNull( format.inner_ip(), numbering ) },
             { "tunnel", nameOrNull( format.tunnel(), numbering ) },
             { "ipProtocol", format.ip_protocol() },
             { "ipProtocolMask", format.ip_protocol_mask() },
             { "priority", format.prio() } };
}

void explainFormat( bcm_udf_id_t id,
                    const Sim::SimUdfModule& module,
                    RunContext& context,
                    Explanation& told )
{
    const Sim::SdkNumbering& numbering = context.numbering();
    for ( const auto& [ formatId, format ] : module.state().pktFormats ) {
        if ( !format.udfs.contains( id ) ) {
            continue;
        }
        std::vector< std::string > others;
        for ( const bcm_udf_id_t other : format.udfs ) {
            if ( other != id ) {
                others.push_back( udfText( other, context ) );
            }
        }
        told.say( "Packets", packetsText( format.info, numbering ) );
        told.say( "Packet format",
                  others.empty()
                      ? fmt::format( "{}, of its own, priority {}", formatId, format.info.prio() )
                      : fmt::format( "{}, shared with {}, priority {}", formatId,
                                     fmt::join( others, ", " ), format.info.prio() ) );
        told.json[ "packetFormat" ] = jsonOf( format.info, numbering );
        told.json[ "packetFormat" ][ "id" ] = formatId;
        told.json[ "packetFormat" ][ "sharedWith" ] = others;
    }
}

void explainHash( bcm_udf_id_t id, const Sim::SimUdfModule& module, Explanation& told )
{
    const auto found = module.state().hashConfigs.find( id );
    told.json[ "lagHashing" ] = Json();
    if ( found == module.state().hashConfigs.end() ) {
        told.say( "LAG hash", "not fed" );
        return;
    }
    std::vector< unsigned > mask;
    for ( unsigned index = 0; index < found->second.mask_length(); ++index ) {
        mask.push_back( found->second.hash_mask( index ) );
    }
    told.say( "LAG hash",
              fmt::format( "fed, byte by byte through the mask {:02X}", fmt::join( mask, " " ) ) );
    told.json[ "lagHashing" ] = { { "mask", mask } };
}

void explainOnModule( bcm_udf_id_t id,
                      const UdfDesc& desc,
                      const Sim::SimUdfModule& module,
                      RunContext& context,
                      Explanation& told )
{
    explainPlace( module.state().udfs.at( id ).udf, desc, context.numbering(), told );
    explainFormat( id, module, context, told );
    explainHash( id, module, told );
}

// ---- The flexible parser ---------------------------------------------------------------------

void explainOnFlexParser( bcm_udf_id_t id,
                          const Sim::SimFlexParser& parser,
                          RunContext& context,
                          Explanation& told )
{
    const Sim::SdkNumbering& numbering = context.numbering();
    const Sim::SimFlexParser::Udf& udf = parser.state().at( id );
    const std::vector< int > chunks = chunksIn( udf.chunks );
    std::vector< std::string > others;
    for ( const auto& [ otherId, other ] : parser.state() ) {
        if ( otherId != id && other.format == udf.format ) {
            others.push_back( udfText( otherId, context ) );
        }
    }
    const std::string format = numbering.nameOf( udf.format );
    told.say( "Matches",
              fmt::format( "{}, counted from where the chip's packet format starts; the chip is "
                           "told no base",
                           bytesText( static_cast< int >( udf.offset ) / bitsPerByte,
                                      bytesTaken( id, context ) ) ) );
    told.say( "Chip gets", fmt::format( "offset {} bits, width {} bits, {}", udf.offset, udf.width,
                                        chunksText( chunks ) ) );
    told.say( "Packets", "all of the packet format; the chip is told no IP protocol" );
    told.say( "Packet format",
              others.empty() ? fmt::format( "{}, with no other field", format )
                             : fmt::format( "{}, beside {}", format, fmt::join( others, ", " ) ) );
    told.json[ "udf" ] = { { "offset", udf.offset }, { "width", udf.width }, { "chunks", chunks } };
    told.json[ "packetFormat" ] = { { "name", format }, { "sharedWith", others } };
    told.json[ "lagHashing" ] = Json();
}

// ---- Both ------------------------------------------------------------------------------------

void explainProgrammed( const PeloraTcam::QualIdList& ids,
                        const UdfDesc& desc,
                        RunContext& context,
                        Explanation& told )
{
    const std::size_t users = context.udfs().users( desc );
    const auto id = static_cast< bcm_udf_id_t >( *ids.begin() );
    const Sim::SimulatedChip& chip = context.chip();
    told.json[ "ids" ] = Json( ids );
    told.json[ "users" ] = users;
    if ( chip.udfModule() != nullptr ) {
        explainOnModule( id, desc, *chip.udfModule(), context, told );
    } else {
        explainOnFlexParser( id, *chip.flexParser(), context, told );
    }
    told.say( "On the chip", users == 1 ? std::string( "a new field" )
                                        : fmt::format( "nothing new: it is {}, with one more user",
                                                       udfText( id, context ) ) );
    const std::vector< std::string > notes = udfNotes( id, desc, context );
    for ( const std::string& note : notes ) {
        told.say( "Note", note );
    }
    told.json[ "bytesTaken" ] = bytesTaken( id, context );
    told.json[ "notes" ] = notes;
}

} // namespace

Json explainUdf( RunContext& context, const UdfDesc& desc )
{
    Explanation told;
    context.forgetFailure();
    const UdfProgramming programming = programUdf( context, desc );
    told.json[ "outcome" ] = outcomeName( programming.outcome );
    if ( programming.outcome == Outcome::ok ) {
        explainProgrammed( programming.ids, desc, context, told );
    } else {
        told.json[ "why" ] = programming.why;
        told.say( "Refused", programming.why );
    }
    told.json[ "lines" ] = told.lines;
    return told.json;
}

} // namespace Tool

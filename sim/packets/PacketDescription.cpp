#include "sim/packets/PacketDescription.h"

#include "input/NameHints.h"
#include "sim/packets/DescriptionReader.h"
#include "sim/packets/PacketNumbers.h"

#include <algorithm>
#include <set>
#include <string>
#include <utility>

namespace Sim {

namespace {

constexpr std::uint16_t tunnelSourcePort = 49152; // the first of the dynamic ports

// ---- Sets of kinds -----------------------------------------------------------------------------

using Kinds = unsigned;

constexpr Kinds operator|( PacketKind one, PacketKind other )
{
    return static_cast< Kinds >( one ) | static_cast< Kinds >( other );
}

constexpr Kinds operator|( Kinds some, PacketKind other )
{
    return some | static_cast< Kinds >( other );
}

constexpr bool has( Kinds kinds, PacketKind kind )
{
    return ( kinds & static_cast< Kinds >( kind ) ) != 0;
}

constexpr Kinds withPorts = PacketKind::tcp | PacketKind::udp | PacketKind::sctp;
constexpr Kinds icmps = PacketKind::icmp | PacketKind::icmp6;
constexpr Kinds payloads = withPorts | icmps | PacketKind::ip;
constexpr Kinds tunnels =
    PacketKind::vxlan | PacketKind::geneve | PacketKind::gre | PacketKind::ipInIp;
constexpr Kinds withIp = payloads | tunnels;
constexpr Kinds all = withIp | PacketKind::arp | PacketKind::ethernet;

} // namespace

using Reader = DescriptionReader;

const std::array< Reader::Head, 8 > Reader::packetHeads{ {
    { "tcp", PacketKind::tcp, &Reader::readAddressesAndPorts },
    { "udp", PacketKind::udp, &Reader::readAddressesAndPorts },
    { "sctp", PacketKind::sctp, &Reader::readAddressesAndPorts },
    { "icmp", PacketKind::icmp, &Reader::readIp4Addresses },
    { "icmp6", PacketKind::icmp6, &Reader::readIp6Addresses },
    { "ip", PacketKind::ip, &Reader::readAddresses },
    { "arp", PacketKind::arp, &Reader::readIp4Addresses },
    { "ethernet", PacketKind::ethernet, &Reader::readMacs },
} };

const std::array< Reader::Head, 4 > Reader::tunnelHeads{ {
    { "vxlan", PacketKind::vxlan, &Reader::readVniAndAddresses },
    { "geneve", PacketKind::geneve, &Reader::readVniAndAddresses },
    { "gre", PacketKind::gre, &Reader::readAddresses },
    { "ip", PacketKind::ipInIp, &Reader::readAddresses },
} };

const std::array< Reader::Detail, 21 > Reader::details{ {
    { "code", "code", icmps, &Reader::readCode },
    { "df", "df", withIp, &Reader::readDontFragment },
    { "dscp", "dscp", withIp, &Reader::readDscp },
    { "ecn", "ecn", withIp, &Reader::readEcn },
    { "flags", "flags", static_cast< Kinds >( PacketKind::tcp ), &Reader::readFlags },
    { "flow", "flow", withIp, &Reader::readFlow },
    { "fragment", "fragment", payloads, &Reader::readFragment },
    { "id", "id", withIp, &Reader::readId },
    { "key", "key", static_cast< Kinds >( PacketKind::gre ), &Reader::readKey },
    { "length", "", all, &Reader::readLength },
    { "mac", "mac", all & ~static_cast< Kinds >( PacketKind::ethernet ), &Reader::readMacs },
    { "mpls", "mpls", withIp, &Reader::readLabels },
    { "options", "options", withIp, &Reader::readOptions },
    { "payload", "payload", all & ~tunnels, &Reader::readPayload },
    { "protocol", "protocol", static_cast< Kinds >( PacketKind::ip ), &Reader::readProtocol },
    { "reply", "operation", static_cast< Kinds >( PacketKind::arp ), &Reader::readReply },
    { "request", "operation", static_cast< Kinds >( PacketKind::arp ), &Reader::readRequest },
    { "ttl", "ttl", withIp, &Reader::readTtl },
    { "type", "type", icmps | PacketKind::ethernet, &Reader::readType },
    { "vlan", "", all, &Reader::readVlan },
    { "window", "window", static_cast< Kinds >( PacketKind::tcp ), &Reader::readWindow },
} };

std::vector< std::string > DescriptionReader::allWords()
{
    std::set< std::string > words{ "hex", "in", "prio" };
    for ( const auto& names :
          { namesOf( packetHeads ), namesOf( tunnelHeads ), namesOf( details ) } ) {
        words.insert( names.begin(), names.end() );
    }
    return { words.begin(), words.end() };
}

std::vector< std::uint8_t > DescriptionReader::read()
{
    if ( words_.takeIf( "hex" ) || words_.areAllHexadecimal() ) {
        packet_.payload = words_.takeAllBytes();
        return packet_.payload;
    }
    readHead( packetHeads, "a kind of packet" );
    readDetails();
    finishLayer();
    return paddedBytes();
}

template< std::size_t count >
void DescriptionReader::readHead( const std::array< Head, count >& heads,
                                  std::string_view expected )
{
    head_ = words_.take( expected );
    const auto* const head = std::ranges::find( heads, head_.text, &Head::name );
    if ( head == heads.end() ) {
        words_.fail( head_, quoted( head_.text ) + " is not " + std::string( expected ) +
                                Input::nameHint( head_.text, namesOf( heads ) ) );
    }
    packet_.layers.emplace_back();
    layer().kind = head->kind;
    layer().type = head->kind == PacketKind::icmp6 ? 128 : 8; // a request for an echo
    given_.clear();
    ( this->*head->read )();
}

void DescriptionReader::readDetails()
{
    while ( !words_.atEnd() ) {
        const DescriptionWord word = words_.take( "a word" );
        if ( word.text == "in" ) {
            readTunnel();
        } else {
            readDetail( word );
        }
    }
}

void DescriptionReader::readDetail( const DescriptionWord& word )
{
    const auto* const detail = std::ranges::find( details, word.text, &Detail::name );
    if ( detail == details.end() ) {
        std::vector< std::string > names = namesOf( details );
        names.emplace_back( "in" );
        words_.fail( word,
                     "unknown word " + quoted( word.text ) + Input::nameHint( word.text, names ) );
    }
    if ( !has( detail->kinds, layer().kind ) ) {
        words_.fail( word, quoted( word.text ) + " is not for " + quoted( head_.text ) );
    }
    if ( !detail->counted.empty() && !given_.insert( detail->counted ).second ) {
        words_.fail( word, detail->counted == "operation"
                               ? "'request' or 'reply' is given twice"
                               : quoted( word.text ) + " is given twice" );
    }
    detail_ = word;
    ( this->*detail->read )();
}

void DescriptionReader::readTunnel()
{
    finishLayer();
    const DescriptionWord name = words_.peek();
    const bool isOnlyIp = !needsEthernet( layer() ) && layer().labels.empty();
    readHead( tunnelHeads, "a kind of tunnel" );
    if ( layer().kind == PacketKind::ipInIp && !isOnlyIp ) {
        words_.fail( name, "only IP goes into 'ip', without 'mac', 'vlan' and 'mpls'" );
    }
    const bool isUdp = layer().kind == PacketKind::vxlan || layer().kind == PacketKind::geneve;
    if ( isUdp ) {
        layer().sourcePort = tunnelSourcePort;
        layer().destinationPort =
            layer().kind == PacketKind::vxlan ? UdpPorts::vxlan : UdpPorts::geneve;
    }
}

void DescriptionReader::finishLayer()
{
    const auto require = [ this ]( PacketKind kind, std::string_view name ) {
        if ( layer().kind == kind && !given_.contains( name ) ) {
            words_.fail( head_, quoted( head_.text ) + " needs " + quoted( name ) );
        }
    };
    require( PacketKind::ethernet, "type" );
    require( PacketKind::ip, "protocol" );
    const bool hasNoPlaceForId = isIp6( layer() ) && !layer().isFragment;
    if ( given_.contains( "id" ) && hasNoPlaceForId ) {
        words_.fail( id_, "'id' is for IPv4 and for fragments" );
    }
}

std::vector< std::uint8_t > DescriptionReader::paddedBytes()
{
    std::vector< std::uint8_t > bytes = bytesOf( packet_ );
    if ( length_ != 0 && length_ < bytes.size() ) {
        words_.fail( lengthWord_, "the packet has " + std::to_string( bytes.size() ) +
                                      " bytes without padding" );
    }
    if ( bytes.size() > mostDescribedBytes ) {
        words_.fail( words_.peek(), "the packet has " + std::to_string( bytes.size() ) +
                                        " bytes, the most are " +
                                        std::to_string( mostDescribedBytes ) );
    }
    if ( length_ > bytes.size() ) {
        packet_.payload.resize( packet_.payload.size() + length_ - bytes.size() );
        bytes = bytesOf( packet_ );
    }
    return bytes;
}

// ---- First words -------------------------------------------------------------------------------

void DescriptionReader::requireOneVersion( const DescriptionWord& destination )
{
    if ( layer().source.is6 != layer().destination.is6 ) {
        words_.fail( destination, "the source is of IPv" +
                                      std::string( layer().source.is6 ? "6" : "4" ) +
                                      ", the destination is not" );
    }
}

void DescriptionReader::readAddresses()
{
    layer().source = words_.takeAddress();
    words_.takeExactly( ">" );
    const DescriptionWord destination = words_.peek();
    layer().destination = words_.takeAddress();
    requireOneVersion( destination );
}

void DescriptionReader::readIp4Addresses()
{
    const DescriptionWord source = words_.peek();
    readAddresses();
    if ( layer().source.is6 ) {
        words_.fail( source, "expected an IPv4 address" );
    }
}

void DescriptionReader::readIp6Addresses()
{
    const DescriptionWord source = words_.peek();
    readAddresses();
    if ( !layer().source.is6 ) {
        words_.fail( source, "expected an IPv6 address" );
    }
}

void DescriptionReader::readAddressesAndPorts()
{
    layer().source = words_.takeAddressAndPort( layer().sourcePort );
    words_.takeExactly( ">" );
    const DescriptionWord destination = words_.peek();
    layer().destination = words_.takeAddressAndPort( layer().destinationPort );
    requireOneVersion( destination );
}

void DescriptionReader::readMacs()
{
    layer().sourceMac = words_.takeMac();
    words_.takeExactly( ">" );
    layer().destinationMac = words_.takeMac();
}

void DescriptionReader::readVniAndAddresses()
{
    layer().vni = static_cast< std::uint32_t >( words_.takeNumber( { 0, 0xFFFFFF } ) );
    readAddresses();
}

std::vector< std::string > descriptionWords()
{
    return DescriptionReader::allWords();
}

Packet packetFromDescription( std::string_view description, const DescriptionPlace& place )
{
    Packet packet;
    packet.bytes = DescriptionReader( description, place ).read();
    packet.wireLength = static_cast< std::uint32_t >( packet.bytes.size() );
    return packet;
}

} // namespace Sim

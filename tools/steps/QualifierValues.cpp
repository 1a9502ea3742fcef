#include "tools/steps/QualifierValues.h"

#include "agent/tcam/FieldEnumerations.h"
#include "tools/scenario/EnumeratorReader.h"
#include "tools/scenario/PacketNames.h"
#include "tools/scenario/PrefixReader.h"
#include "tools/translation/TranslatedNames.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <limits>
#include <optional>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace Tool {

using Agent::U32;
using Agent::U8;
using Input::YamlNode;
using PeloraTcam::QualifierType;
using Reference::IpPrefix;
using Reference::Masked;
using Reference::MaskedBytes;
using Reference::QualifierForm;
using Reference::QualifierKind;
using Reference::QualifierMatch;
using Reference::SdkEnumerator;

namespace {

constexpr unsigned bitsOfByte = 8;
constexpr std::size_t bytesOfMac = sizeof( bcm_mac_t );

U32 ones( unsigned bits )
{
    return std::numeric_limits< U32 >::max() >> ( 32 - bits );
}

std::string textOf( const YamlNode& node )
{
    std::string text;
    node.read( text );
    return text;
}

/// Reads `{ data, mask }`, or data alone. `readOne` makes a value of a node; `all` is the mask of
/// data alone.
template< class Value, class ReadOne >
std::pair< Value, Value > readMasked( const YamlNode& node, Value all, const ReadOne& readOne )
{
    if ( node.kind() != YamlNode::Kind::mapping ) {
        return { readOne( node ), all };
    }
    Value data{};
    Value mask = all;
    node.readMembers( [ & ]( Input::YamlMembers& members ) {
        members.required( "data", [ & ]( const YamlNode& part ) { data = readOne( part ); } );
        members.optional( "mask", [ & ]( const YamlNode& part ) { mask = readOne( part ); } );
    } );
    return { data, mask };
}

// ---- Numbers ---------------------------------------------------------------------------------

constexpr QualifierType etherTypes[] = { QualifierType::etherType, QualifierType::etherTypeL2,
                                         QualifierType::innerEtherType,
                                         QualifierType::greProtocol };
constexpr QualifierType ipProtocols[] = { QualifierType::ipProtocol, QualifierType::innerIpProtocol,
                                          QualifierType::ip6NextHeader };

template< std::size_t size >
bool isAmong( const QualifierType ( &list )[ size ], QualifierType qualifier )
{
    return std::ranges::count( list, qualifier ) != 0;
}

/// The names of numbers that a qualifier has. The first name of each list is that of 0, which
/// stands for "any": an entry that asks for nothing does not ask.
std::span< const PacketName > numberNames( QualifierType qualifier )
{
    return isAmong( etherTypes, qualifier )    ? etherTypeNames().subspan( 1 )
           : isAmong( ipProtocols, qualifier ) ? ipProtocolNames().subspan( 1 )
                                               : std::span< const PacketName >();
}

U32 readNumber( const YamlNode& node, const QualifierForm& form )
{
    U32 number = 0;
    const std::span< const PacketName > names = numberNames( form.qualifier );
    if ( names.empty() || looksLikeANumber( node ) ) {
        node.read( number, 0, ones( form.bits ) );
        return number;
    }
    std::uint16_t named = 0;
    node.read( named, names );
    return named;
}

QualifierMatch readNumberMatch( const YamlNode& node, const QualifierForm& form )
{
    const auto [ data, mask ] = readMasked( node, ones( form.bits ), [ & ]( const YamlNode& part ) {
        return readNumber( part, form );
    } );
    return { form.qualifier, Masked< U32 >{ data, mask } };
}

// ---- Addresses -------------------------------------------------------------------------------

constexpr QualifierType ip4Addresses[] = { QualifierType::srcIp, QualifierType::dstIp,
                                           QualifierType::innerSrcIp, QualifierType::innerDstIp };

constexpr QualifierType macs[] = { QualifierType::srcMac, QualifierType::dstMac };

IpPrefix readPrefixOf( const YamlNode& node, bool isV6 )
{
    const IpPrefix prefix = readPrefix( node );
    if ( prefix.address.isV6() != isV6 ) {
        node.fail( fmt::format( "expected an {} prefix, found '{}'", isV6 ? "IPv6" : "IPv4",
                                textOf( node ) ) );
    }
    return prefix;
}

/// An IPv4 address as a prefix, or data and mask each as an address or a number.
QualifierMatch readIp4Match( const YamlNode& node, const QualifierForm& form )
{
    const auto isNumber = []( const YamlNode& part ) {
        const std::string text = textOf( part );
        return text.find_first_of( ".:" ) == std::string::npos && looksLikeANumber( part );
    };
    if ( node.kind() != YamlNode::Kind::mapping && !isNumber( node ) ) {
        const Masked< bcm_ip_t > ip = Reference::ip4Value( readPrefixOf( node, false ) );
        return { form.qualifier, Masked< U32 >{ ip.value, ip.mask } };
    }
    const auto [ data, mask ] = readMasked( node, ones( 32 ), [ & ]( const YamlNode& part ) {
        return isNumber( part ) ? readNumber( part, form )
                                : readPrefixOf( part, false ).address.value();
    } );
    return { form.qualifier, Masked< U32 >{ data, mask } };
}

MaskedBytes::Bytes onesOf( std::size_t length )
{
    MaskedBytes::Bytes bytes{};
    std::fill_n( bytes.begin(), length, U8{ 0xFF } );
    return bytes;
}

QualifierMatch readIp6Match( const YamlNode& node, const QualifierForm& form )
{
    constexpr U8 length = sizeof( bcm_ip6_t );
    if ( node.kind() != YamlNode::Kind::mapping ) {
        const Reference::Ip6Value ip6( readPrefixOf( node, true ) );
        MaskedBytes bytes{ {}, {}, length };
        std::ranges::copy( ip6.data, bytes.value.begin() );
        std::ranges::copy( ip6.mask, bytes.mask.begin() );
        return { form.qualifier, bytes };
    }
    const auto [ data, mask ] = readMasked( node, onesOf( length ), []( const YamlNode& part ) {
        return readPrefixOf( part, true ).address.bytes();
    } );
    return { form.qualifier, MaskedBytes{ data, mask, length } };
}

// ---- MAC addresses ---------------------------------------------------------------------------

/// A byte in hexadecimal, of at most two digits.
std::optional< U8 > parsedByte( std::string_view text )
{
    U8 byte = 0;
    const char* end = text.data() + text.size();
    const auto [ last, error ] = std::from_chars( text.data(), end, byte, 16 );
    const bool isByte = error == std::errc() && last == end && text.size() <= 2;
    return isByte ? std::optional( byte ) : std::nullopt;
}

/// "02:00:00:00:00:01"
std::optional< MaskedBytes::Bytes > parsedMac( std::string_view text )
{
    MaskedBytes::Bytes mac{};
    for ( std::size_t index = 0; index < bytesOfMac; ++index ) {
        const std::size_t end = text.find( ':' );
        const std::optional< U8 > byte = parsedByte( text.substr( 0, end ) );
        const bool isLast = index + 1 == bytesOfMac;
        if ( !byte || isLast != ( end == std::string_view::npos ) ) {
            return std::nullopt;
        }
        mac[ index ] = *byte;
        text.remove_prefix( isLast ? text.size() : end + 1 );
    }
    return mac;
}

MaskedBytes::Bytes requireMac( const YamlNode& node, std::string_view text )
{
    const std::optional< MaskedBytes::Bytes > mac = parsedMac( text );
    if ( !mac ) {
        node.fail( fmt::format( "expected a MAC address such as '02:00:00:00:00:01', found '{}'",
                                textOf( node ) ) );
    }
    return *mac;
}

/// A MAC address, one with a mask behind a slash, or data and mask.
QualifierMatch readMacMatch( const YamlNode& node, const QualifierForm& form )
{
    constexpr U8 length = bytesOfMac;
    if ( node.kind() != YamlNode::Kind::mapping ) {
        const std::string text = textOf( node );
        const std::size_t slash = text.find( '/' );
        const MaskedBytes::Bytes data = requireMac( node, text.substr( 0, slash ) );
        const MaskedBytes::Bytes mask = slash == std::string::npos
                                            ? onesOf( length )
                                            : requireMac( node, text.substr( slash + 1 ) );
        return { form.qualifier, MaskedBytes{ data, mask, length } };
    }
    const auto [ data, mask ] = readMasked( node, onesOf( length ), []( const YamlNode& part ) {
        return requireMac( part, textOf( part ) );
    } );
    return { form.qualifier, MaskedBytes{ data, mask, length } };
}

// ---- Enumerators -----------------------------------------------------------------------------

/// A qualifier whose values are enumerators.
struct EnumeratedQualifier
{
    QualifierType qualifier;
    std::string_view map; ///< that the library translates the agent's enumerators with
    std::span< const PeloraTcam::EnumeratorName > agentNames;
    std::vector< std::string > ( *sdkNames )();
};

template< class AgentType, class SdkType >
EnumeratedQualifier enumerated( QualifierType qualifier, std::string_view map )
{
    return { qualifier, map, PeloraTcam::EnumeratorNames< AgentType >::rows,
             &Sim::SdkNumbering::namesOf< SdkType > };
}

EnumeratedQualifier enumeratedQualifierOf( QualifierType qualifier )
{
    using namespace PeloraTcam;
    switch ( qualifier ) {
    case QualifierType::dropReason:
        return enumerated< FieldDropReason, bcm_field_drop_reason_t >( qualifier, "dropReasonMap" );
    case QualifierType::forwardingType:
        return enumerated< FieldForwardingType, bcm_field_ForwardingType_t >( qualifier,
                                                                              "forwardingTypeMap" );
    case QualifierType::fragType:
        return enumerated< FieldFragType, bcm_field_IpFrag_t >( qualifier, "fragTypeMap" );
    case QualifierType::innerIpType:
    case QualifierType::ipType:
        return enumerated< FieldIpType, bcm_field_IpType_t >( qualifier, "ipTypeMap" );
    case QualifierType::l2Format:
        return enumerated< FieldL2Format, bcm_field_L2Format_t >( qualifier, "l2FormatMap" );
    case QualifierType::l2PktType:
    case QualifierType::overlayL2PktType:
        return enumerated< FieldL2PktType, bcm_field_l2_pkt_type_t >( qualifier, "l2PktTypeMap" );
    case QualifierType::overlayPktType:
    case QualifierType::pktType:
        return enumerated< FieldPacketType, bcm_field_pkt_type_t >( qualifier, "pktTypeMap" );
    case QualifierType::pktFwdType:
        return enumerated< FieldPktFwdType, bcm_field_PktFwdType_t >( qualifier, "pktFwdTypeMap" );
    case QualifierType::tnlType:
        return enumerated< FieldTunnelType, bcm_field_TunnelType_t >( qualifier, "tunnelTypeMap" );
    default:
        throw std::logic_error( "a qualifier without a list of its enumerators" );
    }
}

/// What all of the SDK's enumerators of one type begin with: "bcmFieldIpType".
std::size_t commonLength( const std::vector< std::string >& names )
{
    std::size_t length = names.empty() ? 0 : names.front().size();
    for ( const std::string& name : names ) {
        const auto [ end, other ] = std::ranges::mismatch( names.front(), name );
        length = std::min( length, static_cast< std::size_t >( end - names.front().begin() ) );
    }
    return length;
}

/// The names of the values: the agent's, and the SDK's with and without what they begin with.
std::vector< std::pair< std::string, U32 > > namesOf( const EnumeratedQualifier& row,
                                                      const Sim::SdkNumbering& numbering )
{
    std::vector< std::pair< std::string, U32 > > names;
    for ( const PeloraTcam::EnumeratorName& agent : row.agentNames ) {
        const std::string_view sdk = sdkNameOf( row.map, agent.number );
        if ( const std::optional< U32 > value = numbering.valueOf( sdk ) ) {
            names.emplace_back( agent.name, *value );
        }
    }
    const std::vector< std::string > sdkNames = row.sdkNames();
    const std::size_t common = commonLength( sdkNames );
    for ( const std::string& name : sdkNames ) {
        names.emplace_back( name.substr( common ), numbering.valueOf( name ).value() );
        names.emplace_back( name, numbering.valueOf( name ).value() );
    }
    return names;
}

QualifierMatch
readEnumeratorMatch( const YamlNode& node, const QualifierForm& form, const ReadContext& context )
{
    U32 value = 0;
    node.read( value, namesOf( enumeratedQualifierOf( form.qualifier ), context.numbering() ) );
    return { form.qualifier, SdkEnumerator{ value } };
}

} // namespace

QualifierMatch
readQualifierMatch( const YamlNode& node, const QualifierForm& form, const ReadContext& context )
{
    switch ( form.kind ) {
    case QualifierKind::number:
        return isAmong( ip4Addresses, form.qualifier ) ? readIp4Match( node, form )
                                                       : readNumberMatch( node, form );
    case QualifierKind::enumerator:
        return readEnumeratorMatch( node, form, context );
    case QualifierKind::bytes:
        break;
    }
    return isAmong( macs, form.qualifier ) ? readMacMatch( node, form )
                                           : readIp6Match( node, form );
}

// ---- User-defined fields ---------------------------------------------------------------------

namespace {

/// The number as bytes, the most significant first.
std::vector< U8 > bytesOfNumber( Agent::U64 number )
{
    std::vector< U8 > bytes;
    for ( ; number != 0; number >>= bitsOfByte ) {
        bytes.insert( bytes.begin(), static_cast< U8 >( number ) );
    }
    return bytes;
}

/// The bytes of hexadecimal digits; of an odd number of them, the first makes a byte.
std::optional< std::vector< U8 > > bytesOfDigits( std::string_view digits )
{
    std::vector< U8 > bytes;
    while ( !digits.empty() ) {
        const std::size_t count = 2 - digits.size() % 2;
        const std::optional< U8 > byte = parsedByte( digits.substr( 0, count ) );
        if ( !byte ) {
            return std::nullopt;
        }
        bytes.push_back( *byte );
        digits.remove_prefix( count );
    }
    return bytes;
}

/// "00 13 88"
std::optional< std::vector< U8 > > separatedBytes( const std::string& text )
{
    std::vector< U8 > bytes;
    std::istringstream words( text );
    for ( std::string word; words >> word; ) {
        const std::optional< U8 > byte = parsedByte( word );
        if ( !byte || word.size() != 2 ) {
            return std::nullopt;
        }
        bytes.push_back( *byte );
    }
    return bytes;
}

void dropLeadingZeros( std::vector< U8 >& bytes )
{
    bytes.erase( bytes.begin(),
                 std::ranges::find_if( bytes, []( U8 byte ) { return byte != 0; } ) );
}

} // namespace

UdfValue readUdfValue( const YamlNode& node )
{
    const std::string text = textOf( node );
    UdfValue value;
    std::optional< std::vector< U8 > > bytes;
    if ( text.find( ' ' ) != std::string::npos ) {
        bytes = separatedBytes( text );
    } else if ( text.starts_with( "0x" ) && text.size() > 2 ) {
        bytes = bytesOfDigits( std::string_view( text ).substr( 2 ) );
        value.isNumber = true;
    } else {
        Agent::U64 number = 0;
        node.read( number );
        bytes = bytesOfNumber( number );
        value.isNumber = true;
    }
    if ( !bytes ) {
        node.fail( "expected a whole number, or bytes such as '00 13 88', found '" + text + "'" );
    }
    if ( value.isNumber ) {
        dropLeadingZeros( *bytes );
    }
    if ( bytes->size() > MaskedBytes::most ) {
        node.fail( fmt::format( "expected at most {} bytes, found {}", MaskedBytes::most,
                                bytes->size() ) );
    }
    value.bytes = std::move( *bytes );
    return value;
}

} // namespace Tool

#include "tools/steps/EntryMatch.h"

#include "agent/base/TextPieces.h"
#include "tools/scenario/CompressionReader.h"
#include "tools/scenario/EnumeratorReader.h"
#include "tools/translation/TranslatedNames.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

namespace Tool {

using Input::YamlMembers;
using Input::YamlNode;
using PeloraTcam::QualifierType;
using Reference::QualifierForm;
using Reference::QualifierMatch;

namespace {

using Alias = std::pair< std::string_view, QualifierType >;

// clang-format off
constexpr Alias aliases[] = {
    { "ethertype",     QualifierType::etherType },
    { "fragment",      QualifierType::fragType },
    { "hopLimit",      QualifierType::ip6HopLimit },
    { "icmp",          QualifierType::icmpTypeCode },
    { "innerProtocol", QualifierType::innerIpProtocol },
    { "innerVlan",     QualifierType::innerVlanId },
    { "nextHeader",    QualifierType::ip6NextHeader },
    { "port",          QualifierType::inPort },
    { "protocol",      QualifierType::ipProtocol },
    { "tcpFlags",      QualifierType::tcpControl },
    { "trafficClass",  QualifierType::ip6TrafficClass },
    { "ttl",           QualifierType::ipTtl },
    { "tunnelType",    QualifierType::tnlType },
    { "vlan",          QualifierType::outerVlanId },
    { "vni",           QualifierType::vxlanNetworkId },
};

// clang-format on

// ---- Keys that go together -------------------------------------------------------------------

/// What qualifiers say of the version of IP, outside and inside of a tunnel.
struct IpQualifier
{
    QualifierType qualifier;
    bool isV6;
    bool inner;
};

constexpr IpQualifier ipQualifiers[] = {
    { QualifierType::srcIp, false, false },        { QualifierType::dstIp, false, false },
    { QualifierType::srcIp6, true, false },        { QualifierType::dstIp6, true, false },
    { QualifierType::innerSrcIp, false, true },    { QualifierType::innerDstIp, false, true },
    { QualifierType::innerSrcIp6, true, true },    { QualifierType::innerDstIp6, true, true },
    { QualifierType::ip6FlowLabel, true, false },  { QualifierType::ip6HopLimit, true, false },
    { QualifierType::ip6NextHeader, true, false }, { QualifierType::ip6TrafficClass, true, false },
};

/// Whether a match is for packets of one version of IP, and for which.
std::optional< bool > isForV6( const QualifierMatch& match, const Sim::SdkNumbering& numbering )
{
    constexpr Agent::U32 ipv4 = 0x0800;
    constexpr Agent::U32 ipv6 = 0x86DD;
    if ( const auto* number = std::get_if< Reference::Masked< Agent::U32 > >( &match.value ) ) {
        const bool isExactEtherType =
            number->mask == 0xFFFF && ( match.qualifier == QualifierType::etherType ||
                                        match.qualifier == QualifierType::etherTypeL2 ||
                                        match.qualifier == QualifierType::innerEtherType );
        if ( isExactEtherType && ( number->value == ipv4 || number->value == ipv6 ) ) {
            return number->value == ipv6;
        }
    }
    const auto* enumerator = std::get_if< Reference::SdkEnumerator >( &match.value );
    if ( enumerator == nullptr || ( match.qualifier != QualifierType::ipType &&
                                    match.qualifier != QualifierType::innerIpType ) ) {
        return std::nullopt;
    }
    const auto value = static_cast< bcm_field_IpType_t >( enumerator->value );
    const auto isOneOf = [ value ]( std::initializer_list< bcm_field_IpType_t > types ) {
        return std::ranges::count( types, value ) != 0;
    };
    if ( isOneOf( { numbering.bcmFieldIpTypeIpv4Any, numbering.bcmFieldIpTypeIpv4NoOpts,
                    numbering.bcmFieldIpTypeIpv4WithOpts } ) ) {
        return false;
    }
    return isOneOf( { numbering.bcmFieldIpTypeIpv6, numbering.bcmFieldIpTypeIpv6NoExtHdr,
                      numbering.bcmFieldIpTypeIpv6OneExtHdr,
                      numbering.bcmFieldIpTypeIpv6TwoExtHdr } )
               ? std::optional( true )
               : std::nullopt;
}

} // namespace

void AskedQualifiers::add( const std::string& key, QualifierType qualifier, const YamlNode& node )
{
    const std::string_view function = Reference::findQualifierForm( qualifier )->function;
    const auto [ earlier, isFirst ] = keys_.emplace( function, key );
    if ( !isFirst ) {
        node.fail( fmt::format( "'{}' asks for what '{}' does", key, earlier->second ) );
    }
    const auto* row = std::ranges::find( ipQualifiers, qualifier, &IpQualifier::qualifier );
    if ( row != std::end( ipQualifiers ) ) {
        requireIp( key, row->isV6, row->inner, node );
    }
}

void AskedQualifiers::requireIp( const std::string& key,
                                 bool isV6,
                                 bool inner,
                                 const YamlNode& node )
{
    const auto nameOf = []( bool which ) { return which ? "IPv6" : "IPv4"; };
    std::optional< Version >& earlier = versions_[ inner ? 1 : 0 ];
    if ( earlier && earlier->isV6 != isV6 ) {
        node.fail( fmt::format( "expected {} as in '{}', found {}", nameOf( earlier->isV6 ),
                                earlier->key, nameOf( isV6 ) ) );
    }
    if ( !earlier ) {
        earlier = { key, isV6 };
    }
}

std::span< const Alias > qualifierAliases()
{
    return aliases;
}

// ---- Reading ---------------------------------------------------------------------------------

namespace {

/// What to write instead of a qualifier that no SDK function asks an entry for by itself.
std::string_view insteadOf( QualifierType qualifier )
{
    switch ( qualifier ) {
    case QualifierType::rangeCheck:
        return "'range' or 'ranges'";
    case QualifierType::srcClassField:
    case QualifierType::dstClassField:
    case QualifierType::interfaceClassL2:
    case QualifierType::interfaceClassL3:
    case QualifierType::interfaceClassPort:
    case QualifierType::interfaceClassVPort:
        return "'class'";
    case QualifierType::udfChunk0:
    case QualifierType::udfChunk1:
    case QualifierType::udfChunk2:
    case QualifierType::udfChunk3:
    case QualifierType::udfChunk4:
    case QualifierType::udfChunk5:
    case QualifierType::udfChunk6:
    case QualifierType::udfChunk7:
        return "'udf'";
    default:
        return {};
    }
}

/// Refuses the agent's other qualifiers, for what they are.
void refuseOthers( YamlMembers& members )
{
    for ( const PeloraTcam::EnumeratorName& row :
          PeloraTcam::EnumeratorNames< QualifierType >::rows ) {
        const auto qualifier = static_cast< QualifierType >( row.number );
        if ( Reference::findQualifierForm( qualifier ) != nullptr ||
             qualifier == QualifierType::udf ) {
            continue;
        }
        members.optional( row.name, [ & ]( const YamlNode& node ) {
            if ( const std::string_view instead = insteadOf( qualifier ); !instead.empty() ) {
                node.fail( fmt::format( "'{}' is asked for with {}", row.name, instead ) );
            }
            node.fail( isTranslated( qualifier )
                           ? fmt::format( "no SDK function asks an entry for '{}'", row.name )
                           : fmt::format( "the library does not take '{}'", row.name ) );
        } );
    }
}

EntryMatch::Range readRange( const YamlNode& node )
{
    EntryMatch::Range range;
    if ( node.kind() != YamlNode::Kind::mapping ) {
        node.read( range.name );
        return range;
    }
    range.outside = true;
    node.readMembers( [ & ]( YamlMembers& members ) { members.required( "not", range.name ); } );
    return range;
}

/// A number is a class id; any other value, and one behind `key`, is one of the table.
EntryMatch::Class readClass( PeloraTcam::PeloraCompressionTableType table, const YamlNode& node )
{
    if ( node.kind() == YamlNode::Kind::mapping ) {
        EntryMatch::Class wanted{ table, Agent::U32{ 0 } };
        node.readMembers( [ & ]( YamlMembers& members ) {
            members.required( "key", [ & ]( const YamlNode& key ) {
                wanted.value = readCompressionKey( table, key );
            } );
        } );
        return wanted;
    }
    std::string text;
    node.read( text );
    if ( !looksLikeANumber( node ) || text.find_first_of( ".:" ) != std::string::npos ) {
        return { table, readCompressionKey( table, node ) };
    }
    Agent::U32 classId = 0;
    node.read( classId, 0, 0xFFFF );
    return { table, classId };
}

EntryMatch::Udf readUdf( const std::string& name, const YamlNode& node )
{
    EntryMatch::Udf udf{ name, {}, {} };
    if ( node.kind() != YamlNode::Kind::mapping ) {
        udf.data = readUdfValue( node );
        return udf;
    }
    node.readMembers( [ & ]( YamlMembers& members ) {
        members.required( "data",
                          [ & ]( const YamlNode& part ) { udf.data = readUdfValue( part ); } );
        members.optional( "mask",
                          [ & ]( const YamlNode& part ) { udf.mask = readUdfValue( part ); } );
    } );
    return udf;
}

/// Reads the values of a `match`.
class MatchReader
{
  public:
    MatchReader( YamlMembers& members, const ReadContext& context, AskedQualifiers& asked )
        : members_( members )
        , context_( context )
        , asked_( asked )
    {}

    EntryMatch read()
    {
        for ( const auto& [ name, qualifier ] : aliases ) {
            qualifierIs( name, *Reference::findQualifierForm( qualifier ) );
        }
        for ( const QualifierForm& form : Reference::qualifierForms() ) {
            qualifierIs( PeloraTcam::nameOfEnumerator( form.qualifier ), form );
        }
        readRanges();
        readClasses();
        readUdfs();
        refuseOthers( members_ );
        return std::move( match_ );
    }

  private:
    void qualifierIs( std::string_view name, const QualifierForm& form )
    {
        members_.optional( name, [ & ]( const YamlNode& node ) {
            const std::string key = fmt::format( "match.{}", name );
            asked_.add( key, form.qualifier, node );
            const QualifierMatch match = readQualifierMatch( node, form, context_ );
            if ( const auto isV6 = isForV6( match, context_.numbering() ) ) {
                const bool inner = form.qualifier == QualifierType::innerEtherType ||
                                   form.qualifier == QualifierType::innerIpType;
                asked_.requireIp( key, *isV6, inner, node );
            }
            match_.qualifiers.push_back( { key, match } );
        } );
    }

    void readRanges()
    {
        members_.optional( "range", [ & ]( const YamlNode& node ) {
            match_.ranges.push_back( readRange( node ) );
        } );
        members_.optional( "ranges", [ & ]( const YamlNode& list ) {
            list.readItems(
                [ & ]( const YamlNode& item ) { match_.ranges.push_back( readRange( item ) ); } );
        } );
    }

    void readClasses()
    {
        members_.optional( "class", [ & ]( const YamlNode& node ) {
            node.readMembers( [ & ]( YamlMembers& tables ) {
                for ( const auto& row : compressionTableNames() ) {
                    tables.optional( row.first, [ & ]( const YamlNode& value ) {
                        match_.classes.push_back( readClass( row.second, value ) );
                    } );
                }
            } );
        } );
    }

    void readUdfs()
    {
        members_.optional( "udf", [ & ]( const YamlNode& node ) {
            node.readPairs( [ & ]( const YamlNode& key, const YamlNode& value ) {
                std::string name;
                key.read( name );
                match_.udfs.push_back( readUdf( name, value ) );
            } );
        } );
    }

    YamlMembers& members_;
    const ReadContext& context_;
    AskedQualifiers& asked_;
    EntryMatch match_;
};

} // namespace

EntryMatch
readEntryMatch( const YamlNode& node, const ReadContext& context, AskedQualifiers& asked )
{
    EntryMatch match;
    node.readMembers(
        [ & ]( YamlMembers& members ) { match = MatchReader( members, context, asked ).read(); } );
    return match;
}

} // namespace Tool

// create-preselector: { name: arp, qualifiers: [ { qualifier: ipType, data: arpRequest } ] }

#include "agent/base/TextPieces.h"
#include "agent/tcam/FieldEnumerations.h"
#include "input/NameHints.h"
#include "tools/run/RunContext.h"
#include "tools/scenario/EnumeratorReader.h"
#include "tools/steps/Refused.h"
#include "tools/steps/StepKinds.h"
#include "tools/translation/TranslatedNames.h"

#include <fmt/format.h>
#include <utility>

namespace Tool {

namespace {

using Agent::U32;
using PeloraTcam::QualifierType;
using Reference::PreselectorFunction;
using Reference::PreselectorQualifier;

constexpr U32 everyBit = 0xFFFFFFFF;

// ---- Reading ---------------------------------------------------------------------------------

/// `map` is the one that the library translates it with.
template< class Enumeration >
U32 readAgentName( const Input::YamlNode& node, std::string_view map )
{
    return static_cast< U32 >(
        readEnumeratorName< Enumeration >( node, [ map ]( Enumeration value ) {
            return isInMap( map, static_cast< U32 >( value ) );
        } ) );
}

/// Reads data that is one of the agent's enumerators, for a qualifier that the library translates.
struct AgentNames
{
    QualifierType qualifier;
    bool legacyToo;       ///< whether the legacy function translates it as well
    std::string_view map; ///< that the library translates it with
    U32 ( *read )( const Input::YamlNode& node, std::string_view map );
};

constexpr AgentNames agentNames[] = {
    { QualifierType::ipType, false, "ipTypeMap", readAgentName< PeloraTcam::FieldIpType > },
    { QualifierType::l2PktType, false, "l2PktTypeMap",
      readAgentName< PeloraTcam::FieldL2PktType > },
    { QualifierType::overlayL2PktType, false, "l2PktTypeMap",
      readAgentName< PeloraTcam::FieldL2PktType > },
    { QualifierType::overlayPktType, false, "pktTypeMap",
      readAgentName< PeloraTcam::FieldPacketType > },
    { QualifierType::pktFwdType, false, "pktFwdTypeMap",
      readAgentName< PeloraTcam::FieldPktFwdType > },
    { QualifierType::pktType, true, "pktTypeMap", readAgentName< PeloraTcam::FieldPacketType > },
    { QualifierType::tnlType, false, "tunnelTypeMap",
      readAgentName< PeloraTcam::FieldTunnelType > },
};

/// The value of an enumerator of the SDK.
U32 readSdkName( const Input::YamlNode& node, const ReadContext& context )
{
    std::string name;
    node.read( name );
    const std::optional< U32 > value = context.numbering().valueOf( name );
    if ( !value ) {
        node.fail( "expected a whole number or the name of an SDK enumerator, found '" + name +
                   "'" + Input::nameHint( name, Sim::SdkNumbering::names() ) );
    }
    return *value;
}

/// Data as a number, or as a name of what the library takes for that qualifier.
U32 readData( const Input::YamlNode& node,
              QualifierType qualifier,
              PreselectorFunction function,
              const ReadContext& context )
{
    if ( looksLikeANumber( node ) ) {
        U32 data = 0;
        node.read( data );
        return data;
    }
    for ( const AgentNames& names : agentNames ) {
        const bool isTranslated = function == PreselectorFunction::current || names.legacyToo;
        if ( names.qualifier == qualifier && isTranslated ) {
            return names.read( node, names.map );
        }
    }
    return readSdkName( node, context );
}

PreselectorQualifier readQualifier( const Input::YamlNode& node,
                                    PreselectorFunction function,
                                    const ReadContext& context )
{
    PreselectorQualifier qualifier;
    qualifier.mask = everyBit;
    node.readMembers( [ & ]( Input::YamlMembers& members ) {
        members.required( "qualifier", [ & ]( const Input::YamlNode& name ) {
            qualifier.qualifier =
                readEnumerator< QualifierType >( name, [ function ]( QualifierType value ) {
                    return isForPreselectors( value, function );
                } );
        } );
        members.required( "data", [ & ]( const Input::YamlNode& data ) {
            qualifier.data = readData( data, qualifier.qualifier, function, context );
        } );
        members.optional( "mask", qualifier.mask );
    } );
    return qualifier;
}

// ---- Running ---------------------------------------------------------------------------------

class CreatePreselector : public Step
{
  public:
    CreatePreselector( std::string name,
                       std::vector< PreselectorQualifier > qualifiers,
                       PreselectorFunction function )
        : name_( std::move( name ) )
        , qualifiers_( std::move( qualifiers ) )
        , function_( function )
    {}

    [[nodiscard]] std::string name() const override { return name_; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        context.preselectorNames().requireFree( name_ );
        const std::optional< bcm_field_presel_t > preselector =
            context.preselectors().create( qualifiers_, function_ );
        if ( !preselector ) {
            return refused( context.lastFailure() );
        }
        context.preselectorNames().add( name_, *preselector );
        return created( *preselector );
    }

  private:
    [[nodiscard]] StepResult created( bcm_field_presel_t preselector ) const
    {
        std::vector< std::string > names;
        for ( const PreselectorQualifier& qualifier : qualifiers_ ) {
            names.push_back( Agent::joinPieces( qualifier.qualifier ) );
        }
        return { Outcome::ok,
                 fmt::format( "id {}, {}", preselector,
                              names.empty() ? "no qualifiers"
                                            : fmt::format( "{}", fmt::join( names, ", " ) ) ),
                 { { "id", preselector }, { "qualifiers", names } } };
    }

    std::string name_;
    std::vector< PreselectorQualifier > qualifiers_;
    PreselectorFunction function_;
};

} // namespace

std::unique_ptr< const Step > readCreatePreselector( const Input::YamlNode& node,
                                                     const ReadContext& context )
{
    std::string name;
    bool legacy = false;
    std::vector< PreselectorQualifier > qualifiers;
    auto function = PreselectorFunction::current;
    node.readMembers( [ & ]( Input::YamlMembers& members ) {
        members.required( "name", name );
        members.optional( "legacy", legacy );
        function = legacy ? PreselectorFunction::legacy : PreselectorFunction::current;
        members.required( "qualifiers", [ & ]( const Input::YamlNode& list ) {
            list.readItems( [ & ]( const Input::YamlNode& item ) {
                qualifiers.push_back( readQualifier( item, function, context ) );
            } );
        } );
    } );
    return std::make_unique< CreatePreselector >( name, qualifiers, function );
}

} // namespace Tool

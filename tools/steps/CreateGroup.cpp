// create-group: { name: acl, stage: ifp, key-size: 320, qualifiers: [ srcIp ], actions: [ drop ] }

#include "agent/base/TextPieces.h"
#include "tools/run/RunContext.h"
#include "tools/scenario/EnumeratorReader.h"
#include "tools/steps/Refused.h"
#include "tools/steps/StepKinds.h"
#include "tools/translation/TranslatedNames.h"

#include <fmt/format.h>
#include <utility>

namespace Tool {

namespace {

using PeloraTcam::ActionType;
using PeloraTcam::QualifierType;
using PeloraTcam::StageType;
using PeloraTcam::TcamKeySize;
using Reference::GroupDesc;

constexpr std::pair< std::string_view, StageType > stages[] = {
    { "vfp", StageType::vfp },
    { "ifp", StageType::ifp },
    { "efp", StageType::efp },
};

bool canBeInAGroup( QualifierType qualifier )
{
    return isTranslated( qualifier );
}

/// The library leaves out the action that stands for nothing to be done.
bool canBeInAGroup( ActionType action )
{
    return isTranslated( action ) || action == ActionType::noAction;
}

/// A list of the enumeration's names or numbers.
template< class Enumeration >
PeloraTcam::EnumerationSet< Enumeration > readSet( const Input::YamlNode& node )
{
    PeloraTcam::EnumerationSet< Enumeration > set;
    node.readItems( [ & ]( const Input::YamlNode& item ) {
        set.insert( readEnumerator< Enumeration >(
            item, []( Enumeration value ) { return canBeInAGroup( value ); } ) );
    } );
    return set;
}

template< class Enumeration >
Json namesOf( const PeloraTcam::EnumerationSet< Enumeration >& set )
{
    Json names = Json::array();
    for ( const Enumeration value : set ) {
        names.push_back( Agent::joinPieces( value ) );
    }
    return names;
}

class CreateGroup : public Step
{
  public:
    CreateGroup( std::string name, const GroupDesc& desc )
        : name_( std::move( name ) )
        , desc_( desc )
    {}

    [[nodiscard]] std::string name() const override { return name_; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        context.groupNames().requireFree( name_ );
        const std::optional< bcm_field_group_t > group = context.groups().create( desc_ );
        if ( !group ) {
            return refused( context.lastFailure() );
        }
        context.groupNames().add( name_, { *group, desc_ } );
        return created( *group, *context.groups().qualifiers( *group ) );
    }

  private:
    [[nodiscard]] StepResult created( bcm_field_group_t group,
                                      const PeloraTcam::QualifierSet& readBack ) const
    {
        return { Outcome::ok,
                 fmt::format( "id {}{}, stage {}, key size {}, qualifiers {}, actions {}", group,
                              desc_.logicalId ? fmt::format( " ({:#010x})", group ) : "",
                              Agent::joinPieces( desc_.stage ),
                              static_cast< unsigned >( desc_.keySize ), readBack.size(),
                              desc_.actions.size() ),
                 { { "id", group },
                   { "stage", Agent::joinPieces( desc_.stage ) },
                   { "keySize", static_cast< unsigned >( desc_.keySize ) },
                   { "qualifiers", namesOf( readBack ) },
                   { "actions", namesOf( desc_.actions ) } } };
    }

    std::string name_;
    GroupDesc desc_;
};

} // namespace

std::unique_ptr< const Step > readCreateGroup( const Input::YamlNode& node, const ReadContext& )
{
    std::string name;
    GroupDesc desc;
    Agent::U32 keySize = 0;
    node.readMembers( [ & ]( Input::YamlMembers& members ) {
        members.required( "name", name );
        members.required( "stage", desc.stage, stages );
        members.required( "key-size", keySize );
        members.required( "qualifiers", [ & ]( const Input::YamlNode& list ) {
            desc.qualifiers = readSet< QualifierType >( list );
        } );
        members.required( "actions", [ & ]( const Input::YamlNode& list ) {
            desc.actions = readSet< ActionType >( list );
        } );
        members.optional( "logical-id", desc.logicalId );
        members.optional( "sub-id", desc.subId );
    } );
    desc.keySize = static_cast< TcamKeySize::TcamKeySizeValue >( keySize );
    return std::make_unique< CreateGroup >( name, desc );
}

} // namespace Tool

// program-udf: { name: vni, base: l4OuterPayload, ethertype: ipv4, protocol: udp, offset: 4,
//                length: 3 }

#include "tools/RunContext.h"
#include "tools/UdfDescReader.h"
#include "tools/steps/Refused.h"
#include "tools/steps/StepKinds.h"

#include <fmt/format.h>
#include <utility>

namespace Tool {

namespace {

using PeloraTcam::QualIdList;
using PeloraTcam::UdfDesc;

/// The manager or the helper refused without asking the SDK.
StepResult refusedWithoutACall( const UdfDesc& desc, bool hasFlexParser )
{
    if ( desc.lagHashing() ) {
        throw StepError( "this chip cannot hash over user-defined fields" );
    }
    if ( !hasFlexParser ) {
        throw StepError( "the library makes no user-defined field without an EtherType" );
    }
    return { Outcome::full, "too few free chunks", Json::object() };
}

class ProgramUdf : public Step
{
  public:
    ProgramUdf( std::string name, const UdfDesc& desc )
        : name_( std::move( name ) )
        , desc_( desc )
    {}

    [[nodiscard]] std::string name() const override { return name_; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        context.udfNames().requireFree( name_ );
        const QualIdList ids = context.udfs().program( desc_ );
        if ( ids.qualIds() != 0 ) {
            context.udfNames().add( name_, { desc_, ids } );
            return programmed( ids, context.udfs().users( desc_ ) );
        }
        // The first failure is the reason; the helper's undoing may meet more.
        return context.firstFailure() ? refused( context.firstFailure() )
                                      : refusedWithoutACall( desc_, context.hasFlexParser() );
    }

  private:
    [[nodiscard]] StepResult programmed( const QualIdList& ids, std::size_t users ) const
    {
        std::string text =
            fmt::format( "id {}, {}", fmt::join( ids, " and " ), udfPlaceText( desc_ ) );
        if ( desc_.lagHashing() ) {
            text += ", feeds the LAG hash";
        }
        if ( users > 1 ) {
            text += fmt::format( ", shared by {}", users );
        }
        return { Outcome::ok,
                 text,
                 { { "ids", Json( ids ) },
                   { "offset", desc_.offset() },
                   { "length", desc_.length() },
                   { "lagHashing", desc_.lagHashing() },
                   { "users", users } } };
    }

    std::string name_;
    UdfDesc desc_;
};

} // namespace

std::unique_ptr< const Step > readProgramUdf( const Sim::YamlNode& node, const ReadContext& )
{
    std::string name;
    UdfDesc desc;
    node.readMembers( [ & ]( Sim::YamlMembers& members ) {
        members.required( "name", name );
        readUdfDesc( members, desc );
    } );
    return std::make_unique< ProgramUdf >( name, desc );
}

} // namespace Tool

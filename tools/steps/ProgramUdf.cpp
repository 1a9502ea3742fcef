// program-udf: { name: vni, base: l4OuterPayload, ethertype: ipv4, protocol: udp, offset: 4,
//                length: 3 }

#include "tools/run/RunContext.h"
#include "tools/scenario/UdfDescReader.h"
#include "tools/steps/Refused.h"
#include "tools/steps/StepKinds.h"
#include "tools/udf/UdfNotes.h"
#include "tools/udf/UdfOnChip.h"
#include "tools/udf/UdfProgramming.h"

#include <fmt/format.h>
#include <string>
#include <utility>
#include <vector>

namespace Tool {

namespace {

using PeloraTcam::QualIdList;
using PeloraTcam::UdfDesc;

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
        const UdfProgramming programming = programUdf( context, desc_ );
        if ( programming.outcome == Outcome::ok ) {
            context.udfNames().add( name_, { desc_, programming.ids } );
            return programmed( programming.ids, context );
        }
        return programming.failure
                   ? refused( programming.failure )
                   : StepResult{ programming.outcome, programming.why, Json::object() };
    }

  private:
    [[nodiscard]] StepResult programmed( const QualIdList& ids, RunContext& context ) const
    {
        const std::size_t users = context.udfs().users( desc_ );
        std::string text =
            fmt::format( "id {}, {}", fmt::join( ids, " and " ), udfPlaceText( desc_ ) );
        if ( desc_.lagHashing() ) {
            text += ", feeds the LAG hash";
        }
        if ( users > 1 ) {
            text += fmt::format( ", shared by {}", users );
        }
        const auto id = static_cast< bcm_udf_id_t >( *ids.begin() );
        return { Outcome::ok,
                 text,
                 { { "ids", Json( ids ) },
                   { "offset", desc_.offset() },
                   { "length", desc_.length() },
                   { "lagHashing", desc_.lagHashing() },
                   { "users", users },
                   { "given", given( ids, context ) },
                   { "bytesTaken", bytesTaken( id, context ) },
                   { "notes", udfNotes( id, desc_, context ) } } };
    }

    /// What the chip holds now; a line for each of its fields.
    static std::string given( const QualIdList& ids, const RunContext& context )
    {
        std::vector< std::string > texts;
        for ( const Agent::U32 id : ids ) {
            texts.push_back( udfOnChipText( static_cast< bcm_udf_id_t >( id ), context ) );
        }
        return fmt::format( "{}", fmt::join( texts, "; " ) );
    }

    std::string name_;
    UdfDesc desc_;
};

} // namespace

std::unique_ptr< const Step > readProgramUdf( const Input::YamlNode& node, const ReadContext& )
{
    std::string name;
    UdfDesc desc;
    node.readMembers( [ & ]( Input::YamlMembers& members ) {
        members.required( "name", name );
        readUdfDesc( members, desc );
    } );
    return std::make_unique< ProgramUdf >( name, desc );
}

} // namespace Tool

// allocate-policer: { name: voice, mode: trTcm, cir: 10Mbps, pir: 20Mbps, cbs: 64KB, pbs: 128KB }
// release-policer: { name: voice }

#include "agent/base/TextPieces.h"
#include "input/RateUnits.h"
#include "tools/run/RunContext.h"
#include "tools/scenario/PolicerReader.h"
#include "tools/steps/StepKinds.h"

#include <fmt/format.h>
#include <utility>

namespace Tool {

namespace {

using PeloraTcam::Policer;
using PeloraTcam::PolicerId;
using PeloraTcam::PolicerMode;
using PeloraTcam::StageType;
using Reference::PolicerSharing;

constexpr std::pair< std::string_view, StageType > stages[] = {
    { "vfp", StageType::vfp },
    { "ifp", StageType::ifp },
    { "efp", StageType::efp },
};

class AllocatePolicer : public Step
{
  public:
    AllocatePolicer( std::string name,
                     const Policer& policer,
                     StageType stage,
                     PolicerSharing sharing )
        : name_( std::move( name ) )
        , policer_( policer )
        , stage_( stage )
        , sharing_( sharing )
    {}

    [[nodiscard]] std::string name() const override { return name_; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        context.policerNames().requireFree( name_ );
        Reference::PolicerManager& policers = context.tcam().policers();
        const std::optional< PolicerId > id = policers.acquire( policer_, stage_, sharing_ );
        if ( !id ) {
            return {
                Outcome::full,
                fmt::format( "{} of {} policers in use", policers.size(), policers.capacity() ),
                Json::object() };
        }
        context.policerNames().add( name_, *id );
        return allocated( *id, policers.users( *id ) );
    }

  private:
    [[nodiscard]] StepResult allocated( PolicerId id, std::size_t users ) const
    {
        std::string text =
            fmt::format( "id {}, {} {}, burst {}", id, Agent::joinPieces( policer_.mode ),
                         Input::rateText( policer_.committedRate ),
                         Input::burstText( policer_.committedBurst ) );
        if ( policer_.mode == PolicerMode::trTcm ) {
            text += fmt::format( ", peak {}, burst {}", Input::rateText( policer_.peakRate ),
                                 Input::burstText( policer_.peakBurst ) );
        }
        if ( users > 1 ) {
            text += fmt::format( ", shared by {}", users );
        }
        return { Outcome::ok,
                 text,
                 { { "id", id },
                   { "mode", Agent::joinPieces( policer_.mode ) },
                   { "cir", policer_.committedRate },
                   { "cbs", policer_.committedBurst },
                   { "pir", policer_.peakRate },
                   { "pbs", policer_.peakBurst },
                   { "users", users } } };
    }

    std::string name_;
    Policer policer_;
    StageType stage_;
    PolicerSharing sharing_;
};

class ReleasePolicer : public Step
{
  public:
    explicit ReleasePolicer( std::string name )
        : name_( std::move( name ) )
    {}

    [[nodiscard]] std::string name() const override { return name_; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        const PolicerId id = context.policerNames().at( name_ );
        context.tcam().policers().release( id );
        context.policerNames().remove( name_ );
        const std::size_t users = context.tcam().policers().users( id );
        const std::string left =
            users == 0 ? "back to the chip" : fmt::format( "{} left that share it", users );
        return { Outcome::ok,
                 fmt::format( "id {}, {}", id, left ),
                 { { "id", id }, { "users", users } } };
    }

  private:
    std::string name_;
};

} // namespace

std::unique_ptr< const Step > readAllocatePolicer( const Input::YamlNode& node, const ReadContext& )
{
    std::string name;
    PolicerReader reader;
    StageType stage = StageType::ifp;
    node.readMembers( [ & ]( Input::YamlMembers& members ) {
        members.required( "name", name );
        reader.read( members );
        members.optional( "stage", stage, stages );
    } );
    reader.check( node );
    return std::make_unique< AllocatePolicer >( name, reader.policer(), stage, reader.sharing() );
}

std::unique_ptr< const Step > readReleasePolicer( const Input::YamlNode& node, const ReadContext& )
{
    std::string name;
    node.readMembers( [ & ]( Input::YamlMembers& members ) { members.required( "name", name ); } );
    return std::make_unique< ReleasePolicer >( name );
}

} // namespace Tool

// allocate-range-checker: { name: web, type: l4DstPort, low: 8000, high: 8999 }

#include "agent/base/TextPieces.h"
#include "tools/run/RunContext.h"
#include "tools/steps/Refused.h"
#include "tools/steps/StepKinds.h"

#include <cctype>
#include <fmt/format.h>
#include <utility>

namespace Tool {

namespace {

using PeloraTcam::RangeCheckerDesc;
using PeloraTcam::RangeCheckerId;
using PeloraTcam::RangeType;

constexpr std::pair< std::string_view, RangeType > rangeTypes[] = {
    { "l4DstPort", RangeType::l4DstPort },
    { "l4SrcPort", RangeType::l4SrcPort },
    { "packetLength", RangeType::packetLength },
};

/// A range type by its name, or by its number, so that one can be tried that there is not.
RangeType readRangeType( const Input::YamlNode& node )
{
    std::string text;
    node.read( text );
    const char first = text.empty() ? ' ' : text.front();
    if ( first != '-' && std::isdigit( static_cast< unsigned char >( first ) ) == 0 ) {
        RangeType type = RangeType::invalid;
        node.read( type, rangeTypes );
        return type;
    }
    Agent::U8 number = 0;
    node.read( number );
    return static_cast< RangeType >( number );
}

class AllocateRangeChecker : public Step
{
  public:
    AllocateRangeChecker( std::string name, const RangeCheckerDesc& desc )
        : name_( std::move( name ) )
        , desc_( desc )
    {}

    [[nodiscard]] std::string name() const override { return name_; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        context.rangeCheckerNames().requireFree( name_ );
        const std::optional< RangeCheckerId > id = context.rangeCheckers().acquire( desc_ );
        if ( !id ) {
            return refused( context.lastFailure() );
        }
        context.rangeCheckerNames().add( name_, *id );
        return allocated( *id, context.rangeCheckers().users( *id ) );
    }

  private:
    [[nodiscard]] StepResult allocated( RangeCheckerId id, std::size_t users ) const
    {
        std::string text = fmt::format( "id {}, {}", id, Agent::joinPieces( desc_ ) );
        if ( users > 1 ) {
            text += fmt::format( ", shared by {}", users );
        }
        return { Outcome::ok,
                 text,
                 { { "id", id },
                   { "type", Agent::joinPieces( desc_.type ) },
                   { "low", desc_.low },
                   { "high", desc_.high },
                   { "users", users } } };
    }

    std::string name_;
    RangeCheckerDesc desc_;
};

} // namespace

std::unique_ptr< const Step > readAllocateRangeChecker( const Input::YamlNode& node,
                                                        const ReadContext& )
{
    std::string name;
    RangeCheckerDesc desc;
    node.readMembers( [ & ]( Input::YamlMembers& members ) {
        members.required( "name", name );
        members.required(
            "type", [ & ]( const Input::YamlNode& type ) { desc.type = readRangeType( type ); } );
        members.required( "low", desc.low );
        members.required( "high", desc.high );
    } );
    return std::make_unique< AllocateRangeChecker >( name, desc );
}

} // namespace Tool

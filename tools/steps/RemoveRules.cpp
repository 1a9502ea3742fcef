// remove-rules: { name: firewall }

#include "tools/run/RunContext.h"
#include "tools/steps/StepKinds.h"

#include <fmt/format.h>
#include <utility>

namespace Tool {

namespace {

class RemoveRules : public Step
{
  public:
    explicit RemoveRules( std::string name )
        : name_( std::move( name ) )
    {}

    [[nodiscard]] std::string name() const override { return name_; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        TcamManagers& tcam = context.tcam();
        const Reference::RuleSetId id = tcam.ruleSetNames().at( name_ ).id;
        const Reference::Hits hits = tcam.ruleSets().hits( id ).value_or( Reference::Hits{} );
        tcam.ruleSets().remove( id );
        tcam.ruleSetNames().remove( name_ );
        tcam.releaseUnusedCounterObjects();
        return { Outcome::ok,
                 fmt::format( "removed; {} packets, {} bytes counted", hits.packets, hits.bytes ),
                 { { "packets", hits.packets }, { "bytes", hits.bytes } } };
    }

  private:
    std::string name_;
};

} // namespace

std::unique_ptr< const Step > readRemoveRules( const Input::YamlNode& node, const ReadContext& )
{
    std::string name;
    node.readMembers( [ & ]( Input::YamlMembers& members ) { members.required( "name", name ); } );
    return std::make_unique< RemoveRules >( name );
}

} // namespace Tool

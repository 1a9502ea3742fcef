// destroy-group: { name: acl }

#include "tools/run/RunContext.h"
#include "tools/steps/Refused.h"
#include "tools/steps/StepKinds.h"

#include <fmt/format.h>
#include <utility>

namespace Tool {

namespace {

class DestroyGroup : public Step
{
  public:
    explicit DestroyGroup( std::string name )
        : name_( std::move( name ) )
    {}

    [[nodiscard]] std::string name() const override { return name_; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        const bcm_field_group_t group = context.groupNames().at( name_ ).id;
        if ( !context.groups().destroy( group ) ) {
            return refused( context.firstFailure() );
        }
        context.groupNames().remove( name_ );
        return {
            Outcome::ok, fmt::format( "id {}, back to the chip", group ), { { "id", group } } };
    }

  private:
    std::string name_;
};

} // namespace

std::unique_ptr< const Step > readDestroyGroup( const Input::YamlNode& node, const ReadContext& )
{
    std::string name;
    node.readMembers( [ & ]( Input::YamlMembers& members ) { members.required( "name", name ); } );
    return std::make_unique< DestroyGroup >( name );
}

} // namespace Tool

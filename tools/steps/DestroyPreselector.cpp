// destroy-preselector: { name: arp }

#include "tools/run/RunContext.h"
#include "tools/steps/StepKinds.h"

#include <fmt/format.h>
#include <utility>

namespace Tool {

namespace {

class DestroyPreselector : public Step
{
  public:
    explicit DestroyPreselector( std::string name )
        : name_( std::move( name ) )
    {}

    [[nodiscard]] std::string name() const override { return name_; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        const bcm_field_presel_t preselector = context.preselectorNames().at( name_ );
        context.preselectors().destroy( preselector );
        context.preselectorNames().remove( name_ );
        return { Outcome::ok,
                 fmt::format( "id {}, back to the chip", preselector ),
                 { { "id", preselector } } };
    }

  private:
    std::string name_;
};

} // namespace

std::unique_ptr< const Step > readDestroyPreselector( const Input::YamlNode& node,
                                                      const ReadContext& )
{
    std::string name;
    node.readMembers( [ & ]( Input::YamlMembers& members ) { members.required( "name", name ); } );
    return std::make_unique< DestroyPreselector >( name );
}

} // namespace Tool

// release-range-checker: { name: web }

#include "tools/run/RunContext.h"
#include "tools/steps/StepKinds.h"

#include <fmt/format.h>
#include <utility>

namespace Tool {

namespace {

class ReleaseRangeChecker : public Step
{
  public:
    explicit ReleaseRangeChecker( std::string name )
        : name_( std::move( name ) )
    {}

    [[nodiscard]] std::string name() const override { return name_; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        const PeloraTcam::RangeCheckerId id = context.rangeCheckerNames().at( name_ );
        context.rangeCheckers().release( id );
        context.rangeCheckerNames().remove( name_ );
        const std::size_t users = context.rangeCheckers().users( id );
        const std::string text = users == 0 ? fmt::format( "id {}, back to the chip", id )
                                            : fmt::format( "id {}, still used by {}", id, users );
        return { Outcome::ok, text, { { "id", id }, { "users", users } } };
    }

  private:
    std::string name_;
};

} // namespace

std::unique_ptr< const Step > readReleaseRangeChecker( const Input::YamlNode& node,
                                                       const ReadContext& )
{
    std::string name;
    node.readMembers( [ & ]( Input::YamlMembers& members ) { members.required( "name", name ); } );
    return std::make_unique< ReleaseRangeChecker >( name );
}

} // namespace Tool

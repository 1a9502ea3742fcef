// remove-udf: { name: vni }

#include "tools/run/RunContext.h"
#include "tools/steps/StepKinds.h"

#include <fmt/format.h>
#include <utility>

namespace Tool {

namespace {

class RemoveUdf : public Step
{
  public:
    explicit RemoveUdf( std::string name )
        : name_( std::move( name ) )
    {}

    [[nodiscard]] std::string name() const override { return name_; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        const NamedUdf udf = context.udfNames().at( name_ );
        context.udfs().remove( udf.desc );
        context.udfNames().remove( name_ );
        const std::size_t users = context.udfs().users( udf.desc );
        const std::string left =
            users == 0 ? "back to the chip" : fmt::format( "{} left that share it", users );
        return { Outcome::ok,
                 fmt::format( "id {}, {}", fmt::join( udf.ids, " and " ), left ),
                 { { "ids", Json( udf.ids ) }, { "users", users } } };
    }

  private:
    std::string name_;
};

} // namespace

std::unique_ptr< const Step > readRemoveUdf( const Input::YamlNode& node, const ReadContext& )
{
    std::string name;
    node.readMembers( [ & ]( Input::YamlMembers& members ) { members.required( "name", name ); } );
    return std::make_unique< RemoveUdf >( name );
}

} // namespace Tool

// audit: all

#include "tools/RunContext.h"
#include "tools/steps/StepKinds.h"

#include <fmt/format.h>
#include <utility>

namespace Tool {

namespace {

constexpr std::pair< std::string_view, bool > onlyAll[] = { { "all", true } };

class Audit : public Step
{
  public:
    [[nodiscard]] std::string name() const override { return "all"; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        const std::size_t audited = context.audit();
        return { Outcome::ok,
                 fmt::format( "{} compared with the chip", audited ),
                 { { "audited", audited } } };
    }
};

} // namespace

std::unique_ptr< const Step > readAudit( const Sim::YamlNode& node, const ReadContext& )
{
    bool all = false;
    node.read( all, onlyAll );
    return std::make_unique< Audit >();
}

} // namespace Tool

// audit: all

#include "tools/run/RunContext.h"
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
        const AuditCounts counts = context.audit();
        std::string text = fmt::format( "{} compared with the chip", counts.compared );
        if ( counts.notJudged != 0 ) {
            text += fmt::format( ", {} withheld", counts.notJudged );
        }
        if ( counts.foreign != 0 ) {
            text += fmt::format( ", {} foreign", counts.foreign );
        }
        return { Outcome::ok,
                 text,
                 { { "audited", counts.compared },
                   { "withheld", counts.notJudged },
                   { "foreign", counts.foreign } } };
    }
};

} // namespace

std::unique_ptr< const Step > readAudit( const Input::YamlNode& node, const ReadContext& )
{
    bool all = false;
    node.read( all, onlyAll );
    return std::make_unique< Audit >();
}

} // namespace Tool

// inject-fault: { function: bcm_range_get, call: 1, corrupt: { field: max, value: 1 } }
// clear-faults: all

#include "sim/faults/FaultReader.h"
#include "tools/run/RunContext.h"
#include "tools/steps/StepKinds.h"

#include <utility>

namespace Tool {

namespace {

constexpr std::pair< std::string_view, bool > onlyAll[] = { { "all", true } };

class InjectFault : public Step
{
  public:
    explicit InjectFault( Sim::Fault fault )
        : fault_( std::move( fault ) )
    {}

    [[nodiscard]] std::string name() const override { return fault_.when.function; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        context.sdk().addFromNow( fault_ );
        return { Outcome::ok, Sim::faultText( fault_ ), Json::object() };
    }

  private:
    Sim::Fault fault_;
};

class ClearFaults : public Step
{
  public:
    [[nodiscard]] std::string name() const override { return "all"; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        context.sdk().clearFaults();
        return { Outcome::ok, "no call goes wrong from here", Json::object() };
    }
};

} // namespace

std::unique_ptr< const Step > readInjectFault( const Input::YamlNode& node,
                                               const ReadContext& context )
{
    return std::make_unique< InjectFault >( Sim::readFault( node, context.numbering() ) );
}

std::unique_ptr< const Step > readClearFaults( const Input::YamlNode& node, const ReadContext& )
{
    bool all = false;
    node.read( all, onlyAll );
    return std::make_unique< ClearFaults >();
}

} // namespace Tool

// list-udfs: all

#include "tools/run/RunContext.h"
#include "tools/steps/StepKinds.h"

#include <fmt/format.h>
#include <utility>
#include <vector>

namespace Tool {

namespace {

constexpr std::pair< std::string_view, bool > onlyAll[] = { { "all", true } };

class ListUdfs : public Step
{
  public:
    [[nodiscard]] std::string name() const override { return "all"; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        const PeloraTcam::UdfIdList foreignIds = context.udfs().foreign();
        std::vector< std::string > texts;
        Json ours = Json::array();
        for ( const auto& [ name, udf ] : context.udfNames().all() ) {
            texts.push_back( fmt::format( "{} (id {})", name, fmt::join( udf.ids, " and " ) ) );
            ours.push_back( { { "name", name }, { "ids", Json( udf.ids ) } } );
        }
        std::vector< int > foreign;
        for ( const PeloraTcam::UdfId id : foreignIds ) {
            foreign.push_back( id.value() );
        }
        return {
            Outcome::ok, text( texts, foreign ), { { "udfs", ours }, { "foreign", foreign } } };
    }

  private:
    [[nodiscard]] static std::string text( const std::vector< std::string >& ours,
                                           const std::vector< int >& foreign )
    {
        std::string text = ours.empty() ? "none" : fmt::format( "{}", fmt::join( ours, ", " ) );
        if ( !foreign.empty() ) {
            text += fmt::format( "; foreign: id {}", fmt::join( foreign, ", " ) );
        }
        return text;
    }
};

} // namespace

std::unique_ptr< const Step > readListUdfs( const Input::YamlNode& node, const ReadContext& )
{
    bool all = false;
    node.read( all, onlyAll );
    return std::make_unique< ListUdfs >();
}

} // namespace Tool

// import-rules: { file: fw1_1k.rules }

#include "tools/ClassBench.h"
#include "tools/RunContext.h"
#include "tools/TextFile.h"
#include "tools/steps/StepKinds.h"

#include <filesystem>
#include <fmt/format.h>
#include <set>
#include <utility>
#include <vector>

namespace Tool {

namespace {

using PeloraTcam::RangeCheckerDesc;
using PeloraTcam::RangeCheckerId;
using PeloraTcam::RangeType;

/// Whether matching the ports takes a range checker: a single port is matched by value, and all of
/// them by nothing.
bool needsRangeChecker( const PortRange& ports )
{
    constexpr PortRange everyPort{ 0, 0xFFFF };
    return ports.low != ports.high && ports != everyPort;
}

/// The range checkers that the rules need, each once, in the order of the rules.
std::vector< RangeCheckerDesc > rangeCheckersFor( const RuleSet& ruleSet )
{
    std::vector< RangeCheckerDesc > descs;
    std::set< std::pair< RangeType, PortRange > > seen;
    const auto need = [ & ]( RangeType type, const PortRange& ports ) {
        if ( needsRangeChecker( ports ) && seen.emplace( type, ports ).second ) {
            descs.push_back( { ports.low, ports.high, type } );
        }
    };
    for ( const Rule& rule : ruleSet.rules ) {
        need( RangeType::l4SrcPort, rule.sourcePorts );
        need( RangeType::l4DstPort, rule.destinationPorts );
    }
    return descs;
}

/// How many range checkers an import got, and how.
struct ImportCounts
{
    std::size_t allocated = 0; ///< new ones
    std::size_t shared = 0;    ///< that there were already
    std::size_t full = 0;      ///< that the chip had no room for
};

class ImportRules : public Step
{
  public:
    explicit ImportRules( const RuleSet& ruleSet )
        : name_( std::filesystem::path( ruleSet.file ).filename().string() )
        , ruleCount_( ruleSet.rules.size() )
        , descs_( rangeCheckersFor( ruleSet ) )
    {}

    [[nodiscard]] std::string name() const override { return name_; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        ImportCounts counts;
        std::size_t done = 0;
        for ( const RangeCheckerDesc& desc : descs_ ) {
            importRange( desc, context, counts );
            context.progressed( ++done, descs_.size() );
        }
        return result( counts );
    }

  private:
    /// A range for which there is no room is counted; any other refusal is an error.
    static void
    importRange( const RangeCheckerDesc& desc, RunContext& context, ImportCounts& counts )
    {
        context.forgetFailure();
        const std::optional< RangeCheckerId > id = context.rangeCheckers().acquire( desc );
        if ( !id ) {
            const FailedCall why = context.lastFailure().value_or( FailedCall{} );
            if ( !why.isForLackOfRoom() ) {
                throw StepError( why.text() );
            }
            ++counts.full;
        } else if ( context.rangeCheckers().users( *id ) > 1 ) {
            ++counts.shared;
        } else {
            ++counts.allocated;
        }
    }

    [[nodiscard]] StepResult result( const ImportCounts& counts ) const
    {
        return { counts.full > 0 ? Outcome::full : Outcome::ok,
                 fmt::format( "{} rules, {} distinct ranges: {} allocated, {} shared, {} full",
                              ruleCount_,
                              descs_.size(),
                              counts.allocated,
                              counts.shared,
                              counts.full ),
                 { { "rules", ruleCount_ },
                   { "ranges", descs_.size() },
                   { "allocated", counts.allocated },
                   { "shared", counts.shared },
                   { "full", counts.full } } };
    }

    std::string name_;
    std::size_t ruleCount_;
    std::vector< RangeCheckerDesc > descs_;
};

RuleSet readRuleSetAt( const Sim::YamlNode& node, const ReadContext& context )
{
    try {
        return readRuleSet( context.substitutedPath( node ) );
    } catch ( const UnreadableFile& failure ) {
        node.fail( failure.what() );
    }
}

} // namespace

std::unique_ptr< const Step > readImportRules( const Sim::YamlNode& node,
                                               const ReadContext& context )
{
    RuleSet ruleSet;
    node.readMembers( [ & ]( Sim::YamlMembers& members ) {
        members.required( "file", [ & ]( const Sim::YamlNode& file ) {
            ruleSet = readRuleSetAt( file, context );
        } );
    } );
    return std::make_unique< ImportRules >( ruleSet );
}

} // namespace Tool

// import-rules: { file: fw1_1k.rules, name: firewall, counters: true,
//                 policer: { cir: 10Mbps, cbs: 64KB } }

#include "input/TextFile.h"
#include "tools/rules/FilterRules.h"
#include "tools/run/RunContext.h"
#include "tools/scenario/PolicerReader.h"
#include "tools/steps/StepKinds.h"

#include <filesystem>
#include <fmt/format.h>
#include <utility>
#include <vector>

namespace Tool {

namespace {

using Reference::FilterRule;
using Reference::RuleOptions;
using Reference::RuleSetReport;

Json jsonOf( const Reference::ResourceCounts& counts )
{
    return { { "made", counts.made }, { "shared", counts.shared } };
}

/// ", 3 without range checker, 1 without counter, 2 that no entry can match"
std::string refusalText( const RuleSetReport& report )
{
    std::string text;
    std::size_t unmatchable = 0;
    for ( const auto& [ what, rules ] : report.refused ) {
        if ( Reference::isUnmatchable( what ) ) {
            unmatchable += rules;
        } else {
            text += fmt::format( ", {} without {}", rules, what );
        }
    }
    return unmatchable == 0 ? text
                            : text + fmt::format( ", {} that no entry can match", unmatchable );
}

class ImportRules : public Step
{
  public:
    ImportRules( std::string name, const RuleSet& ruleSet, const RuleOptions& options )
        : name_( std::move( name ) )
        , file_( ruleSet.file )
        , lines_( ruleSet.lines )
        , rules_( filterRulesOf( ruleSet ) )
        , options_( options )
    {}

    [[nodiscard]] std::string name() const override { return name_; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        TcamManagers& tcam = context.tcam();
        tcam.ruleSetNames().requireFree( name_ );
        if ( !options_.counterSet.empty() ) {
            static_cast< void >( tcam.counters() ); // They are made when first asked for.
        }
        std::optional< FailedCall > failure; // The first that is not for lack of room.
        const auto progress = [ & ]( std::size_t done, std::size_t total ) {
            const std::optional< FailedCall >& why = context.lastFailure();
            if ( why && !why->isForLackOfRoom() && !failure ) {
                failure = why;
            }
            context.forgetFailure();
            context.progressed( done, total );
        };
        context.forgetFailure();
        const RuleSetReport report = tcam.ruleSets().program( rules_, options_, progress );
        if ( failure ) {
            tcam.ruleSets().remove( report.id );
            tcam.releaseUnusedCounterObjects();
            throw StepError( failure->text() );
        }
        tcam.ruleSetNames().add( name_, { report.id, file_, lines_ } );
        return result( report );
    }

  private:
    [[nodiscard]] StepResult result( const RuleSetReport& report ) const
    {
        const bool isWhole = report.programmed == report.rules;
        return { isWhole ? Outcome::ok : Outcome::full,
                 fmt::format( "{} of {} rules programmed, {} {}{}", report.programmed, report.rules,
                              report.groups, report.groups == 1 ? "group" : "groups",
                              refusalText( report ) ),
                 { { "rules", report.rules },
                   { "programmed", report.programmed },
                   { "refused", report.refused },
                   { "refusedRules", refusedRules( report ) },
                   { "groups", report.groups },
                   { "rangeCheckers", jsonOf( report.counts.rangeCheckers ) },
                   { "compressionEntries", jsonOf( report.counts.classes ) },
                   { "overlaps", report.counts.overlaps },
                   { "policers", jsonOf( report.counts.policers ) },
                   { "counters", report.counts.counters } },
                 unmatchableLines( report ) };
    }

    [[nodiscard]] Json refusedRules( const RuleSetReport& report ) const
    {
        Json all = Json::array();
        for ( const Reference::RefusedRule& refused : report.refusedRules ) {
            all.push_back(
                { { "line", lines_.at( refused.rule ) }, { "reason", refused.reason } } );
        }
        return all;
    }

    /// "line 7 asks for flags without an exact protocol", for each rule that no entry can match.
    /// How many lack what the chip has no more of says more than which they are.
    [[nodiscard]] std::vector< std::string > unmatchableLines( const RuleSetReport& report ) const
    {
        constexpr std::size_t most = 20;
        std::vector< std::string > texts;
        std::size_t more = 0;
        for ( const Reference::RefusedRule& refused : report.refusedRules ) {
            if ( !Reference::isUnmatchable( refused.reason ) ) {
                continue;
            }
            if ( texts.size() == most ) {
                ++more;
                continue;
            }
            texts.push_back(
                fmt::format( "line {} asks for {}", lines_.at( refused.rule ), refused.reason ) );
        }
        if ( more != 0 ) {
            texts.push_back( fmt::format( "and {} more", more ) );
        }
        return texts;
    }

    std::string name_;
    std::string file_;
    std::vector< int > lines_; // Of the rules.
    std::vector< FilterRule > rules_;
    RuleOptions options_;
};

RuleSet readRuleSetAt( const Input::YamlNode& node, const ReadContext& context )
{
    try {
        return readRuleSet( context.substitutedPath( node ) );
    } catch ( const Input::UnreadableFile& failure ) {
        node.fail( failure.what() );
    }
}

void readPolicer( const Input::YamlNode& node, RuleOptions& options )
{
    PolicerReader reader;
    node.readMembers( [ & ]( Input::YamlMembers& members ) { reader.read( members ); } );
    reader.check( node );
    options.policer = reader.policer();
    options.policerSharing = reader.sharing();
}

} // namespace

std::unique_ptr< const Step > readImportRules( const Input::YamlNode& node,
                                               const ReadContext& context )
{
    RuleSet ruleSet;
    std::optional< std::string > name;
    bool counters = false;
    RuleOptions options;
    node.readMembers( [ & ]( Input::YamlMembers& members ) {
        members.required( "file", [ & ]( const Input::YamlNode& file ) {
            ruleSet = readRuleSetAt( file, context );
        } );
        members.optional( "name", name );
        members.optional( "counters", counters );
        members.optional( "policer", [ & ]( const Input::YamlNode& policer ) {
            readPolicer( policer, options );
        } );
    } );
    if ( counters ) {
        options.counterSet = Reference::packetsAndBytes();
    }
    const std::string fileName = std::filesystem::path( ruleSet.file ).filename().string();
    return std::make_unique< ImportRules >( name.value_or( fileName ), ruleSet, options );
}

} // namespace Tool

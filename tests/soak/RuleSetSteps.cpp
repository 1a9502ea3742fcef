#include "tests/soak/RuleSetSteps.h"

namespace Soak {

using PeloraTcam::IpAddress;
using Reference::FilterRule;
using Reference::RuleSetReport;

namespace {

// Failures at which a rule, or its group, is refused. Entries of compression tables are made and
// installed with the same functions as rules, and must not fail. (An exception would leave behind
// what the helpers of counters, policers and classes have made until then.)
constexpr std::array< const char*, 4 > refusable = {
    "bcm_range_create", "bcm_field_group_config_create", "bcm_field_entry_prio_set",
    "bcm_field_action_add" };
constexpr std::size_t mostLive = 3;

} // namespace

std::vector< FilterRule > RuleSetSteps::anyRules()
{
    std::vector< FilterRule > rules( 1 + choices.below( 8 ) );
    for ( FilterRule& rule : rules ) {
        rule.source = { IpAddress::v4( 0x0A000000U + choices.below( 4 ) * 0x10000 ),
                        choices.below( 33 ) };
        rule.destination = { IpAddress::v4( 0xC0000200U ), choices.below( 33 ) };
        const auto low = static_cast< Agent::U16 >( choices.below( 3 ) * 1024 );
        rule.destinationPorts.low = low;
        rule.destinationPorts.high =
            choices.below( 2 ) == 0 ? low : static_cast< Agent::U16 >( low + 1023 );
        rule.protocol = { static_cast< Agent::U8 >( choices.below( 2 ) == 0 ? 6 : 17 ), 0xFF };
    }
    return rules;
}

void RuleSetSteps::program()
{
    const std::vector< FilterRule > rules = anyRules();
    Reference::RuleOptions options;
    if ( choices.below( 2 ) != 0 ) {
        options.counterSet = Reference::packetsAndBytes();
    }
    RuleSetReport report;
    trouble.run( { .refusable = refusable, .failureRefuses = false }, [ & ] {
        report = agent.ruleSets.program( rules, options );
        return true;
    } );
    std::size_t refused = 0;
    for ( const auto& [ what, count ] : report.refused ) {
        refused += count;
    }
    require( report.rules == rules.size() && report.programmed + refused == rules.size(),
             "each rule is programmed or refused" );
    tally.refusals += refused;
    require( agent.ruleSets.hits( report.id ) == Reference::Hits(), "nothing is counted yet" );
    live_.push_back( report.id );
}

void RuleSetSteps::remove( Reference::RuleSetId id )
{
    trouble.finish( {}, [ & ] { return agent.ruleSets.remove( id ); } );
}

void RuleSetSteps::step()
{
    if ( live_.empty() || ( live_.size() < mostLive && choices.below( 2 ) == 0 ) ) {
        return program();
    }
    remove( taken( live_, choices.positionIn( live_ ) ) );
}

void RuleSetSteps::audit()
{
    require( agent.ruleSets.size() == live_.size(), "all rule sets are known" );
}

void RuleSetSteps::releaseAll()
{
    while ( !live_.empty() ) {
        remove( taken( live_, live_.size() - 1 ) );
    }
}

} // namespace Soak

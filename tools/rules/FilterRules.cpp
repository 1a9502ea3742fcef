#include "tools/rules/FilterRules.h"

namespace Tool {

using Reference::FilterRule;
using Reference::IpPrefix;

namespace {

IpPrefix prefixOf( const Ipv4Prefix& prefix )
{
    return { PeloraTcam::IpAddress::v4( prefix.address ), prefix.length };
}

} // namespace

std::vector< FilterRule > filterRulesOf( const RuleSet& ruleSet )
{
    std::vector< FilterRule > rules;
    rules.reserve( ruleSet.rules.size() );
    for ( const Rule& rule : ruleSet.rules ) {
        rules.push_back( { prefixOf( rule.source ),
                           prefixOf( rule.destination ),
                           { rule.sourcePorts.low, rule.sourcePorts.high },
                           { rule.destinationPorts.low, rule.destinationPorts.high },
                           { rule.protocol.value, rule.protocol.mask },
                           { rule.tcpFlags.value, rule.tcpFlags.mask } } );
    }
    return rules;
}

} // namespace Tool

// The reader of rule sets: a text is refused with a position inside of it, or every rule of it,
// written out again, is read as the same rule.

#include "tests/fuzz/FuzzTarget.h"
#include "tests/fuzz/InputErrors.h"
#include "tools/rules/ClassBench.h"
#include "tools/rules/FilterRules.h"

#include <fmt/format.h>
#include <optional>

namespace Fuzz {
namespace {

std::string prefixText( const Tool::Ipv4Prefix& prefix )
{
    return fmt::format( "{}.{}.{}.{}/{}", prefix.address >> 24, prefix.address >> 16 & 0xFF,
                        prefix.address >> 8 & 0xFF, prefix.address & 0xFF, prefix.length );
}

std::string ruleText( const Tool::Rule& rule )
{
    return fmt::format( "@{}\t{}\t{} : {}\t{} : {}\t{:#x}/{:#x}\t{:#x}/{:#x}",
                        prefixText( rule.source ), prefixText( rule.destination ),
                        rule.sourcePorts.low, rule.sourcePorts.high, rule.destinationPorts.low,
                        rule.destinationPorts.high, rule.protocol.value, rule.protocol.mask,
                        rule.tcpFlags.value, rule.tcpFlags.mask );
}

void checkRules( const Tool::RuleSet& ruleSet )
{
    require( !ruleSet.rules.empty(), "a rule set has rules" );
    for ( const Tool::Rule& rule : ruleSet.rules ) {
        const Tool::RuleSet again = Tool::parseRuleSet( ruleText( rule ), "again" );
        require( again.rules.size() == 1 && again.rules.front() == rule,
                 "a rule written out is the same rule" );
    }
    require( Tool::filterRulesOf( ruleSet ).size() == ruleSet.rules.size(),
             "each rule is a filter rule" );
}

} // namespace
} // namespace Fuzz

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* data, std::size_t size )
{
    const std::string_view text = Fuzz::textOf( data, size );
    std::optional< Tool::RuleSet > ruleSet;
    Fuzz::acceptsOrRefuses( "fuzz.rules", text,
                            [ & ] { ruleSet = Tool::parseRuleSet( text, "fuzz.rules" ); } );
    if ( ruleSet ) {
        Fuzz::checkRules( *ruleSet );
    }
    return 0;
}

#pragma once

/// The rules of a rule set as the reference agent takes them.

#include "reference/RuleProgrammer.h"
#include "tools/rules/ClassBench.h"

#include <vector>

namespace Tool {

/// One filter rule for each rule, in their order.
[[nodiscard]] std::vector< Reference::FilterRule > filterRulesOf( const RuleSet& ruleSet );

} // namespace Tool

#pragma once

/// The rules of a rule set as the reference agent takes them.

#include "reference/RuleProgrammer.h"
#include "tools/rules/ClassBench.h"

#include <vector>

namespace Tool {

/// One filter rule for each rule, in their order. TCP flags are left out: a rule that asks for some
/// is programmed as if it did not.
[[nodiscard]] std::vector< Reference::FilterRule > filterRulesOf( const RuleSet& ruleSet );

} // namespace Tool

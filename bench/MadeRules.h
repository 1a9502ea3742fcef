#pragma once

/// A rule set that is always the same, for a benchmark that is given none.

#include "reference/RuleProgrammer.h"

#include <cstddef>
#include <vector>

namespace Bench {

/// So many rules of an access list: many share their prefixes, protocols and ports, and one in
/// eight asks for a range of ports.
[[nodiscard]] std::vector< Reference::FilterRule > madeRules( std::size_t count );

} // namespace Bench

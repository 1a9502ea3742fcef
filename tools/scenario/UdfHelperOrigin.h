#pragma once

/// In which of the ways that an agent has a UDF helper is made.

namespace Tool {

/// Who makes the helper.
enum class UdfHelperOrigin
{
    registry, ///< the agent's type registry, by the name of the class
    factory,  ///< the library's factory function
    creator,  ///< the static creator of the class
};

} // namespace Tool

#pragma once

/// Builds the translation maps that the managers of this folder use.

namespace Reference {

/// Called once at the agent's start, on one thread, after `Shim::sdk_` is set and before a group or
/// a preselector is made. A second call changes nothing.
void buildTranslationMaps();

} // namespace Reference

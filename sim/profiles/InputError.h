#pragma once

/// What is thrown for a file of the simulated chip's that is wrong, under the simulated chip's
/// name.

#include "input/InputError.h"

namespace Sim {

/// Something is wrong with a file that a person wrote.
using Input::InputError;

} // namespace Sim

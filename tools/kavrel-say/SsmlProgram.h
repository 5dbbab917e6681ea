// SPDX-License-Identifier: Apache-2.0
//
// SsmlProgram: kavrel-ssml in the place of this program.
#pragma once

#include <optional>

#include "SpokenText.h"

namespace say {

// Becomes kavrel-ssml, which writes what the engine is given for the text at that rate. Throws
// Failure when there is none beside this program.
[[noreturn]] void becomeSsmlProgram(const tool::SpokenText& text, std::optional<int> rate);

}  // namespace say

// SPDX-License-Identifier: Apache-2.0
//
// ExecSsml: replaces this process by kavrel-ssml, for --ssml.
#pragma once

#include <optional>

#include "SpokenText.h"

namespace say {

// Executes the kavrel-ssml in this program's folder; it writes the markup that the engine receives
// for `text` at `rate` words per minute (none: the default rate). `isStrict`: the text is not
// adapted. Throws Failure if kavrel-ssml cannot be executed.
[[noreturn]] void execKavrelSsml(const tool::SpokenText& text, std::optional<int> rate,
                                 bool isStrict);

}  // namespace say

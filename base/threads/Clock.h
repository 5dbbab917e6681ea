// SPDX-License-Identifier: Apache-2.0
//
// Clock: the clock of every deadline and duration in the project. It never goes back and does not
// follow changes of the system's time.
#pragma once

#include <chrono>

namespace base {

using Clock = std::chrono::steady_clock;

}  // namespace base

// SPDX-License-Identifier: Apache-2.0
//
// Clock: the clock for all deadlines and durations in the project. It is monotonic: changes of the
// system's time do not affect it.
#pragma once

#include <chrono>

namespace base {

using Clock = std::chrono::steady_clock;

}  // namespace base

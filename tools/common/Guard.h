// SPDX-License-Identifier: Apache-2.0
//
// Guard: the outermost function of a command line tool.
#pragma once

#include <functional>

namespace tool {

// Runs `work` in a process set up for a tool, and answers the exit status: what `work` answers, or
// kFailure for what it throws, with one line on standard error that `program` heads.
int guarded(const char* program, const std::function<int()>& work);

}  // namespace tool

// SPDX-License-Identifier: Apache-2.0
//
// RunTool: runs the body of a command line tool and turns exceptions into an exit status.
//
// Threads: called once, by main().
#pragma once

#include <functional>

namespace tool {

// Sets up the process (standard streams, character type, signals), runs `work` and returns the exit
// status: the result of `work`, or kFailure if it throws. An exception other than ReaderGone is
// reported in one line on standard error: "program: message".
int runTool(const char* program, const std::function<int()>& work);

}  // namespace tool

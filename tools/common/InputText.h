// SPDX-License-Identifier: Apache-2.0
//
// InputText: reads a file or standard input.
#pragma once

#include <string>

namespace tool {

// Returns the contents of the file at `path`, or of standard input for "-". Blocks until the end of
// the input. Throws Failure if it cannot be read.
std::string readInput(const std::string& path);

}  // namespace tool

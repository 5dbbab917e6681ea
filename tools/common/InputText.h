// SPDX-License-Identifier: Apache-2.0
//
// InputText: the text of a file or of standard input.
#pragma once

#include <string>

namespace tool {

// The whole of the file; of standard input for "-". Throws Failure.
std::string readInput(const std::string& path);

}  // namespace tool

// SPDX-License-Identifier: Apache-2.0
//
// StandardOutput: what the program writes for its user. The signal SIGPIPE must be ignored.
#pragma once

#include <string_view>

namespace tool {

// Writes the text at once, not into a buffer. Throws ReaderGone when its reader has closed the
// other end, Failure when it cannot be written for another reason.
void writeOut(std::string_view text);

}  // namespace tool

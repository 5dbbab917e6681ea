// SPDX-License-Identifier: Apache-2.0
//
// StandardOutput: unbuffered writing to standard output. SIGPIPE must be ignored, see runTool().
#pragma once

#include <string_view>

namespace tool {

// Writes all of `text` without buffering. Throws ReaderGone if the reader of the pipe has closed
// its end, Failure if writing fails for another reason.
void writeOut(std::string_view text);

}  // namespace tool

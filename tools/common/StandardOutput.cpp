// SPDX-License-Identifier: Apache-2.0
#include "StandardOutput.h"

#include <cerrno>
#include <cstring>
#include <string>

#include <unistd.h>

#include "Failure.h"

namespace tool {

// A write may be partial, so it is repeated until nothing is left.
void writeOut(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(STDOUT_FILENO, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EPIPE) {
      throw ReaderGone();
    } else if (errno != EINTR) {  // an interrupted write is repeated
      throw Failure(std::string("cannot write standard output: ") + std::strerror(errno));
    }
  }
}

}  // namespace tool

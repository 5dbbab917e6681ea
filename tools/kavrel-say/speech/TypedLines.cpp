// SPDX-License-Identifier: Apache-2.0
#include "speech/TypedLines.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include <unistd.h>

#include "Failure.h"

namespace say {

bool TypedLines::isTerminal() {
  return ::isatty(STDIN_FILENO) == 1;
}

// One read() can return a part of a line or several lines.
std::optional<std::string> TypedLines::next() {
  std::size_t end = m_read.find('\n');
  while (end == std::string::npos) {
    std::array<char, 4096> piece{};
    const ssize_t count = ::read(STDIN_FILENO, piece.data(), piece.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) {
      throw tool::Failure(std::string("cannot read standard input: ") + std::strerror(errno));
    }
    if (count == 0) {
      // The end of the input also ends a line without line feed.
      if (m_read.empty()) return std::nullopt;
      return std::exchange(m_read, {});
    }
    m_read.append(piece.data(), static_cast<std::size_t>(count));
    end = m_read.find('\n');
  }
  std::string line = m_read.substr(0, end + 1);
  m_read.erase(0, end + 1);
  return line;
}

}  // namespace say

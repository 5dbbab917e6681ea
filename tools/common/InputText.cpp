// SPDX-License-Identifier: Apache-2.0
#include "InputText.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "Failure.h"

namespace tool {
namespace {

// Reads until the end instead of asking for the size: the input may be a pipe or a terminal.
std::string readAll(int file, const std::string& name) {
  constexpr std::size_t kPiece = 65536;
  std::string text;
  std::size_t filled = 0;
  for (;;) {
    text.resize(filled + kPiece);
    const ssize_t count = ::read(file, text.data() + filled, kPiece);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw Failure("cannot read " + name + ": " + std::strerror(errno));
    filled += static_cast<std::size_t>(count);
    if (count == 0) break;
  }
  text.resize(filled);  // drop the room that the last read() did not fill
  return text;
}

}  // namespace

std::string readInput(const std::string& path) {
  if (path == "-") return readAll(STDIN_FILENO, "standard input");
  // Closed on exec: --ssml executes another program.
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) throw Failure("cannot read " + path + ": " + std::strerror(errno));
  struct Closer {
    int file;
    ~Closer() { ::close(file); }
  } closer{file};
  return readAll(file, path);
}

}  // namespace tool

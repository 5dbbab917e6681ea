// SPDX-License-Identifier: Apache-2.0
#include "audio/OutputFile.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Failure.h"

namespace say {
namespace {

// RAII guard for a file descriptor; negative: none.
struct Descriptor {
  int number;
  ~Descriptor() {
    if (number >= 0) ::close(number);
  }
};

bool isRegular(int file) {
  struct stat status {};
  return ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

off_t sizeOf(int file) {
  struct stat status {};
  return ::fstat(file, &status) == 0 ? status.st_size : 0;
}

// Whether the file is an AIFF file of at least the length in its header: "FORM", the length of the
// rest as a big-endian 32-bit number, "AIFF".
bool isWholeAiff(int file) {
  std::array<unsigned char, 12> head{};
  if (::pread(file, head.data(), head.size(), 0) != static_cast<ssize_t>(head.size())) return false;
  if (std::memcmp(&head[0], "FORM", 4) != 0 || std::memcmp(&head[8], "AIFF", 4) != 0) return false;
  off_t announced = 8;
  for (const std::size_t index : {4U, 5U, 6U, 7U}) {
    announced += off_t{head[index]} << (8 * (7 - index));
  }
  return sizeOf(file) >= announced;
}

}  // namespace

OutputFile::OutputFile(std::string path)
    : m_path(std::move(path)), m_isNew(::access(m_path.c_str(), F_OK) != 0) {
  // Non-blocking: opening a pipe without a reader would block.
  const Descriptor file{::open(m_path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666)};
  if (file.number < 0) throwCannotWrite(errno);
  // A full device (/dev/full) fails even on an empty write, so the error is reported before
  // speaking.
  if (!isRegular(file.number) && ::write(file.number, "", 0) < 0) throwCannotWrite(errno);
}

// A file that has contents is never removed: it may hold audio, or belong to the user.
void OutputFile::discard() const {
  struct stat status {};
  if (m_isNew && ::stat(m_path.c_str(), &status) == 0 && status.st_size == 0) {
    ::unlink(m_path.c_str());
  }
}

// Opens with O_TRUNC only here: until the speech has ended, the old contents are kept.
void OutputFile::write(std::string_view contents) const {
  const Descriptor file{::open(m_path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC)};
  if (file.number < 0) throwCannotWrite(errno);
  while (!contents.empty()) {
    const ssize_t written = ::write(file.number, contents.data(), contents.size());
    if (written < 0 && errno != EINTR) throwCannotWrite(errno);
    if (written > 0) contents.remove_prefix(static_cast<std::size_t>(written));
  }
}

// The file of an interrupted speech passes: its header has the length of what was written.
void OutputFile::verify() const {
  const Descriptor file{::open(m_path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)};
  if (file.number < 0) throwCannotWrite(errno);
  if (!isRegular(file.number)) return;
  if (!isWholeAiff(file.number))
    throw tool::Failure(m_path + " is incomplete; not all audio was written");
}

void OutputFile::throwCannotWrite(int error) const {
  throw tool::Failure("cannot write " + m_path + ": " + std::strerror(error));
}

}  // namespace say

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

// Whether the file is an AIFF file as long as its head says.
bool isWholeAiff(int file) {
  std::array<unsigned char, 12> head{};
  if (::pread(file, head.data(), head.size(), 0) != static_cast<ssize_t>(head.size())) return false;
  if (std::memcmp(&head[0], "FORM", 4) != 0 || std::memcmp(&head[8], "AIFF", 4) != 0) return false;
  off_t announced = 8;
  for (const std::size_t place : {4U, 5U, 6U, 7U}) {
    announced += off_t{head[place]} << (8 * (7 - place));
  }
  return sizeOf(file) >= announced;
}

}  // namespace

OutputFile::OutputFile(std::string path)
    : m_path(std::move(path)), m_isNew(::access(m_path.c_str(), F_OK) != 0) {
  // Without waiting: a pipe that nobody reads must not hold the program up.
  const Descriptor file{::open(m_path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666)};
  if (file.number < 0) refuse(errno);
  // A device that is full says so even to nothing.
  if (!isRegular(file.number) && ::write(file.number, "", 0) < 0) refuse(errno);
}

void OutputFile::discard() const {
  struct stat status {};
  if (m_isNew && ::stat(m_path.c_str(), &status) == 0 && status.st_size == 0) {
    ::unlink(m_path.c_str());
  }
}

void OutputFile::write(std::string_view contents) const {
  const Descriptor file{::open(m_path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC)};
  if (file.number < 0) refuse(errno);
  while (!contents.empty()) {
    const ssize_t written = ::write(file.number, contents.data(), contents.size());
    if (written < 0 && errno != EINTR) refuse(errno);
    if (written > 0) contents.remove_prefix(static_cast<std::size_t>(written));
  }
}

void OutputFile::verify() const {
  const Descriptor file{::open(m_path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)};
  if (file.number < 0) refuse(errno);
  if (!isRegular(file.number)) return;
  if (!isWholeAiff(file.number)) throw tool::Failure(m_path + " is incomplete");
}

void OutputFile::refuse(int error) const {
  throw tool::Failure("cannot write " + m_path + ": " + std::strerror(error));
}

}  // namespace say

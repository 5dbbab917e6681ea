// SPDX-License-Identifier: Apache-2.0
#include "audio/TemporaryFile.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

#include "Failure.h"

namespace say {
namespace {

// Returns a descriptor, or -1 with errno set.
int openUnnamedFile(const std::string& folder) {
  constexpr mode_t kOwnerOnly = 0600;
  const int file = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, kOwnerOnly);
  if (file >= 0) return file;
  // Not every file system supports O_TMPFILE: create a named file and unlink it.
  std::string path = folder + "/kavrel-say-XXXXXX";
  const int named = ::mkostemp(path.data(), O_CLOEXEC);
  if (named >= 0) ::unlink(path.c_str());
  return named;
}

// Returns TMPDIR, or /tmp if it is not a folder.
std::string usualFolder() {
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::temp_directory_path(error);
  return error ? "/tmp" : folder.string();
}

}  // namespace

TemporaryFile::TemporaryFile(const std::string& folder) : m_file(openUnnamedFile(folder)) {
  if (m_file < 0) m_file = openUnnamedFile(usualFolder());
  if (m_file < 0) {
    throw tool::Failure("cannot create a temporary file in " + usualFolder() + ": " +
                        std::strerror(errno) + "; set TMPDIR to another folder");
  }
}

TemporaryFile::~TemporaryFile() {
  ::close(m_file);
}

// The file has no name in a folder, but /proc gives each open file a path.
std::string TemporaryFile::path() const {
  return "/proc/self/fd/" + std::to_string(m_file);
}

}  // namespace say

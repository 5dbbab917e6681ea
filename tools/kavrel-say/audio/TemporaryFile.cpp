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

int openIn(const std::string& folder) {
  constexpr mode_t kMineAlone = 0600;
  const int file = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, kMineAlone);
  if (file >= 0) return file;
  // Not every file system has files without a name.
  std::string path = folder + "/kavrel-say-XXXXXX";
  const int named = ::mkostemp(path.data(), O_CLOEXEC);
  if (named >= 0) ::unlink(path.c_str());
  return named;
}

std::string usualFolder() {
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::temp_directory_path(error);
  return error ? "/tmp" : folder.string();
}

}  // namespace

TemporaryFile::TemporaryFile(const std::string& folder) : m_file(openIn(folder)) {
  if (m_file < 0) m_file = openIn(usualFolder());
  if (m_file < 0) {
    throw tool::Failure("cannot write a file in " + usualFolder() + ": " + std::strerror(errno) +
                        "; TMPDIR names another place");
  }
}

TemporaryFile::~TemporaryFile() {
  ::close(m_file);
}

std::string TemporaryFile::path() const {
  return "/proc/self/fd/" + std::to_string(m_file);
}

}  // namespace say

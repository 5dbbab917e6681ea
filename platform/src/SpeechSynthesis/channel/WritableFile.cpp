// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/channel/WritableFile.h"

#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace platform {
namespace {

namespace fs = std::filesystem;

bool isWritable(const fs::path& path) {
  return faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
}

}  // namespace

OSErr problemOfFile(const std::string& path) {
  const fs::path file(path);
  std::error_code ignored;
  const fs::file_status status = fs::status(file, ignored);
  if (fs::is_directory(status)) return permErr;
  if (fs::exists(status)) return isWritable(file) ? noErr : permErr;
  const fs::path folder = file.has_parent_path() ? file.parent_path() : fs::path(".");
  if (!fs::is_directory(folder, ignored)) return fnfErr;
  return isWritable(folder) ? noErr : permErr;
}

}  // namespace platform

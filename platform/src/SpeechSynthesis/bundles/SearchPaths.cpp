// SPDX-License-Identifier: Apache-2.0
//
// SearchPaths: folders from the dynamic linker and from environment variables.
#include "SpeechSynthesis/bundles/SearchPaths.h"

#include <cstdlib>
#include <string_view>
#include <system_error>

#include <dlfcn.h>

namespace platform {

std::filesystem::path managerLibraryFolder() {
  Dl_info found{};
  // The library that contains this function, whatever program has loaded it.
  if (dladdr(reinterpret_cast<const void*>(&managerLibraryFolder), &found) == 0) return {};
  if (found.dli_fname == nullptr) return {};
  std::error_code failure;
  // canonical: data folders are found relative to the real file, not to a link to it.
  const std::filesystem::path library = std::filesystem::canonical(found.dli_fname, failure);
  return failure ? std::filesystem::path() : library.parent_path();
}

std::filesystem::path userDataFolder() {
  // A relative path would depend on the working directory, so it counts as unset.
  const auto absoluteOf = [](const char* variable) {
    const char* const value = std::getenv(variable);
    std::filesystem::path path = value == nullptr ? "" : value;
    return path.is_absolute() ? path : std::filesystem::path();
  };
  if (std::filesystem::path data = absoluteOf("XDG_DATA_HOME"); !data.empty()) return data;
  const std::filesystem::path home = absoluteOf("HOME");
  return home.empty() ? home : home / ".local/share";
}

std::vector<std::filesystem::path> foldersInVariable(const char* variable) {
  std::vector<std::filesystem::path> folders;
  const char* const value = std::getenv(variable);
  if (value == nullptr) return folders;
  for (std::string_view rest = value; !rest.empty();) {
    const std::size_t length = std::min(rest.find(':'), rest.size());
    // An empty name would mean the working directory.
    if (length > 0) folders.emplace_back(rest.substr(0, length));
    rest.remove_prefix(std::min(length + 1, rest.size()));
  }
  return folders;
}

}  // namespace platform

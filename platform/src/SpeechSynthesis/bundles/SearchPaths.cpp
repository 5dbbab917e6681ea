// SPDX-License-Identifier: Apache-2.0
//
// SearchPaths: folders from the dynamic linker and from environment variables.
#include "SpeechSynthesis/bundles/SearchPaths.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <new>
#include <string_view>
#include <system_error>

#include <dirent.h>
#include <dlfcn.h>
#include <link.h>

namespace platform {

std::filesystem::path managerLibraryFile() {
  Dl_info found{};
  link_map* map = nullptr;
  // The file that contains this function, whatever program has loaded it.
  if (dladdr1(reinterpret_cast<const void*>(&managerLibraryFile), &found,
              reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) == 0 ||
      map == nullptr || map->l_name == nullptr) {
    return {};
  }
  // The name of the program itself is empty. What starts the program chooses the name that the
  // program is called by, so that name leads anywhere.
  const char* const file = map->l_name[0] == '\0' ? "/proc/self/exe" : map->l_name;
  std::error_code failure;
  // canonical: data folders are found relative to the real file, not to a link to it.
  std::filesystem::path library = std::filesystem::canonical(file, failure);
  if (failure == std::errc::not_enough_memory) throw std::bad_alloc();
  return failure ? std::filesystem::path() : library;
}

std::filesystem::path managerLibraryFolder() {
  return managerLibraryFile().parent_path();
}

std::filesystem::path userDataFolder() {
  // A relative path would depend on the working directory, so it counts as unset.
  const auto absoluteOf = [](const char* variable) {
    const char* const value = secure_getenv(variable);
    std::filesystem::path path = value == nullptr ? "" : value;
    return path.is_absolute() ? path : std::filesystem::path();
  };
  if (std::filesystem::path data = absoluteOf("XDG_DATA_HOME"); !data.empty()) return data;
  const std::filesystem::path home = absoluteOf("HOME");
  return home.empty() ? home : home / ".local/share";
}

std::vector<std::filesystem::path> foldersInVariable(const char* variable) {
  std::vector<std::filesystem::path> folders;
  const char* const value = secure_getenv(variable);
  if (value == nullptr) return folders;
  for (std::string_view rest = value; !rest.empty();) {
    const std::size_t length = std::min(rest.find(':'), rest.size());
    // An empty name would mean the working directory.
    if (length > 0) folders.emplace_back(rest.substr(0, length));
    rest.remove_prefix(std::min(length + 1, rest.size()));
  }
  return folders;
}

// Not with std::filesystem, whose iterators end the process when there is no memory for a name.
std::vector<std::filesystem::path> pathsIn(const std::filesystem::path& folder) {
  const std::unique_ptr<DIR, int (*)(DIR*)> list(opendir(folder.c_str()), &closedir);
  // Otherwise a folder would seem empty that is not.
  if (list == nullptr && errno == ENOMEM) throw std::bad_alloc();
  std::vector<std::filesystem::path> paths;
  while (list != nullptr) {
    const dirent* const entry = readdir(list.get());
    if (entry == nullptr) break;
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") paths.push_back(folder / name);
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

}  // namespace platform

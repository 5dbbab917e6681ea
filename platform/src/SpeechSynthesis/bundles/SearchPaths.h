// SPDX-License-Identifier: Apache-2.0
//
// SearchPaths: the folders in which the Manager searches for voices and synthesizers.
//
// The environment is read at each call; the folders need not exist. The caller must not change the
// environment on another thread at the same time. In a program with raised privileges (setuid,
// setgid, capabilities) all variables count as unset: the user who started it chooses no folder.
// Every function may throw std::bad_alloc.
#pragma once

#include <filesystem>
#include <vector>

namespace platform {

// The absolute path of the Manager's own library, or of the program that contains the Manager;
// empty if the system cannot provide it.
std::filesystem::path managerLibraryFile();

// The folder of that file; empty if the system cannot provide it.
std::filesystem::path managerLibraryFolder();

// The user's data folder: ${XDG_DATA_HOME:-~/.local/share}. Empty if neither XDG_DATA_HOME nor HOME
// is an absolute path.
std::filesystem::path userDataFolder();

// The folders in an environment variable, separated by colons, in order. Empty names are skipped.
std::vector<std::filesystem::path> foldersInVariable(const char* variable);

// What is in `folder`, sorted by name: the system lists a folder in any order. Empty if the folder
// does not exist or cannot be read.
std::vector<std::filesystem::path> pathsIn(const std::filesystem::path& folder);

}  // namespace platform

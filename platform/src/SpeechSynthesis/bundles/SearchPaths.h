// SPDX-License-Identifier: Apache-2.0
//
// Places: where the Manager looks for what it loads. Reads the environment at each call; the
// folders named here need not exist.
#pragma once

#include <filesystem>
#include <vector>

namespace platform {

// The folder of the Manager's own library, absolute; empty when the system does not tell.
std::filesystem::path managerLibraryFolder();

// The user's data folder, ${XDG_DATA_HOME:-~/.local/share}; empty when neither it nor a home is
// named by an absolute path.
std::filesystem::path userDataFolder();

// The folders that an environment variable names, separated by colons; empty names are left out.
std::vector<std::filesystem::path> foldersInVariable(const char* variable);

}  // namespace platform

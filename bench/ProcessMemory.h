// SPDX-License-Identifier: Apache-2.0
//
// The memory of the calling process, as the system counts it. Free of state.
#pragma once

#include <cstddef>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

namespace bench {

struct ProcessMemory {
  std::size_t resident = 0;  // bytes in memory, including those of libraries that others use, too
  std::size_t own = 0;       // of these, bytes that no other process shares
};

// nullopt if the system does not tell.
inline std::optional<ProcessMemory> ownMemory() {
  std::ifstream file("/proc/self/smaps_rollup");
  ProcessMemory memory;
  for (std::string line; std::getline(file, line);) {
    std::istringstream fields(line);
    std::string name;
    std::size_t kilobytes = 0;
    if (!(fields >> name >> kilobytes)) continue;
    if (name == "Rss:") memory.resident = 1024 * kilobytes;
    if (name == "Private_Clean:" || name == "Private_Dirty:") memory.own += 1024 * kilobytes;
  }
  if (memory.resident == 0) return std::nullopt;
  return memory;
}

}  // namespace bench

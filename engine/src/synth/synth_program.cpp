// SPDX-License-Identifier: Apache-2.0
#include "synth/synth_program.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

namespace kavrel {

namespace {

// From the folder of libkavrel where the project is installed, and from the folders of libraries
// and programs in the build tree.
constexpr const char* kFolders[] = {KAVREL_SYNTH_FOLDER, "../libexec/kavrel"};

// A variable of this file, whose address tells in which file of the process it is.
const char here = 0;

// The line of the process's map that holds the address. It has the file's real path, also for the
// program itself and for a library that was loaded by a relative path.
std::string mappedFile() {
  const auto address = reinterpret_cast<std::uintptr_t>(&here);
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    char dash = 0;
    std::istringstream fields(line);
    fields.imbue(std::locale::classic());
    fields >> std::hex >> begin >> dash >> end;
    if (!fields || address < begin || address >= end) continue;
    const std::size_t path = line.find('/');
    return path == std::string::npos ? std::string() : line.substr(path);
  }
  return {};
}

std::string ownFile() {
  Dl_info info{};
  link_map* map = nullptr;
  const bool found = ::dladdr1(&here, &info, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) != 0;
  // The name of the program itself is empty.
  if (!found || map == nullptr || map->l_name == nullptr || map->l_name[0] != '/') {
    return mappedFile();
  }
  const std::unique_ptr<char, decltype(&std::free)> real(::realpath(map->l_name, nullptr),
                                                         &std::free);
  return real != nullptr ? real.get() : map->l_name;
}

// Without "..", since messages contain the path. No link precedes a "..": ownFile() is a real path.
std::string programIn(const std::string& folder) {
  return (std::filesystem::path(folder) / "kavrel-synth").lexically_normal().string();
}

}  // namespace

std::string synthProgram() {
  const std::string file = ownFile();
  const std::string folder = file.substr(0, file.rfind('/') + 1);
  for (const char* const relative : kFolders) {
    std::string program = programIn(folder + relative);
    if (::access(program.c_str(), X_OK) == 0) return program;
  }
  return programIn(folder + kFolders[0]);
}

}  // namespace kavrel

// SPDX-License-Identifier: Apache-2.0
//
// Replaces libFuzzer: passes files to the target, once each. Prints the name of each file before it
// is run, so the last name is that of the failed file. Arguments: files and folders of files; a
// missing folder counts as empty. Exit status: 0, or 1 if there was no file.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

#include "Fuzz.h"

namespace {

std::vector<std::filesystem::path> filesIn(const std::filesystem::path& path) {
  if (!std::filesystem::exists(path)) return {};
  if (!std::filesystem::is_directory(path)) return {path};
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(path)) files.push_back(entry);
  std::sort(files.begin(), files.end());
  return files;
}

void replay(const std::filesystem::path& file) {
  std::cout << file.filename().string() << std::endl;
  std::ifstream stream(file, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
  // A buffer of the exact size, so that a sanitizer detects reads past its end.
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
  std::size_t replayed = 0;
  for (int i = 1; i < argc; ++i) {
    for (const auto& file : filesIn(argv[i])) {
      replay(file);
      ++replayed;
    }
  }
  if (replayed == 0) std::cerr << "no files to replay\n";
  return replayed == 0 ? 1 : 0;
}

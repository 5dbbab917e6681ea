// SPDX-License-Identifier: Apache-2.0
//
// Stands in for libFuzzer: puts files through the target once, each named on the way so that the
// last name is the one that failed. Arguments: files, and folders of files; a folder that is not
// there counts as empty. Results: 0; 1 when there was no file at all.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

#include "Fuzz.h"

namespace {

std::vector<std::filesystem::path> filesIn(const std::filesystem::path& place) {
  if (!std::filesystem::exists(place)) return {};
  if (!std::filesystem::is_directory(place)) return {place};
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(place)) files.push_back(entry);
  std::sort(files.begin(), files.end());
  return files;
}

void replay(const std::filesystem::path& file) {
  std::cout << file.filename().string() << std::endl;
  std::ifstream stream(file, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
  // A copy of the exact size, so that a sanitizer sees reads beyond it.
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
  if (replayed == 0) std::cerr << "there was nothing to replay\n";
  return replayed == 0 ? 1 : 0;
}

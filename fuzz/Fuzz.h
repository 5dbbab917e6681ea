// SPDX-License-Identifier: Apache-2.0
//
// Shared by the fuzz targets. A target is a function that passes an input to the code under test
// and aborts the process if a result is wrong.
//
// Inputs are text, so that people can read and write the files of the corpus. If a target takes
// parameters, they are in the first line and the text follows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

// The entry point for libFuzzer and for Replay.cpp. Returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

inline std::string_view viewOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// Unless `holds`, writes `what` to standard error and aborts the process.
inline void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

struct TwoParts {
  std::string_view first;
  std::string_view rest;
};

// Splits after the first line; without a line end the whole input is `rest`.
inline TwoParts atFirstLine(std::string_view input) {
  const std::size_t end = input.find('\n');
  if (end == std::string_view::npos) return {{}, input};
  return {input.substr(0, end), input.substr(end + 1)};
}

// Removes blanks and the first word from the start of `words`; returns the word, or an empty one.
inline std::string_view takeWord(std::string_view& words) {
  while (!words.empty() && words.front() == ' ') words.remove_prefix(1);
  const std::string_view word = words.substr(0, words.find(' '));
  words.remove_prefix(word.size());
  return word;
}

}  // namespace fuzz

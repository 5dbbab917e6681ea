// SPDX-License-Identifier: Apache-2.0
//
// What the fuzz targets share. A target is a function that gets an input and ends the process when
// something is wrong with what the code under test made of it.
//
// Inputs are text, so that a file of the corpus can be read and written by people. Where a target
// takes more than one thing, the first line says the small ones and the rest is the text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

// libFuzzer's, and our replay program's, way in. Answers 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

inline std::string_view viewOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// Ends the process, with a line that says what does not hold, unless it holds.
inline void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

struct TwoParts {
  std::string_view first;
  std::string_view rest;
};

// Splits behind the first line; without a line end everything is the rest.
inline TwoParts atFirstLine(std::string_view input) {
  const std::size_t end = input.find('\n');
  if (end == std::string_view::npos) return {{}, input};
  return {input.substr(0, end), input.substr(end + 1)};
}

// Takes the first word, and the blank behind it, off `words`.
inline std::string_view takeWord(std::string_view& words) {
  while (!words.empty() && words.front() == ' ') words.remove_prefix(1);
  const std::string_view word = words.substr(0, words.find(' '));
  words.remove_prefix(word.size());
  return word;
}

}  // namespace fuzz

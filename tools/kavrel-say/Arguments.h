// SPDX-License-Identifier: Apache-2.0
//
// Arguments: what the command line asks for.
#pragma once

#include <optional>
#include <string>
#include <variant>

namespace say {

// Words per minute.
inline constexpr int kSlowestRate = 20;
inline constexpr int kFastestRate = 1000;

struct Arguments {
  bool listVoices = false;
  std::optional<std::string> voice;
  std::optional<int> rate;
  std::optional<std::string> outputFile;
  bool events = false;
  // At most one of the two; with neither the text is on standard input.
  std::optional<std::string> text;
  std::optional<std::string> inputFile;
};

// The arguments, or the exit status of a program that has nothing more to do: help has been written
// to standard output, or what is wrong to standard error.
std::variant<Arguments, int> readArguments(int count, char** arguments);

}  // namespace say

// SPDX-License-Identifier: Apache-2.0
//
// Arguments: what the command line asks for.
#pragma once

#include <optional>
#include <string>
#include <variant>

#include "audio/AudioFormat.h"
#include "screen/Highlight.h"
#include "speech/Positions.h"

namespace say {

// Words per minute.
inline constexpr int kSlowestRate = 20;
inline constexpr int kFastestRate = 1000;

// What is written to standard output instead of speaking.
enum class List { None, Voices, Devices, FileFormats, DataFormats, Highlights };

// The name that stands for standard input or output.
inline constexpr const char* kStandardStream = "-";

struct Arguments {
  List list = List::None;
  std::optional<std::string> voice;
  std::optional<int> rate;
  std::optional<std::string> device;
  bool plain = false;

  // At most one of the two; with neither the text is on standard input.
  std::optional<std::string> text;
  std::optional<std::string> inputFile;

  // At most one of all outputs is standard output.
  std::optional<std::string> outputFile;
  std::optional<std::string> fileFormat;
  std::optional<std::string> dataFormat;
  AudioFormat format;  // of outputFile
  std::optional<std::string> vttFile;
  std::optional<std::string> srtFile;
  bool events = false;
  bool ssml = false;
  std::optional<Highlight> interactive;

  Unit positions = Unit::Bytes;
  bool progress = false;
  bool quiet = false;
};

// The arguments, or the exit status of a program that has nothing more to do: help has been written
// to standard output, or what is wrong to standard error.
std::variant<Arguments, int> readArguments(int count, char** arguments);

}  // namespace say

// SPDX-License-Identifier: Apache-2.0
//
// SayArguments: the command line of kavrel-say, parsed and checked.
//
// A plain value; constant after readArguments().
#pragma once

#include <optional>
#include <string>
#include <variant>

#include "audio/AudioFormat.h"
#include "screen/Highlight.h"
#include "speech/PositionCounter.h"

namespace say {

// The range of --rate, in words per minute.
inline constexpr int kSlowestRate = 20;
inline constexpr int kFastestRate = 1000;

// The list that "?" as an argument asks for. It is written instead of speaking.
enum class List { None, Voices, Devices, FileFormats, DataFormats, Highlights };

// The file name for standard input or output.
inline constexpr const char* kStandardStream = "-";

struct SayArguments {
  List list = List::None;
  std::optional<std::string> voice;
  std::optional<int> rate;
  std::optional<std::string> device;
  bool plain = false;
  bool strict = false;
  bool oneVoice = false;

  // At most one of the two is set. With neither, the text is read from standard input.
  std::optional<std::string> text;
  std::optional<std::string> inputFile;

  // At most one output is standard output.
  std::optional<std::string> outputFile;
  std::optional<std::string> fileFormat;
  std::optional<std::string> dataFormat;
  AudioFormat format;  // of outputFile; unused without one
  std::optional<std::string> vttFile;
  std::optional<std::string> srtFile;
  bool events = false;
  bool ssml = false;
  std::optional<Highlight> interactive;

  PositionUnit positions = PositionUnit::Bytes;
  bool progress = false;
  bool quiet = false;
};

// Parses the command line. Returns the arguments, or the exit status if the program is done: help
// or version was written to standard output, or a usage error to standard error.
std::variant<SayArguments, int> readArguments(int count, char** arguments);

}  // namespace say

// SPDX-License-Identifier: Apache-2.0
//
// Arguments: what the user asks for.
#pragma once

#include <string>
#include <variant>

#include "text/CallerText.h"
#include "text/Conversion.h"

namespace ssml {

struct Arguments {
  ConversionOptions conversion;
  Encoding encoding = Encoding::Utf8;
  bool json = false;
  bool explain = false;
  bool document = false;
  std::string language = "en-US";
  std::string file = "-";  // "-": standard input
};

// The arguments, or the exit status when the program is to end: after help, or after a message
// about wrong usage.
std::variant<Arguments, int> readArguments(int count, char** arguments);

}  // namespace ssml

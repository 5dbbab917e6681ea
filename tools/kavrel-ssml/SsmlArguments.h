// SPDX-License-Identifier: Apache-2.0
//
// SsmlArguments: the command line of kavrel-ssml, parsed and checked.
//
// A plain value; constant after readArguments().
#pragma once

#include <string>
#include <variant>

#include "text/Conversion.h"
#include "text/SourceText.h"

namespace ssml {

struct SsmlArguments {
  ConversionOptions conversion;
  Encoding encoding = Encoding::Utf8;
  bool json = false;
  bool explain = false;
  bool adapt = false;
  bool document = false;
  std::string language = "en-US";
  std::string file = "-";  // "-": standard input
};

// Parses the command line. Returns the arguments, or the exit status if the program is done: help
// or version was written to standard output, or a usage error to standard error.
std::variant<SsmlArguments, int> readArguments(int count, char** arguments);

}  // namespace ssml

// SPDX-License-Identifier: Apache-2.0
//
// Explanation: what becomes of every command of a text.
//
// What a command opens is asked of the converter's own passes; where that ends follows from the
// commands behind it.
//
// Threads: constant once made.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "text/CallerText.h"
#include "text/Conversion.h"

namespace ssml {

struct ExplainedCommand {
  Place place;
  std::size_t length;  // bytes of the caller's text
  std::string text;    // as the caller wrote it
  std::string kind;
  std::string result;
};

// All commands of the caller's text, in order. Works for texts that cannot be converted, too.
std::vector<ExplainedCommand> explain(const CallerText& text, const ConversionOptions& options);

// A table for people, with a line for every command below a heading.
std::string tableOf(const std::vector<ExplainedCommand>& commands);

}  // namespace ssml

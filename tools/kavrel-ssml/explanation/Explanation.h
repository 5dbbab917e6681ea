// SPDX-License-Identifier: Apache-2.0
//
// Explanation: describes the effect of each command of a text.
//
// The markup that a command opens comes from the converter's own passes; where it ends follows from
// the commands after it.
//
// Pure functions.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "text/Conversion.h"
#include "text/SourceText.h"

namespace ssml {

// A command and its effect.
struct ExplainedCommand {
  SourceLocation location;
  std::size_t length;  // bytes of the caller's text
  std::string text;    // as the caller wrote it
  std::string kind;
  std::string result;
};

// Returns all commands of the caller's text, in order, also for a text that cannot be converted.
std::vector<ExplainedCommand> explain(const SourceText& text, const ConversionOptions& options);

// Returns a table with a heading and one line for each command.
std::string tableOf(const std::vector<ExplainedCommand>& commands);

}  // namespace ssml

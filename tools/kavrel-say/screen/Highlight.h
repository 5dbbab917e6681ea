// SPDX-License-Identifier: Apache-2.0
//
// Highlight: how the word being spoken is made to stand out on a terminal.
#pragma once

#include <string>

namespace say {

// What is written in front of the word and behind it.
struct Highlight {
  std::string on;
  std::string off;
};

// By what a user calls it: the name of a terminal's capability (smso, bold, smul, …; setaf N and
// setab N for a colour's number), a colour (green), or two, in front and behind (green/black).
// Throws std::invalid_argument for anything else.
Highlight highlightNamed(const std::string& name);

// A line for each kind of name.
std::string highlightList();

inline constexpr const char* kUsualHighlight = "smso";

}  // namespace say

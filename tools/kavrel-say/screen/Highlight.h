// SPDX-License-Identifier: Apache-2.0
//
// Highlight: the markup of the current word on a terminal. Pure functions.
#pragma once

#include <string>

namespace say {

// The escape sequences before and after the word.
struct Highlight {
  std::string on;
  std::string off;
};

// Returns the markup for a user's name: a terminal capability (smso, bold, smul, …; setaf N and
// setab N for a colour number), a colour (green), or foreground and background colours
// (green/black). Throws std::invalid_argument for anything else.
Highlight highlightNamed(const std::string& name);

// Returns one line for each kind of name.
std::string highlightList();

inline constexpr const char* kUsualHighlight = "smso";

}  // namespace say

// SPDX-License-Identifier: Apache-2.0
//
// TypedLines: what is typed on a terminal, a line at a time.
#pragma once

#include <optional>
#include <string>

namespace say {

class TypedLines {
 public:
  // Whether standard input is a terminal.
  static bool areThere();

  // The next line with its line feed, which the last one may lack; nothing at the end. Throws
  // Failure when standard input cannot be read.
  std::optional<std::string> next();

 private:
  std::string m_read;  // what has been read and not been answered
};

}  // namespace say

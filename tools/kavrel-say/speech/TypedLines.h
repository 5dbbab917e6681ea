// SPDX-License-Identifier: Apache-2.0
//
// TypedLines: reads lines typed on a terminal, one at a time.
//
// Threads: used by one thread.
#pragma once

#include <optional>
#include <string>

namespace say {

class TypedLines {
 public:
  // Whether standard input is a terminal.
  static bool isTerminal();

  // Waits for the next line and returns it with its line feed, which the last line may lack.
  // Returns nothing at the end of the input. Throws Failure if standard input cannot be read.
  std::optional<std::string> next();

 private:
  std::string m_read;  // read, not yet returned
};

}  // namespace say

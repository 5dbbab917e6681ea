// SPDX-License-Identifier: Apache-2.0
//
// Terminal: a terminal that is drawn on, and that gets back what was changed however the program
// ends: the cursor is shown again, keys are echoed again, and letters are plain.
//
// Threads: one at a time. There is at most one object of this class at a time.
#pragma once

#include <cstddef>
#include <string_view>

#include <termios.h>

#include "screen/Output.h"

namespace say {

class Terminal {
 public:
  struct Size {
    std::size_t columns;
    std::size_t rows;
  };

  // `output` is a terminal, and outlives the object. Hides the cursor, and what is typed.
  explicit Terminal(const Output& output);
  ~Terminal();
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  // As it is now; 80 by 24 for a terminal that does not know.
  Size size() const;

  // Throws as Output::write().
  void write(std::string_view text) const { m_output.write(text); }

  // Gives back what was changed, and changes it again: for a program that is halted.
  void release() const;
  void take() const;

 private:
  const Output& m_output;
};

}  // namespace say

// SPDX-License-Identifier: Apache-2.0
//
// Terminal: hides the cursor and the echo of keys while the display draws, and restores the
// terminal however the program ends, also by a fatal signal.
//
// Threads: used by one thread at a time. At most one object may exist at a time: the signal
// handlers need its state in global variables.
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

  // `output` is a terminal and outlives the object. Hides the cursor and turns off echo.
  explicit Terminal(const Output& output);
  // Restores the terminal.
  ~Terminal();
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  // Returns the current size in cells; 80 by 24 if the terminal does not report one.
  Size size() const;

  // Throws what Output::write() throws.
  void write(std::string_view text) const { m_output.write(text); }

  // Restores the terminal and takes it again, around the time that the program is suspended.
  void release() const;
  void take() const;

  // Restores the terminal that the program has taken, if any, as far as that is possible at once.
  // Safe on any thread.
  static void restoreWithoutWaiting();

 private:
  const Output& m_output;
};

}  // namespace say

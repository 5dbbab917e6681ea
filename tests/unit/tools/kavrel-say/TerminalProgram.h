// SPDX-License-Identifier: Apache-2.0
//
// TerminalProgram: kavrel-say run on a pseudo-terminal, and the screen that it draws. A program
// that hangs is killed with the test at the test's time limit.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>
#include <termios.h>

#include "Screen.h"
#include "programs/Program.h"

namespace program {

class TerminalProgram {
 public:
  struct Setting {
    std::size_t columns = 80;
    std::size_t rows = 24;
    // A file for standard output; empty: the terminal.
    std::string standardOutput = {};
  };

  TerminalProgram(Setting setting, const std::vector<std::string>& arguments);
  ~TerminalProgram();
  TerminalProgram(const TerminalProgram&) = delete;
  TerminalProgram& operator=(const TerminalProgram&) = delete;

  const Screen& screen() const { return m_screen; }
  const std::string& written() const { return m_written; }

  // Reads until the screen is as wanted. Returns false if the program ends first.
  bool readUntil(const std::function<bool(const Screen&)>& isWanted);

  void type(const std::string& keys);
  void resize(std::size_t columns, std::size_t rows);
  void sendSignal(int signal) const;
  // Waits until a signal has stopped the program; returns whether it has.
  bool waitUntilHalted() const;

  // Closes the terminal, as closing its window does.
  void hangUp();

  // Reads until the program ends. `out` and `err` of the result are empty.
  Result finish();

  // Returns whether the terminal echoes keys.
  bool echoes() const;

 private:
  bool readSome();
  bool showDrawing();

  Screen m_screen;
  std::string m_written;
  std::string m_unshown;  // the bytes that the screen does not show yet
  int m_terminal = -1;
  pid_t m_process = -1;
};

}  // namespace program

// SPDX-License-Identifier: Apache-2.0
//
// TerminalProgram: kavrel-say as a user runs it on a terminal, and what the terminal shows. A
// program that does not end dies with the test, which the test's own limit ends.
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
    // Where standard output goes instead; empty: to the terminal.
    std::string standardOutput = {};
  };

  TerminalProgram(Setting setting, const std::vector<std::string>& arguments);
  ~TerminalProgram();
  TerminalProgram(const TerminalProgram&) = delete;
  TerminalProgram& operator=(const TerminalProgram&) = delete;

  const Screen& screen() const { return m_screen; }
  const std::string& written() const { return m_written; }

  // Reads until the screen is as wanted; false when the program ends before.
  bool readUntil(const std::function<bool(const Screen&)>& isWanted);

  void type(const std::string& keys);
  void resize(std::size_t columns, std::size_t rows);
  void sendSignal(int signal) const;
  // Whether the program has been halted by a signal; waits for it.
  bool waitUntilHalted() const;

  // Closes the terminal, as its window does.
  void hangUp();

  // Reads on until the program ends; out and err of the result are empty.
  Result finish();

  // Whether the terminal echoes keys.
  bool echoes() const;

 private:
  bool readSome();
  bool showDrawing();

  Screen m_screen;
  std::string m_written;
  std::string m_unshown;  // the end of it, which the screen does not show yet
  int m_terminal = -1;
  pid_t m_process = -1;
};

}  // namespace program

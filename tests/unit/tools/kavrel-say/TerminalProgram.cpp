// SPDX-License-Identifier: Apache-2.0
#include "TerminalProgram.h"

#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utmp.h>

namespace program {
namespace {

winsize sizeOf(std::size_t columns, std::size_t rows) {
  winsize size{};
  size.ws_col = static_cast<unsigned short>(columns);
  size.ws_row = static_cast<unsigned short>(rows);
  return size;
}

[[noreturn]] void becomeProgram(const std::vector<std::string>& arguments,
                                const std::string& standardOutput) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (!standardOutput.empty()) {
    const int file = open(standardOutput.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    dup2(file, STDOUT_FILENO);
  }
  std::vector<char*> argv{const_cast<char*>(KAVREL_SAY)};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  execv(KAVREL_SAY, argv.data());
  _exit(127);
}

}  // namespace

TerminalProgram::TerminalProgram(Setting setting, const std::vector<std::string>& arguments)
    : m_screen(setting.columns, setting.rows) {
  winsize size = sizeOf(setting.columns, setting.rows);
  int side = -1;
  if (openpty(&m_terminal, &side, nullptr, nullptr, &size) != 0) {
    throw std::runtime_error("no terminal");
  }
  fcntl(m_terminal, F_SETFD, FD_CLOEXEC);
  m_process = fork();
  if (m_process == 0) {
    login_tty(side);
    becomeProgram(arguments, setting.standardOutput);
  }
  close(side);
  if (m_process < 0) throw std::runtime_error("no process");
}

TerminalProgram::~TerminalProgram() {
  if (m_process > 0) {
    kill(m_process, SIGKILL);
    waitpid(m_process, nullptr, 0);
  }
  if (m_terminal >= 0) close(m_terminal);
}

bool TerminalProgram::readUntil(const std::function<bool(const Screen&)>& isWanted) {
  while (!isWanted(m_screen)) {
    if (!showDrawing() && !readSome()) return false;
  }
  return true;
}

// Shows one update of the screen from the bytes read so far. An update ends with the cursor at the
// start of a row, where the next begins. Returns false when no update is left.
bool TerminalProgram::showDrawing() {
  if (m_unshown.empty()) return false;
  std::size_t end = 1;
  while (end < m_unshown.size() &&
         !(m_unshown[end] == '\r' && (m_unshown[end - 1] == '\r' || m_unshown[end - 1] == 'A'))) {
    ++end;
  }
  m_screen.write(m_unshown.substr(0, end));
  m_unshown.erase(0, end);
  return true;
}

// Returns false when the other side is closed.
bool TerminalProgram::readSome() {
  char bytes[4096];
  ssize_t count = 0;
  do {
    count = read(m_terminal, bytes, sizeof bytes);
  } while (count < 0 && errno == EINTR);
  if (count <= 0) return false;
  const std::string piece(bytes, static_cast<std::size_t>(count));
  m_written += piece;
  m_unshown += piece;
  return true;
}

void TerminalProgram::type(const std::string& keys) {
  if (write(m_terminal, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size())) {
    throw std::runtime_error("the terminal takes no keys");
  }
}

void TerminalProgram::resize(std::size_t columns, std::size_t rows) {
  m_screen.resize(columns, rows);
  const winsize size = sizeOf(columns, rows);
  ioctl(m_terminal, TIOCSWINSZ, &size);
}

void TerminalProgram::sendSignal(int signal) const {
  kill(m_process, signal);
}

bool TerminalProgram::waitUntilHalted() const {
  siginfo_t info{};
  return waitid(P_PID, static_cast<id_t>(m_process), &info, WSTOPPED | WEXITED | WNOWAIT) == 0 &&
         info.si_code == CLD_STOPPED;
}

void TerminalProgram::hangUp() {
  close(std::exchange(m_terminal, -1));
}

Result TerminalProgram::finish() {
  while (m_terminal >= 0 && readSome()) {
  }
  while (showDrawing()) {
  }
  Result result;
  int status = 0;
  waitpid(std::exchange(m_process, -1), &status, 0);
  if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  return result;
}

bool TerminalProgram::echoes() const {
  termios modes{};
  return tcgetattr(m_terminal, &modes) == 0 && (modes.c_lflag & ECHO) != 0;
}

}  // namespace program

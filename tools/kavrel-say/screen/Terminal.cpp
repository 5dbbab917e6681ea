// SPDX-License-Identifier: Apache-2.0
#include "screen/Terminal.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace say {
namespace {

constexpr std::string_view kHideCursor = "\033[?25l";
constexpr std::string_view kShowCursor = "\033[0m\033[?25h";

// The state to restore. Global, because the handlers of fatal signals need it.
struct SavedState {
  int file = -1;
  bool hasModes = false;
  termios modes{};
};
SavedState saved;
std::atomic<bool> isSaved = false;

// Only a foreground process may change the modes: the system stops a background process that does.
bool mayChangeModes(int file) {
  return ::tcgetpgrp(file) == ::getpgrp();
}

// Returns true if a write to the terminal does not wait.
bool takesOutput(int file) {
  pollfd terminal{file, POLLOUT, 0};
  return ::poll(&terminal, 1, 0) == 1 && (terminal.revents & POLLOUT) != 0;
}

// Restores the terminal once. Calls only async-signal-safe functions. The result of the write is
// ignored: a handler can do nothing about a failure.
void restore(bool mayWait = true) {
  if (!isSaved.exchange(false)) return;
  if (mayWait || takesOutput(saved.file)) {
    [[maybe_unused]] const ssize_t written =
        ::write(saved.file, kShowCursor.data(), kShowCursor.size());
  }
  if (saved.hasModes && mayChangeModes(saved.file)) {
    ::tcsetattr(saved.file, TCSANOW, &saved.modes);
  }
}

// Handles a fatal signal.
void restoreAndRaise(int signal) {
  const int error = errno;
  restore();
  errno = error;
  // SA_RESETHAND has restored the default action, which takes effect when this handler returns.
  ::raise(signal);
}

constexpr std::array kFatal = {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS};

// Signals that a programming error raises; SignalWatch takes the others.
void watchFatalSignals() {
  struct sigaction action {};
  action.sa_handler = restoreAndRaise;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (const int signal : kFatal) ::sigaction(signal, &action, nullptr);
}

void forgetFatalSignals() {
  for (const int signal : kFatal) std::signal(signal, SIG_DFL);
}

}  // namespace

Terminal::Terminal(const Output& output) : m_output(output) {
  watchFatalSignals();
  take();
}

Terminal::~Terminal() {
  release();
  forgetFatalSignals();
}

// Some terminals report 0 by 0, in containers for example.
Terminal::Size Terminal::size() const {
  constexpr Size kUnknown{80, 24};
  winsize size{};
  const bool isKnown = ::ioctl(m_output.file(), TIOCGWINSZ, &size) == 0;
  return {isKnown && size.ws_col > 0 ? size.ws_col : kUnknown.columns,
          isKnown && size.ws_row > 0 ? size.ws_row : kUnknown.rows};
}

void Terminal::release() const {
  restore();
}

void Terminal::restoreWithoutWaiting() {
  restore(false);
}

// Saves the modes before it turns off echo. The order matters: a signal in between must find what
// it has to restore.
void Terminal::take() const {
  saved.file = m_output.file();
  saved.hasModes = mayChangeModes(saved.file) && ::tcgetattr(saved.file, &saved.modes) == 0;
  isSaved = true;
  if (saved.hasModes) {
    termios quiet = saved.modes;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    ::tcsetattr(saved.file, TCSANOW, &quiet);
  }
  [[maybe_unused]] const ssize_t written =
      ::write(saved.file, kHideCursor.data(), kHideCursor.size());
}

}  // namespace say

// SPDX-License-Identifier: Apache-2.0
#include "screen/Terminal.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

#include <sys/ioctl.h>
#include <unistd.h>

namespace say {
namespace {

constexpr std::string_view kHideCursor = "\033[?25l";
constexpr std::string_view kPlainAgain = "\033[0m\033[?25h";

// What a signal that ends the program at once must know.
struct Changed {
  int file = -1;
  bool hasModes = false;
  termios modes{};
};
Changed changed;
std::atomic<bool> isChanged = false;

// In the foreground alone: in the background a program is halted that changes the modes.
bool mayChangeModes(int file) {
  return ::tcgetpgrp(file) == ::getpgrp();
}

// Of functions that may be called in a signal handler.
void giveBack() {
  if (!isChanged.exchange(false)) return;
  [[maybe_unused]] const ssize_t written =
      ::write(changed.file, kPlainAgain.data(), kPlainAgain.size());
  if (changed.hasModes && mayChangeModes(changed.file)) {
    ::tcsetattr(changed.file, TCSANOW, &changed.modes);
  }
}

void giveBackAndEnd(int signal) {
  const int error = errno;
  giveBack();
  errno = error;
  // Its usual effect, once this handler has returned.
  ::raise(signal);
}

constexpr std::array kFatal = {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS};

void watchFatalSignals() {
  struct sigaction action {};
  action.sa_handler = giveBackAndEnd;
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

Terminal::Size Terminal::size() const {
  constexpr Size kUnknown{80, 24};
  winsize size{};
  const bool isKnown = ::ioctl(m_output.file(), TIOCGWINSZ, &size) == 0;
  return {isKnown && size.ws_col > 0 ? size.ws_col : kUnknown.columns,
          isKnown && size.ws_row > 0 ? size.ws_row : kUnknown.rows};
}

void Terminal::release() const {
  giveBack();
}

void Terminal::take() const {
  changed.file = m_output.file();
  changed.hasModes = mayChangeModes(changed.file) && ::tcgetattr(changed.file, &changed.modes) == 0;
  isChanged = true;
  if (changed.hasModes) {
    termios quiet = changed.modes;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    ::tcsetattr(changed.file, TCSANOW, &quiet);
  }
  [[maybe_unused]] const ssize_t written =
      ::write(changed.file, kHideCursor.data(), kHideCursor.size());
}

}  // namespace say

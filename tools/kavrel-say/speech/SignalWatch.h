// SPDX-License-Identifier: Apache-2.0
//
// SignalWatch: turns the signals that end a program (SIGINT, SIGTERM, SIGHUP, SIGQUIT), that halt
// it (SIGTSTP), and that tell of a terminal's new size (SIGWINCH) into calls on an ordinary thread.
// A signal that the program was started to ignore stays ignored.
#pragma once

#include <atomic>
#include <csignal>
#include <functional>
#include <thread>

namespace say {

// Holds the signals back on the thread that makes it and on all that are started afterwards; they
// wait until a watch takes them, or until this goes.
class HeldSignals {
 public:
  HeldSignals();
  ~HeldSignals();
  HeldSignals(const HeldSignals&) = delete;
  HeldSignals& operator=(const HeldSignals&) = delete;

  const sigset_t& signals() const { return m_signals; }

 private:
  sigset_t m_signals{};
  sigset_t m_previousMask{};
};

class SignalWatch {
 public:
  // Called on a thread of the watch, one at a time, for each signal.
  struct Actions {
    std::function<void()> end;
    // Around the time in which the program does not run.
    std::function<void()> halt;
    std::function<void()> goOn;
    std::function<void()> resize;
  };

  // `held` outlives the watch.
  SignalWatch(const HeldSignals& held, Actions actions);

  // No call begins after this returns.
  ~SignalWatch();
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;

  // The first signal that came to end the program; 0 for none.
  int received() const { return m_received; }
  // How many of those came.
  int count() const { return m_count; }

 private:
  void run(sigset_t signals);
  void act(int signal);

  const Actions m_actions;
  std::atomic<int> m_received = 0;
  std::atomic<int> m_count = 0;
  std::atomic<bool> m_ending = false;
  std::thread m_thread;
};

// Ends the program by the signal, as it would have without a watch, so that whoever started it sees
// why it ended.
[[noreturn]] void endBySignal(int signal);

}  // namespace say

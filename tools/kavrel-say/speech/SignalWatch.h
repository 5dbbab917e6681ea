// SPDX-License-Identifier: Apache-2.0
//
// SignalWatch: turns signals into function calls on an ordinary thread. Takes the signals that end
// the program (SIGINT, SIGTERM, SIGHUP, SIGQUIT), suspend it (SIGTSTP) and report a new size of the
// terminal (SIGWINCH). A signal that was ignored when the program started stays ignored.
//
// Threads: a watch has a thread of its own, which waits with sigwait() and calls the actions.
#pragma once

#include <atomic>
#include <csignal>
#include <functional>
#include <thread>

namespace say {

// RAII guard: blocks the signals on the thread that creates it and on all threads started later.
// They stay pending until a watch takes them or the guard is destroyed.
class BlockedSignals {
 public:
  BlockedSignals();
  ~BlockedSignals();
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;

  const sigset_t& signals() const { return m_signals; }

 private:
  sigset_t m_signals{};
  sigset_t m_previousMask{};
};

class SignalWatch {
 public:
  // Called on the thread of the watch, one at a time.
  struct Actions {
    std::function<void()> end;  // for each signal that ends the program
    // Before and after the time that the program is suspended.
    std::function<void()> suspend;
    std::function<void()> resume;
    std::function<void()> resize;
  };

  // `held` outlives the watch. Throws std::system_error if the system refuses a thread.
  SignalWatch(const BlockedSignals& held, Actions actions);

  // Waits for an action in progress; no action starts after this returns.
  ~SignalWatch();
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;

  // Returns the first signal that was to end the program; 0 for none. Safe on any thread.
  int firstSignal() const { return m_received; }
  // Returns the number of such signals. Safe on any thread.
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

// Ends the program by the signal, as without a watch, so that the parent process sees the reason.
[[noreturn]] void endBySignal(int signal);

}  // namespace say

// SPDX-License-Identifier: Apache-2.0
//
// SignalWatch: turns signals into function calls on an ordinary thread. Takes the signals that end
// the program (SIGINT, SIGTERM, SIGHUP, SIGQUIT), suspend it (SIGTSTP) and report a new size of the
// terminal (SIGWINCH). A signal that was ignored when the program started stays ignored.
//
// The second signal that ends the program does so itself, whatever other threads wait for: it gives
// them a tenth of a second to remove their temporary files and restore the terminal. A third one
// does not wait for them.
//
// Threads: a watch has a thread of its own, which waits with sigwait() and calls the actions.
#pragma once

#include <atomic>
#include <csignal>
#include <functional>
#include <optional>
#include <thread>

#include "base/threads/Clock.h"
#include "base/threads/Mutex.h"

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

  // Watches, without actions yet. `held` outlives the watch. Throws std::system_error if the system
  // refuses a thread.
  explicit SignalWatch(const BlockedSignals& held);
  ~SignalWatch();
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;

  // Calls `actions` from here on; their `end` also if a signal has come before.
  void begin(Actions actions) EXCLUDES(m_lock);
  // Waits for an action in progress; no action starts after this returns. A signal that is the
  // first to end the program then does so at once.
  void finish() EXCLUDES(m_lock);

  // Returns the first signal that was to end the program; 0 for none. Safe on any thread.
  int firstSignal() const { return m_received; }
  // Returns the number of such signals. Safe on any thread.
  int count() const { return m_count; }

 private:
  void run(sigset_t signals);
  void act(int signal) EXCLUDES(m_lock);
  void end(int signal);
  void call(const std::function<void()>& action) const;
  int next(const sigset_t& signals) const;
  [[noreturn]] void endAtOnce() const;

  base::Mutex m_lock;  // held while an action runs
  Actions m_actions GUARDED_BY(m_lock);
  bool m_isFinished GUARDED_BY(m_lock) = false;
  std::optional<base::Clock::time_point> m_limit;  // of the grace; the watch's thread only
  std::atomic<int> m_received = 0;
  std::atomic<int> m_count = 0;
  std::atomic<bool> m_ending = false;
  std::thread m_thread;
};

// Ends the program by the signal, as without a watch, so that the parent process sees the reason.
// Runs nothing else of the program.
[[noreturn]] void endBySignal(int signal);

}  // namespace say

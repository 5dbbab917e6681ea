// SPDX-License-Identifier: Apache-2.0
#include "speech/SignalWatch.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <utility>

#include "screen/Terminal.h"

namespace say {
namespace {

// Wakes the thread of the watch so that it exits. The program has no other use for this signal.
constexpr int kWakeUp = SIGUSR1;

// What is left of the program after a second signal.
constexpr std::chrono::milliseconds kGrace(100);

bool isIgnored(int signal) {
  struct sigaction action {};
  return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

// An ignored signal must not be blocked: sigwait() would receive it.
BlockedSignals::BlockedSignals() {
  sigemptyset(&m_signals);
  sigaddset(&m_signals, kWakeUp);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGWINCH}) {
    if (!isIgnored(signal)) sigaddset(&m_signals, signal);
  }
  pthread_sigmask(SIG_BLOCK, &m_signals, &m_previousMask);
}

BlockedSignals::~BlockedSignals() {
  pthread_sigmask(SIG_SETMASK, &m_previousMask, nullptr);
}

SignalWatch::SignalWatch(const BlockedSignals& held)
    : m_thread(&SignalWatch::run, this, held.signals()) {}

// m_ending is set before the wake-up, so the thread sees it when it has received that.
SignalWatch::~SignalWatch() {
  m_ending = true;
  pthread_kill(m_thread.native_handle(), kWakeUp);
  m_thread.join();
}

void SignalWatch::begin(Actions actions) {
  const base::ScopedLock held(m_lock);
  m_actions = std::move(actions);
  if (m_count > 0) call(m_actions.end);
}

void SignalWatch::finish() {
  const base::ScopedLock held(m_lock);
  m_actions = {};
  m_isFinished = true;
}

void SignalWatch::run(sigset_t signals) {
  for (;;) {
    const int signal = next(signals);
    if (m_ending) return;
    if (signal == SIGWINCH || signal == SIGTSTP) {
      act(signal);
    } else if (signal != kWakeUp) {
      end(signal);
    }
  }
}

// Waits for a signal. Ends the program if the grace is over first.
int SignalWatch::next(const sigset_t& signals) const {
  for (;;) {
    if (!m_limit.has_value()) {
      int signal = 0;
      if (sigwait(&signals, &signal) == 0) return signal;
      continue;
    }
    const auto left = std::max(*m_limit - base::Clock::now(), base::Clock::duration());
    const timespec time{0, std::chrono::nanoseconds(left).count()};
    const int signal = sigtimedwait(&signals, nullptr, &time);
    if (signal > 0) return signal;
    if (errno == EAGAIN) endAtOnce();
  }
}

void SignalWatch::call(const std::function<void()>& action) const {
  if (action) action();
}

// SIGTSTP is blocked, so its default effect never happens; SIGSTOP, which cannot be blocked, stands
// in. raise() returns when the program is continued.
void SignalWatch::act(int signal) {
  const base::ScopedLock held(m_lock);
  if (signal == SIGWINCH) {
    call(m_actions.resize);
  } else {
    call(m_actions.suspend);
    std::raise(SIGSTOP);
    call(m_actions.resume);
  }
}

// From the second signal on, no lock is taken: what holds it may be what hangs.
void SignalWatch::end(int signal) {
  // Only the first signal becomes the exit status.
  int none = 0;
  m_received.compare_exchange_strong(none, signal);
  const int count = ++m_count;
  if (count == 1) {
    const base::ScopedLock held(m_lock);
    if (m_isFinished) endAtOnce();
    call(m_actions.end);
  } else if (count == 2) {
    m_limit = base::Clock::now() + kGrace;
  } else {
    endAtOnce();
  }
}

void SignalWatch::endAtOnce() const {
  Terminal::restoreWithoutWaiting();
  endBySignal(m_received);
}

// The calling thread may have blocked the signal.
void endBySignal(int signal) {
  std::signal(signal, SIG_DFL);
  sigset_t only;
  sigemptyset(&only);
  sigaddset(&only, signal);
  pthread_sigmask(SIG_UNBLOCK, &only, nullptr);
  std::raise(signal);
  std::abort();  // not reached
}

}  // namespace say

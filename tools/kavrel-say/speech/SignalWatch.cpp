// SPDX-License-Identifier: Apache-2.0
#include "speech/SignalWatch.h"

#include <cstdlib>
#include <utility>

namespace say {
namespace {

// Wakes the thread of the watch so that it exits. The program has no other use for this signal.
constexpr int kWakeUp = SIGUSR1;

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

SignalWatch::SignalWatch(const BlockedSignals& held, Actions actions)
    : m_actions(std::move(actions)), m_thread(&SignalWatch::run, this, held.signals()) {}

// m_ending is set before the wake-up, so the thread sees it when sigwait() returns.
SignalWatch::~SignalWatch() {
  m_ending = true;
  pthread_kill(m_thread.native_handle(), kWakeUp);
  m_thread.join();
}

void SignalWatch::run(sigset_t signals) {
  int signal = 0;
  while (sigwait(&signals, &signal) == 0) {
    if (m_ending) return;
    if (signal != kWakeUp) act(signal);
  }
}

// SIGTSTP is blocked, so its default effect never happens; SIGSTOP, which cannot be blocked, stands
// in. raise() returns when the program is continued.
void SignalWatch::act(int signal) {
  if (signal == SIGWINCH) {
    m_actions.resize();
  } else if (signal == SIGTSTP) {
    m_actions.suspend();
    std::raise(SIGSTOP);
    m_actions.resume();
  } else {
    // Only the first signal becomes the exit status.
    int none = 0;
    m_received.compare_exchange_strong(none, signal);
    ++m_count;
    m_actions.end();
  }
}

void endBySignal(int signal) {
  std::signal(signal, SIG_DFL);
  std::raise(signal);
  std::abort();  // not reached: the signal is not blocked here
}

}  // namespace say

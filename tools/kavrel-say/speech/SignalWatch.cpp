// SPDX-License-Identifier: Apache-2.0
#include "speech/SignalWatch.h"

#include <cstdlib>
#include <utility>

namespace say {
namespace {

// Wakes a watch's thread up so that it ends; nothing else uses it here.
constexpr int kWakeUp = SIGUSR1;

bool isIgnored(int signal) {
  struct sigaction action {};
  return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

HeldSignals::HeldSignals() {
  sigemptyset(&m_signals);
  sigaddset(&m_signals, kWakeUp);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGWINCH}) {
    if (!isIgnored(signal)) sigaddset(&m_signals, signal);
  }
  pthread_sigmask(SIG_BLOCK, &m_signals, &m_previousMask);
}

HeldSignals::~HeldSignals() {
  pthread_sigmask(SIG_SETMASK, &m_previousMask, nullptr);
}

SignalWatch::SignalWatch(const HeldSignals& held, Actions actions)
    : m_actions(std::move(actions)), m_thread(&SignalWatch::run, this, held.signals()) {}

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

void SignalWatch::act(int signal) {
  if (signal == SIGWINCH) {
    m_actions.resize();
  } else if (signal == SIGTSTP) {
    m_actions.halt();
    std::raise(SIGSTOP);
    m_actions.goOn();
  } else {
    int none = 0;
    m_received.compare_exchange_strong(none, signal);
    ++m_count;
    m_actions.end();
  }
}

void endBySignal(int signal) {
  std::signal(signal, SIG_DFL);
  std::raise(signal);
  std::abort();
}

}  // namespace say

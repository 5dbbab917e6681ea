// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/channel/ManagerThread.h"

#include <csignal>
#include <thread>
#include <utility>

#include <pthread.h>

namespace platform {
namespace {

// RAII guard: blocks all signals on this thread. A new thread inherits the mask of the thread that
// starts it, so it never runs with signals unblocked.
class SignalBlocker {
 public:
  SignalBlocker() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &m_before);
  }
  ~SignalBlocker() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
  SignalBlocker(const SignalBlocker&) = delete;
  SignalBlocker& operator=(const SignalBlocker&) = delete;

 private:
  sigset_t m_before{};
};

}  // namespace

void startThread(std::function<void()> work) {
  const SignalBlocker held;
  std::thread(std::move(work)).detach();
}

}  // namespace platform

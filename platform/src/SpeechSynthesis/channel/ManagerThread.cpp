// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/channel/ManagerThread.h"

#include <csignal>
#include <thread>
#include <utility>

#include <pthread.h>

namespace platform {
namespace {

// A thread starts with the signal mask of the one that starts it.
class SignalsHeld {
 public:
  SignalsHeld() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &m_before);
  }
  ~SignalsHeld() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;

 private:
  sigset_t m_before{};
};

}  // namespace

void startThread(std::function<void()> work) {
  const SignalsHeld held;
  std::thread(std::move(work)).detach();
}

}  // namespace platform

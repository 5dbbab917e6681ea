// SPDX-License-Identifier: Apache-2.0
//
// The signal mask of threads that a library starts in a process that it does not own.
#pragma once

#include <csignal>
#include <initializer_list>

#include <pthread.h>

namespace base {

// Keeps the host's signals off the calling thread and the threads that it starts. A write beyond
// the file size limit then fails with an error, instead of raising SIGXFSZ. Signals of faults and
// of the profiler stay enabled.
inline void blockSignals() {
  sigset_t signals;
  sigfillset(&signals);
  for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGPROF}) {
    sigdelset(&signals, fault);
  }
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

}  // namespace base

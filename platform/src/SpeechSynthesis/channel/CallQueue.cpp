// SPDX-License-Identifier: Apache-2.0
//
// CallQueue: a double-ended queue with three flags under one lock. A call may run if no other call
// runs and the queue has no thread; while a call waits for a boundary, new calls go to the queue.
#include "SpeechSynthesis/channel/CallQueue.h"

#include <utility>

#include "SpeechSynthesis/calls/StandardError.h"
#include "SpeechSynthesis/channel/ManagerThread.h"

namespace platform {

// RAII guard: owns the right to call the synthesizer while alive; does not hold the lock.
class SCOPED_CAPABILITY CallQueue::CallGuard {
 public:
  explicit CallGuard(CallQueue& calls) RELEASE(calls.m_lock) : m_calls(calls) {
    m_calls.m_running = true;
    m_calls.m_lock.unlock();
  }
  ~CallGuard() RELEASE() {
    m_calls.m_lock.lock();
    m_calls.m_running = false;
    m_calls.m_changed.notifyAll();
  }
  CallGuard(const CallGuard&) = delete;
  CallGuard& operator=(const CallGuard&) = delete;

 private:
  CallQueue& m_calls;
};

void CallQueue::runNow(const Work& work) {
  const base::ScopedLock held(m_lock);
  while (!isFree()) m_changed.wait(m_lock);
  const CallGuard guard(*this);
  work();
}

// Waits for a call that is running, but not for one that is waiting for a boundary: that may take
// as long as a sentence.
bool CallQueue::runOrQueue(const std::shared_ptr<void>& owner, const Work& work) {
  const base::ScopedLock held(m_lock);
  while (!m_waiting && !isFree()) m_changed.wait(m_lock);
  if (m_waiting) {
    enqueue(owner, work);
    return false;
  }
  const CallGuard guard(*this);
  work();
  return true;
}

void CallQueue::queue(const std::shared_ptr<void>& owner, Work work) {
  const base::ScopedLock held(m_lock);
  enqueue(owner, std::move(work));
  m_waiting = true;
  m_changed.notifyAll();
}

void CallQueue::markWaitOver() {
  const base::ScopedLock held(m_lock);
  m_waiting = false;
}

void CallQueue::dropQueued() {
  const base::ScopedLock held(m_lock);
  m_queue.clear();
}

// With m_lock. The thread is started under the lock, so that it finds the work in the queue.
void CallQueue::enqueue(const std::shared_ptr<void>& owner, Work work) {
  m_queue.push_back(std::move(work));
  if (m_hasThread) return;
  try {
    // The thread holds a reference to the owner, which keeps this queue alive.
    startThread([this, owner] { runQueue(); });
  } catch (...) {
    // Nothing would ever run it.
    m_queue.pop_back();
    throw;
  }
  m_hasThread = true;
}

// The thread of the queue: runs the queued calls in order and exits when there are none.
void CallQueue::runQueue() {
  const base::ScopedLock held(m_lock);
  while (!m_queue.empty()) {
    while (m_running) m_changed.wait(m_lock);
    // dropQueued() may have been called during the wait.
    if (m_queue.empty()) break;
    const Work work = std::move(m_queue.front());
    m_queue.pop_front();
    const CallGuard guard(*this);
    try {
      work();
    } catch (...) {
      // The caller has its result already, and the queue must go on.
      writeException("a queued call");
    }
  }
  m_hasThread = false;
  m_waiting = false;
  m_changed.notifyAll();
}

}  // namespace platform

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
class CallQueue::CallGuard {
 public:
  CallGuard(CallQueue& calls, std::unique_lock<std::mutex>& held) : m_calls(calls), m_held(held) {
    m_calls.m_isTaken = true;
    m_held.unlock();
  }
  ~CallGuard() {
    m_held.lock();
    m_calls.m_isTaken = false;
    m_calls.m_changed.notify_all();
  }
  CallGuard(const CallGuard&) = delete;
  CallGuard& operator=(const CallGuard&) = delete;

 private:
  CallQueue& m_calls;
  std::unique_lock<std::mutex>& m_held;
};

void CallQueue::runNow(const Work& work) {
  std::unique_lock held(m_lock);
  m_changed.wait(held, [this] { return !m_isTaken && !m_isQueued; });
  const CallGuard guard(*this, held);
  work();
}

// Waits for a call that is running, but not for one that is waiting for a boundary: that may take
// as long as a sentence.
bool CallQueue::runOrQueue(const std::shared_ptr<void>& owner, const Work& work) {
  std::unique_lock held(m_lock);
  m_changed.wait(held, [this] { return m_isWaiting || (!m_isTaken && !m_isQueued); });
  if (m_isWaiting) {
    enqueue(owner, work);
    return false;
  }
  const CallGuard guard(*this, held);
  work();
  return true;
}

void CallQueue::queue(const std::shared_ptr<void>& owner, Work work) {
  const std::lock_guard held(m_lock);
  enqueue(owner, std::move(work));
  m_isWaiting = true;
  m_changed.notify_all();
}

void CallQueue::markWaitOver() {
  const std::lock_guard held(m_lock);
  m_isWaiting = false;
}

void CallQueue::dropQueued() {
  const std::lock_guard held(m_lock);
  m_queue.clear();
}

// With m_lock. The thread is started under the lock, so that it finds the work in the queue.
void CallQueue::enqueue(const std::shared_ptr<void>& owner, Work work) {
  m_queue.push_back(std::move(work));
  if (m_isQueued) return;
  try {
    // The thread holds a reference to the owner, which keeps this queue alive.
    startThread([this, owner] { runQueue(); });
  } catch (...) {
    // Nothing would ever run it.
    m_queue.pop_back();
    throw;
  }
  m_isQueued = true;
}

// The thread of the queue: runs the queued calls in order and exits when there are none.
void CallQueue::runQueue() {
  std::unique_lock held(m_lock);
  while (!m_queue.empty()) {
    m_changed.wait(held, [this] { return !m_isTaken; });
    // dropQueued() may have been called during the wait.
    if (m_queue.empty()) break;
    const Work work = std::move(m_queue.front());
    m_queue.pop_front();
    const CallGuard guard(*this, held);
    try {
      work();
    } catch (...) {
      // The caller has its result already, and the queue must go on.
      writeException("a queued call");
    }
  }
  m_isQueued = false;
  m_isWaiting = false;
  m_changed.notify_all();
}

}  // namespace platform

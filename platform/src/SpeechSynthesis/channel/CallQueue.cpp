// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/channel/CallQueue.h"

#include <utility>

#include "SpeechSynthesis/channel/ManagerThread.h"

namespace platform {

// Has the turn for as long as it lives, without the lock.
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

void CallQueue::enqueue(const std::shared_ptr<void>& owner, Work work) {
  m_queue.push_back(std::move(work));
  if (m_isQueued) return;
  try {
    // The thread keeps the owner, and these queue with it.
    startThread([this, owner] { runQueue(); });
  } catch (...) {
    m_queue.pop_back();
    throw;
  }
  m_isQueued = true;
}

void CallQueue::runQueue() {
  std::unique_lock held(m_lock);
  while (!m_queue.empty()) {
    m_changed.wait(held, [this] { return !m_isTaken; });
    if (m_queue.empty()) break;
    const Work work = std::move(m_queue.front());
    m_queue.pop_front();
    const CallGuard guard(*this, held);
    try {
      work();
    } catch (...) {
      // Whoever asked has been answered; what came of it is told by reports.
    }
  }
  m_isQueued = false;
  m_isWaiting = false;
  m_changed.notify_all();
}

}  // namespace platform

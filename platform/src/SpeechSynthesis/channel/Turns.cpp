// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/channel/Turns.h"

#include <utility>

#include "SpeechSynthesis/channel/ManagerThread.h"

namespace platform {

// Has the turn for as long as it lives, without the lock.
class Turns::Turn {
 public:
  Turn(Turns& turns, std::unique_lock<std::mutex>& held) : m_turns(turns), m_held(held) {
    m_turns.m_isTaken = true;
    m_held.unlock();
  }
  ~Turn() {
    m_held.lock();
    m_turns.m_isTaken = false;
    m_turns.m_changed.notify_all();
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  Turns& m_turns;
  std::unique_lock<std::mutex>& m_held;
};

void Turns::doNow(const Work& work) {
  std::unique_lock held(m_lock);
  m_changed.wait(held, [this] { return !m_isTaken && !m_isQueued; });
  const Turn turn(*this, held);
  work();
}

bool Turns::doOrQueue(const std::shared_ptr<void>& owner, const Work& work) {
  std::unique_lock held(m_lock);
  m_changed.wait(held, [this] { return m_isWaiting || (!m_isTaken && !m_isQueued); });
  if (m_isWaiting) {
    queueHeld(owner, work);
    return false;
  }
  const Turn turn(*this, held);
  work();
  return true;
}

void Turns::queue(const std::shared_ptr<void>& owner, Work work) {
  const std::lock_guard held(m_lock);
  queueHeld(owner, std::move(work));
  m_isWaiting = true;
  m_changed.notify_all();
}

void Turns::noLongerWaits() {
  const std::lock_guard held(m_lock);
  m_isWaiting = false;
}

void Turns::forgetQueued() {
  const std::lock_guard held(m_lock);
  m_queue.clear();
}

void Turns::queueHeld(const std::shared_ptr<void>& owner, Work work) {
  m_queue.push_back(std::move(work));
  if (m_isQueued) return;
  try {
    // The thread keeps the owner, and these turns with it.
    startThread([this, owner] { run(); });
  } catch (...) {
    m_queue.pop_back();
    throw;
  }
  m_isQueued = true;
}

void Turns::run() {
  std::unique_lock held(m_lock);
  while (!m_queue.empty()) {
    m_changed.wait(held, [this] { return !m_isTaken; });
    if (m_queue.empty()) break;
    const Work work = std::move(m_queue.front());
    m_queue.pop_front();
    const Turn turn(*this, held);
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

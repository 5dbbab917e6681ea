// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/channel/Turns.h"

#include <utility>

#include "SpeechSynthesis/channel/ManagerThread.h"

namespace platform {

// Owns the turn while it exists. Releases the lock, which the thread holds, for that time.
class SCOPED_CAPABILITY Turns::Turn {
 public:
  explicit Turn(Turns& turns) RELEASE(turns.m_lock) : m_turns(turns) {
    m_turns.m_isTaken = true;
    m_turns.m_lock.unlock();
  }
  ~Turn() RELEASE() {
    m_turns.m_lock.lock();
    m_turns.m_isTaken = false;
    m_turns.m_changed.notifyAll();
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  Turns& m_turns;
};

void Turns::doNow(const Work& work) {
  const base::ScopedLock held(m_lock);
  while (!isFree()) m_changed.wait(m_lock);
  const Turn turn(*this);
  work();
}

bool Turns::doOrQueue(const std::shared_ptr<void>& owner, const Work& work) {
  const base::ScopedLock held(m_lock);
  while (!m_isWaiting && !isFree()) m_changed.wait(m_lock);
  if (m_isWaiting) {
    queueHeld(owner, work);
    return false;
  }
  const Turn turn(*this);
  work();
  return true;
}

void Turns::queue(const std::shared_ptr<void>& owner, Work work) {
  const base::ScopedLock held(m_lock);
  queueHeld(owner, std::move(work));
  m_isWaiting = true;
  m_changed.notifyAll();
}

void Turns::noLongerWaits() {
  const base::ScopedLock held(m_lock);
  m_isWaiting = false;
}

void Turns::forgetQueued() {
  const base::ScopedLock held(m_lock);
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
  const base::ScopedLock held(m_lock);
  while (!m_queue.empty()) {
    while (m_isTaken) m_changed.wait(m_lock);
    if (m_queue.empty()) break;
    const Work work = std::move(m_queue.front());
    m_queue.pop_front();
    const Turn turn(*this);
    try {
      work();
    } catch (...) {
      // Whoever asked has been answered; what came of it is told by reports.
    }
  }
  m_isQueued = false;
  m_isWaiting = false;
  m_changed.notifyAll();
}

}  // namespace platform

// SPDX-License-Identifier: Apache-2.0
#include "job/observer.h"

#include <atomic>
#include <memory>
#include <utility>

#include "base/threads/Mutex.h"
#include "cst/diag.h"

namespace kavrel {

namespace {

// Number of nested observer calls on this thread.
thread_local int depth = 0;

class ObserverRegistry {
 public:
  static ObserverRegistry& shared() {
    // Never destroyed: jobs may speak while the process exits.
    static ObserverRegistry& registry = *new ObserverRegistry;
    return registry;
  }

  bool isOn() const { return m_on.load(std::memory_order_acquire); }

  // The new observer is allocated before the lock is taken, so that a failure changes nothing. A
  // call from inside an observer must not wait for itself.
  void set(kavrel_observer_t observer, void* user) EXCLUDES(m_lock) {
    auto next =
        observer != nullptr ? std::make_shared<Observer>(Observer{observer, user}) : nullptr;
    const base::ScopedLock held(m_lock);
    const std::shared_ptr<Observer> previous = std::exchange(m_current, std::move(next));
    m_on.store(m_current != nullptr, std::memory_order_release);
    if (previous == nullptr || depth > 0) return;
    while (previous->running > 0) m_returned.wait(m_lock);
  }

  // The count of running calls is what set() waits for.
  void call(const kavrel_observation& observation) EXCLUDES(m_lock) {
    const base::ScopedLock held(m_lock);
    const std::shared_ptr<Observer> observer = m_current;
    if (observer == nullptr) return;
    ++observer->running;
    {
      const base::ScopedUnlock released(m_lock);
      callOut(*observer, observation);
    }
    if (--observer->running == 0 && observer != m_current) m_returned.notifyAll();
  }

 private:
  struct Observer {
    kavrel_observer_t function = nullptr;
    void* user = nullptr;
    int running = 0;  // with m_lock: calls that have not returned
  };

  static void callOut(const Observer& observer, const kavrel_observation& observation) {
    ++depth;
    try {
      observer.function(&observation, observer.user);
    } catch (...) {
      KAVREL_DIAG("Observer", "An observer has thrown an exception.");
    }
    --depth;
  }

  std::atomic<bool> m_on = false;
  base::Mutex m_lock;
  base::Condition m_returned;  // with m_lock: the last call of a replaced observer has returned
  std::shared_ptr<Observer> m_current GUARDED_BY(m_lock);  // null: none
};

}  // namespace

bool isObserved() {
  return ObserverRegistry::shared().isOn();
}

void observe(const kavrel_observation& observation) noexcept {
  ObserverRegistry::shared().call(observation);
}

}  // namespace kavrel

kavrel_result_t kavrel_set_observer(kavrel_observer_t observer, void* user) {
  try {
    kavrel::ObserverRegistry::shared().set(observer, user);
    return KAVREL_SUCCESS;
  } catch (...) {
    KAVREL_DIAG("Observer", "Out of memory.");
    return KAVREL_INTERNAL_ERROR;
  }
}

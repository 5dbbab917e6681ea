// SPDX-License-Identifier: Apache-2.0
//
// Mutex, locks for a scope, and Condition: the C++ library's, with the annotations that clang
// checks (ThreadAnnotations.h).
//
// Threads: all functions may be called on any thread; an object is constructed and destroyed by one
// thread while no other uses it. Nothing here allocates.
#pragma once

#include <condition_variable>
#include <mutex>
#include <type_traits>

#include "base/threads/Clock.h"
#include "base/threads/ThreadAnnotations.h"

// Declares a global that is not destroyed when the process exits, for what threads that outlive the
// static objects use: `NEVER_DESTROYED constinit base::Mutex g_lock;`
#if defined(__clang__)
#define NEVER_DESTROYED [[clang::no_destroy]]
#else
#define NEVER_DESTROYED
// Without the attribute, nothing must be left to do at exit.
static_assert(std::is_trivially_destructible_v<std::mutex>);
#endif

namespace base {

// Not recursive. Constant-initialised: a global one can be used by the constructor of any other
// global. Acquire it with a ScopedLock.
class CAPABILITY("mutex") Mutex {
 public:
  constexpr Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  // Not checked inside: the library's type may carry annotations of its own.
  void lock() ACQUIRE() NO_THREAD_SAFETY_ANALYSIS { m_mutex.lock(); }
  void unlock() RELEASE() NO_THREAD_SAFETY_ANALYSIS { m_mutex.unlock(); }

 private:
  friend class Condition;
  std::mutex m_mutex;
};

// Holds a lock while it exists: a Mutex, or any CAPABILITY with lock() and unlock().
template <typename Lockable>
class SCOPED_CAPABILITY ScopedLock {
 public:
  explicit ScopedLock(Lockable& lockable) ACQUIRE(lockable) : m_lockable(lockable) {
    m_lockable.lock();
  }
  ~ScopedLock() RELEASE() { m_lockable.unlock(); }
  ScopedLock(const ScopedLock&) = delete;
  ScopedLock& operator=(const ScopedLock&) = delete;

 private:
  Lockable& m_lockable;
};

// Releases a lock that the thread holds while it exists, and acquires it again after that. For what
// must run unlocked inside the scope of a ScopedLock.
template <typename Lockable>
class SCOPED_CAPABILITY ScopedUnlock {
 public:
  explicit ScopedUnlock(Lockable& lockable) RELEASE(lockable) : m_lockable(lockable) {
    m_lockable.unlock();
  }
  // Rationale: RELEASE() ends the scope, which for this class means that the lock is held again.
  ~ScopedUnlock() RELEASE() { m_lockable.lock(); }
  ScopedUnlock(const ScopedUnlock&) = delete;
  ScopedUnlock& operator=(const ScopedUnlock&) = delete;

 private:
  Lockable& m_lockable;
};

// Lets threads that hold a mutex wait until others have changed what it guards. Waits may end for
// no reason, so the caller checks what it waits for in a loop:
//
//   while (m_queue.empty()) m_changed.wait(m_lock);
//
// All waits on one condition at a time use the same mutex. Notify while holding it: then a thread
// that finds the change may destroy the condition at once.
class Condition {
 public:
  Condition() = default;
  Condition(const Condition&) = delete;
  Condition& operator=(const Condition&) = delete;

  void notifyOne() noexcept { m_condition.notify_one(); }
  void notifyAll() noexcept { m_condition.notify_all(); }

  // Releases `mutex`, waits for a notification, and acquires `mutex` again.
  void wait(Mutex& mutex) REQUIRES(mutex) {
    Native held(mutex);
    m_condition.wait(held.lock);
  }

  // As wait(), but not longer than until `deadline`. Returns false when the deadline has passed.
  // Clock::time_point::max() is no deadline.
  bool waitUntil(Mutex& mutex, Clock::time_point deadline) REQUIRES(mutex) {
    Native held(mutex);
    // The system's calls may not take the end of time.
    if (deadline == Clock::time_point::max()) {
      m_condition.wait(held.lock);
      return true;
    }
    return m_condition.wait_until(held.lock, deadline) == std::cv_status::no_timeout;
  }

 private:
  // The held mutex in the form that the library takes; it stays held.
  struct Native {
    explicit Native(Mutex& mutex) : lock(mutex.m_mutex, std::adopt_lock) {}
    ~Native() { lock.release(); }
    Native(const Native&) = delete;
    Native& operator=(const Native&) = delete;
    std::unique_lock<std::mutex> lock;
  };

  std::condition_variable m_condition;
};

}  // namespace base

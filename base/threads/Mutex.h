// SPDX-License-Identifier: Apache-2.0
//
// Mutex, scoped locks and Condition: wrappers of the C++ library's classes, with annotations that
// clang checks (ThreadAnnotations.h).
//
// Threads: all functions are safe on any thread. No other thread may use an object during its
// construction and destruction. Nothing here allocates memory.
#pragma once

#include <condition_variable>
#include <mutex>
#include <type_traits>

#include "base/threads/Clock.h"
#include "base/threads/ThreadAnnotations.h"

// Declares a global object that is not destroyed when the process exits, because threads may still
// use it then: `NEVER_DESTROYED constinit base::Mutex g_lock;`
#if defined(__clang__)
#define NEVER_DESTROYED [[clang::no_destroy]]
#else
#define NEVER_DESTROYED
// Without the attribute, the destructor must have no effect.
static_assert(std::is_trivially_destructible_v<std::mutex>);
#endif

namespace base {

// A mutex, not recursive. It is constant-initialised, so the constructor of any global object can
// use a global mutex. Acquire it with a ScopedLock.
class CAPABILITY("mutex") Mutex {
 public:
  constexpr Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  // The bodies are not checked, because the library's type may have annotations of its own.
  void lock() ACQUIRE() NO_THREAD_SAFETY_ANALYSIS { m_mutex.lock(); }
  void unlock() RELEASE() NO_THREAD_SAFETY_ANALYSIS { m_mutex.unlock(); }

 private:
  friend class Condition;
  std::mutex m_mutex;
};

// RAII guard: acquires a lock and releases it at the end of the scope. The lock is a Mutex or any
// other CAPABILITY with lock() and unlock().
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

// RAII guard: releases a lock that the thread holds and acquires it again at the end of the scope.
// For code that must run without the lock inside the scope of a ScopedLock.
template <typename Lockable>
class SCOPED_CAPABILITY ScopedUnlock {
 public:
  explicit ScopedUnlock(Lockable& lockable) RELEASE(lockable) : m_lockable(lockable) {
    m_lockable.unlock();
  }
  // Rationale: on a destructor, RELEASE() means the end of the scope. For this class, the lock is
  // held again then.
  ~ScopedUnlock() RELEASE() { m_lockable.lock(); }
  ScopedUnlock(const ScopedUnlock&) = delete;
  ScopedUnlock& operator=(const ScopedUnlock&) = delete;

 private:
  Lockable& m_lockable;
};

// Condition variable: a thread that holds a mutex waits until another thread has changed the data
// that the mutex guards. A wait may end without a notification (spurious wakeup), so wait in a
// loop:
//
//   while (m_queue.empty()) m_changed.wait(m_lock);
//
// Waits at the same time on one condition must use the same mutex. Notify while holding the mutex:
// then a thread that has seen the change may destroy the condition immediately.
class Condition {
 public:
  Condition() = default;
  Condition(const Condition&) = delete;
  Condition& operator=(const Condition&) = delete;

  // Wake one waiting thread, or all of them.
  void notifyOne() noexcept { m_condition.notify_one(); }
  void notifyAll() noexcept { m_condition.notify_all(); }

  // Releases `mutex`, waits for a notification, and acquires `mutex` again.
  void wait(Mutex& mutex) REQUIRES(mutex) {
    Native held(mutex);
    m_condition.wait(held.lock);
  }

  // Like wait(), but ends at `deadline` at the latest and then returns false. For
  // Clock::time_point::max(), there is no deadline.
  bool waitUntil(Mutex& mutex, Clock::time_point deadline) REQUIRES(mutex) {
    Native held(mutex);
    // The system's calls may fail for the largest time.
    if (deadline == Clock::time_point::max()) {
      m_condition.wait(held.lock);
      return true;
    }
    return m_condition.wait_until(held.lock, deadline) == std::cv_status::no_timeout;
  }

 private:
  // Passes the mutex, which is held before and after, to the library as a std::unique_lock.
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

// SPDX-License-Identifier: GPL-3.0-or-later
//
// A mutex whose rules the compiler checks (clang's -Wthread-safety; other compilers ignore them).
// A member marked GUARDED_BY(m_lock) is used only while m_lock is held, a function marked
// REQUIRES(m_lock) is called only then.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#if defined(__clang__)
#define KAVREL_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define KAVREL_THREAD_ATTRIBUTE(x)
#endif

#define CAPABILITY(x) KAVREL_THREAD_ATTRIBUTE(capability(x))
#define SCOPED_CAPABILITY KAVREL_THREAD_ATTRIBUTE(scoped_lockable)
#define GUARDED_BY(x) KAVREL_THREAD_ATTRIBUTE(guarded_by(x))
#define REQUIRES(...) KAVREL_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) KAVREL_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define ACQUIRE(...) KAVREL_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define RELEASE(...) KAVREL_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))

namespace kavrel {

using Clock = std::chrono::steady_clock;

class CAPABILITY("mutex") Mutex {
 public:
  void lock() ACQUIRE() { m_mutex.lock(); }
  void unlock() RELEASE() { m_mutex.unlock(); }

 private:
  std::mutex m_mutex;
};

// Holds a mutex for its own lifetime.
class SCOPED_CAPABILITY Held {
 public:
  explicit Held(Mutex& mutex) ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }
  ~Held() RELEASE() { m_mutex.unlock(); }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;

 private:
  Mutex& m_mutex;
};

// Lets go of a held mutex for its own lifetime.
class SCOPED_CAPABILITY Released {
 public:
  explicit Released(Mutex& mutex) RELEASE(mutex) : m_mutex(mutex) { m_mutex.unlock(); }
  ~Released() RELEASE() { m_mutex.lock(); }
  Released(const Released&) = delete;
  Released& operator=(const Released&) = delete;

 private:
  Mutex& m_mutex;
};

using Condition = std::condition_variable_any;

// Waits for a notification, until `when` at most; either may be spurious, so the caller looks again
// at what it waits for.
inline void waitUntil(Condition& changed, Mutex& lock, Clock::time_point when) REQUIRES(lock) {
  // The end of time is more than the system's clocks can be asked to wait for.
  if (when == Clock::time_point::max()) {
    changed.wait(lock);
  } else {
    changed.wait_until(lock, when);
  }
}

}  // namespace kavrel

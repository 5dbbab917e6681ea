// SPDX-License-Identifier: Apache-2.0
//
// The plug-in's locks, with rules that are checked: by clang's -Wthread-safety when it compiles
// (other compilers ignore them), and by assertions when NDEBUG is not set.
//
// A member marked GUARDED_BY(lock) is used only while that lock is held; a function marked
// REQUIRES(lock) is called only then. Leaf locks come last: a thread holds one at most, for a few
// instructions, and never while it calls a client, the engine or the platform.
#pragma once

#include <atomic>
#include <cassert>

#include <pthread.h>

#if defined(__clang__)
#define SPEECHMGR_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define SPEECHMGR_THREAD_ATTRIBUTE(x)
#endif

#define CAPABILITY(x) SPEECHMGR_THREAD_ATTRIBUTE(capability(x))
#define SCOPED_CAPABILITY SPEECHMGR_THREAD_ATTRIBUTE(scoped_lockable)
#define GUARDED_BY(x) SPEECHMGR_THREAD_ATTRIBUTE(guarded_by(x))
#define REQUIRES(...) SPEECHMGR_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define ACQUIRE(...) SPEECHMGR_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define RELEASE(...) SPEECHMGR_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define EXCLUDES(...) SPEECHMGR_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define NO_THREAD_SAFETY_ANALYSIS SPEECHMGR_THREAD_ATTRIBUTE(no_thread_safety_analysis)

#ifdef NDEBUG
inline void note_leaf_lock(bool /*held*/) {}
inline void check_no_leaf_lock() {}
#else
inline thread_local bool holds_leaf_lock = false;
inline void note_leaf_lock(bool held) {
  assert(holds_leaf_lock != held);
  holds_leaf_lock = held;
}
inline void check_no_leaf_lock() {
  assert(!holds_leaf_lock);
}
#endif

// A client, the engine or the platform is called as outside(function)(arguments).
template <typename Function>
Function* outside(Function* function) {
  check_no_leaf_lock();
  return function;
}

// A mutex under which others may be called. Constant-initialised and never destroyed, so that one
// of the whole process outlives its static objects; one inside an object is ended with destroy().
class CAPABILITY("mutex") OuterMutex {
 public:
  void lock() ACQUIRE() { pthread_mutex_lock(&m_mutex); }
  void unlock() RELEASE() { pthread_mutex_unlock(&m_mutex); }
  void destroy() { pthread_mutex_destroy(&m_mutex); }

 private:
  pthread_mutex_t m_mutex = PTHREAD_MUTEX_INITIALIZER;
};

// Likewise, but nobody is called under it, and it is taken last.
class CAPABILITY("leaf lock") LeafMutex {
 public:
  void lock() ACQUIRE() {
    note_leaf_lock(true);
    pthread_mutex_lock(&m_mutex);
  }
  void unlock() RELEASE() {
    pthread_mutex_unlock(&m_mutex);
    note_leaf_lock(false);
  }
  void destroy() { pthread_mutex_destroy(&m_mutex); }

 private:
  pthread_mutex_t m_mutex = PTHREAD_MUTEX_INITIALIZER;
};

// One of these two, for a scope.
template <typename Mutex>
class SCOPED_CAPABILITY ScopedLock {
 public:
  explicit ScopedLock(Mutex& mutex) ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }
  ~ScopedLock() RELEASE() { m_mutex.unlock(); }
  ScopedLock(const ScopedLock&) = delete;
  ScopedLock& operator=(const ScopedLock&) = delete;

 private:
  Mutex& m_mutex;
};
using OuterLock = ScopedLock<OuterMutex>;
using LeafLock = ScopedLock<LeafMutex>;

// Who holds a channel's recursive `mtx`. It stands for that lock in the rules, since the system's
// type takes none; ChannelLock keeps the two together.
class CAPABILITY("channel lock") ChannelOwner {
 public:
  void enter() ACQUIRE() {
    m_thread.store(pthread_self(), std::memory_order_relaxed);
    ++m_depth;
  }
  void leave() RELEASE() { --m_depth; }
  // The calling thread holds the lock more than once.  [lock held]
  bool is_held_recursively() const { return m_depth > 1; }
  // The calling thread holds the lock; checked in debug builds only.
  void assert_held() const {
    check_no_leaf_lock();
    assert(m_depth > 0);
    assert(pthread_equal(m_thread.load(std::memory_order_relaxed), pthread_self()));
  }

 private:
  std::atomic<pthread_t> m_thread{};  // atomic for the assertion's sake: it may be another's
  std::atomic<int> m_depth{0};        // likewise
};

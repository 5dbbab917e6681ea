// SPDX-License-Identifier: Apache-2.0
//
// The plug-in's locks and their rules. Clang's -Wthread-safety checks the rules at compile time
// (other compilers ignore them); assertions check more at run time if NDEBUG is not set.
//
// A member marked GUARDED_BY(lock) is used only while that lock is held. A function marked
// REQUIRES(lock) is called only while that lock is held.
//
// Lock order: a channel's lock, then an OuterMutex, then a leaf lock. A thread holds at most one
// leaf lock, for a few instructions, and never while it calls a client, the engine or the platform.
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

// Every call of a client, the engine or the platform is written outside(function)(arguments): in
// debug builds this asserts that the thread holds no leaf lock.
template <typename Function>
Function* outside(Function* function) {
  check_no_leaf_lock();
  return function;
}

// A mutex that may be held while others are called. Constant-initialised and without a destructor,
// so that a global one outlives the static objects of the process. The owner of one inside an
// object calls destroy().
class CAPABILITY("mutex") OuterMutex {
 public:
  void lock() ACQUIRE() { pthread_mutex_lock(&m_mutex); }
  void unlock() RELEASE() { pthread_mutex_unlock(&m_mutex); }
  void destroy() { pthread_mutex_destroy(&m_mutex); }

 private:
  pthread_mutex_t m_mutex = PTHREAD_MUTEX_INITIALIZER;
};

// The same for a leaf lock: it is taken last, and nothing outside is called while it is held.
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

// RAII guard: holds one of the two mutexes for a scope.
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

// The thread that holds a channel's recursive `mtx`, and how many times. It represents that lock in
// the rules, since the system's mutex type cannot be annotated; ChannelLock keeps the two together.
class CAPABILITY("channel lock") ChannelOwner {
 public:
  void enter() ACQUIRE() {
    m_thread.store(pthread_self(), std::memory_order_relaxed);
    ++m_depth;
  }
  void leave() RELEASE() { --m_depth; }
  // Returns true if the calling thread holds the lock more than once. Call with the lock held.
  bool is_held_recursively() const { return m_depth > 1; }
  // Asserts that the calling thread holds the lock. Debug builds only.
  void assert_held() const {
    check_no_leaf_lock();
    assert(m_depth > 0);
    assert(pthread_equal(m_thread.load(std::memory_order_relaxed), pthread_self()));
  }

 private:
  // Atomic, because assert_held() may read them while another thread holds the lock.
  std::atomic<pthread_t> m_thread{};
  std::atomic<int> m_depth{0};
};

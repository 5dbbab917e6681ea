// SPDX-License-Identifier: Apache-2.0
//
// The plug-in's own rules for locks, on top of base/threads/Mutex.h. They are checked by clang's
// -Wthread-safety at compile time, and by assertions at run time when NDEBUG is not set.
//
// A base::Mutex may be held while others are called. A LeafMutex is acquired last: a thread holds
// one at most, for a few instructions, and never while it calls a client, the engine or the
// platform.
#pragma once

#include <atomic>
#include <cassert>

#include <pthread.h>

#include "base/threads/Mutex.h"

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

// A mutex under which nobody is called and nothing else is acquired. Constant-initialised.
class CAPABILITY("leaf lock") LeafMutex {
 public:
  // Not checked inside: the mutex stands for this object.
  void lock() ACQUIRE() NO_THREAD_SAFETY_ANALYSIS {
    note_leaf_lock(true);
    m_mutex.lock();
  }
  void unlock() RELEASE() NO_THREAD_SAFETY_ANALYSIS {
    m_mutex.unlock();
    note_leaf_lock(false);
  }

 private:
  base::Mutex m_mutex;
};

using LeafLock = base::ScopedLock<LeafMutex>;

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

// SPDX-License-Identifier: Apache-2.0
//
// Mutex, scoped locks and Condition. Tests that wait have generous limits, so a busy machine does
// not fail them.
#include <array>
#include <chrono>
#include <thread>
#include <type_traits>

#include <gtest/gtest.h>

#include "base/threads/Clock.h"
#include "base/threads/Mutex.h"

using base::Clock;
using base::Condition;
using base::Mutex;
using base::ScopedLock;
using base::ScopedUnlock;

namespace {

// Compiles only if the mutex is constant-initialised.
NEVER_DESTROYED constinit Mutex globalLock;
int globalCount GUARDED_BY(globalLock) = 0;

// Uses the mutex during the initialisation of a global, which may run before any other.
const bool usedEarly = [] {
  const ScopedLock held(globalLock);
  ++globalCount;
  return true;
}();

// A lock that counts its calls.
class CAPABILITY("counting lock") CountingLock {
 public:
  void lock() ACQUIRE() { ++locked; }
  void unlock() RELEASE() { ++unlocked; }
  int locked = 0;
  int unlocked = 0;
};

// A counter that threads can wait for.
class Counter {
 public:
  void add() EXCLUDES(m_lock) {
    const ScopedLock held(m_lock);
    ++m_count;
    m_changed.notifyAll();
  }

  // Returns false if the count has not reached `wanted` before `limit`.
  bool waitFor(int wanted, Clock::time_point limit) EXCLUDES(m_lock) {
    const ScopedLock held(m_lock);
    while (m_count < wanted) {
      if (!m_changed.waitUntil(m_lock, limit)) return m_count >= wanted;
    }
    return true;
  }

  void waitFor(int wanted) EXCLUDES(m_lock) {
    const ScopedLock held(m_lock);
    while (m_count < wanted) m_changed.wait(m_lock);
  }

 private:
  Mutex m_lock;
  Condition m_changed;  // with m_lock: m_count has grown
  int m_count GUARDED_BY(m_lock) = 0;
};

}  // namespace

TEST(Mutex, CanBeGlobalAndUsedBeforeMain) {
  const ScopedLock held(globalLock);
  EXPECT_TRUE(usedEarly);
  EXPECT_EQ(globalCount, 1);
}

TEST(Mutex, IsHeldByOneThreadAtATime) {
  constexpr int kRounds = 10'000;
  Mutex lock;
  int count = 0;
  const auto work = [&] {
    for (int i = 0; i < kRounds; ++i) {
      const ScopedLock held(lock);
      ++count;
    }
  };
  std::array<std::thread, 4> threads;
  for (std::thread& thread : threads) thread = std::thread(work);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(count, kRounds * static_cast<int>(threads.size()));
}

TEST(ScopedLock, HoldsAnyLockUntilItsScopeEnds) {
  CountingLock lock;
  {
    const ScopedLock held(lock);
    EXPECT_EQ(lock.locked, 1);
    EXPECT_EQ(lock.unlocked, 0);
  }
  EXPECT_EQ(lock.locked, 1);
  EXPECT_EQ(lock.unlocked, 1);
}

TEST(ScopedLock, ReleasesWhenAnExceptionLeavesTheScope) {
  CountingLock lock;
  try {
    const ScopedLock held(lock);
    throw 1;
  } catch (int) {
  }
  EXPECT_EQ(lock.unlocked, 1);
}

TEST(ScopedUnlock, ReleasesUntilItsScopeEnds) {
  CountingLock lock;
  {
    const ScopedLock held(lock);
    {
      const ScopedUnlock released(lock);
      EXPECT_EQ(lock.locked, 1);
      EXPECT_EQ(lock.unlocked, 1);
    }
    EXPECT_EQ(lock.locked, 2);
    EXPECT_EQ(lock.unlocked, 1);
  }
  EXPECT_EQ(lock.unlocked, 2);
}

TEST(ScopedUnlock, LetsAnotherThreadAcquireTheLock) {
  Mutex lock;
  int value = 0;
  const ScopedLock held(lock);
  {
    const ScopedUnlock released(lock);
    std::thread([&] {
      const ScopedLock inside(lock);
      value = 1;
    }).join();
  }
  EXPECT_EQ(value, 1);
}

TEST(Condition, WakesAWaitingThread) {
  Counter asked;
  Counter served;
  std::thread server([&] {
    asked.waitFor(1);
    served.add();
    asked.waitFor(2);
    served.add();
  });
  asked.add();
  served.waitFor(1);
  asked.add();
  served.waitFor(2);
  server.join();
  SUCCEED();
}

TEST(Condition, WakesOneWaitingThread) {
  Mutex lock;
  Condition changed;
  bool ready = false;
  std::thread waiter([&] {
    const ScopedLock held(lock);
    while (!ready) changed.wait(lock);
  });
  {
    const ScopedLock held(lock);
    ready = true;
    changed.notifyOne();
  }
  waiter.join();
  SUCCEED();
}

TEST(Condition, ReleasesTheMutexDuringAWaitAndHoldsItAfterwards) {
  Mutex lock;
  Condition changed;
  bool inside = false;
  bool checked = false;
  std::thread other;
  {
    const ScopedLock held(lock);
    // Acquires the mutex only because the wait below releases it.
    other = std::thread([&] {
      const ScopedLock own(lock);
      inside = true;
      changed.notifyAll();
      while (!checked) changed.wait(lock);
    });
    while (!inside) changed.wait(lock);
    checked = true;
    changed.notifyAll();
  }
  other.join();
  EXPECT_TRUE(inside);
}

TEST(Condition, StopsWaitingAtTheDeadline) {
  Counter counter;
  const Clock::time_point begun = Clock::now();
  EXPECT_FALSE(counter.waitFor(1, begun + std::chrono::milliseconds(20)));
  EXPECT_GE(Clock::now() - begun, std::chrono::milliseconds(20));
  EXPECT_LT(Clock::now() - begun, std::chrono::seconds(10));
}

TEST(Condition, DoesNotWaitForADeadlineThatHasPassed) {
  Counter counter;
  const Clock::time_point begun = Clock::now();
  EXPECT_FALSE(counter.waitFor(1, begun - std::chrono::seconds(1)));
  EXPECT_FALSE(counter.waitFor(1, Clock::time_point::min()));
  EXPECT_LT(Clock::now() - begun, std::chrono::seconds(10));
}

TEST(Condition, IsWokenBeforeTheDeadline) {
  Counter counter;
  const Clock::time_point begun = Clock::now();
  std::thread other([&] { counter.add(); });
  EXPECT_TRUE(counter.waitFor(1, begun + std::chrono::minutes(1)));
  EXPECT_LT(Clock::now() - begun, std::chrono::seconds(30));
  other.join();
}

TEST(Condition, WaitsWithoutLimitForTheLargestDeadline) {
  Counter counter;
  std::thread other([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    counter.add();
  });
  const Clock::time_point begun = Clock::now();
  EXPECT_TRUE(counter.waitFor(1, Clock::time_point::max()));
  EXPECT_LT(Clock::now() - begun, std::chrono::seconds(30));
  other.join();
}

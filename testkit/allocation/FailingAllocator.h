// SPDX-License-Identifier: Apache-2.0
//
// FailingAllocator: replaces the allocator of a program with one that fails at the n-th request,
// once or for good. It counts the requests of the program and of every library that it uses: those
// of `operator new` and, in a build without sanitizers, those of malloc, too.
//
//   for (long n = 1;; ++n) {
//     allocation::Failures failures(n, allocation::Times::Once);
//     { const allocation::Exposed exposed; codeUnderTest(); }
//     if (failures.met() == 0) break;
//   }
//
// Threads: the requests of every thread count, except those of the thread that created the Failures
// outside of Exposed, those inside of Spared, and those for which the function set by spareWhere
// returns true. One Failures object at a time.
#pragma once

namespace allocation {

enum class Times { Once, ForGood };

// While the object exists, request `n` (from 1) fails, or it and every later one. n = 0: no request
// fails, all are counted.
class Failures {
 public:
  Failures(long n, Times times);
  ~Failures();
  Failures(const Failures&) = delete;
  Failures& operator=(const Failures&) = delete;

  // Requests counted since the object was created.
  long requests() const;
  // Requests that have failed.
  long met() const;
};

// Scope guard: requests of this thread count. For code under test on the thread of the Failures,
// and for callbacks from code inside of Spared.
class Exposed {
 public:
  Exposed();
  ~Exposed();
  Exposed(const Exposed&) = delete;
  Exposed& operator=(const Exposed&) = delete;

 private:
  int m_before;
};

// Scope guard: requests of this thread neither fail nor count. For the test's own code.
class Spared {
 public:
  Spared();
  ~Spared();
  Spared(const Spared&) = delete;
  Spared& operator=(const Spared&) = delete;
};

// Requests for which `isSpared` returns true neither fail nor count. It is called on the requesting
// thread and must not allocate. Null: no function.
void spareWhere(bool (*isSpared)());

}  // namespace allocation

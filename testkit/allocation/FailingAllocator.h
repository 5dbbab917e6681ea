// SPDX-License-Identifier: Apache-2.0
//
// FailingAllocator: memory that runs out at the n-th request, once or for good. Whoever links it
// has its requests counted: those of `operator new` and, in a build without sanitizers, those of
// malloc too, by the program and by every library that it uses.
//
//   for (long n = 1;; ++n) {
//     allocation::Failures failures(n, allocation::Times::Once);
//     { const allocation::Exposed exposed; codeUnderTest(); }
//     if (failures.met() == 0) break;
//   }
//
// Threads: every thread's requests count, with these exceptions: the thread that made the Failures,
// outside of Exposed; any thread inside of Spared; any thread where the question of spareWhere says
// so. One Failures at a time.
#pragma once

namespace allocation {

enum class Times { Once, ForGood };

// From the making to the end of the object, request `n` (from 1) fails, or it and every later one.
// n = 0: none fails, all are counted.
class Failures {
 public:
  Failures(long n, Times times);
  ~Failures();
  Failures(const Failures&) = delete;
  Failures& operator=(const Failures&) = delete;

  long requests() const;
  // How many have failed.
  long met() const;
};

// The thread's requests count, for a scope; for code under test on the thread of the Failures and
// for what code that is spared calls back.
class Exposed {
 public:
  Exposed();
  ~Exposed();
  Exposed(const Exposed&) = delete;
  Exposed& operator=(const Exposed&) = delete;

 private:
  int m_before;
};

// The thread's requests neither fail nor count, for a scope; for the test's own code.
class Spared {
 public:
  Spared();
  ~Spared();
  Spared(const Spared&) = delete;
  Spared& operator=(const Spared&) = delete;
};

// `isSpared` is asked at every request, on its thread; it must not ask for memory. Null: no
// question.
void spareWhere(bool (*isSpared)());

}  // namespace allocation

// SPDX-License-Identifier: Apache-2.0
//
// HeapMeter: how much memory a piece of work holds at most, and how much it leaves.
//
// It counts the blocks of the whole process, those of `operator new` and of malloc alike, by taking
// the place of glibc's malloc or, under a sanitizer, through that one's hooks. Counts are bytes as
// the allocator rounds them, so they repeat exactly in a single thread, up to that rounding.
//
// Threads: measured work may use several. One meter at a time.
#pragma once

#include <cstddef>

namespace workloads {

class HeapMeter {
 public:
  // Counts from here on; what is held already does not count.
  HeapMeter();
  // Counting ends.
  ~HeapMeter();
  HeapMeter(const HeapMeter&) = delete;
  HeapMeter& operator=(const HeapMeter&) = delete;

  // The most bytes held at one moment since the meter was made.
  std::size_t peak() const;
  // What was taken and not given back since the meter was made; negative when more was given back.
  std::ptrdiff_t growth() const;

  // False where there is no way to count; peak() and growth() are 0 then.
  static bool works();
};

}  // namespace workloads

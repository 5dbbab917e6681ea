// SPDX-License-Identifier: Apache-2.0
//
// HeapMeter: measures the peak memory of a piece of work, and how much it leaves allocated.
//
// It counts the blocks of the whole process, from `operator new` and malloc: it replaces glibc's
// malloc or, in a sanitizer build, uses the sanitizer's hooks. Counts are in bytes as rounded by
// the allocator; in a single thread they are reproducible up to that rounding.
//
// Threads: measured work may use several. One meter at a time.
#pragma once

#include <cstddef>

namespace workloads {

class HeapMeter {
 public:
  // Starts counting at 0; blocks that are already allocated do not count.
  HeapMeter();
  // Stops counting.
  ~HeapMeter();
  HeapMeter(const HeapMeter&) = delete;
  HeapMeter& operator=(const HeapMeter&) = delete;

  // The maximum of bytes held at one time since the meter was created.
  std::size_t peak() const;
  // Bytes allocated minus bytes freed since the meter was created; may be negative.
  std::ptrdiff_t growth() const;

  // False on platforms without a way to count; peak() and growth() then return 0.
  static bool works();
};

}  // namespace workloads

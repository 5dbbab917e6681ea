// SPDX-License-Identifier: Apache-2.0
//
// GapBuffer: a sequence of plain values, stored as a gap buffer: the unused memory (the gap) is at
// the position of the last change. Insertions and removals near that position take constant time;
// one at a distance of n elements moves n elements. Access by index takes constant time.
//
// Threads: a value class without locks. Indices are not checked. Failure: std::bad_alloc, and the
// elements are unchanged then.
#pragma once

#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <vector>

template <typename T>
class GapBuffer {
  static_assert(std::is_trivially_copyable_v<T>, "values are moved as bytes");

 public:
  std::size_t size() const { return m_values.size() - gapLength(); }
  bool empty() const { return size() == 0; }

  const T& operator[](std::size_t index) const { return m_values[slot(index)]; }
  T& operator[](std::size_t index) { return m_values[slot(index)]; }

  // Inserts `value` before element `index`; index size() appends. Amortised constant time near the
  // last change.
  void insert(std::size_t index, const T& value) {
    if (gapLength() == 0) widen();
    moveGapTo(index);
    m_values[m_gapStart++] = value;
  }

  void push_back(const T& value) { insert(size(), value); }

  void erase(std::size_t index) {
    moveGapTo(index);
    ++m_gapEnd;
  }

  // Reserves memory for `room` elements in total.
  void reserve(std::size_t room) {
    if (room > m_values.size()) resize(room);
  }

  // Frees the unused memory.
  void compact() {
    moveGapTo(size());
    m_values.resize(size());
    m_values.shrink_to_fit();
    m_gapStart = m_gapEnd = m_values.size();
  }

  void clear() {
    m_values.clear();
    m_gapStart = 0;
    m_gapEnd = 0;
  }

 private:
  std::size_t gapLength() const { return m_gapEnd - m_gapStart; }
  // Index in m_values of element `index`.
  std::size_t slot(std::size_t index) const {
    return index < m_gapStart ? index : index + gapLength();
  }

  // Moves the elements between the gap and `index` to the other side of the gap.
  void moveGapTo(std::size_t index) {
    const auto values = m_values.begin();
    const auto at = [&](std::size_t position) {
      return values + static_cast<std::ptrdiff_t>(position);
    };
    if (index < m_gapStart) {
      std::move_backward(at(index), at(m_gapStart), at(m_gapEnd));
    } else if (index > m_gapStart) {
      std::move(at(m_gapEnd), at(index + gapLength()), at(m_gapStart));
    }
    m_gapEnd = index + gapLength();
    m_gapStart = index;
  }

  void widen() { resize(std::max<std::size_t>(16, m_values.size() * 2)); }

  // Makes m_values `room` elements long. The gap moves to the end, where the new memory is.
  void resize(std::size_t room) {
    const std::size_t used = size();
    moveGapTo(used);
    m_values.resize(room);
    m_gapStart = used;
    m_gapEnd = room;
  }

  std::vector<T> m_values;  // the elements and, between them, the gap [m_gapStart, m_gapEnd)
  std::size_t m_gapStart = 0;
  std::size_t m_gapEnd = 0;
};

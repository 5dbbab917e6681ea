// SPDX-License-Identifier: Apache-2.0
//
// GapBuffer: a sequence of plain values with a gap at the place of the last change, so that changes
// near a moving place take constant time.
//
// A value class without locks. Indices are not checked.
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

  // Puts `value` in front of element `index`; size() appends.
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

  // Room for `room` elements in all.
  void reserve(std::size_t room) {
    if (room > m_values.size()) resize(room);
  }

  // Gives up the room that is not used.
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
  std::size_t slot(std::size_t index) const {
    return index < m_gapStart ? index : index + gapLength();
  }

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

  // The gap moves to the end.
  void resize(std::size_t room) {
    const std::size_t used = size();
    moveGapTo(used);
    m_values.resize(room);
    m_gapStart = used;
    m_gapEnd = room;
  }

  std::vector<T> m_values;  // the elements, with the gap [m_gapStart, m_gapEnd) among them
  std::size_t m_gapStart = 0;
  std::size_t m_gapEnd = 0;
};

// SPDX-License-Identifier: Apache-2.0
//
// PositionCounter: converts byte positions to the unit that the user asked for.
//
// Threads: used by one thread at a time.
#pragma once

#include <cstddef>
#include <string>

#include "SpokenText.h"

namespace say {

enum class PositionUnit {
  Bytes,
  Characters,  // of UTF-8; a byte that is not UTF-8 counts as one
};

class PositionCounter {
 public:
  // `first` is the position of the text in all of the input, in `unit`. The text outlives the
  // object.
  PositionCounter(const std::string& text, PositionUnit unit, std::size_t first);

  // Returns the position and length of a range of bytes. Counts on from the position of the
  // previous call; a position before that one restarts the count.
  tool::Slice of(tool::Slice bytes);

  // Whether this is the first text of the input.
  bool isFirst() const { return m_first == 0; }

  // Returns the position of the end of the text.
  std::size_t end();

 private:
  std::size_t at(std::size_t byte);

  const std::string& m_text;
  const PositionUnit m_unit;
  const std::size_t m_first;
  // Cache of the last count: m_characters characters come before the byte m_byte.
  std::size_t m_byte = 0;
  std::size_t m_characters = 0;
};

}  // namespace say

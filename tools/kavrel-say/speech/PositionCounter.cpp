// SPDX-License-Identifier: Apache-2.0
#include "speech/PositionCounter.h"

#include <string_view>

#include "base/text/Utf8.h"

namespace say {

PositionCounter::PositionCounter(const std::string& text, PositionUnit unit, std::size_t first)
    : m_text(text), m_unit(unit), m_first(first) {}

tool::Slice PositionCounter::of(tool::Slice bytes) {
  const std::size_t begin = at(bytes.position);
  return {begin, at(bytes.position + bytes.length) - begin};
}

std::size_t PositionCounter::end() {
  return at(m_text.size());
}

// Counts on from the previous position: events come in the order of the text.
std::size_t PositionCounter::at(std::size_t byte) {
  if (m_unit == PositionUnit::Bytes) return m_first + byte;
  if (byte < m_byte) m_byte = m_characters = 0;
  while (m_byte < byte) {
    const std::string_view rest = std::string_view(m_text).substr(m_byte);
    m_byte += base::firstCharacterLength(rest);
    ++m_characters;
  }
  return m_first + m_characters;
}

}  // namespace say

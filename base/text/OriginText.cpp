// SPDX-License-Identifier: Apache-2.0
#include "base/text/OriginText.h"

#include <algorithm>
#include <numeric>

namespace base {

// A single byte is the same as a copy, which costs no memory while positions are unchanged.
void OriginText::append(std::string_view text, Position origin) {
  if (text.size() == 1) {
    appendCopy(text, origin);
    return;
  }
  appendWithOrigin(text, origin);
}

void OriginText::appendCopy(std::string_view text, Position first) {
  if (m_origins.empty() && first == m_text.size()) {
    m_text += text;
    m_same += text.size();
    return;
  }
  m_text += text;
  reserveOrigins();
  const std::size_t before = m_origins.size();
  m_origins.resize(before + text.size());
  std::iota(m_origins.begin() + static_cast<std::ptrdiff_t>(before), m_origins.end(), first);
}

// The part of `other` that kept its positions is a copy; only the rest has stored origins.
void OriginText::append(const OriginText& other, std::size_t start, std::size_t end) {
  const std::size_t copied = std::clamp(other.m_same, start, end);
  const std::string_view text = other.m_text;
  if (copied > start) {
    appendCopy(text.substr(start, copied - start), static_cast<Position>(start));
  }
  if (end <= copied) return;
  m_text += text.substr(copied, end - copied);
  reserveOrigins();
  const auto first = other.m_origins.begin() - static_cast<std::ptrdiff_t>(other.m_same);
  m_origins.insert(m_origins.end(), first + static_cast<std::ptrdiff_t>(copied),
                   first + static_cast<std::ptrdiff_t>(end));
}

void OriginText::insert(std::string_view text) {
  appendWithOrigin(text, kInserted);
}

// Backwards, since inserted text takes the origin of the byte after it.
void OriginText::finish(Position sourceEnd) {
  m_sourceEnd = sourceEnd;
  Position next = sourceEnd;
  for (std::size_t i = m_origins.size(); i-- > 0;) {
    if (m_origins[i] == kInserted) m_origins[i] = next;
    next = m_origins[i];
  }
}

void OriginText::clear() {
  *this = OriginText();
}

void OriginText::appendWithOrigin(std::string_view text, Position origin) {
  m_text += text;
  reserveOrigins();
  m_origins.insert(m_origins.end(), text.size(), origin);
}

// Before the first origin is stored, reserves memory for as many origins as the text has capacity
// for. After reserve(), the origins then do not grow by doubling.
void OriginText::reserveOrigins() {
  if (m_origins.empty()) m_origins.reserve(m_text.capacity() - m_same);
}

OriginText::Position OriginText::originOf(std::size_t at) const {
  if (at < m_same) return static_cast<Position>(at);
  return at < m_text.size() ? m_origins[at - m_same] : m_sourceEnd;
}

std::vector<OriginText::Position> OriginText::origins() const {
  std::vector<Position> all(m_same);
  std::iota(all.begin(), all.end(), Position{0});
  all.insert(all.end(), m_origins.begin(), m_origins.end());
  return all;
}

OriginText::Range OriginText::sourceOf(std::size_t position, std::size_t length) const {
  const std::size_t first = std::min(position, m_text.size());
  std::size_t end = first + std::min(length, m_text.size() - first);
  // Include all bytes of the last source character, which may have become several bytes.
  while (end > first && end < m_text.size() && originOf(end) == originOf(end - 1)) ++end;
  const Position start = originOf(first);
  if (end == first) return {start, 0};
  return {start, originOf(end) - start};
}

}  // namespace base

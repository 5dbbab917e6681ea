// SPDX-License-Identifier: Apache-2.0
#include "text/TracedText.h"

namespace ssml {

void TracedText::append(std::string_view text, Position origin) {
  m_text += text;
  m_origins.insert(m_origins.end(), text.size(), origin);
}

void TracedText::append(const TracedText& other, std::size_t start, std::size_t end) {
  m_text.append(other.m_text, start, end - start);
  const auto first = other.m_origins.begin();
  m_origins.insert(m_origins.end(), first + static_cast<std::ptrdiff_t>(start),
                   first + static_cast<std::ptrdiff_t>(end));
}

void TracedText::insert(std::string_view markup) {
  append(markup, kInserted);
}

void TracedText::settle(Position end) {
  for (std::size_t i = m_origins.size(); i-- > 0;) {
    if (m_origins[i] == kInserted) m_origins[i] = end;
    end = m_origins[i];
  }
}

void TracedText::clear() {
  m_text.clear();
  m_origins.clear();
}

}  // namespace ssml

// SPDX-License-Identifier: Apache-2.0
//
// TracedText: UTF-8 text that knows for each of its bytes where in the caller's text it came from.
//
// A value class without locks. Positions count bytes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ssml {

class TracedText {
 public:
  using Position = std::uint32_t;

  const std::string& text() const { return m_text; }
  // As many as the text has bytes.
  const std::vector<Position>& origins() const { return m_origins; }
  bool empty() const { return m_text.empty(); }

  // Appends text whose bytes all came from the byte at `origin`.
  void append(std::string_view text, Position origin);
  // Appends the bytes `start` … `end` − 1 of `other`.
  void append(const TracedText& other, std::size_t start, std::size_t end);
  void append(const TracedText& other) { append(other, 0, other.text().size()); }
  // Appends markup, which comes to stand where the next byte that is no markup came from.
  void insert(std::string_view markup);

  // To be called once at the end: markup behind the last other byte stands at `end`.
  void settle(Position end);

  void clear();

 private:
  static constexpr Position kInserted = 0xFFFFFFFFu;

  std::string m_text;
  std::vector<Position> m_origins;
};

}  // namespace ssml

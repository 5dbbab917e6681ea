// SPDX-License-Identifier: Apache-2.0
//
// OriginText: a text made from another text, with the position in the source that each byte came
// from. Encoders, rewriters and writers of markup build one; highlighting, captions and error
// messages use it to map positions back to the source.
//
// The builder chooses the unit of positions (bytes or UTF-16 units). Bytes at the start of the text
// that kept their position need no extra memory; from the first other byte on, each byte takes four
// more bytes.
//
// A value class without locks: several threads may read an object at the same time. Functions that
// append may throw std::bad_alloc. The text can then only be cleared or destroyed; but a text that
// consists of copies from position 0 on is unchanged.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace base {

class OriginText {
 public:
  using Position = std::uint32_t;

  // A range of the source.
  struct Range {
    std::size_t position;
    std::size_t length;
  };

  const std::string& text() const { return m_text; }
  std::size_t size() const { return m_text.size(); }
  bool empty() const { return m_text.empty(); }

  // ---- Building

  // Reserves memory for a text of `bytes` bytes, and later for their origins.
  void reserve(std::size_t bytes) { m_text.reserve(bytes); }
  // Appends text; all of its bytes came from `origin`.
  void append(std::string_view text, Position origin);
  // Appends text copied from the source: its first byte came from `first`, the next one from
  // `first` + 1 and so on.
  void appendCopy(std::string_view text, Position first);
  // Appends the bytes [start, end) of `other` with their origins. `other` must not be this object.
  void append(const OriginText& other, std::size_t start, std::size_t end);
  void append(const OriginText& other) { append(other, 0, other.size()); }
  // Appends text without an origin of its own, such as markup. finish() gives it the origin of the
  // next byte that has one.
  void insert(std::string_view text);
  // Replaces the byte at `at`, which must be less than size(), and keeps its origin.
  void replace(std::size_t at, char byte) { m_text[at] = byte; }
  // Completes the text: sets the length of the source and the origins of inserted text. Text
  // inserted after the last byte that has an origin gets `sourceEnd`. Call it after the last
  // append.
  void finish(Position sourceEnd);
  // Removes all text and origins.
  void clear();

  // ---- Queries, after finish()

  // Returns the origin of the byte at `at`, or the end of the source if `at` is size() or more.
  Position originOf(std::size_t at) const;
  // Returns the origins of all bytes.
  std::vector<Position> origins() const;
  // Returns the part of the source that `length` bytes from `position` came from. It includes the
  // whole source character of the last byte, and source characters after it that became no bytes.
  // The range is clamped to the text.
  Range sourceOf(std::size_t position, std::size_t length) const;

 private:
  static constexpr Position kInserted = 0xFFFFFFFFU;

  void appendWithOrigin(std::string_view text, Position origin);
  void reserveOrigins();

  std::string m_text;
  // The first m_same bytes are at the same position in the source; m_origins has those of the rest.
  std::size_t m_same = 0;
  std::vector<Position> m_origins;
  Position m_sourceEnd = 0;
};

}  // namespace base

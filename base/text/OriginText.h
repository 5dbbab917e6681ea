// SPDX-License-Identifier: Apache-2.0
//
// OriginText: a text made from another text, which knows for each of its bytes where in the source
// it came from. Encoders, rewriters and writers of markup build one; highlighting, captions and
// error messages find their way back with it.
//
// What a position counts (bytes, UTF-16 units) is up to the builder. Costs four bytes for each byte
// from the first one on that did not simply keep its position, none before.
//
// A value class without locks: constant access is safe from several threads. Functions that append
// throw std::bad_alloc; the text is then only good to be cleared or destroyed, except that one made
// of copies from position 0 on is as before.
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

  // Makes room for that many bytes and their origins.
  void reserve(std::size_t bytes) { m_text.reserve(bytes); }
  // Appends text whose bytes all came from `origin`.
  void append(std::string_view text, Position origin);
  // Appends text copied from the source: its first byte came from `first`, the next one from
  // `first` + 1 and so on.
  void appendCopy(std::string_view text, Position first);
  // Appends the bytes `start` … `end` − 1 of `other`, with their origins. `other` is another text.
  void append(const OriginText& other, std::size_t start, std::size_t end);
  void append(const OriginText& other) { append(other, 0, other.size()); }
  // Appends text without an origin of its own, such as markup. It gets that of the next byte that
  // has one.
  void insert(std::string_view text);
  // Replaces one byte, `at` < size(); it keeps its origin.
  void replace(std::size_t at, char byte) { m_text[at] = byte; }
  // Says how long the source is. To be called once all is appended: text inserted after the last
  // byte that has an origin gets `sourceEnd`.
  void finish(Position sourceEnd);
  void clear();

  // ---- The way back, once finished

  // Where the byte `at` came from; the end of the source if `at` is size() or more.
  Position originOf(std::size_t at) const;
  // Of each byte.
  std::vector<Position> origins() const;
  // The part of the source that `length` bytes from `position` came from. It is widened to the end
  // of the last byte's character, and includes the source that vanished after it. Clamped to the
  // text.
  Range sourceOf(std::size_t position, std::size_t length) const;

 private:
  static constexpr Position kInserted = 0xFFFFFFFFU;

  void appendSame(std::string_view text, Position origin);
  void makeRoom();

  std::string m_text;
  // The first m_same bytes are at the same position in the source; m_origins is of the others.
  std::size_t m_same = 0;
  std::vector<Position> m_origins;
  Position m_sourceEnd = 0;
};

}  // namespace base

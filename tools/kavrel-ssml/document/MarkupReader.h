// SPDX-License-Identifier: Apache-2.0
//
// MarkupReader: splits converted text into text, escaped characters and tags. The converter's tags
// have at most one attribute.
//
// Anything that begins like a tag or an escape but is malformed is text. Before a command, the
// converter ends emphasis one byte too early ("bac</emphasis>k", "&amp</emphasis>;"); the end tag
// is reported after that byte.
//
// Threads: used by one thread. The text must outlive the reader and the pieces, which refer to it.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace ssml {

// One part of the text.
struct MarkupPiece {
  enum class Kind { Text, Character, Open, Empty, Close, End };

  Kind kind = Kind::End;
  std::size_t start = 0;  // in the text
  std::size_t end = 0;
  std::string_view escape;     // Character: how to write it
  std::string_view name;       // Open, Empty, Close
  std::string_view attribute;  // Open, Empty: its name, or empty
  std::string_view value;      // as written, escapes included
};

class MarkupReader {
 public:
  explicit MarkupReader(std::string_view text) : m_text(text) {}

  // Returns the next piece. At the end of the text, every call returns Kind::End.
  MarkupPiece next();

 private:
  MarkupPiece piece(MarkupPiece::Kind kind, std::size_t end);
  MarkupPiece tag();
  MarkupPiece closingTag(std::string_view name, std::size_t end);
  MarkupPiece openingTag(std::string_view name, std::size_t at);
  MarkupPiece escape();
  MarkupPiece literal(std::string_view escape);

  std::string_view m_text;
  std::size_t m_at = 0;
  std::size_t m_skip = std::string_view::npos;  // the ";" of an escape that a tag splits
  std::optional<MarkupPiece> m_late;            // an end tag to report after the next piece
};

}  // namespace ssml

// SPDX-License-Identifier: Apache-2.0
//
// MarkupReader: takes converted text apart into text, characters, and the tags that the converter
// writes, which have one attribute at most.
//
// What begins like a tag or an escape and is none is text. In front of a command, the converter
// ends emphasis a byte too early ("bac</emphasis>k", "&amp</emphasis>;"); it is read as if it ended
// behind that byte.
//
// The text must outlive the reader and what it hands out.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace ssml {

struct MarkupPiece {
  enum class Kind { Text, Character, Open, Empty, Close, End };

  Kind kind = Kind::End;
  std::size_t start = 0;  // in the text
  std::size_t end = 0;
  std::string_view escape;     // Character: as it is to be written
  std::string_view name;       // Open, Empty, Close
  std::string_view attribute;  // Open, Empty: its name, or nothing
  std::string_view value;      // as written, escapes included
};

class MarkupReader {
 public:
  explicit MarkupReader(std::string_view text) : m_text(text) {}

  // Kind::End, again and again, at the end.
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
  std::size_t m_skip = std::string_view::npos;  // the ";" of an escape that was cut in two
  std::optional<MarkupPiece> m_late;            // an end tag that comes first in the text
};

}  // namespace ssml

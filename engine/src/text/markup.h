// SPDX-License-Identifier: Apache-2.0
//
// Scanner for marked-up text: a pull parser that returns one character or tag at a time.
//
// It never fails: whatever begins like markup and is not valid markup is text, including the "<" or
// "&". It uses no recursion, allocates nothing, and takes time proportional to the length of the
// text for every input.
//
// Positions count bytes of the text as given, in either encoding. Threads: a scanner is used by one
// thread at a time. The text must outlive the scanner and every event that it returned.
//
// Markup is
//  tag         "<" or "</", a name, attributes, "/" before the end of an empty element, ">". An
//              attribute is a name, "=" and a value, in single or double quotes or without quotes.
//              A quoted value ends at the first such quote that is followed by a blank, ">" or
//              "/>", so that a stray quote inside does not end it; without such a quote, the value
//              counts as unquoted. A tag contains no "<". Names are ASCII.
//  comment, CDATA section, processing instruction, document type: as in XML.
//  entity      &lt; &gt; &amp; &quot; &apos; &#N; &#xN; of at most kMaxEntityBytes.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "text/encoding.h"

namespace kavrel {

// One event of the scanner: a tag, a character, markup that is not spoken (Other), or the end.
struct MarkupEvent {
  enum class Kind { Character, StartTag, EndTag, Other, End };

  Kind kind = Kind::End;
  std::size_t start = 0;                 // position of its first byte
  std::size_t end = 0;                   // position after its last byte
  char32_t character = 0;                // Character: entities resolved
  std::string_view name;                 // StartTag, EndTag
  std::string_view attributes;           // StartTag: the text after the name
  bool empty = false;                    // StartTag: an empty element, without an end tag
  Encoding encoding = Encoding::Latin9;  // of the text

  // Returns the value of the first attribute called `wanted`, in the text's encoding, entities
  // resolved; nullopt if there is none. Takes time proportional to the length of the tag.
  std::optional<std::string> attribute(std::string_view wanted) const;
};

class MarkupScanner {
 public:
  static constexpr std::size_t kMaxEntityBytes = 32;

  explicit MarkupScanner(std::string_view text, Encoding encoding = Encoding::Latin9)
      : m_text(text), m_encoding(encoding) {}

  // Returns the next event; at the end of the text Kind::End, also when called again.
  MarkupEvent next();

 private:
  // Constructs that end at a fixed sequence. A sequence that was not found once is not searched for
  // again: that keeps the scan linear.
  enum class Closing { Comment, Data, Instruction, Subset, Count };

  MarkupEvent markup();
  MarkupEvent tag(bool endTag);
  MarkupEvent literal(std::size_t start);
  MarkupEvent skipTo(std::string_view terminator, std::size_t from, Closing kind);
  MarkupEvent documentType();
  std::optional<std::size_t> findClosing(std::string_view terminator, std::size_t from,
                                         Closing kind);
  // Returns an event from the current position to `end`, and advances to `end`.
  MarkupEvent to(std::size_t end, MarkupEvent::Kind kind);

  std::string_view m_text;
  Encoding m_encoding;
  std::size_t m_at = 0;
  std::size_t m_dataEnd = 0;  // end of the CDATA section being read; 0: none
  std::array<bool, static_cast<std::size_t>(Closing::Count)> m_none{};
};

}  // namespace kavrel

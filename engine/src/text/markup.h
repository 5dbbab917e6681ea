// SPDX-License-Identifier: GPL-3.0-or-later
//
// Reads marked-up text, one character or tag at a time, without recursion, without memory of its
// own, and in time that grows with the length of the text for every input.
//
// Text is ISO 8859-15; positions count its bytes. A scanner belongs to one thread; the text that it
// was given must outlive it and everything that it hands out.
//
// What counts as markup
//  tag         "<" or "</", a name, attributes, "/" before the end of an empty element, ">". An
//              attribute is a name, "=" and a value, in quotes of either kind or bare. A quoted
//              value ends at the first such quote that has a blank, ">" or "/>" behind it, so that
//              a stray quote inside stays inside; without one, the value counts as bare. No "<"
//              stands inside a tag.
//  comment, CDATA section, processing instruction, document type: as in XML.
//  entity      &lt; &gt; &amp; &quot; &apos; &#N; &#xN; up to kMaxEntityBytes.
// Whatever begins like one of these and is none is text, "<" or "&" included: nothing is lost.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace kavrel {

// Appends the character as one byte, or as the plain form that is customary for it, else "?".
void appendLatin9(std::string& text, char32_t character);

// A piece of the text: a tag, a character, or markup that means nothing to a speaker.
struct MarkupEvent {
  enum class Kind { Character, StartTag, EndTag, Other, End };

  Kind kind = Kind::End;
  std::size_t start = 0;
  std::size_t end = 0;
  char32_t character = 0;       // Character: entities resolved
  std::string_view name;        // StartTag, EndTag
  std::string_view attributes;  // StartTag: what stands behind the name
  bool empty = false;           // StartTag: there is no end tag to come

  // The value of the first attribute called `wanted`, entities resolved; nothing when there is
  // none. Takes time in proportion to the tag.
  std::optional<std::string> attribute(std::string_view wanted) const;
};

class MarkupScanner {
 public:
  static constexpr std::size_t kMaxEntityBytes = 32;

  explicit MarkupScanner(std::string_view text) : m_text(text) {}

  // The next piece; Kind::End, again and again, at the end of the text.
  MarkupEvent next();

 private:
  // Constructs that end at a fixed sequence. Once one is not found, it is looked for no more.
  enum class Closing { Comment, Data, Instruction, Subset, Count };

  MarkupEvent markup();
  MarkupEvent tag(bool endTag);
  MarkupEvent literal(std::size_t start);
  MarkupEvent skipTo(std::string_view terminator, std::size_t from, Closing kind);
  MarkupEvent documentType();
  std::optional<std::size_t> findClosing(std::string_view terminator, std::size_t from,
                                         Closing kind);
  MarkupEvent to(std::size_t end, MarkupEvent::Kind kind);

  std::string_view m_text;
  std::size_t m_at = 0;
  std::size_t m_dataEnd = 0;  // before this place is the inside of a CDATA section
  std::array<bool, static_cast<std::size_t>(Closing::Count)> m_none{};
};

}  // namespace kavrel

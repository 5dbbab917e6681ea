// SPDX-License-Identifier: Apache-2.0
#include "text/markup.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "base/text/Utf16.h"

namespace kavrel {

namespace {

bool isBlank(char c) {
  return static_cast<unsigned char>(c) <= ' ';
}

bool isLetter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool isNameStart(char c) {
  return isLetter(c) || c == '_' || c == ':';
}

bool isNamePart(char c) {
  return isNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

// Reads the number of a character reference, after "&#". Surrogates and numbers beyond Unicode are
// not characters.
std::optional<char32_t> numberedCharacter(std::string_view digits) {
  int base = 10;
  if (!digits.empty() && (digits[0] == 'x' || digits[0] == 'X')) {
    base = 16;
    digits.remove_prefix(1);
  }
  unsigned long value = 0;
  const char* end = digits.data() + digits.size();
  const auto [stopped, error] = std::from_chars(digits.data(), end, value, base);
  if (error != std::errc() || stopped != end || value > 0x10FFFF) return std::nullopt;
  const auto character = static_cast<char32_t>(value);
  if (!base::isScalarValue(character)) return std::nullopt;
  return character;
}

// Reads the entity at the start of `text`; nullopt if it is not one. The search for ";" is limited,
// so that a text full of "&" is scanned in linear time.
std::optional<EncodedCharacter> readEntity(std::string_view text) {
  static constexpr std::array<std::pair<std::string_view, char32_t>, 5> kNamed = {
      {{"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}}};
  const std::size_t semicolon = text.substr(0, MarkupScanner::kMaxEntityBytes).find(';');
  if (semicolon == std::string_view::npos || semicolon < 2) return std::nullopt;
  const std::string_view name = text.substr(1, semicolon - 1);
  if (name[0] == '#') {
    const auto character = numberedCharacter(name.substr(1));
    if (!character) return std::nullopt;
    return EncodedCharacter{*character, semicolon + 1};
  }
  for (const auto& [known, character] : kNamed) {
    if (name == known) return EncodedCharacter{character, semicolon + 1};
  }
  return std::nullopt;
}

// Reads the character or entity at the start of `text`, which is not empty.
EncodedCharacter readCharacter(std::string_view text, Encoding encoding) {
  if (text[0] == '&') {
    if (const auto entity = readEntity(text)) return *entity;
  }
  return firstCharacter(text, encoding);
}

std::string resolveEntities(std::string_view text, Encoding encoding) {
  std::string resolved;
  resolved.reserve(text.size());
  while (!text.empty()) {
    const EncodedCharacter character = readCharacter(text, encoding);
    append(resolved, character.character, encoding);
    text.remove_prefix(character.length);
  }
  return resolved;
}

// Reads the attributes of a start tag one by one, starting after the tag's name.
class AttributeReader {
 public:
  AttributeReader(std::string_view text, std::size_t at) : m_text(text), m_at(at) {}

  // Reads the next attribute. Returns false, without advancing, if there is none.
  bool next(std::string_view& name, std::string_view& value) {
    const std::size_t begin = m_at;
    skipBlanks();
    // A blank must separate an attribute from the tag's name and from the attribute before it.
    if (m_at == begin || !readName(name)) {
      m_at = begin;
      return false;
    }
    skipBlanks();
    value = quotedValue();
    if (value.data() == nullptr) value = bareValue();
    return true;
  }

  void skipBlanks() {
    while (m_at < m_text.size() && isBlank(m_text[m_at])) ++m_at;
  }

  std::size_t at() const { return m_at; }

 private:
  char peek() const { return m_at < m_text.size() ? m_text[m_at] : '\0'; }

  // Reads an attribute's name and the "=" after it.
  bool readName(std::string_view& name) {
    const std::size_t begin = m_at;
    if (!isNameStart(peek())) return false;
    while (isNamePart(peek())) ++m_at;
    name = m_text.substr(begin, m_at - begin);
    skipBlanks();
    if (peek() != '=') return false;
    ++m_at;
    return true;
  }

  // Returns true if a quote before position `at` can end a value.
  bool endsValue(std::size_t at) const {
    if (at >= m_text.size()) return true;
    const char c = m_text[at];
    if (c == '/') return at + 1 >= m_text.size() || m_text[at + 1] == '>';
    return c == '>' || isBlank(c);
  }

  // Returns a view with a null data pointer if there is no quoted value here.
  std::string_view quotedValue() {
    const char quote = peek();
    if (quote != '"' && quote != '\'') return {};
    bool& unclosed = quote == '"' ? m_noDouble : m_noSingle;
    if (unclosed) return {};
    for (std::size_t at = m_at + 1; at < m_text.size() && m_text[at] != '<'; ++at) {
      if (m_text[at] != quote || !endsValue(at + 1)) continue;
      const std::string_view value = m_text.substr(m_at + 1, at - m_at - 1);
      m_at = at + 1;
      return value;
    }
    // No later quote of this kind ends a value either. Remembering that keeps the scan linear: else
    // a tag full of open quotes would be searched to its end for each of them.
    unclosed = true;
    return {};
  }

  std::string_view bareValue() {
    const std::size_t begin = m_at;
    while (m_at < m_text.size() && m_text[m_at] != '<' && !endsValue(m_at)) ++m_at;
    return m_text.substr(begin, m_at - begin);
  }

  std::string_view m_text;
  std::size_t m_at;
  bool m_noDouble = false;
  bool m_noSingle = false;
};

}  // namespace

std::optional<std::string> MarkupEvent::attribute(std::string_view wanted) const {
  AttributeReader reader(attributes, 0);
  std::string_view attributeName;
  std::string_view value;
  while (reader.next(attributeName, value)) {
    if (attributeName == wanted) return resolveEntities(value, encoding);
  }
  return std::nullopt;
}

// A CDATA section is three parts: its opening (Other), its characters, its closing (Other).
MarkupEvent MarkupScanner::next() {
  if (m_at >= m_text.size()) return to(m_text.size(), MarkupEvent::Kind::End);
  if (m_at < m_dataEnd) return literal(m_at);
  if (m_dataEnd > 0) {
    m_dataEnd = 0;
    return to(m_at + std::string_view("]]>").size(), MarkupEvent::Kind::Other);
  }
  if (m_text[m_at] == '<') return markup();
  const EncodedCharacter character = readCharacter(m_text.substr(m_at), m_encoding);
  MarkupEvent event = to(m_at + character.length, MarkupEvent::Kind::Character);
  event.character = character.character;
  return event;
}

// Reads what begins with "<": each construct is recognised by its first characters, and falls back
// to the character "<" if it is not complete.
MarkupEvent MarkupScanner::markup() {
  static constexpr std::string_view kData = "<![CDATA[";
  const std::string_view rest = m_text.substr(m_at);
  if (rest.size() < 2) return literal(m_at);
  if (isNameStart(rest[1])) return tag(false);
  if (rest[1] == '/' && rest.size() > 2 && isNameStart(rest[2])) return tag(true);
  if (rest.starts_with("<!--")) return skipTo("-->", m_at + 4, Closing::Comment);
  if (rest[1] == '?' && rest.size() > 2 && isLetter(rest[2])) {
    return skipTo("?>", m_at + 2, Closing::Instruction);
  }
  if (rest.starts_with(kData)) {
    const auto end = findClosing("]]>", m_at + kData.size(), Closing::Data);
    if (!end) return literal(m_at);
    // The content is text, which the next calls return.
    m_dataEnd = *end;
    return to(m_at + kData.size(), MarkupEvent::Kind::Other);
  }
  if (rest[1] == '!' && rest.size() > 2 && isLetter(rest[2])) return documentType();
  return literal(m_at);
}

// A tag must be complete, up to its ">"; else its "<" is text, and what follows is scanned as text.
// A tag contains no "<", so a failed attempt costs no more than the text up to the next one.
MarkupEvent MarkupScanner::tag(bool endTag) {
  const std::size_t nameStart = m_at + (endTag ? 2 : 1);
  std::size_t nameEnd = nameStart;
  while (nameEnd < m_text.size() && isNamePart(m_text[nameEnd])) ++nameEnd;

  AttributeReader reader(m_text, nameEnd);
  std::size_t attributesEnd = nameEnd;
  if (!endTag) {
    std::string_view name;
    std::string_view value;
    while (reader.next(name, value)) attributesEnd = reader.at();
  }
  reader.skipBlanks();
  std::size_t at = reader.at();
  const bool empty = !endTag && m_text.substr(at).starts_with("/>");
  if (empty) ++at;
  if (at >= m_text.size() || m_text[at] != '>') return literal(m_at);

  MarkupEvent event = to(at + 1, endTag ? MarkupEvent::Kind::EndTag : MarkupEvent::Kind::StartTag);
  event.name = m_text.substr(nameStart, nameEnd - nameStart);
  event.attributes = m_text.substr(nameEnd, attributesEnd - nameEnd);
  event.empty = empty;
  return event;
}

MarkupEvent MarkupScanner::literal(std::size_t start) {
  const EncodedCharacter character = firstCharacter(m_text.substr(start), m_encoding);
  MarkupEvent event = to(start + character.length, MarkupEvent::Kind::Character);
  event.character = character.character;
  return event;
}

MarkupEvent MarkupScanner::skipTo(std::string_view terminator, std::size_t from, Closing kind) {
  const auto found = findClosing(terminator, from, kind);
  if (!found) return literal(m_at);
  return to(*found + terminator.size(), MarkupEvent::Kind::Other);
}

// A document type may have an internal subset in brackets, which may contain ">".
MarkupEvent MarkupScanner::documentType() {
  std::size_t at = m_at + 2;
  while (at < m_text.size() && m_text[at] != '<' && m_text[at] != '>' && m_text[at] != '[') ++at;
  if (at >= m_text.size() || m_text[at] == '<') return literal(m_at);
  if (m_text[at] == '[') return skipTo("]>", at, Closing::Subset);
  return to(at + 1, MarkupEvent::Kind::Other);
}

std::optional<std::size_t> MarkupScanner::findClosing(std::string_view terminator, std::size_t from,
                                                      Closing kind) {
  bool& none = m_none[static_cast<std::size_t>(kind)];
  if (none) return std::nullopt;
  const std::size_t found = m_text.find(terminator, from);
  none = found == std::string_view::npos;
  if (none) return std::nullopt;
  return found;
}

MarkupEvent MarkupScanner::to(std::size_t end, MarkupEvent::Kind kind) {
  MarkupEvent event;
  event.kind = kind;
  event.start = m_at;
  event.end = end;
  event.encoding = m_encoding;
  m_at = end;
  return event;
}

}  // namespace kavrel

// SPDX-License-Identifier: GPL-3.0-or-later
#include "text/markup.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "base/text/Latin9.h"
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
  return isLetter(c) || c == '_' || c == ':' || static_cast<unsigned char>(c) >= 0xC0;
}

bool isNamePart(char c) {
  return isNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

// A character written as an entity at the start of `text`, and how many bytes it takes.
struct Entity {
  char32_t character = 0;
  std::size_t length = 0;
};

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

std::optional<Entity> readEntity(std::string_view text) {
  static constexpr std::array<std::pair<std::string_view, char32_t>, 5> kNamed = {
      {{"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}}};
  const std::size_t semicolon = text.substr(0, MarkupScanner::kMaxEntityBytes).find(';');
  if (semicolon == std::string_view::npos || semicolon < 2) return std::nullopt;
  const std::string_view name = text.substr(1, semicolon - 1);
  if (name[0] == '#') {
    const auto character = numberedCharacter(name.substr(1));
    if (!character) return std::nullopt;
    return Entity{*character, semicolon + 1};
  }
  for (const auto& [known, character] : kNamed) {
    if (name == known) return Entity{character, semicolon + 1};
  }
  return std::nullopt;
}

// The character at the start of `text`, which is not empty.
Entity readCharacter(std::string_view text) {
  if (text[0] == '&') {
    if (const auto entity = readEntity(text)) return *entity;
  }
  return {base::fromLatin9(static_cast<unsigned char>(text[0])), 1};
}

std::string resolveEntities(std::string_view text) {
  std::string resolved;
  resolved.reserve(text.size());
  while (!text.empty()) {
    const Entity character = readCharacter(text);
    appendLatin9(resolved, character.character);
    text.remove_prefix(character.length);
  }
  return resolved;
}

// Walks over the attributes of a start tag, from behind its name on.
class AttributeReader {
 public:
  AttributeReader(std::string_view text, std::size_t at) : m_text(text), m_at(at) {}

  // True and the next attribute; false, and no step further, where none stands.
  bool next(std::string_view& name, std::string_view& value) {
    const std::size_t begin = m_at;
    skipBlanks();
    // The first attribute stands apart from the name of the tag, and each from the one before.
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

  // The name of an attribute and the sign behind it.
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

  bool endsValue(std::size_t place) const {
    if (place >= m_text.size()) return true;
    const char c = m_text[place];
    if (c == '/') return place + 1 >= m_text.size() || m_text[place + 1] == '>';
    return c == '>' || isBlank(c);
  }

  // A view of no data when no quoted value stands here.
  std::string_view quotedValue() {
    const char quote = peek();
    if (quote != '"' && quote != '\'') return {};
    bool& unclosed = quote == '"' ? m_noDouble : m_noSingle;
    if (unclosed) return {};
    for (std::size_t place = m_at + 1; place < m_text.size() && m_text[place] != '<'; ++place) {
      if (m_text[place] != quote || !endsValue(place + 1)) continue;
      const std::string_view value = m_text.substr(m_at + 1, place - m_at - 1);
      m_at = place + 1;
      return value;
    }
    // No later quote of this kind ends a value either: without this note, a tag full of open
    // quotes would be searched to its end for each of them.
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

void appendLatin9(std::string& text, char32_t character) {
  const auto byte = base::toLatin9(character);
  if (byte && *byte != 0) {
    text += static_cast<char>(*byte);
  } else if (character >= 0x2018 && character <= 0x201B) {
    text += '\'';
  } else if (character >= 0x201C && character <= 0x201F) {
    text += '"';
  } else if (character >= 0x2010 && character <= 0x2015) {
    text += '-';
  } else if (character == 0x2026) {
    text += "...";
  } else {
    text += '?';
  }
}

std::optional<std::string> MarkupEvent::attribute(std::string_view wanted) const {
  AttributeReader reader(attributes, 0);
  std::string_view attributeName;
  std::string_view value;
  while (reader.next(attributeName, value)) {
    if (attributeName == wanted) return resolveEntities(value);
  }
  return std::nullopt;
}

MarkupEvent MarkupScanner::next() {
  if (m_at >= m_text.size()) return to(m_text.size(), MarkupEvent::Kind::End);
  if (m_at < m_dataEnd) return literal(m_at);
  if (m_dataEnd > 0) {
    m_dataEnd = 0;
    return to(m_at + std::string_view("]]>").size(), MarkupEvent::Kind::Other);
  }
  if (m_text[m_at] == '<') return markup();
  const Entity character = readCharacter(m_text.substr(m_at));
  MarkupEvent event = to(m_at + character.length, MarkupEvent::Kind::Character);
  event.character = character.character;
  return event;
}

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
    // The inside is text; it begins behind this event and is closed by one of its own.
    m_dataEnd = *end;
    return to(m_at + kData.size(), MarkupEvent::Kind::Other);
  }
  if (rest[1] == '!' && rest.size() > 2 && isLetter(rest[2])) return documentType();
  return literal(m_at);
}

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
  MarkupEvent event = to(start + 1, MarkupEvent::Kind::Character);
  event.character = base::fromLatin9(static_cast<unsigned char>(m_text[start]));
  return event;
}

MarkupEvent MarkupScanner::skipTo(std::string_view terminator, std::size_t from, Closing kind) {
  const auto found = findClosing(terminator, from, kind);
  if (!found) return literal(m_at);
  return to(*found + terminator.size(), MarkupEvent::Kind::Other);
}

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
  m_at = end;
  return event;
}

}  // namespace kavrel

// SPDX-License-Identifier: Apache-2.0
#include "document/MarkupReader.h"

#include <algorithm>
#include <utility>

namespace ssml {
namespace {

constexpr std::string_view kNameCharacters = "abcdefghijklmnopqrstuvwxyz-";
constexpr std::string_view kNames[] = {"prosody", "say-as", "emphasis", "break", "mark", "phoneme"};

constexpr std::string_view kSpecial = "<&>";

bool isBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

// The only tag that the converter can insert into an escape.
constexpr std::string_view kInside = "</emphasis>";

std::string_view nameAt(std::string_view text, std::size_t at) {
  const std::size_t end = std::min(text.find_first_not_of(kNameCharacters, at), text.size());
  return text.substr(at, end - at);
}

}  // namespace

// A piece from the current position to `end`, where reading continues.
MarkupPiece MarkupReader::piece(MarkupPiece::Kind kind, std::size_t end) {
  MarkupPiece result;
  result.kind = kind;
  result.start = m_at;
  result.end = end;
  m_at = end;
  return result;
}

// One character as text that looks like markup but is none.
MarkupPiece MarkupReader::literal(std::string_view escape) {
  MarkupPiece result = piece(MarkupPiece::Kind::Character, m_at + 1);
  result.escape = escape;
  return result;
}

// Reports a tag that was held back first, and skips the ";" of a split escape.
MarkupPiece MarkupReader::next() {
  if (m_late) return *std::exchange(m_late, std::nullopt);
  if (m_at == m_skip) {
    ++m_at;
    m_skip = std::string_view::npos;
  }
  if (m_at >= m_text.size()) return piece(MarkupPiece::Kind::End, m_text.size());
  switch (m_text[m_at]) {
    case '<':
      return tag();
    case '&':
      return escape();
    case '>':
      return literal("&gt;");
    default:
      const std::size_t special = std::min(m_text.find_first_of(kSpecial, m_at), m_text.size());
      return piece(MarkupPiece::Kind::Text, special);
  }
}

// Reads an escape that is whole, or split by an end tag of emphasis; any other "&" is text.
MarkupPiece MarkupReader::escape() {
  static constexpr std::string_view kEscapes[] = {"&lt;", "&gt;", "&amp;"};
  const std::string_view rest = m_text.substr(m_at);
  for (const std::string_view whole : kEscapes) {
    const std::string_view cut = whole.substr(0, whole.size() - 1);
    if (!rest.starts_with(cut)) continue;
    const std::string_view after = rest.substr(cut.size());
    if (after.starts_with(';')) {
      MarkupPiece result = piece(MarkupPiece::Kind::Character, m_at + whole.size());
      result.escape = whole;
      return result;
    }
    if (after.starts_with(kInside) && after.substr(kInside.size()).starts_with(';')) {
      MarkupPiece result = piece(MarkupPiece::Kind::Character, m_at + cut.size());
      result.escape = whole;
      m_skip = m_at + kInside.size();
      return result;
    }
  }
  return literal("&amp;");
}

// Reads a tag with a name that the converter writes; any other "<" is text.
MarkupPiece MarkupReader::tag() {
  const bool closes = m_text.substr(m_at).starts_with("</");
  const std::size_t nameStart = m_at + (closes ? 2 : 1);
  const std::string_view name = nameAt(m_text, nameStart);
  const std::size_t nameEnd = nameStart + name.size();
  if (std::find(std::begin(kNames), std::end(kNames), name) == std::end(kNames)) {
    return literal("&lt;");
  }
  if (!closes) return openingTag(name, nameEnd);
  if (!m_text.substr(nameEnd).starts_with('>')) return literal("&lt;");
  return closingTag(name, nameEnd + 1);
}

// An end tag of emphasis inside a word is one byte too early: the rest of the character after it is
// reported first.
MarkupPiece MarkupReader::closingTag(std::string_view name, std::size_t end) {
  const bool insideWord = name == "emphasis" && m_at > 0 && !isBlank(m_text[m_at - 1]) &&
                          end < m_text.size() && end != m_skip && !isBlank(m_text[end]) &&
                          kSpecial.find(m_text[end]) == std::string_view::npos;
  MarkupPiece result = piece(MarkupPiece::Kind::Close, end);
  result.name = name;
  if (!insideWord) return result;
  m_late = result;
  std::size_t next = end + 1;
  while (next < m_text.size() && (static_cast<unsigned char>(m_text[next]) & 0xC0U) == 0x80) ++next;
  return piece(MarkupPiece::Kind::Text, next);
}

// `at` is the position after the name.
// Accepts exactly the converter's form: <name attribute='value'> or the same with "/>".
MarkupPiece MarkupReader::openingTag(std::string_view name, std::size_t at) {
  if (!m_text.substr(at).starts_with(' ')) return literal("&lt;");
  const std::string_view attribute = nameAt(m_text, at + 1);
  const std::size_t valueStart = at + 1 + attribute.size() + 2;
  if (!m_text.substr(at + 1 + attribute.size()).starts_with("='")) return literal("&lt;");
  // A value contains no "<". Without this limit a malformed tag would make each search as long as
  // the text.
  const std::size_t limit = std::min(m_text.find('<', valueStart), m_text.size());
  const std::string_view inside = m_text.substr(valueStart, limit - valueStart);
  const std::size_t end = std::min(inside.find("'>"), inside.find("'/>"));
  if (end == std::string_view::npos) return literal("&lt;");
  const bool empty = inside[end + 1] == '/';
  MarkupPiece result = piece(empty ? MarkupPiece::Kind::Empty : MarkupPiece::Kind::Open,
                             valueStart + end + (empty ? 3 : 2));
  result.name = name;
  result.attribute = attribute;
  result.value = inside.substr(0, end);
  return result;
}

}  // namespace ssml

// SPDX-License-Identifier: Apache-2.0
#include "document/Document.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "document/DocumentWriter.h"
#include "document/Ipa.h"
#include "document/MarkupReader.h"
#include "document/ProsodyValues.h"

namespace ssml {
namespace {

constexpr const char* kCharacters = "characters";
constexpr const char* kDigits = "digits";  // internal value, never written

constexpr const char* kTenDigits = "0123456789";

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

// A point or comma between digits is part of the number.
std::size_t endOfNumber(std::string_view text, std::size_t start) {
  std::size_t end = start;
  while (end < text.size() && isDigit(text[end])) {
    ++end;
    const bool goesOn =
        end + 1 < text.size() && (text[end] == '.' || text[end] == ',') && isDigit(text[end + 1]);
    if (goesOn) ++end;
  }
  return end;
}

// The elements that are open at a position of the converted text. An end tag closes the innermost
// element of its name, even if other elements were opened since: in unusual texts elements overlap.
class OpenElements {
 public:
  // An unknown attribute opens nothing.
  void open(const MarkupPiece& tag) {
    if (tag.name == "prosody") {
      const auto known = std::find(kAttributes.begin(), kAttributes.end(), tag.attribute);
      if (known == kAttributes.end()) return;
      const auto index = static_cast<std::size_t>(known - kAttributes.begin());
      m_values[index].push_back(standard(tag.attribute, tag.value));
      m_prosody.push_back(index);
    } else if (tag.name == "emphasis") {
      ++m_emphasis;
    } else if (tag.name == "say-as") {
      m_sayAs.emplace_back(tag.attribute == "type" ? kCharacters : kDigits);
    }
  }

  void close(std::string_view name) {
    if (name == "prosody" && !m_prosody.empty()) {
      m_values[m_prosody.back()].pop_back();
      m_prosody.pop_back();
    } else if (name == "emphasis" && m_emphasis > 0) {
      --m_emphasis;
    } else if (name == "say-as" && !m_sayAs.empty()) {
      m_sayAs.pop_back();
    }
  }

  // The innermost value of each attribute applies. An empty value is the default and is not
  // written.
  Style style() const {
    Style style;
    for (std::size_t i = 0; i < kAttributes.size(); ++i) {
      if (m_values[i].empty() || m_values[i].back().empty()) continue;
      style.prosody.append(" ").append(kAttributes[i]);
      style.prosody.append("=\"").append(m_values[i].back()).append("\"");
    }
    style.emphasised = m_emphasis > 0;
    if (!m_sayAs.empty()) style.sayAs = m_sayAs.back();
    return style;
  }

 private:
  static constexpr std::array<std::string_view, 4> kAttributes = {"volume", "rate", "pitch",
                                                                  "range"};

  static std::string standard(std::string_view attribute, std::string_view value) {
    if (attribute == "volume") return standardVolume(value);
    if (attribute == "rate") return standardRate(value);
    return standardHertz(value);
  }

  std::array<std::vector<std::string>, kAttributes.size()> m_values;  // innermost last
  std::vector<std::size_t> m_prosody;  // attribute index of each open prosody element
  std::vector<std::string> m_sayAs;
  int m_emphasis = 0;
};

// The phoneme element that is being read, from its start tag to the matching end tag. The standard
// allows only text inside, so elements inside are collected and written after it.
struct PhonemeInput {
  int depth = 0;  // 0: none
  std::string ipa;
  std::optional<Style> style;  // of the first symbol: prosody tags are inside the element
  base::OriginText symbols;
  std::vector<std::string> elements;  // found inside, to be written after it
};

// Returns the length of a character that XML does not allow, at the start of `text`: a control
// character, or U+FFFE and U+FFFF. 0 if XML allows the character.
std::size_t lengthOfForbidden(std::string_view text) {
  const auto byte = static_cast<unsigned char>(text.front());
  if (byte < ' ' && byte != '\t' && byte != '\n' && byte != '\r') return 1;
  return text.starts_with("\uFFFE") || text.starts_with("\uFFFF") ? 3 : 0;
}

// Reads the markup piece by piece and writes each piece with the style in force.
class Rewriter {
 public:
  explicit Rewriter(const base::OriginText& converted) : m_from(converted) {}

  base::OriginText run() {
    MarkupReader reader(m_from.text());
    for (MarkupPiece piece = reader.next(); piece.kind != MarkupPiece::Kind::End;
         piece = reader.next()) {
      take(piece);
    }
    // Phoneme input without end tag extends to the end of the text.
    if (m_phonemes.depth > 0) endPhonemes();
    return m_writer.finish();
  }

 private:
  void take(const MarkupPiece& piece);
  void open(const MarkupPiece& tag);
  void close(const MarkupPiece& tag);
  void mark(const MarkupPiece& tag);
  void text(const base::OriginText& escaped);
  void digits(const base::OriginText& escaped, Style style);
  void beginPhonemes(std::string_view phones);
  void endPhonemes();
  base::OriginText copyText(const MarkupPiece& piece) const;

  const base::OriginText& m_from;
  DocumentWriter m_writer;
  OpenElements m_elements;
  PhonemeInput m_phonemes;
  std::string m_phonesBefore;  // of the previous phoneme element
};

// Dispatches one piece. An escape becomes the standard one, with a single origin for all its bytes.
void Rewriter::take(const MarkupPiece& piece) {
  switch (piece.kind) {
    case MarkupPiece::Kind::Text:
      return text(copyText(piece));
    case MarkupPiece::Kind::Character: {
      base::OriginText escaped;
      escaped.append(piece.escape, m_from.originOf(piece.start));
      return text(escaped);
    }
    case MarkupPiece::Kind::Open:
      return open(piece);
    case MarkupPiece::Kind::Close:
      return close(piece);
    default:
      return mark(piece);
  }
}

// Copies text; characters that XML does not allow become blanks.
base::OriginText Rewriter::copyText(const MarkupPiece& piece) const {
  base::OriginText result;
  std::size_t done = piece.start;
  for (std::size_t i = piece.start; i < piece.end; ++i) {
    const std::string_view rest = std::string_view(m_from.text()).substr(i, piece.end - i);
    const std::size_t forbidden = lengthOfForbidden(rest);
    if (forbidden == 0) continue;
    result.append(m_from, done, i);
    result.append(" ", m_from.originOf(i));
    done = i + forbidden;
  }
  result.append(m_from, done, piece.end);
  return result;
}

// Text inside phoneme input is collected; in digit mode its numbers are spelled.
void Rewriter::text(const base::OriginText& escaped) {
  const Style style = m_elements.style();
  if (m_phonemes.depth > 0) {
    if (!m_phonemes.style) m_phonemes.style = style;
    m_phonemes.symbols.append(escaped);
  } else if (style.sayAs == kDigits) {
    digits(escaped, style);
  } else {
    m_writer.text(escaped, style);
  }
}

// SSML has no standard name for speaking digit by digit, but "characters" is widely supported. So
// numbers are spelled and the words between them are plain text.
void Rewriter::digits(const base::OriginText& escaped, Style style) {
  const std::string& text = escaped.text();
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = isDigit(text[at])
                                ? endOfNumber(text, at)
                                : std::min(text.find_first_of(kTenDigits, at), text.size());
    style.sayAs = isDigit(text[at]) ? kCharacters : "";
    base::OriginText part;
    part.append(escaped, at, end);
    m_writer.text(part, style);
    at = end;
  }
}

void Rewriter::open(const MarkupPiece& tag) {
  if (tag.name == "phoneme") {
    beginPhonemes(tag.value);
  } else {
    m_elements.open(tag);
  }
}

// Phoneme elements can be nested; only the outermost end tag ends the input.
void Rewriter::close(const MarkupPiece& tag) {
  if (tag.name != "phoneme") {
    m_elements.close(tag.name);
  } else if (m_phonemes.depth > 0 && --m_phonemes.depth == 0) {
    endPhonemes();
  }
}

// Writes a break or mark; one without a valid value is dropped.
void Rewriter::mark(const MarkupPiece& tag) {
  const bool isBreak = tag.name == "break";
  const std::string value = isBreak ? standardTime(tag.value) : standardMark(tag.value);
  if (value.empty()) return;
  const std::string element = (isBreak ? "<break time=\"" : "<mark name=\"") + value + "\"/>";
  if (m_phonemes.depth > 0) {
    m_phonemes.elements.push_back(element);
  } else {
    m_writer.element(element, m_elements.style());
  }
}

// The converter starts every phoneme element with the phones of the previous one. These have been
// spoken, so they are removed.
void Rewriter::beginPhonemes(std::string_view phones) {
  const bool continues = phones.starts_with(m_phonesBefore);
  if (m_phonemes.depth++ == 0) {
    m_phonemes.ipa = toIpa(continues ? phones.substr(m_phonesBefore.size()) : phones);
  }
  m_phonesBefore = phones;
}

// Writes the collected element, then the elements found inside. Input without phones is dropped.
void Rewriter::endPhonemes() {
  const PhonemeInput input = std::exchange(m_phonemes, {});
  if (!input.ipa.empty()) {
    // Unknown commands can be left inside; they are not part of the symbols.
    base::OriginText symbols;
    const std::string& text = input.symbols.text();
    for (std::size_t at = 0; at < text.size();) {
      const std::size_t command = std::min(text.find("[[", at), text.size());
      symbols.append(input.symbols, at, command);
      const std::size_t close = text.find("]]", command);
      at = close == std::string::npos ? text.size() : close + 2;
    }
    m_writer.element("<phoneme alphabet=\"ipa\" ph=\"" + input.ipa + "\">", symbols, "</phoneme>",
                     input.style.value_or(m_elements.style()));
  }
  for (const std::string& element : input.elements) {
    m_writer.element(element, m_elements.style());
  }
}

}  // namespace

base::OriginText documentOf(const base::OriginText& converted, const std::string& language,
                            base::OriginText::Position end) {
  base::OriginText document;
  document.insert(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<speak version=\"1.1\" xmlns=\"http://www.w3.org/2001/10/synthesis\" xml:lang=\"" +
      language + "\">");
  document.append(Rewriter(converted).run());
  document.insert("</speak>");
  document.finish(end);
  return document;
}

}  // namespace ssml

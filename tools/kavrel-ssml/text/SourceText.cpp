// SPDX-License-Identifier: Apache-2.0
#include "text/SourceText.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>

#include "Failure.h"
#include "SpeechMgrUtils.h"
#include "base/text/Latin9.h"
#include "base/text/MacRoman.h"
#include "base/text/Utf8.h"

namespace ssml {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// Limits the length of the prepared text, since preparation makes up to five bytes of one.
constexpr std::size_t kLongestText = std::numeric_limits<std::int32_t>::max() / 6;

std::uint32_t narrow(std::size_t position) {
  return static_cast<std::uint32_t>(position);
}

// A byte that came from one byte is a copy; any other stands for its whole source range.
PositionMap originsOf(const base::OriginText& text) {
  PositionMap origins;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const base::OriginText::Range range = text.sourceOf(i, 1);
    if (range.length == 1) {
      origins.addCopied(1, narrow(range.position));
    } else {
      origins.addReplacement(1, narrow(range.position), narrow(range.position + range.length));
    }
  }
  return origins;
}

// Bytes with one origin stand for everything up to the next origin: a command that was rewritten,
// or an insertion.
PositionMap originsOfAdapted(const base::OriginText& text) {
  PositionMap origins;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t origin = text.originOf(at);
    std::size_t end = at + 1;
    while (end < text.size() && text.originOf(end) == origin) ++end;
    if (end == at + 1) {
      origins.addCopied(1, narrow(origin));
    } else {
      origins.addReplacement(narrow(end - at), narrow(origin), narrow(text.originOf(end)));
    }
    at = end;
  }
  return origins;
}

// Copies UTF-8, with a blank for each byte that is not.
base::OriginText wellFormed(std::string_view given) {
  base::OriginText text;
  text.appendCopy(given, 0);
  for (std::size_t at = 0; at < given.size();) {
    const std::size_t length = base::firstCharacter(given.substr(at)).length;
    if (length == 0) text.replace(at, ' ');
    at += std::max<std::size_t>(length, 1);
  }
  text.finish(narrow(given.size()));
  return text;
}

base::OriginText utf8OfLatin9(std::string_view given) {
  base::OriginText text;
  text.reserve(given.size());
  for (std::size_t at = 0; at < given.size(); ++at) {
    text.append(base::toUtf8(base::fromLatin9(static_cast<std::uint8_t>(given[at]))), narrow(at));
  }
  text.finish(narrow(given.size()));
  return text;
}

}  // namespace

SourceText::SourceText(std::string given, Encoding encoding,
                       const std::optional<platform::TextSettings>& adaptation)
    : m_given(std::move(given)), m_encoding(encoding) {
  if (m_given.size() > kLongestText) throw tool::Failure("the text is too long");
  m_encoded = encode();
  platform::AdaptedText adapted;
  if (adaptation) {
    platform::TextSettings settings = *adaptation;
    settings.charset = charset();
    adapted = platform::adaptText(m_encoded.text(), settings);
  }
  if (adapted.isChanged) {
    prepare(adapted.text.text());
    m_origins = m_origins.composeAfter(originsOfAdapted(adapted.text));
  } else {
    prepare(m_encoded.text());
  }
  // Otherwise each byte is at its position in the file.
  if (encoding == Encoding::Latin9) m_origins = m_origins.composeAfter(originsOf(m_encoded));
}

// Returns the text in its charset, with a blank for each NUL.
base::OriginText SourceText::encode() const {
  base::OriginText text;
  switch (m_encoding) {
    case Encoding::MacRoman:
      text.appendCopy(m_given, 0);
      text.finish(narrow(m_given.size()));
      break;
    case Encoding::Utf8:
      text = wellFormed(m_given);
      break;
    case Encoding::Latin9:
      text = utf8OfLatin9(m_given);
      break;
  }
  for (std::size_t at = text.text().find('\0'); at != std::string::npos;
       at = text.text().find('\0', at + 1)) {
    text.replace(at, ' ');
  }
  return text;
}

void SourceText::prepare(std::string text) {
  BuildPhoneTranslationTables();
  m_prepared = PreprocessText(reinterpret_cast<unsigned char*>(text.data()), &m_origins,
                              isUtf8() ? TextForm::Utf8 : TextForm::MacRoman);
}

std::size_t SourceText::originOf(std::size_t at) const {
  return at < m_prepared.size() ? m_origins.origin(narrow(at)) : m_given.size();
}

std::size_t SourceText::originEndOf(std::size_t end) const {
  if (end == 0) return 0;
  return end <= m_prepared.size() ? m_origins.originEnd(narrow(end - 1)) : m_given.size();
}

SourceLocation SourceText::locationOf(std::size_t position) const {
  return locationAfter({0, 1, 1}, position);
}

// A carriage return before a line feed does not end a line, so that the two count as one line end.
// In UTF-8, continuation bytes do not count as columns.
SourceLocation SourceText::locationAfter(SourceLocation known, std::size_t position) const {
  SourceLocation location = known;
  location.position = std::min(position, m_given.size());
  for (std::size_t i = known.position; i < location.position; ++i) {
    const auto byte = static_cast<unsigned char>(m_given[i]);
    const bool endsLine =
        byte == '\n' || (byte == '\r' && (i + 1 == m_given.size() || m_given[i + 1] != '\n'));
    const bool continues = m_encoding == Encoding::Utf8 && base::isContinuation(m_given[i]);
    if (endsLine) {
      ++location.line;
      location.column = 1;
    } else if (!continues) {
      ++location.column;
    }
  }
  return location;
}

std::string SourceText::displayText(std::size_t start, std::size_t end) const {
  std::string_view rest = std::string_view(m_given).substr(start, end - start);
  std::string result;
  while (!rest.empty()) {
    std::size_t length = 1;
    const auto byte = static_cast<unsigned char>(rest.front());
    if (byte < 0x80) {
      result += rest.front();
    } else if (m_encoding == Encoding::Utf8) {
      const std::size_t whole = base::firstCharacter(rest).length;
      result += whole > 0 ? rest.substr(0, whole) : kReplacement;
      length = std::max<std::size_t>(whole, 1);
    } else {
      base::appendUtf8(result, m_encoding == Encoding::Latin9 ? base::fromLatin9(byte)
                                                              : base::fromMacRoman(byte));
    }
    rest.remove_prefix(length);
  }
  return result;
}

}  // namespace ssml

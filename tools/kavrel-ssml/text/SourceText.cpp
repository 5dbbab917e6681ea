// SPDX-License-Identifier: Apache-2.0
#include "text/SourceText.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>

#include "Failure.h"
#include "SpeechMgrUtils.h"
#include "SpokenText.h"
#include "base/text/Latin9.h"
#include "base/text/MacRoman.h"
#include "base/text/MacRomanEncoder.h"
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

// Converts ISO 8859-15 to Mac OS Roman, with plain forms for characters that Mac OS Roman lacks.
base::OriginText macRomanOfLatin9(std::string_view given) {
  base::MacRomanEncoder encoder;
  encoder.reserve(given.size());
  for (std::size_t at = 0; at < given.size(); ++at) {
    encoder.add(base::fromLatin9(static_cast<std::uint8_t>(given[at])), narrow(at));
  }
  return encoder.finish(narrow(given.size()));
}

}  // namespace

SourceText::SourceText(std::string given, Encoding encoding)
    : m_given(std::move(given)), m_encoding(encoding) {
  if (m_given.size() > kLongestText) throw tool::Failure("the text is too long");
  switch (encoding) {
    case Encoding::MacRoman:
      prepare(m_given);
      break;
    case Encoding::Utf8:
      prepare(tool::SpokenText(m_given).converted());
      break;
    case Encoding::Latin9:
      prepare(macRomanOfLatin9(m_given));
      break;
  }
}

void SourceText::prepare(const base::OriginText& macRoman) {
  prepare(macRoman.text());
  m_origins = m_origins.composeAfter(originsOf(macRoman));
}

void SourceText::prepare(std::string macRoman) {
  std::replace(macRoman.begin(), macRoman.end(), '\0', ' ');
  BuildPhoneTranslationTables();
  m_prepared = PreprocessText(reinterpret_cast<unsigned char*>(macRoman.data()), &m_origins);
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

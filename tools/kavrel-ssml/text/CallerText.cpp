// SPDX-License-Identifier: Apache-2.0
#include "text/CallerText.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>

#include <iconv.h>

#include "Failure.h"
#include "SpeechMgrUtils.h"
#include "SpokenText.h"
#include "Utf8.h"

namespace ssml {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// Bounds what preparation can make of a text: up to five bytes of one.
constexpr std::size_t kLongestText = std::numeric_limits<std::int32_t>::max() / 6;

std::uint32_t narrow(std::size_t position) {
  return static_cast<std::uint32_t>(position);
}

// The character of each byte of Mac OS Roman from 0x80 on, in UTF-8.
std::string macRomanCharacter(char byte) {
  // NOLINTBEGIN(performance-no-int-to-ptr): what the library answers
  const iconv_t converter = iconv_open("UTF-8", "MACINTOSH");
  if (converter == reinterpret_cast<iconv_t>(-1)) return std::string(kReplacement);
  // NOLINTEND(performance-no-int-to-ptr)
  char form[8];
  char* input = &byte;
  std::size_t inputLeft = 1;
  char* output = form;
  std::size_t outputLeft = sizeof form;
  const std::size_t result = iconv(converter, &input, &inputLeft, &output, &outputLeft);
  iconv_close(converter);
  if (result == static_cast<std::size_t>(-1)) return std::string(kReplacement);
  return {form, static_cast<std::size_t>(output - form)};
}

struct Utf8Copy {
  std::string text;
  PositionMap origins;
};

Utf8Copy utf8OfLatin9(std::string_view given) {
  Utf8Copy copy;
  copy.text.reserve(given.size());
  for (std::size_t i = 0; i < given.size(); ++i) {
    const std::string character = tool::toUtf8(fromLatin9(static_cast<unsigned char>(given[i])));
    copy.text += character;
    if (character.size() == 1) {
      copy.origins.copied(1, narrow(i));
    } else {
      copy.origins.replaced(narrow(character.size()), narrow(i), narrow(i + 1));
    }
  }
  return copy;
}

PositionMap originsOf(const tool::SpokenText& text) {
  PositionMap origins;
  for (std::size_t i = 0; i < text.macRoman().size(); ++i) {
    const tool::Slice slice = text.origin(i, 1);
    if (slice.length == 1) {
      origins.copied(1, narrow(slice.position));
    } else {
      origins.replaced(1, narrow(slice.position), narrow(slice.position + slice.length));
    }
  }
  return origins;
}

}  // namespace

CallerText::CallerText(std::string given, Encoding encoding)
    : m_given(std::move(given)), m_encoding(encoding) {
  if (m_given.size() > kLongestText) throw tool::Failure("the text is too long");
  switch (encoding) {
    case Encoding::MacRoman:
      prepare(m_given);
      break;
    case Encoding::Utf8: {
      const tool::SpokenText text(m_given);
      prepare(text.macRoman());
      m_origins = m_origins.after(originsOf(text));
      break;
    }
    case Encoding::Latin9: {
      const Utf8Copy copy = utf8OfLatin9(m_given);
      const tool::SpokenText text(copy.text);
      prepare(text.macRoman());
      m_origins = m_origins.after(originsOf(text)).after(copy.origins);
      break;
    }
  }
}

void CallerText::prepare(std::string macRoman) {
  std::replace(macRoman.begin(), macRoman.end(), '\0', ' ');
  BuildPhoneTranslationTables();
  m_prepared = PreprocessText(reinterpret_cast<unsigned char*>(macRoman.data()), &m_origins);
}

std::size_t CallerText::originOf(std::size_t at) const {
  return at < m_prepared.size() ? m_origins.origin(narrow(at)) : m_given.size();
}

std::size_t CallerText::originEndOf(std::size_t end) const {
  if (end == 0) return 0;
  return end <= m_prepared.size() ? m_origins.originEnd(narrow(end - 1)) : m_given.size();
}

Place CallerText::placeOf(std::size_t position) const {
  return placeBehind({0, 1, 1}, position);
}

Place CallerText::placeBehind(Place known, std::size_t position) const {
  Place place = known;
  place.position = std::min(position, m_given.size());
  for (std::size_t i = known.position; i < place.position; ++i) {
    const auto byte = static_cast<unsigned char>(m_given[i]);
    const bool endsLine =
        byte == '\n' || (byte == '\r' && (i + 1 == m_given.size() || m_given[i + 1] != '\n'));
    const bool continues = m_encoding == Encoding::Utf8 && (byte & 0xC0U) == 0x80;
    if (endsLine) {
      ++place.line;
      place.column = 1;
    } else if (!continues) {
      ++place.column;
    }
  }
  return place;
}

std::string CallerText::shown(std::size_t start, std::size_t end) const {
  std::string_view rest = std::string_view(m_given).substr(start, end - start);
  std::string result;
  while (!rest.empty()) {
    std::size_t length = 1;
    const auto byte = static_cast<unsigned char>(rest.front());
    if (byte < 0x80) {
      result += rest.front();
    } else if (m_encoding == Encoding::Utf8) {
      length = std::max<std::size_t>(tool::firstCharacter(rest).length, 1);
      const bool whole = tool::firstCharacter(rest).length > 0;
      result += whole ? rest.substr(0, length) : kReplacement;
    } else {
      result += m_encoding == Encoding::Latin9 ? tool::toUtf8(fromLatin9(byte))
                                               : macRomanCharacter(rest.front());
    }
    rest.remove_prefix(length);
  }
  return result;
}

char32_t fromLatin9(unsigned char byte) {
  switch (byte) {
    case 0xA4:
      return 0x20AC;
    case 0xA6:
      return 0x0160;
    case 0xA8:
      return 0x0161;
    case 0xB4:
      return 0x017D;
    case 0xB8:
      return 0x017E;
    case 0xBC:
      return 0x0152;
    case 0xBD:
      return 0x0153;
    case 0xBE:
      return 0x0178;
    default:
      return byte;
  }
}

}  // namespace ssml

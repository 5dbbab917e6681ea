// SPDX-License-Identifier: Apache-2.0
#include "MacRomanEncoder.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "Failure.h"

namespace tool {
namespace {

constexpr std::string_view kBlank = " ";

// Where the C library's Mac OS Roman is not the Manager's: the platform's logo, and the increment
// sign, which the library takes for a Greek letter.
std::string_view ownForm(char32_t character) {
  switch (character) {
    case 0xF8FF:
      return "\xF0";
    case 0x2206:
      return "\xC6";
    default:
      return {};
  }
}

struct Range {
  char32_t first;
  char32_t last;
};

// Soft hyphen, combining accents, joiners and marks of direction, variation selectors, byte order
// mark.
constexpr Range kWithoutWidth[] = {{0x00AD, 0x00AD}, {0x0300, 0x036F}, {0x200B, 0x200F},
                                   {0x202A, 0x202E}, {0x2060, 0x206F}, {0xFE00, 0xFE0F},
                                   {0xFEFF, 0xFEFF}};

bool hasNoWidth(char32_t character) {
  return std::any_of(std::begin(kWithoutWidth), std::end(kWithoutWidth), [=](Range range) {
    return range.first <= character && character <= range.last;
  });
}

struct Accent {
  char32_t mark;
  std::u32string_view bases;
  std::u32string_view letters;  // as many
};

constexpr Accent kAccents[] = {
    {0x0300, U"AEIOUaeiou", U"\u00C0\u00C8\u00CC\u00D2\u00D9\u00E0\u00E8\u00EC\u00F2\u00F9"},
    {0x0301, U"AEIOUaeiou", U"\u00C1\u00C9\u00CD\u00D3\u00DA\u00E1\u00E9\u00ED\u00F3\u00FA"},
    {0x0302, U"AEIOUaeiou", U"\u00C2\u00CA\u00CE\u00D4\u00DB\u00E2\u00EA\u00EE\u00F4\u00FB"},
    {0x0303, U"ANOano", U"\u00C3\u00D1\u00D5\u00E3\u00F1\u00F5"},
    {0x0308, U"AEIOUYaeiouy",
     U"\u00C4\u00CB\u00CF\u00D6\u00DC\u0178\u00E4\u00EB\u00EF\u00F6\u00FC\u00FF"},
    {0x030A, U"Aa", U"\u00C5\u00E5"},
    {0x0327, U"Cc", U"\u00C7\u00E7"},
};

}  // namespace

MacRomanEncoder::MacRomanEncoder() : m_converter(iconv_open("MACINTOSH//TRANSLIT", "UTF-8")) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): what the library answers
  if (m_converter == reinterpret_cast<iconv_t>(-1)) {
    throw Failure(std::string("text cannot be converted to Mac OS Roman: ") + std::strerror(errno));
  }
}

MacRomanEncoder::~MacRomanEncoder() {
  iconv_close(m_converter);
}

std::string_view MacRomanEncoder::encode(char32_t character, std::string_view utf8) {
  if (hasNoWidth(character)) return {};
  if (const std::string_view own = ownForm(character); !own.empty()) return own;
  const std::string_view form = convert(utf8);
  // The library's own sign for a character without any form.
  return form.empty() || form == "?" ? kBlank : form;
}

std::string_view MacRomanEncoder::convert(std::string_view utf8) {
  char* input = const_cast<char*>(utf8.data());
  std::size_t inputLeft = utf8.size();
  char* output = m_form;
  std::size_t outputLeft = sizeof m_form;
  constexpr auto kFailed = static_cast<std::size_t>(-1);
  if (iconv(m_converter, &input, &inputLeft, &output, &outputLeft) == kFailed) {
    iconv(m_converter, nullptr, nullptr, nullptr, nullptr);
    return {};
  }
  return {m_form, static_cast<std::size_t>(output - m_form)};
}

char32_t composed(char32_t base, char32_t mark) {
  for (const Accent& accent : kAccents) {
    if (accent.mark != mark) continue;
    const std::size_t place = accent.bases.find(base);
    return place == std::u32string_view::npos ? 0 : accent.letters[place];
  }
  return 0;
}

}  // namespace tool

// SPDX-License-Identifier: Apache-2.0
#include "SpokenText.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "Failure.h"
#include "MacRomanEncoder.h"
#include "Utf8.h"

namespace tool {
namespace {

constexpr std::size_t kLongestText = std::numeric_limits<std::int32_t>::max();
constexpr const char* kTooLong = "the text is longer than 2 GiB";

struct Letter {
  char32_t code;
  std::size_t length;  // bytes in the text, an accent that was taken in included
  bool isComposed;
};

// `first` with the accent that follows it in `rest`, if one character stands for both.
Letter withAccent(Utf8Character first, std::string_view rest) {
  if (!rest.empty()) {
    const Utf8Character mark = firstCharacter(rest);
    const char32_t both = mark.length == 0 ? 0 : composed(first.code, mark.code);
    if (both != 0) return {both, first.length + mark.length, true};
  }
  return {first.code, first.length, false};
}

bool isAscii(char c) {
  return c > '\0' && static_cast<unsigned char>(c) < 0x80;
}

}  // namespace

SpokenText::SpokenText(std::string given, Brackets brackets) : m_given(std::move(given)) {
  if (m_given.size() > kLongestText) throw Failure(kTooLong);
  m_macRoman.reserve(m_given.size());
  m_origins.reserve(m_given.size() + 1);
  MacRomanEncoder encoder;
  for (std::size_t at = 0; at < m_given.size();) at += appendNext(encoder, at);
  if (brackets == Brackets::Text) disarmBrackets();
  m_origins.push_back(static_cast<std::uint32_t>(m_given.size()));
}

Slice SpokenText::origin(std::size_t position, std::size_t length) const {
  const std::size_t first = std::min(position, m_macRoman.size());
  std::size_t end = first + std::min(length, m_macRoman.size() - first);
  // To the end of the last byte's character, of which there may be several bytes.
  while (end > first && m_origins[end] == m_origins[end - 1]) ++end;
  return {m_origins[first], m_origins[end] - m_origins[first]};
}

// Appends the character at `at`, or a blank for a byte that is none; how many bytes that was.
std::size_t SpokenText::appendNext(MacRomanEncoder& encoder, std::size_t at) {
  const std::string_view text = std::string_view(m_given).substr(at);
  if (isAscii(text[0]) && (text.size() == 1 || isAscii(text[1]))) {
    append(text.substr(0, 1), at);
    return 1;
  }
  const Utf8Character first = firstCharacter(text);
  if (first.length == 0 || first.code == 0) {
    append(" ", at);
    return 1;
  }
  const Letter letter = withAccent(first, text.substr(first.length));
  append(letter.isComposed ? encoder.encode(letter.code, toUtf8(letter.code))
                           : encoder.encode(letter.code, text.substr(0, letter.length)),
         at);
  return letter.length;
}

void SpokenText::append(std::string_view plainForm, std::size_t origin) {
  if (m_macRoman.size() + plainForm.size() > kLongestText) throw Failure(kTooLong);
  m_macRoman += plainForm;
  m_origins.insert(m_origins.end(), plainForm.size(), static_cast<std::uint32_t>(origin));
}

// Done to the result, not to the text given: brackets come of several characters.
void SpokenText::disarmBrackets() {
  for (std::size_t at = 1; at < m_macRoman.size(); ++at) {
    if (m_macRoman[at - 1] == '[' && m_macRoman[at] == '[') m_macRoman[at] = '(';
  }
  // The last one would meet those of the command that follows every text.
  if (m_macRoman.ends_with('[')) append(" ", m_origins.back());
}

}  // namespace tool

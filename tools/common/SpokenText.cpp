// SPDX-License-Identifier: Apache-2.0
#include "SpokenText.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

#include "Failure.h"
#include "base/text/MacRomanEncoder.h"
#include "base/text/Utf8.h"

namespace tool {
namespace {

using Position = base::OriginText::Position;

constexpr std::size_t kLongestText = std::numeric_limits<std::int32_t>::max();

// Checked during conversion too, since plain forms can make a text longer.
void checkLength(std::size_t bytes) {
  if (bytes > kLongestText) throw Failure("the text is longer than 2 GiB");
}

// Runs of ASCII are added at once, since most texts consist of them.
base::OriginText encode(std::string_view given) {
  base::MacRomanEncoder encoder;
  encoder.reserve(given.size());
  for (std::size_t at = 0; at < given.size();) {
    const std::string_view rest = given.substr(at);
    if (const std::size_t ascii = base::asciiLength(rest); ascii > 0) {
      encoder.addAscii(rest.substr(0, ascii), static_cast<Position>(at));
      at += ascii;
      continue;
    }
    const base::Utf8Character character = base::firstCharacter(rest);
    encoder.add(character.length == 0 ? U' ' : character.code, static_cast<Position>(at));
    checkLength(encoder.size());
    at += std::max<std::size_t>(character.length, 1);
  }
  return encoder.finish(static_cast<Position>(given.size()));
}

}  // namespace

SpokenText::SpokenText(std::string given, Brackets brackets) : m_given(std::move(given)) {
  checkLength(m_given.size());
  m_macRoman = encode(m_given);
  if (brackets == Brackets::Text) disarmBrackets();
  checkLength(m_macRoman.size());
}

// Changes the converted text, not the given one, because several characters become brackets.
void SpokenText::disarmBrackets() {
  const std::string& text = m_macRoman.text();
  for (std::size_t at = 1; at < text.size(); ++at) {
    if (text[at - 1] == '[' && text[at] == '[') m_macRoman.replace(at, '(');
  }
  // A bracket at the end would form "[[" with the start of the command that follows every text.
  if (text.ends_with('[')) {
    m_macRoman.append(" ", m_macRoman.originOf(text.size() - 1));
    m_macRoman.finish(static_cast<Position>(m_given.size()));
  }
}

}  // namespace tool

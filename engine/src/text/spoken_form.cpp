// SPDX-License-Identifier: Apache-2.0
#include "text/spoken_form.h"

#include <algorithm>

#include "base/text/CharacterProperties.h"
#include "base/text/Composition.h"

namespace kavrel {

namespace {

// The synthesiser is given wide text, one unit for each character.
static_assert(sizeof(wchar_t) == sizeof(char32_t));

constexpr char32_t kNonJoiner = 0x200C;
constexpr char32_t kJoiner = 0x200D;
constexpr char32_t kTatweel = 0x0640;
constexpr char32_t kModifierApostrophe = 0x02BC;

// All that ISO 8859-15 has is composed already, and only the soft hyphen and Cyrillic or later
// characters need a look.
bool needsNoChange(char32_t character) {
  return character < 0x2B0 && character != 0xAD;
}

bool hasNoSound(char32_t character) {
  return character == kTatweel || base::isInvisible(character);
}

bool isEthiopicNumber(char32_t character) {
  return character >= 0x1369 && character <= 0x137C;
}

// A number in a circle, in brackets or with a full stop.
bool isDecoratedNumber(char32_t character) {
  return character >= 0x2460 && character <= 0x249B;
}

bool isFullwidthForm(char32_t character) {
  return character >= 0xFF01 && character <= 0xFF5E;
}

void appendNumber(std::u32string& text, char32_t character) {
  for (const char digit : std::to_string(base::numberOf(character)))
    text.push_back(static_cast<char32_t>(digit));
}

void appendForm(std::u32string& text, char32_t character, const LanguageRules& rules) {
  const bool isKeptJoiner =
      character == kNonJoiner || (character == kJoiner && !rules.dropsJoiners);
  if (hasNoSound(character) && !isKeptJoiner) return;
  if (const auto digit = base::digitValue(character)) {
    text.push_back(static_cast<char32_t>('0' + *digit));
  } else if (isEthiopicNumber(character) || isDecoratedNumber(character)) {
    appendNumber(text, character);
  } else if (character == 0x2010 || character == 0x2011) {
    text += U'-';
  } else if (character == kModifierApostrophe && rules.hasLetterApostrophe) {
    text += U'\'';
  } else if (isFullwidthForm(character)) {
    text.push_back(character - 0xFF01 + U'!');
  } else {
    text += character;
  }
}

}  // namespace

std::wstring spokenForm(std::span<const Letter> letters, const LanguageRules& rules) {
  std::wstring plain;
  plain.reserve(letters.size());
  for (const Letter& letter : letters) plain += static_cast<wchar_t>(letter.character);
  if (std::ranges::all_of(letters, needsNoChange, &Letter::character)) return plain;
  std::u32string text;
  for (const Letter& letter : letters) appendForm(text, letter.character, rules);
  text = base::composed(text);
  return {text.begin(), text.end()};
}

}  // namespace kavrel

// SPDX-License-Identifier: Apache-2.0
#include "text/spoken_form.h"

#include <algorithm>

#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>

namespace kavrel {

namespace {

// The synthesiser is given wide text, one unit for each character.
static_assert(sizeof(wchar_t) == sizeof(char32_t));

constexpr char32_t kNonJoiner = 0x200C;
constexpr char32_t kJoiner = 0x200D;
constexpr char32_t kTatweel = 0x0640;
constexpr char32_t kModifierApostrophe = 0x02BC;

UChar32 asIcu(char32_t character) {
  return static_cast<UChar32>(character);
}

// All that ISO 8859-15 has is composed already, and only the soft hyphen and Cyrillic or later
// characters need a look.
bool needsNoChange(char32_t character) {
  return character < 0x2B0 && character != 0xAD;
}

bool hasNoSound(char32_t character) {
  return character == kTatweel ||
         u_hasBinaryProperty(asIcu(character), UCHAR_DEFAULT_IGNORABLE_CODE_POINT) != 0 ||
         u_hasBinaryProperty(asIcu(character), UCHAR_BIDI_CONTROL) != 0;
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
  const auto number = static_cast<int>(u_getNumericValue(asIcu(character)));
  for (const char digit : std::to_string(number)) text += static_cast<char32_t>(digit);
}

void appendForm(std::u32string& text, char32_t character, const LanguageRules& rules) {
  const bool isKeptJoiner =
      character == kNonJoiner || (character == kJoiner && !rules.dropsJoiners);
  if (needsNoChange(character) || isKeptJoiner) {
    text += character;
  } else if (const std::int32_t digit = u_charDigitValue(asIcu(character)); digit >= 0) {
    text += static_cast<char32_t>('0' + digit);
  } else if (isEthiopicNumber(character) || isDecoratedNumber(character)) {
    appendNumber(text, character);
  } else if (character == 0x2010 || character == 0x2011) {
    text += U'-';
  } else if (character == kModifierApostrophe && rules.hasLetterApostrophe) {
    text += U'\'';
  } else if (isFullwidthForm(character)) {
    text += character - 0xFF01 + U'!';
  } else if (!hasNoSound(character)) {
    text += character;
  }
}

// Returns `text` unchanged if ICU fails, which only a lack of memory can cause.
std::u32string composed(const std::u32string& text) {
  UErrorCode status = U_ZERO_ERROR;
  const UNormalizer2* const nfc = unorm2_getNFCInstance(&status);
  std::u16string units(2 * text.size() + 1, u'\0');
  std::int32_t length = 0;
  u_strFromUTF32(units.data(), static_cast<std::int32_t>(units.size()), &length,
                 reinterpret_cast<const UChar32*>(text.data()),
                 static_cast<std::int32_t>(text.size()), &status);
  if (U_FAILURE(status) != 0) return text;
  // A few characters become three.
  std::u16string result(3 * static_cast<std::size_t>(length) + 1, u'\0');
  const std::int32_t composedLength = unorm2_normalize(
      nfc, units.data(), length, result.data(), static_cast<std::int32_t>(result.size()), &status);
  if (U_FAILURE(status) != 0) return text;
  std::u32string characters(static_cast<std::size_t>(composedLength), U'\0');
  std::int32_t count = 0;
  u_strToUTF32(reinterpret_cast<UChar32*>(characters.data()), composedLength, &count, result.data(),
               composedLength, &status);
  if (U_FAILURE(status) != 0) return text;
  characters.resize(static_cast<std::size_t>(count));
  return characters;
}

}  // namespace

std::wstring spokenForm(std::span<const Letter> letters, const LanguageRules& rules) {
  std::wstring plain;
  plain.reserve(letters.size());
  for (const Letter& letter : letters) plain += static_cast<wchar_t>(letter.character);
  if (std::ranges::all_of(letters, needsNoChange, &Letter::character)) return plain;
  std::u32string text;
  for (const Letter& letter : letters) appendForm(text, letter.character, rules);
  text = composed(text);
  return {text.begin(), text.end()};
}

}  // namespace kavrel

// SPDX-License-Identifier: Apache-2.0
#include "base/text/CharacterProperties.h"

#include <unicode/uchar.h>
#include <unicode/uscript.h>

namespace base {

namespace {

UChar32 asIcu(char32_t character) {
  return static_cast<UChar32>(character);
}

bool hasProperty(char32_t character, UProperty property) {
  return u_hasBinaryProperty(asIcu(character), property) != 0;
}

bool isKana(char32_t character) {
  return (character >= 0x3040 && character <= 0x30FF) ||
         (character >= 0x31F0 && character <= 0x31FF) ||
         (character >= 0xFF66 && character <= 0xFF9F);
}

}  // namespace

bool isWhiteSpace(char32_t character) {
  return u_isUWhiteSpace(asIcu(character)) != 0;
}

bool isLowerCase(char32_t character) {
  return u_islower(asIcu(character)) != 0;
}

bool isUpperCase(char32_t character) {
  return u_isupper(asIcu(character)) != 0;
}

std::optional<int> digitValue(char32_t character) {
  if (u_isdigit(asIcu(character)) == 0) return std::nullopt;
  return u_charDigitValue(asIcu(character));
}

int numberOf(char32_t character) {
  const double value = u_getNumericValue(asIcu(character));
  return value == U_NO_NUMERIC_VALUE ? 0 : static_cast<int>(value);
}

bool isPunctuation(char32_t character) {
  return u_ispunct(asIcu(character)) != 0;
}

bool opensPunctuation(char32_t character) {
  const int kind = u_charType(asIcu(character));
  return kind == U_START_PUNCTUATION || kind == U_INITIAL_PUNCTUATION;
}

bool closesPunctuation(char32_t character) {
  const int kind = u_charType(asIcu(character));
  return kind == U_END_PUNCTUATION || kind == U_FINAL_PUNCTUATION;
}

bool endsSentences(char32_t character) {
  return hasProperty(character, UCHAR_S_TERM);
}

bool isWide(char32_t character) {
  const int width = u_getIntPropertyValue(asIcu(character), UCHAR_EAST_ASIAN_WIDTH);
  return width == U_EA_WIDE || width == U_EA_FULLWIDTH;
}

bool isInvisible(char32_t character) {
  return hasProperty(character, UCHAR_DEFAULT_IGNORABLE_CODE_POINT) ||
         hasProperty(character, UCHAR_BIDI_CONTROL);
}

bool extendsCharacter(char32_t character) {
  return hasProperty(character, UCHAR_GRAPHEME_EXTEND) || character == 0x200D ||
         u_charType(asIcu(character)) == U_COMBINING_SPACING_MARK;
}

std::string_view scriptOf(char32_t character) {
  UErrorCode error = U_ZERO_ERROR;
  const UScriptCode script = uscript_getScript(asIcu(character), &error);
  if (U_FAILURE(error) || script == USCRIPT_COMMON || script == USCRIPT_INHERITED ||
      script == USCRIPT_UNKNOWN) {
    return {};
  }
  return uscript_getShortName(script);
}

// ICU knows the scripts of South-East Asia by the way in which their lines break.
bool isWrittenWithoutBlanks(char32_t character) {
  constexpr char32_t kFirst = 0x0E00;  // Thai
  if (character < kFirst) return false;
  if (hasProperty(character, UCHAR_IDEOGRAPHIC)) return true;
  if (u_isalpha(asIcu(character)) == 0 && !extendsCharacter(character)) return false;
  return isKana(character) ||
         u_getIntPropertyValue(asIcu(character), UCHAR_LINE_BREAK) == U_LB_COMPLEX_CONTEXT;
}

}  // namespace base

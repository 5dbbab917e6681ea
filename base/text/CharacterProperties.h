// SPDX-License-Identifier: Apache-2.0
//
// CharacterProperties: what Unicode says of a character, as far as the reading of texts needs it.
// Pure functions, safe on any thread; the locale has no influence.
#pragma once

#include <optional>
#include <string_view>

namespace base {

// White space, line and paragraph separators included; no characters without width.
bool isWhiteSpace(char32_t character);

bool isLowerCase(char32_t character);
bool isUpperCase(char32_t character);

// Returns the value of a decimal digit of any script; nullopt for other characters.
std::optional<int> digitValue(char32_t character);

// Returns the value of any character that stands for a number, without its fraction: 20 for the
// number twenty in a circle. 0 for characters without one.
int numberOf(char32_t character);

// Punctuation of any kind, without symbols such as "+".
bool isPunctuation(char32_t character);
bool opensPunctuation(char32_t character);
bool closesPunctuation(char32_t character);

// A full stop, question mark or the like of any script.
bool endsSentences(char32_t character);

// As wide as an ideograph in a line of fixed pitch.
bool isWide(char32_t character);

// Not visible and not audible: marks of direction, soft hyphen, joiners, variation selectors.
bool isInvisible(char32_t character);

// Changes the character before it: combining marks, joiners, variation selectors.
bool extendsCharacter(char32_t character);

// Returns the script of a character by its code in ISO 15924, such as "Cyrl"; an empty view for
// characters that several scripts share: digits, punctuation, symbols, most combining marks.
std::string_view scriptOf(char32_t character);

// A letter or mark of a script that is written without blanks between words: Han, Hiragana,
// Katakana, Thai, Lao, Khmer, Myanmar.
bool isWrittenWithoutBlanks(char32_t character);

}  // namespace base

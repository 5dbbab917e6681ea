// SPDX-License-Identifier: Apache-2.0
//
// Words and ends of sentences, as far as the characters of one token decide them. The rules need no
// context: text/sentence.h says who decides the rest.
//
// All functions are pure and may be called on any thread at the same time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "text/language_rules.h"

namespace kavrel {

// A character of a token (Unicode), and the bytes that it takes in the text.
struct Letter {
  char32_t character = 0;
  std::size_t start = 0;
  std::size_t length = 0;
};

// White space and control characters, including all of 0x80 to 0x9F, and malformed text. Characters
// without width are not blank: they belong to the token that they stand in.
bool isBlank(char32_t character);

// A decimal digit of any script.
bool isDigit(char32_t character);
bool isLowerCase(char32_t character);

// Quotes and brackets that may follow the full stop of a sentence.
bool isClosing(char32_t character);

// A stop after which the next sentence needs no blank before it.
bool isWideStop(char32_t character);

// Returns the token without the punctuation around it; an empty span for a token of punctuation
// only. A minus sign or a decimal point before a number belongs to the number.
std::span<const Letter> wordOf(std::span<const Letter> token);

// Whether a sentence ends after a token. The last two depend on the character that follows.
enum class Stop : std::uint8_t {
  None,             // no
  Always,           // yes, and what follows needs no blank before it ("。")
  Full,             // yes
  UnlessLowerCase,  // not before a lower-case letter, a digit, a bracket or a comma ("etc.")
  UnlessDigit,      // not before a digit ("No.")
};

// Returns how `token` ends, closing quotes and brackets skipped.
Stop stopOf(std::span<const Letter> token, const LanguageRules& rules = {});

}  // namespace kavrel

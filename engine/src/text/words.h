// SPDX-License-Identifier: GPL-3.0-or-later
//
// What is a word and where a sentence ends, by the characters alone. Everything here may be called
// on any thread at the same time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace kavrel {

// A character of a token and the bytes it takes in the text.
struct Letter {
  char32_t character = 0;
  std::size_t start = 0;
  std::size_t length = 0;
};

// White space and control characters, the whole of 0x80 to 0x9F included.
bool isBlank(char32_t character);

bool isDigit(char32_t character);
bool isLowerCase(char32_t character);

// Quotes and brackets that may stand behind the stop of a sentence.
bool isClosing(char32_t character);

// The token without the punctuation around it; empty for a token of punctuation alone. A sign or a
// decimal point in front of a number belongs to the number.
std::span<const Letter> wordOf(std::span<const Letter> token);

// Whether a sentence ends with a token.
enum class Stop : std::uint8_t {
  None,
  Full,
  UnlessLowerCase,  // it does not when a small letter, a digit, a bracket or a comma follows
                    // ("etc.")
  UnlessDigit,      // it does not when a digit follows ("No.")
};

Stop stopOf(std::span<const Letter> token);

}  // namespace kavrel

// SPDX-License-Identifier: Apache-2.0
#include "text/words.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include "base/text/CaseFolding.h"
#include "base/text/CharacterProperties.h"
#include "base/text/Utf8.h"
#include "text/abbreviations.h"
#include "text/encoding.h"

namespace kavrel {

namespace {

using namespace std::string_view_literals;

bool contains(std::u32string_view set, char32_t character) {
  return set.find(character) != std::u32string_view::npos;
}

// Signs of other scripts and widths that are spoken, though Unicode counts them as punctuation:
// those for "per cent", "per mille", "&", "#", "*" and "@".
bool isSpokenSign(char32_t character) {
  return contains(U"\u066A\u2030\u2031\u0609\u060A\uFE60\uFE6A\uFE6B\uFF03\uFF05\uFF06\uFF20"sv,
                  character);
}

bool isPunctuation(char32_t character) {
  if (character <= 0xFF) {
    return contains(
        U".,;:!?\"'`()[]{}_*/\\|~^-\u00A1\u00A8\u00AB\u00AD\u00AF\u00B4\u00B7\u00B8\u00BB\u00BF"sv,
        character);
  }
  if (isSpokenSign(character)) return false;
  return base::isPunctuation(character) || base::isInvisible(character);
}

// U+104A separates parts of a sentence. "\u037E" is the Greek ";".
bool isStop(char32_t character, const LanguageRules& rules) {
  if (character < 0x80) {
    return contains(U".!?"sv, character) || (character == ';' && rules.endsAtSemicolon);
  }
  if (character == 0x2026) return true;
  if (character == 0x037E) return rules.endsAtSemicolon;
  return character != 0x104A && base::endsSentences(character);
}

// Returns true for a sign or decimal point at `at` that is spoken with the number after it: "-5",
// ".5", "-.5", "-$5".
bool leadsNumber(std::span<const Letter> token, std::size_t at) {
  const auto is = [&token](std::size_t position, std::u32string_view set) {
    return position < token.size() && contains(set, token[position].character);
  };
  const auto isDigitAt = [&token](std::size_t position) {
    return position < token.size() && isDigit(token[position].character);
  };
  if (is(at, U"."sv)) return isDigitAt(at + 1);
  if (!is(at, U"-"sv)) return false;
  if (is(at + 1, U"$\u00A3\u20AC\u00A5."sv)) return isDigitAt(at + 2);
  return isDigitAt(at + 1);
}

// Returns the letters in lower case, as UTF-8, for a lookup.
std::string lowerCase(std::span<const Letter> letters) {
  std::string text;
  for (const Letter& letter : letters) base::appendUtf8(text, base::foldCase(letter.character));
  return text;
}

bool hasCase(char32_t character) {
  return base::isLowerCase(character) || base::isUpperCase(character);
}

// "U.S", "p.m": single letters separated by stops.
bool isInitials(std::span<const Letter> letters) {
  if (letters.size() < 3 || letters.size() % 2 == 0) return false;
  for (std::size_t i = 0; i < letters.size(); ++i) {
    const char32_t character = letters[i].character;
    if (i % 2 == 0 ? !hasCase(character) : character != '.') return false;
  }
  return true;
}

// Longer numbers are years and amounts, which end a sentence more often.
bool isOrdinal(std::span<const Letter> letters) {
  constexpr std::size_t kMostDigits = 3;
  return !letters.empty() && letters.size() <= kMostDigits &&
         std::ranges::all_of(letters, isDigit, &Letter::character);
}

// Returns how a token of `letters` and one "." ends.
Stop stopOfAbbreviation(std::span<const Letter> letters, const LanguageRules& rules) {
  static constexpr std::size_t kLongest = 8;
  if (letters.empty() || letters.size() > kLongest) return Stop::Full;
  // A single capital is an initial, except "I.", which more often ends a sentence.
  if (letters.size() == 1 && base::isUpperCase(letters[0].character) &&
      letters[0].character != 'I') {
    return Stop::None;
  }
  const std::optional<Abbreviation> known = abbreviationOf(lowerCase(letters), rules.language);
  if (known == Abbreviation::NeverEnds) return Stop::None;
  if (known == Abbreviation::BeforeNumber) return Stop::UnlessDigit;
  return known == Abbreviation::MayEnd || isInitials(letters) ? Stop::UnlessLowerCase : Stop::Full;
}

}  // namespace

bool isBlank(char32_t character) {
  if (character <= 0xA0) return character <= 0x20 || character >= 0x7F;
  return character == kMalformed || base::isWhiteSpace(character);
}

bool isDigit(char32_t character) {
  if (character < 0x80) return character >= '0' && character <= '9';
  return base::digitValue(character).has_value();
}

bool isLowerCase(char32_t character) {
  return base::isLowerCase(character);
}

// German and its neighbours close with the marks with which English opens.
bool isClosing(char32_t character) {
  if (character <= 0xFF) return contains(U"\"')]}\u00BB"sv, character);
  if (character == 0x201C || character == 0x2018) return true;
  return base::closesPunctuation(character);
}

bool isWideStop(char32_t character) {
  constexpr char32_t kFirstWide = 0x3000;
  return character >= kFirstWide && isStop(character, {}) && base::isWide(character);
}

std::span<const Letter> wordOf(std::span<const Letter> token) {
  std::size_t first = 0;
  std::size_t last = token.size();
  while (first < last && isPunctuation(token[first].character) && !leadsNumber(token, first)) {
    ++first;
  }
  while (last > first && isPunctuation(token[last - 1].character)) --last;
  return token.subspan(first, last - first);
}

// "!", "?" and more than one stop always end the sentence; a single "." depends on the word.
Stop stopOf(std::span<const Letter> token, const LanguageRules& rules) {
  while (!token.empty() && isClosing(token.back().character)) token = token.first(token.size() - 1);
  if (token.empty() || !isStop(token.back().character, rules)) return Stop::None;
  if (isWideStop(token.back().character)) return Stop::Always;
  if (token.back().character != '.') return Stop::Full;
  token = token.first(token.size() - 1);
  if (token.empty() || isStop(token.back().character, rules)) return Stop::Full;
  while (!token.empty() && isPunctuation(token.front().character)) token = token.subspan(1);
  if (rules.hasOrdinals && isOrdinal(token)) return Stop::None;
  return stopOfAbbreviation(token, rules);
}

}  // namespace kavrel

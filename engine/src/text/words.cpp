// SPDX-License-Identifier: Apache-2.0
#include "text/words.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace kavrel {

namespace {

using namespace std::string_view_literals;

// A name or a number follows these, never the end of a sentence. In lower case, without the last
// stop.
constexpr auto kNeverEnd = std::to_array<std::string_view>(
    {"adm",  "approx", "asst", "brig", "capt", "cf",     "cmdr", "col", "cpl", "dr",  "e.g", "gen",
     "gov",  "hon",    "i.e",  "lt",   "maj",  "messrs", "mlle", "mme", "mr",  "mrs", "ms",  "mt",
     "pres", "prof",   "rep",  "rev",  "rt",   "sen",    "sgt",  "st",  "viz", "vs"});

// These occur at the end of a sentence as well as inside one.
constexpr auto kMayEnd = std::to_array<std::string_view>(
    {"al",   "apr", "assn", "aug", "ave", "blvd", "bros", "co",   "corp", "dec",
     "dept", "ed",  "eds",  "est", "etc", "feb",  "hrs",  "inc",  "jan",  "jr",
     "jul",  "jun", "ltd",  "mar", "min", "nov",  "oct",  "rd",   "sec",  "sep",
     "sept", "sq",  "sr",   "ft",  "lb",  "lbs",  "oz",   "univ", "yr",   "yrs"});

// These are abbreviations only before a number.
constexpr auto kBeforeNumber = std::to_array<std::string_view>(
    {"art", "ch", "chap", "fig", "figs", "no", "nos", "nr", "p", "pp", "par", "vol", "vols"});

bool contains(std::u32string_view set, char32_t character) {
  return set.find(character) != std::u32string_view::npos;
}

bool isPunctuation(char32_t character) {
  return contains(
             U".,;:!?\"'`()[]{}_*/\\|~^-\u00A1\u00A8\u00AB\u00AD\u00AF\u00B4\u00B7\u00B8"
             U"\u00BB\u00BF\u2022\u2026\u2039\u203A"sv,
             character) ||
         (character >= 0x2010 && character <= 0x201F);
}

bool isStop(char32_t character) {
  return contains(U".!?\u2026"sv, character);
}

bool isUpperCase(char32_t character) {
  return (character >= 'A' && character <= 'Z') ||
         (character >= 0xC0 && character <= 0xDE && character != 0xD7);
}

// Returns true for a sign or decimal point at `at` that is spoken with the number after it: "-5",
// ".5", "-.5", "-$5".
bool leadsNumber(std::span<const Letter> token, std::size_t at) {
  const auto is = [&token](std::size_t position, std::u32string_view set) {
    return position < token.size() && contains(set, token[position].character);
  };
  static constexpr auto kDigits = U"0123456789"sv;
  if (is(at, U"."sv)) return is(at + 1, kDigits);
  if (!is(at, U"-"sv)) return false;
  if (is(at + 1, U"$\u00A3\u20AC\u00A5."sv)) return is(at + 2, kDigits);
  return is(at + 1, kDigits);
}

// Returns the letters in lower case for a lookup; "?" for characters outside ASCII.
std::string lowerAscii(std::span<const Letter> letters) {
  std::string text;
  for (const Letter& letter : letters) {
    const char32_t c = letter.character;
    if (c >= 'A' && c <= 'Z') {
      text += static_cast<char>(c - 'A' + 'a');
    } else {
      text += c < 0x80 ? static_cast<char>(c) : '?';
    }
  }
  return text;
}

// "u.s", "p.m": single letters separated by stops.
bool isInitials(std::string_view text) {
  if (text.size() < 3 || text.size() % 2 == 0) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool letter = text[i] >= 'a' && text[i] <= 'z';
    if (i % 2 == 0 ? !letter : text[i] != '.') return false;
  }
  return true;
}

// Returns how a token of `letters` and one "." ends.
Stop stopOfAbbreviation(std::span<const Letter> letters) {
  static constexpr std::size_t kLongest = 8;
  if (letters.empty() || letters.size() > kLongest) return Stop::Full;
  // A single capital is an initial, except "I.", which more often ends a sentence.
  if (letters.size() == 1 && isUpperCase(letters[0].character) && letters[0].character != 'I') {
    return Stop::None;
  }
  const std::string text = lowerAscii(letters);
  if (std::ranges::find(kNeverEnd, text) != kNeverEnd.end()) return Stop::None;
  if (std::ranges::find(kBeforeNumber, text) != kBeforeNumber.end()) return Stop::UnlessDigit;
  const bool mayEnd = std::ranges::find(kMayEnd, text) != kMayEnd.end();
  return mayEnd || isInitials(text) ? Stop::UnlessLowerCase : Stop::Full;
}

}  // namespace

bool isBlank(char32_t character) {
  return character <= 0x20 || (character >= 0x7F && character <= 0xA0) || character == 0x1680 ||
         (character >= 0x2000 && character <= 0x200F) ||
         (character >= 0x2028 && character <= 0x202F) || character == 0x205F ||
         character == 0x3000 || character == 0xFEFF;
}

bool isDigit(char32_t character) {
  return character >= '0' && character <= '9';
}

bool isLowerCase(char32_t character) {
  return (character >= 'a' && character <= 'z') ||
         (character >= 0xDF && character <= 0xFF && character != 0xF7) || character == 0x153 ||
         character == 0x161 || character == 0x17E;
}

bool isClosing(char32_t character) {
  return contains(U"\"')]}\u00BB\u2019\u201D\u203A"sv, character);
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
Stop stopOf(std::span<const Letter> token) {
  while (!token.empty() && isClosing(token.back().character)) token = token.first(token.size() - 1);
  if (token.empty() || !isStop(token.back().character)) return Stop::None;
  if (token.back().character != '.') return Stop::Full;
  token = token.first(token.size() - 1);
  if (token.empty() || isStop(token.back().character)) return Stop::Full;
  while (!token.empty() && isPunctuation(token.front().character)) token = token.subspan(1);
  return stopOfAbbreviation(token);
}

}  // namespace kavrel

// SPDX-License-Identifier: Apache-2.0
//
// One text for each language that has a voice, rich in the letters that English lacks. Used by the
// tests of spoken voices and by the program that measures pitch.
//
// Pure functions, safe on any thread. They may throw std::bad_alloc.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace languages {

struct Language {
  std::string_view locale;       // for example de_DE
  std::string_view synthesiser;  // the synthesiser's name of the language
  // UTF-8. Every character exists in Mac OS Roman too.
  std::string_view text;   // sentences of all kinds, with the language's own letters
  std::string_view plain;  // statements only, for measures that depend on intonation
};

// Returns all languages; each locale occurs once.
std::span<const Language> all();

// Returns the words of a UTF-8 text as word events report them: the text is split at blanks, and
// leading and trailing punctuation is removed.
std::vector<std::string> wordsOf(std::string_view text);

// Returns the characters of a well-formed UTF-8 text.
std::u32string charactersOf(std::string_view text);

}  // namespace languages

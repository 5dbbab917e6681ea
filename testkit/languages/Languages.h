// SPDX-License-Identifier: Apache-2.0
//
// A text in each language that there is a voice for, with the letters that the language has and
// English lacks, for the tests that listen to voices and the program that measures them.
//
// All functions are free of state and may be called on any thread.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace languages {

struct Language {
  std::string_view locale;       // as de_DE
  std::string_view synthesiser;  // the synthesiser's name of the language
  // UTF-8, all of it in Mac OS Roman as well.
  std::string_view text;   // sentences of all kinds, rich in the language's own letters
  std::string_view plain;  // statements alone, for measures that depend on the melody
};

// Every locale once.
std::span<const Language> all();

// The words of a text, as they are reported: what stands between blanks, without the punctuation
// around it.
std::vector<std::string> wordsOf(std::string_view text);

// The characters of UTF-8.
std::u32string charactersOf(std::string_view text);

// UTF-8 as ISO 8859-15; what that lacks becomes "?".
std::string latin9(std::string_view text);

}  // namespace languages

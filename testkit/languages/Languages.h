// SPDX-License-Identifier: Apache-2.0
//
// A text in each language that has a voice, rich in letters that English lacks, for the tests that
// check voices and the program that measures them.
//
// All functions are free of state and may be called on any thread.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace languages {

struct Language {
  std::string_view locale;       // for example de_DE
  std::string_view synthesiser;  // the synthesiser's name of the language
  // UTF-8; every character also exists in Mac OS Roman.
  std::string_view text;   // sentences of all kinds, rich in the language's own letters
  std::string_view plain;  // statements only, for measures that depend on the melody
};

// All languages; every locale once.
std::span<const Language> all();

// The words of a text as the engine reports them: separated by blanks, without the punctuation
// around them.
std::vector<std::string> wordsOf(std::string_view text);

// The characters of a UTF-8 text, which must be well-formed.
std::u32string charactersOf(std::string_view text);

// UTF-8 as ISO 8859-15; characters that the encoding lacks become "?".
std::string latin9(std::string_view text);

}  // namespace languages

// SPDX-License-Identifier: Apache-2.0
//
// What the reading of a text depends on in its language. Pure functions, safe on any thread.
#pragma once

#include <string_view>

namespace kavrel {

struct LanguageRules {
  // The first part of the tag, for abbreviationOf(). A view of what rulesOf() was given, or static.
  std::string_view language = "en";
  // A number and a full stop are an ordinal: "am 3. Mai".
  bool hasOrdinals = false;
  // ";" asks a question, and so ends a sentence.
  bool endsAtSemicolon = false;
  // Blanks stand between quotes and what they enclose, also after the stop of a sentence.
  bool spacesQuotes = false;
  // U+02BC is spoken like the apostrophe of other languages.
  bool hasLetterApostrophe = false;
  // A zero-width joiner would change the reading of the letters around it.
  bool dropsJoiners = false;
};

// Returns the rules of a language, given by its tag or by the synthesiser's name of it: "de-AT",
// "en-us". All but the first part is ignored. Unknown languages have the usual rules.
LanguageRules rulesOf(std::string_view language);

}  // namespace kavrel

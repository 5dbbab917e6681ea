// SPDX-License-Identifier: Apache-2.0
//
// Examples of single commands: the words that a command splits into, the number of its kind, and
// what the row shows.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace examples {

struct CommandExample {
  std::string shows;
  std::string command;
  std::vector<std::string> words;
  int kind;
};

inline std::ostream& operator<<(std::ostream& out, const CommandExample& example) {
  return out << '"' << example.command << '"';
}

inline std::vector<CommandExample> commandExamples() {
  return {
      {"RateWithANumber", "[[rate 200]]", {"rate", "200"}, 13},
      {"APlusIsAWord", "[[rate +10]]", {"rate", "+", "10"}, 13},
      {"AMinusIsAWord", "[[pbas -5]]", {"pbas", "-", "5"}, 11},
      {"ASignEndsTheWordBeforeIt", "[[rate-2.7 ", {"rate", "-", "2.7"}, 13},
      {"EmphasisOn", "[[emph +]]", {"emph", "+"}, 4},
      {"EmphasisOff", "[[emph -]]", {"emph", "-"}, 5},
      {"EmphasisWithoutArgument", "[[emph]]", {"emph"}, 25},
      {"ASecondPieceBeginsWithItsSemicolon", "; pbas 50]]", {"pbas", "50"}, 11},
      {"SyncInHexadecimal", "[[sync 0x1A2B]]", {"sync", "0x1A2B"}, 16},
      {"SpellingOn", "[[char LTRL]]", {"char", "LTRL"}, 0},
      {"SpellingOff", "[[char NORM]]", {"char", "NORM"}, 1},
      {"SpellingInLowerCase", "[[char ltrl]]", {"char", "ltrl"}, 25},
      {"ACommandInUpperCase", "[[CHAR LTRL]]", {"CHAR", "LTRL"}, 25},
      {"Comment", "[[cmnt anything at all]]", {"cmnt", "anything", "at", "all"}, 2},
      {"Delimiters", "[[dlim (( ))]]", {"dlim", "((", "))"}, 3},
      {"PhonemeInput", "[[inpt PHON]]", {"inpt", "PHON"}, 6},
      {"PhonemeInputInAnyCase", "[[inpt Phon]]", {"inpt", "Phon"}, 6},
      {"TuneInput", "[[inpt TUNE]]", {"inpt", "TUNE"}, 7},
      {"TextInput", "[[inpt TEXT]]", {"inpt", "TEXT"}, 8},
      {"InputWithoutArgument", "[[inpt]]", {"inpt"}, 25},
      {"Digits", "[[nmbr LTRL]]", {"nmbr", "LTRL"}, 9},
      {"DigitsInLowerCase", "[[nmbr ltrl]]", {"nmbr", "ltrl"}, 9},
      {"Numbers", "[[nmbr NORM]]", {"nmbr", "NORM"}, 10},
      {"PitchRange", "[[pmod 5]]", {"pmod", "5"}, 12},
      {"Reset", "[[rset 0]]", {"rset", "0"}, 14},
      {"Silence", "[[slnc 500]]", {"slnc", "500"}, 15},
      {"SilenceWithBlanks", "[[ slnc 5000 ]]", {"slnc", "5000"}, 15},
      {"Version", "[[vers 1]]", {"vers", "1"}, 17},
      {"Volume", "[[volm 0.5]]", {"volm", "0.5"}, 18},
      {"Extension", "[[xtnd kvrl x]]", {"xtnd", "kvrl", "x"}, 19},
      {"WordContext", "[[ctxt word]]", {"ctxt", "word"}, 20},
      {"SkippedWordContext", "[[ctxt WSKP]]", {"ctxt", "WSKP"}, 21},
      {"TextContext", "[[ctxt TEXT]]", {"ctxt", "TEXT"}, 22},
      {"SkippedTextContext", "[[ctxt TSKP]]", {"ctxt", "TSKP"}, 23},
      {"NormalContext", "[[ctxt NORM]]", {"ctxt", "NORM"}, 24},
      {"ContextWithoutABlank", "[[ctxtTSKP]]", {"ctxtTSKP"}, 25},
      {"BlanksOnly", "[[ ]]", {}, 25},
      {"ASemicolonOnly", "[[;]]", {}, 25},
      {"Nothing", "", {}, 25},
      {"AllFourBlanks", "[[rate\t1\r2\n3]]", {"rate", "1", "2", "3"}, 13},
      {"BracketsInsideAWordAreKept", "[[rate 5[[rset 0]]", {"rate", "5[[rset", "0"}, 13},
      {"BracketsAroundAWordAreRemoved", "[[rate] ;3;]]", {"rate", "3"}, 13},
  };
}

}  // namespace examples

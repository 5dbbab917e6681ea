// SPDX-License-Identifier: Apache-2.0
//
// Examples of text preparation: the caller's bytes in Mac OS Roman, the prepared text, and what the
// row shows.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace examples {

struct PreparationExample {
  std::string shows;
  std::string text;
  std::string prepared;
};

inline std::ostream& operator<<(std::ostream& out, const PreparationExample& example) {
  return out << '"' << example.text << '"';
}

inline std::vector<PreparationExample> preparationExamples() {
  return {
      {"EmptyTextStaysEmpty", "", ""},
      {"MarkupCharactersAreEscapedAtTheirPosition", "a<b>c&d", "a&lt;b&gt;c&amp;d"},
      {"AnEscapeIsEscapedAgain", "&amp;", "&amp;amp;"},
      {"QuotesAreNotEscaped", "\"it's\"", "\"it's\""},
      {"TheLogoIsAWord", "\xF0 and \xF0", "Apple and Apple"},
      {"TheSystemsNameIsReadAsANumber", "OS X, Mac OS Xs, OS X", "OS 10, Mac OS 10s, OS 10"},
      {"ALowerCaseNameIsLeftAlone", "os x Os X OS x", "os x Os X OS x"},
      {"AnEscapedCharacterDoesNotHideTheName", "<OS X>", "&lt;OS 10&gt;"},
      {"CommandsAreLeftAlone", "[[rate 200]]a", "[[rate 200]]a"},
      {"ControlCharactersAreLeftAlone", "\x01\t\r\n\x7F", "\x01\t\r\n\x7F"},
      {"LettersChangeTheirByte", "na\x95ve caf\x8E", "na\xEFve caf\xE9"},
      {"TheEuroHasAByte", "\xDB", "\xA4"},
      {"CurlyQuotesBecomeStraight", "\xD2\xD4x\xD5\xD3", "\"'x'\""},
      {"DashesAndEllipsisBecomePlain",
       "a\xD0"
       "b\xD1"
       "c\xC9",
       "a-b-c..."},
      {"LigaturesBecomeLetters", "\xDEnd \xDFow", "find flow"},
      {"LongTextIsReturnedCompletely", std::string(10000, 'x') + "&",
       std::string(10000, 'x') + "&amp;"},
  };
}

}  // namespace examples

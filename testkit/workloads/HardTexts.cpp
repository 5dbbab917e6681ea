// SPDX-License-Identifier: Apache-2.0
#include "HardTexts.h"

#include <ostream>
#include <string_view>

#include "Prose.h"

namespace workloads {

namespace {

using Ending = HardText::Ending;

// `start`, then whole repetitions of `piece` until they have `bytes` bytes.
std::string repeated(std::string_view piece, std::size_t bytes, std::string_view start = "") {
  std::string text(start);
  text.reserve(start.size() + bytes + piece.size());
  while (text.size() < start.size() + bytes) text += piece;
  return text;
}

constexpr std::string_view kAllOn =
    "[[emph +]][[char LTRL]][[nmbr LTRL]][[volm 0.5]][[rate 200]][[pbas 50]][[pmod 3]]";

std::string allBytes() {
  std::string text;
  for (int byte = 0; byte < 256; ++byte) text += static_cast<char>(byte);
  return text;
}

// Prose with `odd` inserted after `at` eighths of the text.
std::string proseWith(std::string_view odd, std::size_t at, std::size_t bytes) {
  std::string text = prose(bytes);
  text.insert(bytes / 8 * at, odd);
  return text;
}

// Brackets and semicolons: the search for the ends of commands.
std::vector<HardText> brackets() {
  return {
      {"OpeningBrackets", [](std::size_t n) { return repeated("[[", n); }},
      {"ClosingBrackets", [](std::size_t n) { return repeated("]]", n); }},
      {"EmptyCommands", [](std::size_t n) { return repeated("[[]]", n); }},
      {"OpeningBracketsAndSemicolons", [](std::size_t n) { return repeated("[[ ;", n); }},
      {"SemicolonsWithoutEnd", [](std::size_t n) { return repeated(";", n, "[["); }},
      {"ClosedSemicolons", [](std::size_t n) { return repeated(";", n, "[[") + "]]"; }},
      {"CommandsInOnePair", [](std::size_t n) { return repeated("rate 1;", n, "[[") + "]]"; }},
      {"CommentWithoutEnd", [](std::size_t n) { return repeated("a ", n, "[[cmnt "); },
       Ending::Converts, Ending::IndexOutOfRange},
      {"ArgumentsWithoutEnd", [](std::size_t n) { return repeated("1 ", n, "[[rate ") + "]]"; }},
  };
}

// Very many commands, and very large or invalid arguments.
std::vector<HardText> commands() {
  return {
      {"Rates", [](std::size_t n) { return repeated("[[rate 200]]", n); }},
      {"GrowingRates", [](std::size_t n) { return repeated("[[rate +1]]x ", n); }},
      {"Emphases", [](std::size_t n) { return repeated("[[emph +]]w ", n); }},
      {"EmphasesWithoutWords", [](std::size_t n) { return repeated("[[emph +]]", n); },
       Ending::OutOfRange, Ending::Converts},
      {"EmphasesInWords", [](std::size_t n) { return repeated("ab[[emph +]]cd", n); }},
      {"AllOnThenComments", [](std::size_t n) { return repeated("[[cmnt]]", n, kAllOn); }},
      {"AllOnOverAndOver", [](std::size_t n) { return repeated(std::string(kAllOn) + "x ", n); }},
      {"Silences", [](std::size_t n) { return repeated("[[slnc 5000]]", n); }},
      {"QuotesInSilences", [](std::size_t n) { return repeated("[[slnc '\"/>'<\"]]", n); }},
      {"Syncs", [](std::size_t n) { return repeated("[[sync 0xFFFFFFFFFFFF]]", n); }},
      {"Resets", [](std::size_t n) { return repeated("[[rset 0]]", n); }},
      {"HugeNumbers",
       [](std::size_t n) {
         return repeated(
             "[[rate 1e308]]a [[rate +1e308]]b [[pbas nan]]c [[pmod inf]]d "
             "[[volm -inf]]e [[pbas 1e308]]f [[slnc 1e308]][[sync nan]]",
             n);
       }},
  };
}

// Phoneme, tune and skipped regions.
std::vector<HardText> regions() {
  return {
      {"Phones", [](std::size_t n) { return repeated("~hEHl1OW ", n, "[[inpt PHON]]"); }},
      {"UnknownPhones", [](std::size_t n) { return repeated("Q", n, "[[inpt PHON]]"); },
       Ending::BadPhoneSequence, Ending::BadPhoneSequence},
      {"PhonesFullOfCommands",
       [](std::size_t n) { return repeated("AE[[rate 1]]", n, "[[inpt PHON]]"); }},
      {"NestedPhones", [](std::size_t n) { return repeated("[[inpt PHON]]AE", n); },
       Ending::BadPhoneSequence, Ending::BadPhoneSequence, true},
      {"PhoneRegions", [](std::size_t n) { return repeated("[[inpt PHON]]AE[[inpt TEXT]]x", n); },
       Ending::BadPhoneSequence, Ending::BadPhoneSequence, true},
      {"TuneWithoutEnd",
       [](std::size_t n) { return repeated("~\nAA {D 120; P 171:0}\n", n, "[[inpt TUNE]]"); }},
      {"Tunes", [](std::size_t n) { return repeated("[[inpt TUNE]]", n); }},
      {"TunesAndTexts", [](std::size_t n) { return repeated("[[inpt TUNE]]a[[inpt TEXT]]b", n); }},
      {"SkippedWords", [](std::size_t n) { return repeated("[[ctxt WSKP]]", n); }},
      {"SkippedTexts", [](std::size_t n) { return repeated("[[ctxt TSKP]]", n); }},
      {"SkippedWordsAndNot",
       [](std::size_t n) { return repeated("[[ctxt WSKP]]a[[ctxt WORD]]b", n); }},
      {"EmphasesInSkippedTexts",
       [](std::size_t n) { return repeated("ab[[emph +]]cd[[ctxt TSKP]]", n); }},
  };
}

// Commands that are never closed: no command follows them.
std::vector<HardText> unclosed() {
  return {
      {"UnclosedAtTheStart", [](std::size_t n) { return proseWith("[[", 0, n); }},
      {"UnclosedInTheMiddle", [](std::size_t n) { return proseWith("see note [[ 3", 4, n); }},
      {"UnclosedAtTheEnd", [](std::size_t n) { return prose(n) + "[["; }},
      {"UnclosedAfterACommand", [](std::size_t n) { return proseWith("[[rate 5]][[", 4, n); }},
      {"UnclosedRate", [](std::size_t n) { return proseWith("x [[rate 5", 4, n); },
       Ending::IndexOutOfRange, Ending::IndexOutOfRange},
      {"UnclosedAfterEmphases", [](std::size_t n) { return repeated("[[emph +]]w ", n) + "[[ 3"; }},
      {"UnclosedAfterRates", [](std::size_t n) { return repeated("[[rate +1]]x ", n) + "[["; }},
      {"UnclosedInPhones",
       [](std::size_t n) { return repeated("AE", n, "[[inpt PHON]]") + "[[ 3"; },
       Ending::BadPhoneSequence, Ending::BadPhoneSequence},
      {"UnclosedInTune",
       [](std::size_t n) { return repeated("~\nAA\n", n, "[[inpt TUNE]]") + "[["; }},
      {"UnclosedInSkippedText",
       [](std::size_t n) { return repeated("[[ctxt TSKP]]a[[rate 1]]", n) + "[["; }},
      {"UnclosedOverAndOver", [](std::size_t n) { return repeated("w [[ rate 5 ", n); },
       Ending::IndexOutOfRange, Ending::IndexOutOfRange},
  };
}

// Texts with few or no commands: characters that are escaped or encoded, and long words.
std::vector<HardText> plainTexts() {
  return {
      {"Ampersands", [](std::size_t n) { return repeated("&", n); }},
      {"LessSigns", [](std::size_t n) { return repeated("<", n); }},
      {"AppleLogos", [](std::size_t n) { return repeated("\xF0", n); }},
      {"SystemNames", [](std::size_t n) { return repeated("OS X", n); }},
      {"Ellipses", [](std::size_t n) { return repeated("\xC9", n); }},
      {"OneWord", [](std::size_t n) { return repeated("a", n); }},
      {"OneEmphasisedWord", [](std::size_t n) { return repeated("a", n, "[[emph +]]"); }},
      {"Blanks", [](std::size_t n) { return repeated(" ", n); }},
      {"EmphasisedBlanks", [](std::size_t n) { return repeated(" ", n, "[[emph +]]"); }},
      {"Digits", [](std::size_t n) { return repeated("0123456789", n); }},
      {"AllBytes", [](std::size_t n) { return repeated(allBytes().substr(1), n); }},
      {"AllBytesAndNul", [](std::size_t n) { return repeated(allBytes(), n); }},
      {"NulsInCommands",
       [](std::size_t n) {
         return repeated(std::string_view("[[ra\0te 1]]\0[\0[[emph\0+]]\0w ", 27), n);
       }},
  };
}

}  // namespace

const std::vector<HardText>& hardTexts() {
  static const std::vector<HardText> texts = [] {
    std::vector<HardText> all;
    for (auto group : {brackets, commands, regions, unclosed, plainTexts}) {
      for (HardText& text : group()) all.push_back(std::move(text));
    }
    return all;
  }();
  return texts;
}

std::ostream& operator<<(std::ostream& out, const HardText& text) {
  return out << text.name;
}

}  // namespace workloads

// SPDX-License-Identifier: Apache-2.0
//
// Checks the adaptation of texts: the plug-in's converter refuses no adapted text; origins are in
// order and in the text; each mark arrives; and the state at the end of a text, spoken as a text,
// leads to the same state.
// Input: the first line has an initial "P" for phoneme input and the two delimiters, each optional,
// for example "P << >>"; the text follows.
#include "AppleMarkupConverter.h"
#include "Fuzz.h"
#include "SpeechMgrUtils.h"
#include "SpeechSynthesis/texts/TextAdapter.h"

namespace {

using platform::AdaptedText;
using platform::adaptText;
using platform::TextSettings;

TextSettings settingsOf(std::string_view line) {
  TextSettings settings;
  settings.pitchBase = 43;
  std::string_view word = fuzz::takeWord(line);
  if (word == "P") {
    settings.startsInPhonemes = true;
    word = fuzz::takeWord(line);
  }
  // A delimiter has one or two characters.
  if (!word.empty()) {
    settings.openDelimiter = word.substr(0, 2);
    settings.closeDelimiter = fuzz::takeWord(line).substr(0, 2);
  }
  return settings;
}

// True if no command can contain a character of the delimiters.
bool areDistinct(const TextSettings& settings) {
  const std::string both = settings.openDelimiter + settings.closeDelimiter;
  return both.find_first_not_of("[]<>{}()|~#$%^&*_=/\\") == std::string::npos &&
         settings.openDelimiter != settings.closeDelimiter;
}

void checkOrigins(const AdaptedText& adapted, std::size_t end) {
  if (!adapted.isChanged) {
    fuzz::require(adapted.text.empty(), "an unchanged text is not copied");
    return;
  }
  std::size_t last = 0;
  for (std::size_t at = 0; at < adapted.text.size(); ++at) {
    const std::size_t origin = adapted.text.originOf(at);
    fuzz::require(origin >= last && origin <= end, "origins are in order and in the text");
    last = origin;
  }
}

void checkProblems(const AdaptedText& adapted, std::size_t end) {
  for (const platform::TextProblem& problem : adapted.problems) {
    fuzz::require(problem.position <= end, "problems are in the text");
    fuzz::require(platform::describe(problem.cause)[0] != '\0', "problems have a description");
  }
}

// Returns the number of marks in the markup that the plug-in makes of the text. It throws if it
// refuses the text.
std::size_t marksIn(std::string text, bool startsInPhonemes) {
  for (char& c : text) {
    if (c == '\0') c = ' ';
  }
  SpeechMgrEnv environment;
  environment.speakPhones = startsInPhonemes;
  environment.pitchBase = 43;
  const std::string prepared = PreprocessText(reinterpret_cast<unsigned char*>(text.data()));
  AppleMarkupConverter converter(prepared, AppleMarkupConverter::SSML, environment);
  const std::string markup = converter.getConvertedText();
  std::size_t marks = 0;
  for (std::size_t at = markup.find("<mark "); at != std::string::npos;
       at = markup.find("<mark ", at + 1)) {
    ++marks;
  }
  return marks;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kMost = 4096;
  if (size > kMost) return 0;
  BuildPhoneTranslationTables();
  const auto [line, text] = fuzz::atFirstLine(fuzz::viewOf(data, size));
  const TextSettings settings = settingsOf(line);

  const AdaptedText adapted = adaptText(text, settings);
  checkOrigins(adapted, text.size());
  checkProblems(adapted, text.size());
  const std::string spoken = adapted.isChanged ? adapted.text.text() : std::string(text);
  fuzz::require(marksIn(spoken, settings.startsInPhonemes) == adapted.syncValues.size(),
                "every mark arrives");

  if (!areDistinct(settings)) return 0;
  const AdaptedText carried = adaptText(adapted.stateAtEnd, settings);
  fuzz::require(carried.problems.empty(), "the state at the end is valid");
  fuzz::require(carried.stateAtEnd == adapted.stateAtEnd, "the state is carried over as it is");
  return 0;
}

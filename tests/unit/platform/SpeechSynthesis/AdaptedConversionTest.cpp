// SPDX-License-Identifier: Apache-2.0
//
// Adapted texts in the plug-in's converter: none is refused, no word outside commands is lost, each
// word is where it was in the caller's text, and every sync mark arrives. Random texts with fixed
// seeds (KAVREL_TEST_SEED selects another range), and the collection of texts in
// tests/speech/texts.
#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "AppleMarkupConverter.h"
#include "SpeechMgrUtils.h"
#include "SpeechSynthesis/texts/TextAdapter.h"
#include "conversions/RandomTexts.h"

namespace {

using conversion::RandomTexts;
using platform::AdaptedText;
using platform::adaptText;
using platform::TextSettings;

unsigned int firstSeed() {
  const char* seed = std::getenv("KAVREL_TEST_SEED");
  return seed != nullptr ? static_cast<unsigned int>(std::strtoul(seed, nullptr, 10)) : 1;
}

struct SpokenWord {
  std::string text;
  std::size_t position;  // in the caller's text
};

// What the engine gets of a text.
struct Spoken {
  std::vector<SpokenWord> words;  // letters and digits outside tags and phonemes
  std::vector<std::uint32_t> marks;
};

bool isWordByte(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0;
}

std::string textFor(const std::string& given, const AdaptedText& adapted) {
  return adapted.isChanged ? adapted.text.text() : given;
}

// Prepares and converts the adapted text as the plug-in does, and reads the markup. Fails if it is
// refused.
Spoken spokenOf(const std::string& given, const AdaptedText& adapted,
                const SpeechMgrEnv& settings) {
  std::string text = textFor(given, adapted);
  for (char& c : text) {
    if (c == '\0') c = ' ';
  }
  PositionMap prepared;
  const std::string latin9 =
      PreprocessText(reinterpret_cast<unsigned char*>(text.data()), &prepared);
  AppleMarkupConverter converter(latin9, AppleMarkupConverter::SSML, settings);
  const std::string markup = converter.getConvertedText();
  const PositionMap origins = converter.getPositions().composeAfter(prepared);
  Spoken spoken;
  bool inPhonemes = false;
  bool inWord = false;
  for (std::size_t at = 0; at < markup.size(); ++at) {
    if (markup[at] == '<') {
      const std::size_t end = markup.find('>', at);
      const std::string_view tag = std::string_view(markup).substr(at, end - at);
      if (tag.starts_with("<phoneme")) inPhonemes = true;
      if (tag.starts_with("</phoneme")) inPhonemes = false;
      if (tag.starts_with("<mark name='")) {
        const std::string name(tag.substr(12));
        const long number = std::strtol(name.c_str(), nullptr, 10);
        spoken.marks.push_back(static_cast<std::uint32_t>(number) >> 16U);
      }
      at = end;
      // Tags do not end words.
      continue;
    }
    if (inPhonemes || !isWordByte(markup[at])) {
      inWord = false;
      continue;
    }
    const std::size_t position = origins.origin(static_cast<std::uint32_t>(at));
    if (!inWord) {
      spoken.words.push_back({"", adapted.isChanged ? adapted.text.originOf(position) : position});
    }
    spoken.words.back().text += markup[at];
    inWord = true;
  }
  return spoken;
}

void expectAllMarks(const AdaptedText& adapted, const Spoken& spoken) {
  ASSERT_EQ(spoken.marks.size(), adapted.syncValues.size());
  for (std::size_t i = 0; i < spoken.marks.size(); ++i) {
    EXPECT_EQ(spoken.marks[i], platform::syncNumber(i));
  }
}

// ---- Any text

// Letters and digits outside commands stand at their origin in the caller's text.
void expectOrigins(const std::string& given, const AdaptedText& adapted) {
  if (!adapted.isChanged) return;
  const std::string& text = adapted.text.text();
  std::size_t last = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const std::size_t origin = adapted.text.originOf(at);
    EXPECT_GE(origin, last);
    EXPECT_LE(origin, given.size());
    last = origin;
    if (text.compare(at, 2, "[[") == 0) at = text.find("]]", at) + 1;
    if (isWordByte(text[at]) && origin < given.size()) {
      EXPECT_EQ(text[at], given[origin]);
    }
  }
}

TEST(AdaptedConversion, RefusesNoTextAndKeepsOrigins) {
  for (unsigned int seed = firstSeed(), end = seed + 4000; seed != end; ++seed) {
    RandomTexts random(seed);
    const std::string given = random.text(seed % 7 == 0 ? 40 : 10);
    SCOPED_TRACE("seed " + std::to_string(seed) + ": " + given);
    SpeechMgrEnv environment;
    environment.speakPhones = random.below(8) == 0;
    environment.spellOut = random.below(8) == 0;
    environment.pitchBase = 43;
    TextSettings settings;
    settings.startsInPhonemes = environment.speakPhones;
    settings.pitchBase = 43;
    const AdaptedText adapted = adaptText(given, settings);
    expectOrigins(given, adapted);
    ASSERT_NO_THROW({
      const Spoken spoken = spokenOf(given, adapted, environment);
      expectAllMarks(adapted, spoken);
    }) << textFor(given, adapted);
    // What is adapted once needs nothing more. (Other delimiters are not set again.)
    if (adapted.isChanged && given.find("dlim") == std::string::npos) {
      EXPECT_TRUE(adaptText(adapted.text.text(), settings).problems.empty());
    }
    if (HasFailure()) return;
  }
}

// ---- Texts of which the words are known

// A text, and what is heard of it.
class KnownText {
 public:
  explicit KnownText(unsigned int seed) : m_random(seed) {
    for (std::size_t i = 5 + m_random.below(60); i > 0; --i) addPiece();
  }

  std::string text;
  std::vector<SpokenWord> words;
  std::vector<std::uint32_t> syncs;

 private:
  enum class Input { Text, Phonemes, Tune };

  void addPiece() {
    switch (m_random.below(6)) {
      case 0:
      case 1:
        return addCommand();
      case 2:
        return m_bracketIsOpen ? addWord() : addDebris();
      default:
        return addWord();
    }
  }

  void addWord() {
    const std::string word = "word" + std::to_string(++m_count);
    if (m_input == Input::Text && !m_skipsText && !m_skipsWord) {
      words.push_back({word, text.size()});
    }
    text += word + (m_random.below(5) == 0 ? "\n" : ". ");
  }

  // An open bracket without a command swallows nothing if the next bracket opens a command.
  void addDebris() {
    constexpr std::array<std::string_view, 8> kOpening = {"[[ ",         "[[\n", "[[frob ", "[[[ ",
                                                          "[[ rate of ", "[[; ", "[[+",     "[["};
    constexpr std::array<std::string_view, 9> kHarmless = {"[ ",     "] ", "; ", "]] ", "]",
                                                           "& < > ", "$ ", "'",  "\t"};
    if (m_random.below(2) == 0) {
      text += pick(kHarmless);
      return;
    }
    text += pick(kOpening);
    m_bracketIsOpen = true;
  }

  void addCommand() {
    constexpr std::array<std::string_view, 36> kCommands = {
        "rate 200",  "RATE +20",  "rate - 5.5", "pbas 50",   "pbas +0.5", "pmod 3",
        "volm 0.5",  "volm +.1",  "emph +",     "emph -",    "emph +",    "slnc 30",
        "slnc 1e2",  "char LTRL", "char norm",  "nmbr LTRL", "nmbr norm", "cmnt a & b",
        "cmnt",      "vers 1",    "xtnd a",     "frob 1",    "rate x",    "slnc soon",
        "inpt PHON", "inptTEXT",  "inpt tune",  "ctxt WSKP", "ctxt tskp", "ctxtWORD",
        "ctxt TEXT", "ctxt NORM", "rset 0",     "RSET",      " slnc 5 ",  "sync"};
    m_bracketIsOpen = false;
    text += "[[";
    for (std::size_t more = m_random.below(3);; --more) {
      if (m_random.below(6) == 0) {
        addSync();
      } else {
        const std::string_view command = pick(kCommands);
        text += command;
        obey(command);
      }
      if (more == 0) break;
      text += m_random.below(2) == 0 ? ";" : "; ";
    }
    text += "]]";
    if (m_random.below(3) == 0) text += ' ';
  }

  void addSync() {
    const auto value = static_cast<std::uint32_t>(m_random.below(std::size_t{1} << 32U));
    syncs.push_back(value);
    std::array<char, 16> hexadecimal{};
    std::snprintf(hexadecimal.data(), hexadecimal.size(), "%x", value);
    switch (m_random.below(3)) {
      case 0:
        text += "sync " + std::to_string(value);
        return;
      case 1:
        text += "sync $" + std::string(hexadecimal.data());
        return;
      default:
        text += "SYNC 0x" + std::string(hexadecimal.data());
    }
  }

  void obey(std::string_view command) {
    if (command == "inpt PHON") m_input = Input::Phonemes;
    if (command == "inpt tune") m_input = Input::Tune;
    if (command == "inptTEXT") m_input = Input::Text;
    if (command == "ctxt tskp") m_skipsText = true;
    if (command == "ctxt WSKP") m_skipsWord = true;
    if (command == "ctxt TEXT") m_skipsText = false;
    if (command == "ctxtWORD") m_skipsWord = false;
    if (command == "ctxt NORM" || command == "rset 0" || command == "RSET") {
      m_skipsText = m_skipsWord = false;
    }
    if (command == "rset 0" || command == "RSET") m_input = Input::Text;
  }

  template <typename List>
  std::string_view pick(const List& list) {
    return list[m_random.below(list.size())];
  }

  RandomTexts m_random;
  Input m_input = Input::Text;
  bool m_skipsText = false;
  bool m_skipsWord = false;
  bool m_bracketIsOpen = false;
  int m_count = 0;
};

std::vector<std::string> linesOf(const std::vector<SpokenWord>& words) {
  std::vector<std::string> lines;
  for (const SpokenWord& word : words) {
    // Debris has words of its own.
    if (!word.text.starts_with("word")) continue;
    lines.push_back(word.text + " at " + std::to_string(word.position));
  }
  return lines;
}

TEST(AdaptedConversion, LosesNoWordOutsideCommandsAndNoMark) {
  for (unsigned int seed = firstSeed(), end = seed + 4000; seed != end; ++seed) {
    const KnownText known(seed);
    SCOPED_TRACE("seed " + std::to_string(seed) + ": " + known.text);
    const AdaptedText adapted = adaptText(known.text, {});
    EXPECT_EQ(adapted.syncValues, known.syncs);
    ASSERT_NO_THROW({
      const Spoken spoken = spokenOf(known.text, adapted, {});
      EXPECT_EQ(linesOf(spoken.words), linesOf(known.words));
      expectAllMarks(adapted, spoken);
    }) << textFor(known.text, adapted);
    if (HasFailure()) {
      ADD_FAILURE() << "adapted: " << textFor(known.text, adapted);
      return;
    }
  }
}

TEST(AdaptedConversion, AcceptsAnyNumberOfPhonemeRegions) {
  std::string given;
  for (int i = 0; i < 3000; ++i) given += "[[inpt PHON]]%@%@%@AEy[[inpt TEXT]]x ";
  ASSERT_NO_THROW(EXPECT_EQ(spokenOf(given, adaptText(given, {}), {}).words.size(), 3000U));
}

// ---- The collection

TEST(AdaptedConversion, SpeaksEveryTextOfTheCollection) {
  std::ifstream file(KAVREL_TEXTS);
  const auto texts = nlohmann::json::parse(file);
  EXPECT_GE(texts.size(), 60U);
  for (const auto& entry : texts) {
    const auto given = entry.at("text").get<std::string>();
    SCOPED_TRACE(given);
    const AdaptedText adapted = adaptText(given, {});
    EXPECT_EQ(adapted.problems.size(), entry.value("reports", 0U));
    EXPECT_EQ(adapted.syncValues, entry.value("syncs", std::vector<std::uint32_t>()));
    ASSERT_NO_THROW({
      const Spoken spoken = spokenOf(given, adapted, {});
      expectAllMarks(adapted, spoken);
      std::string heard = " ";
      for (const SpokenWord& word : spoken.words) heard += word.text + " ";
      // Each expected word, in order, with any others between them.
      std::istringstream expected(entry.at("heard").get<std::string>());
      std::size_t from = 0;
      for (std::string word; expected >> word;) {
        const std::size_t at = heard.find(" " + word + " ", from);
        ASSERT_NE(at, std::string::npos) << word << " in" << heard;
        from = at + 1;
      }
    }) << textFor(given, adapted);
  }
}

}  // namespace

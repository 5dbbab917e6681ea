// SPDX-License-Identifier: Apache-2.0
//
// Texts with which espeak-ng writes beyond its buffers, takes long or returns much, and texts that
// change language: in every voice each is spoken, or the word to blame is silent; the events are
// complete, and the client lives. The sandbox refuses nothing that a voice needs.
#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "languages/Languages.h"
#include "languages/Samples.h"
#include "synth_host/HostFolder.h"

namespace {

using namespace hosts;
namespace fs = std::filesystem;

// UTF-8 as the engine's text, in which other characters than ASCII are entities.
std::string entities(std::string_view utf8) {
  std::string text;
  for (const char32_t character : languages::charactersOf(utf8)) {
    const auto code = static_cast<std::uint32_t>(character);
    if (code < 0x80) {
      text += static_cast<char>(code);
    } else {
      text += "&#" + std::to_string(code) + ";";
    }
  }
  return text;
}

std::string repeated(std::string_view piece, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += piece;
  return text;
}

// The words are separated by blanks and have no other punctuation than full stops.
struct OddText {
  const char* name;
  std::string text;
};

std::vector<OddText> oddTexts(int longWord) {
  return {
      {"a suffix with an apostrophe", "One '-a two. Genitiv '-s and '-a."},
      {"79 letters", "One " + entities(repeated("\u00E9", 79)) + "as two."},
      {"Burmese", entities("One \u1019\u103C\u1014\u103A\u1019\u102C two.")},
      {"emoji", "One " + entities(repeated("\U0001F600", 172)) + " two."},
      {"groups of digits",
       "<prosody rate=\"80\">" + repeated("987654321 ", 65) + "</prosody> two."},
      {"digits", "<prosody rate=\"80\">One " + repeated("8", 650) + " two.</prosody>"},
      {"a long word", "One " + repeated("ab", longWord / 2) + " two."},
      {"several languages",
       entities("One \u043F\u0440\u0438\u0432\u0435\u0442 \u03B3\u03B5\u03B9\u03B1 "
                "\u4F60\u597D \u0645\u0631\u062D\u0628\u0627 \u05E9\u05DC\u05D5\u05DD two.")},
  };
}

// The text without tags and blanks, apostrophes, hyphens and full stops.
std::string lettersOf(std::string_view text) {
  std::string letters;
  bool isTag = false;
  for (const char c : text) {
    isTag = isTag || c == '<';
    if (!isTag && std::string_view(" .'-").find(c) == std::string_view::npos) letters += c;
    if (c == '>') isTag = false;
  }
  return letters;
}

// A job's events: START first, END last, no ERROR, and every letter of the text in exactly one
// word, in order.
void expectComplete(const std::vector<std::string>& events, const std::string& text,
                    const std::string& what) {
  ASSERT_FALSE(events.empty()) << what;
  EXPECT_TRUE(events.front().starts_with("512 ")) << what;
  std::string letters;
  std::size_t end = 0;
  for (const std::string& event : events) {
    EXPECT_FALSE(event.starts_with("2 ")) << what << ": " << event;
    std::size_t start = 0;
    std::size_t length = 0;
    if (std::sscanf(event.c_str(), "32 %zu %zu", &start, &length) != 2) continue;
    EXPECT_GE(start, end) << what << ": " << event;
    ASSERT_LE(start + length, text.size()) << what;
    end = start + length;
    letters += text.substr(start, length);
  }
  EXPECT_EQ(lettersOf(letters), lettersOf(text)) << what;
}

// A folder with a voice that is not offered.
std::string voiceFolder(const HostFolder& folder, const std::string& language) {
  fs::create_directory(folder.file(language));
  folder.write(language + "/kavrel.voice",
               "format = 1\nname = Test\nlanguage = " + language +
                   "\npitch.offset = 19.3\npitch.range = 0.272\npitch.scale = 34.7\n"
                   "pitch.spread = 0.54\npitch.lowest = 68\npitch.highest = 170\n");
  return folder.file(language);
}

// The folders of all voices that are offered, by their language.
std::multimap<std::string, std::string> offeredVoices() {
  std::multimap<std::string, std::string> voices;
  for (const auto& entry : fs::directory_iterator(KAVREL_VOICES_DIR)) {
    std::istringstream lines(program::contentsOf(entry.path() / "kavrel.voice"));
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with("language = ")) voices.emplace(line.substr(11), entry.path().string());
    }
  }
  EXPECT_GT(voices.size(), 20u);
  return voices;
}

// One host speaks all texts.
void expectAllSpoken(const HostFolder& folder, const std::string& voice, int longWord) {
  std::vector<std::string> steps = {"voice=" + voice, "file=" + folder.file("audio")};
  const std::vector<OddText> texts = oddTexts(longWord);
  for (const OddText& odd : texts) {
    steps.push_back("text-file=" + folder.write(odd.name, odd.text));
    steps.push_back("speak");
  }
  const program::Result result = folder.run(steps);
  EXPECT_EQ(result.status, 0) << voice << ' ' << result.signal << ' ' << result.err;
  std::vector<std::string> events;
  std::size_t job = 0;
  for (const std::string& line : linesOf(result.out)) {
    events.push_back(line);
    if (!line.starts_with("1024 ") || job >= texts.size()) continue;
    expectComplete(events, texts[job].text, voice + ", " + texts[job].name);
    events.clear();
    ++job;
  }
  EXPECT_EQ(job, texts.size()) << voice;
  EXPECT_TRUE(events.empty()) << voice;
}

}  // namespace

TEST(OddText, IsSpokenOrSkippedBySomeVoices) {
  const HostFolder folder;
  const auto voices = offeredVoices();
  ASSERT_TRUE(voices.contains("da"));
  expectAllSpoken(folder, voices.find("da")->second, 2000);
  expectAllSpoken(folder, voiceFolder(folder, "my"), 2000);
}

TEST(FullOddText, IsSpokenOrSkippedByAllVoices) {
  const HostFolder folder;
  for (const auto& [language, voice] : offeredVoices()) expectAllSpoken(folder, voice, 20'000);
  expectAllSpoken(folder, voiceFolder(folder, "my"), 20'000);
}

TEST(FullOddText, MayBeAWordOfAMegabyte) {
  const HostFolder folder;
  expectAllSpoken(folder, offeredVoices().find("en-us")->second, 1'000'000);
  expectAllSpoken(folder, offeredVoices().find("da")->second, 1'000'000);
}

// ---- The sandbox

namespace {

// Speaks the samples of the languages, and words of other languages, with their voices: no call is
// lost.
void expectNothingLost(const std::multimap<std::string, std::string>& voices) {
  const HostFolder folder;
  const std::string others = oddTexts(2).back().text;
  std::vector<std::string> steps = {"diagnose", "file=" + folder.file("audio")};
  std::size_t jobs = 0;
  const std::vector<languages::Sample> samples = languages::samplesIn(KAVREL_SAMPLES);
  for (const auto& [language, voice] : voices) {
    const auto found = std::ranges::find(samples, language, &languages::Sample::synthesiser);
    ASSERT_NE(found, samples.end()) << language;
    steps.push_back("voice=" + voice);
    steps.push_back("text=" + others + ' ' + entities(found->text));
    steps.push_back("speak");
    ++jobs;
  }
  const program::Result result = folder.run(steps);
  EXPECT_EQ(result.status, 0) << result.signal;
  EXPECT_EQ(linesOf(result.out, "1024").size(), jobs);
  EXPECT_TRUE(linesOf(result.out, "2").empty());
  EXPECT_EQ(result.err.find(" was lost"), std::string::npos) << result.err;
  EXPECT_EQ(result.err.find("not spoken"), std::string::npos) << result.err;
}

}  // namespace

// Languages of each script, some that have crashed, and those that other tests speak most.
TEST(Sandbox, LetsVoicesSpeak) {
  auto voices = offeredVoices();
  std::set<std::string_view> some = {"am", "ar", "bn", "cmn-latn-pinyin",
                                     "el", "ga", "gu", "hi",
                                     "hy", "ka", "kn", "ko",
                                     "ml", "or", "pa", "ru",
                                     "si", "ta", "te"};
  for (const languages::Language& language : languages::all()) some.insert(language.synthesiser);
  std::erase_if(voices, [&some](const auto& voice) { return !some.contains(voice.first); });
  EXPECT_GE(voices.size(), 2 * some.size());
  expectNothingLost(voices);
}

TEST(FullSandbox, LetsAllVoicesSpeak) {
  expectNothingLost(offeredVoices());
}

TEST(Sandbox, RefusesTheSameToAnOrdinaryUser) {
  const HostFolder folder;
  const std::string nobody = "--reuid=65534";
  const program::Result result =
      ::geteuid() == 0
          ? program::run("/usr/bin/setpriv", {nobody, "--regid=65534", "--clear-groups",
                                              folder.synthesiser(), "--self-test"})
          : program::run(folder.synthesiser(), {"--self-test"});
  EXPECT_EQ(result.status, 0) << result.out << result.err;
  EXPECT_EQ(linesOf(result.out).back(), "passed");
  EXPECT_EQ(result.out.find("ALLOWED"), std::string::npos) << result.out;
  EXPECT_GT(linesOf(result.out).size(), 50u);
}

TEST(Sandbox, LetsAnOrdinaryUserSpeak) {
  if (::geteuid() != 0) GTEST_SKIP() << "the other tests speak as an ordinary user";
  const HostFolder folder;
  fs::create_directory(folder.file("out"));
  fs::permissions(folder.file("out"), fs::perms(0777));
  const program::Result result = program::run(
      "/usr/bin/setpriv", {"--reuid=65534", "--regid=65534", "--clear-groups", folder.host(),
                           "file=" + folder.file("out/audio"), "speak"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(linesOf(result.out, "32").size(), 7u);
  EXPECT_TRUE(linesOf(result.out, "2").empty());
}

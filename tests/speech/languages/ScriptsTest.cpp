// SPDX-License-Identifier: Apache-2.0
//
// Texts in several scripts, and words whose marks the synthesiser loses.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kavrel_observer.h"
#include "speakers/PortSpeaker.h"

namespace {

using test::Event;
using test::Folder;
using test::ofType;
using test::readSamples;
using test::Speaker;
using test::texts;

std::string voiceFile(const std::string& language, const std::string& others = {}) {
  return "format = 1\nname = Sample\nlanguage = " + language +
         "\npitch.offset = 19.3\npitch.range = 0.272\npitch.scale = 34.7\n"
         "pitch.spread = 0.54\npitch.lowest = 68\npitch.highest = 170\n" +
         others;
}

class Scripts : public testing::Test {
 protected:
  Scripts() {
    std::string others = "scripts = Latn\n";
    for (const auto& [script, language] : kOthers) {
      const std::string bundle = "voices/" + std::string(script) + ".SpeechVoice";
      std::filesystem::create_directories(folder.path(bundle));
      folder.write(bundle + "/kavrel.voice",
                   voiceFile(std::string(language), "scripts = " + std::string(script) + "\n"));
      others += "voice." + std::string(script) + " = ../" + std::string(script) +
                ".SpeechVoice/kavrel.voice\n";
    }
    std::filesystem::create_directories(folder.path("voices/Own.SpeechVoice"));
    folder.write("voices/Own.SpeechVoice/kavrel.voice", voiceFile("en-us", others));
  }

  // Speaks with the voice of a bundle. The events are in `speaker`, the sound in the file.
  std::vector<Event> speak(Speaker& speaker, const std::string& bundle, std::string_view text) {
    const std::string voice = folder.path("voices/" + bundle + ".SpeechVoice");
    EXPECT_NE(kavrel_port_set_voice_from_dir(speaker.port(), voice.c_str()), nullptr);
    return speaker.speakAll(text, "utf-8");
  }

  static constexpr std::pair<std::string_view, std::string_view> kOthers[] = {
      {"Arab", "ar"}, {"Armn", "hy"}, {"Cyrl", "ru"}, {"Deva", "hi"},
      {"Geor", "ka"}, {"Grek", "el"}, {"Hang", "ko"}, {"Hani", "cmn-latn-pinyin"},
      {"Taml", "ta"}};
  const Folder folder;
};

constexpr std::string_view kMixed =
    "Eight scripts: слово, λέξη, كلمة, բառ, शब्द, სიტყვა, 단어, 文字, சொல், and back.";

// Spelled letter by letter in English, one word takes two seconds and more.
TEST_F(Scripts, OfOneLineTakeSecondsAndKeepTheOrderOfTheWords) {
  Speaker speaker(folder.path("out.aiff"));
  const std::vector<std::string> expected = {"Eight", "scripts", "слово",  "λέξη", "كلمة",
                                             "բառ",   "शब्द",     "სიტყვა", "단어", "文字",
                                             "சொல்",   "and",     "back"};
  EXPECT_EQ(texts(ofType(speak(speaker, "Own", kMixed), KAVREL_EVENT_WORD)), expected);
  const std::size_t mixed = readSamples(folder.path("out.aiff")).size();
  EXPECT_GT(mixed, 4u * 22050);
  EXPECT_LT(mixed, 13u * 22050);
}

TEST_F(Scripts, AreAllSpokenByOneVoiceIfTheTextAsksForIt) {
  kavrel_params* const params = kavrel_params_new(nullptr);
  kavrel_params_set_val(params, KAVREL_KEY_ONE_VOICE, kavrel_val_int(1));
  Speaker speaker(folder.path("out.aiff"));
  const std::string voice = folder.path("voices/Own.SpeechVoice");
  ASSERT_NE(kavrel_port_set_voice_from_dir(speaker.port(), voice.c_str()), nullptr);
  const std::vector<Event> events = speaker.speakAll("Слово.", "utf-8", params);
  kavrel_params_delete(params);
  EXPECT_EQ(texts(ofType(events, KAVREL_EVENT_WORD)), std::vector<std::string>{"Слово"});
  const std::size_t spelled = readSamples(folder.path("out.aiff")).size();
  Speaker other(folder.path("other.aiff"));
  speak(other, "Own", "Слово.");
  EXPECT_GT(spelled, 2 * readSamples(folder.path("other.aiff")).size());
}

TEST_F(Scripts, WithoutAVoiceAreSpokenByTheOwnVoice) {
  std::filesystem::remove_all(folder.path("voices/Cyrl.SpeechVoice"));
  Speaker speaker(folder.path("out.aiff"));
  const std::vector<Event> events = speak(speaker, "Own", "One слово two.");
  EXPECT_EQ(texts(ofType(events, KAVREL_EVENT_WORD)),
            (std::vector<std::string>{"One", "слово", "two"}));
  EXPECT_TRUE(ofType(events, KAVREL_EVENT_ERROR).empty());
}

// ---- Lost marks

struct Times {
  std::vector<std::uint64_t> samples;  // of the words
};

void noteWord(const kavrel_observation* observation, void* user) {
  if (observation->type == KAVREL_EVENT_WORD) {
    static_cast<Times*>(user)->samples.push_back(observation->sample);
  }
}

// espeak-ng reports no mark, or a late one, for many words that begin with these letters.
TEST_F(Scripts, OfKoreanHaveEachWordAtATimeOfItsOwn) {
  const std::string text =
      "나는 너의 마음을 내일 만나 나무 아래 물을 마시며 네 말을 모두 남김없이 나누고 먼 나라로 "
      "날마다 문을 나서는 누나의 노래를 매일 만들어 낸다.";
  Times times;
  ASSERT_EQ(kavrel_set_observer(noteWord, &times), KAVREL_SUCCESS);
  Speaker speaker(folder.path("out.aiff"));
  const std::vector<Event> words = ofType(speak(speaker, "Hang", text), KAVREL_EVENT_WORD);
  kavrel_set_observer(nullptr, nullptr);
  EXPECT_EQ(words.size(), 24u);
  EXPECT_TRUE(std::ranges::is_sorted(words, {}, &Event::start));
  ASSERT_EQ(times.samples.size(), words.size());
  EXPECT_EQ(times.samples.front(), 0u);
  // At least 50 ms for each word.
  for (std::size_t i = 1; i < times.samples.size(); ++i) {
    EXPECT_GT(times.samples[i], times.samples[i - 1] + 1102) << words[i].text;
  }
}

}  // namespace

// SPDX-License-Identifier: Apache-2.0
//
// Which voice speaks which words of a text in several scripts, and the calls that follow from it.
#include "synth/script_voices.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "synth/plan.h"
#include "synth/voice.h"
#include "text/sentence.h"

using kavrel::Plan;
using kavrel::ScriptVoices;
using kavrel::Sentence;
using kavrel::SynthCall;
using kavrel::Voice;
using testing::ElementsAre;

namespace {

// A voice with the limits of a man's and, unless `low`, twice the pitch.
Voice voiceOf(const std::string& language, const std::string& scripts, bool low = true) {
  const std::string pitch = low ? "pitch.scale = 34.7\npitch.lowest = 68\npitch.highest = 170\n"
                                : "pitch.scale = 69.4\npitch.lowest = 102\npitch.highest = 307\n";
  Voice voice;
  std::string why;
  EXPECT_TRUE(voice.parse("format = 1\nname = a\nlanguage = " + language +
                              "\npitch.offset = 19.3\npitch.range = 0.272\npitch.spread = 0.54\n" +
                              pitch + "scripts = " + scripts +
                              "\nvoice.Cyrl = ../Lev.SpeechVoice/kavrel.voice\n"
                              "voice.Grek = ../Leda.SpeechVoice/kavrel.voice\n",
                          why))
      << why;
  voice.setFolder("/voices/Own.SpeechVoice");
  return voice;
}

const Voice kOwn = voiceOf("en-us", "Latn");
const Voice kRussian = voiceOf("ru", "Cyrl", false);
const Voice kGreek = voiceOf("grc", "Grek");

Sentence sentenceOf(const std::string& text) {
  kavrel::SentenceReader reader(text, kavrel::Encoding::Utf8, "en");
  Sentence sentence;
  EXPECT_TRUE(reader.next(sentence));
  return sentence;
}

// Loads the voices above, and notes the folders.
struct Loader {
  ScriptVoices::Load load() {
    return [this](const std::string& folder, std::string& why) -> const Voice* {
      folders.push_back(folder);
      why = "is not there";
      if (folder == "/voices/Own.SpeechVoice/../Lev.SpeechVoice") return &kRussian;
      if (hasGreek && folder == "/voices/Own.SpeechVoice/../Leda.SpeechVoice") return &kGreek;
      return nullptr;
    };
  }

  bool hasGreek = true;
  std::vector<std::string> folders;
};

// The first letter of the language of the voice of each item.
std::string voicesIn(const std::string& text) {
  const Sentence sentence = sentenceOf(text);
  Loader loader;
  ScriptVoices voices(kOwn, loader.load());
  std::string letters;
  for (const Voice* voice : voices.of(sentence)) letters += voice->language()[0];
  return letters;
}

}  // namespace

TEST(ScriptVoices, AreTheirOwnForTheirScriptAndForLatin) {
  EXPECT_EQ(voicesIn("One word, \u00E9t\u00E9 \u2014 5 \U0001F600 \uFB01n."), "");
  EXPECT_EQ(voicesIn("One \u0441\u043B\u043E\u0432\u043E \u03BB\u03AD\u03BE\u03B7 two."), "erge");
}

TEST(ScriptVoices, OfAWordAreThoseOfItsFirstLetterThatIsNotLatin) {
  EXPECT_EQ(voicesIn("one USB-\u043A\u0430\u0431\u0435\u043B\u044C \u00AB\u0434\u0430\u00BB"),
            "err");
}

TEST(ScriptVoices, OfNumbersAreThoseOfTheNextWordElseOfTheOneBefore) {
  EXPECT_EQ(voicesIn("\u0434\u0430 5 apples 6 \u0434\u0430 7 8."), "reerrrr");
}

TEST(ScriptVoices, OfASingleGreekLetterAreTheirOwn) {
  EXPECT_EQ(voicesIn("2 \u03C0 r"), "");
  EXPECT_EQ(voicesIn("\u03B7 \u03BB\u03AD\u03BE\u03B7 one"), "gge");
}

TEST(ScriptVoices, OfMarksAreThoseOfTheWordBefore) {
  EXPECT_EQ(voicesIn("<mark name='1'/> \u0434\u0430 <mark name='2'/> one <mark name='3'/>"),
            "erree");
}

TEST(ScriptVoices, OfOtherScriptsAreTheirOwn) {
  EXPECT_EQ(voicesIn("one \u0562\u0561\u057C one"), "");
}

TEST(ScriptVoices, AreLoadedOnce) {
  Loader loader;
  loader.hasGreek = false;
  ScriptVoices voices(kOwn, loader.load());
  const Sentence greek = sentenceOf("\u03BB\u03AD\u03BE\u03B7 \u03BB\u03AD\u03BE\u03B7");
  EXPECT_TRUE(voices.of(greek).empty());
  EXPECT_TRUE(voices.of(greek).empty());
  const Sentence russian = sentenceOf("\u0434\u0430 \u0434\u0430");
  EXPECT_THAT(voices.of(russian), ElementsAre(&kRussian, &kRussian));
  EXPECT_THAT(voices.of(russian), ElementsAre(&kRussian, &kRussian));
  EXPECT_THAT(loader.folders, ElementsAre("/voices/Own.SpeechVoice/../Leda.SpeechVoice",
                                          "/voices/Own.SpeechVoice/../Lev.SpeechVoice"));
}

TEST(ScriptVoices, CanBeOne) {
  ScriptVoices voices(kOwn);
  EXPECT_TRUE(voices.of(sentenceOf("\u0434\u0430")).empty());
}

TEST(ScriptVoices, SpeakCallsOfTheirOwnAtTheSamePitch) {
  const Sentence sentence =
      sentenceOf("One <mark name='m'/>\u0434\u0430, two <prosody pitch='130'>three \u0434\u0430.");
  Loader loader;
  ScriptVoices voices(kOwn, loader.load());
  Plan plan(sentence, kOwn, voices.of(sentence));
  std::vector<SynthCall> calls;
  SynthCall call;
  while (plan.next(call)) calls.push_back(call);
  ASSERT_EQ(calls.size(), 4u);
  EXPECT_EQ(calls[0].voice, &kOwn);
  EXPECT_THAT(calls[0].marks, ElementsAre(0, 1));
  EXPECT_FALSE(calls[0].input.endPause);
  EXPECT_EQ(calls[0].input.settings.pitch, 50);
  EXPECT_EQ(calls[1].voice, &kRussian);
  EXPECT_THAT(calls[1].marks, ElementsAre(2));
  EXPECT_TRUE(calls[1].input.endPause);  // after the comma
  EXPECT_EQ(calls[1].input.settings.pitch, kRussian.pitchFor(kOwn.ownPitch(), 50));
  EXPECT_LT(calls[1].input.settings.pitch, 10);
  EXPECT_EQ(calls[2].voice, &kOwn);
  EXPECT_THAT(calls[2].marks, ElementsAre(3, 4));
  EXPECT_EQ(calls[3].input.settings.pitch, kRussian.pitchFor(130, 50));
  EXPECT_TRUE(calls[3].input.endPause);
}

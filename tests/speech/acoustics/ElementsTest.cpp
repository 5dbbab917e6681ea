// SPDX-License-Identifier: Apache-2.0
//
// Emphasis, spelling, breaks, marks and phonemes, measured in the audio.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Recording.h"
#include "acoustics/Pitch.h"

using acoustics::level;
using test::record;
using test::Recording;

namespace {

std::string words(const std::string& text) {
  return record(text).names(KAVREL_EVENT_WORD);
}

std::string phones(const std::string& text) {
  std::string all = record(text).names(KAVREL_EVENT_PHONEME);
  while (all.ends_with(" pau")) all.resize(all.size() - 4);
  return all;
}

// The length of the speech with `tags` before "two".
double lengthened(const std::string& tags) {
  return record("One " + tags + "two.").sound().seconds() -
         record("One <break/>two.").sound().seconds();
}

std::string spelt(const std::string& text) {
  return "<say-as type='spell-out'>" + text + "</say-as>";
}

std::string digits(const std::string& text) {
  return "<say-as interpret-as='digits'>" + text + "</say-as>";
}

}  // namespace

TEST(Emphasis, IsLouderAndLonger) {
  const Recording plain = record("A single green boat lay there.");
  const Recording found =
      record("A single <emphasis strength='strong'>green</emphasis> boat lay there.");
  EXPECT_GT(level(found.word("green")), 1.4 * level(plain.word("green")));
  EXPECT_GT(found.word("green").seconds(), 1.05 * plain.word("green").seconds());
  for (const char* const word : {"boat", "lay", "there"}) {
    EXPECT_NEAR(level(found.word(word)) / level(plain.word(word)), 1, 0.15) << word;
  }
}

TEST(Emphasis, IsStrongOrNone) {
  const double plain = level(record("Green boats.").heard());
  EXPECT_NEAR(level(record("<emphasis>Green boats.</emphasis>").heard()) / plain, 1, 0.05);
  EXPECT_NEAR(level(record("<emphasis strength='none'>Green boats.</emphasis>").heard()) / plain, 1,
              0.05);
}

TEST(SpellOut, SpeaksTheNamesOfTheLetters) {
  EXPECT_EQ(phones(spelt("cat")), "s i ey t i");
  EXPECT_EQ(phones("cat"), "k ae t");
  EXPECT_EQ(phones(spelt("NASA")), "eh n ey eh s ey");
  EXPECT_EQ(phones(spelt("a")), "ey");
  EXPECT_EQ(words(spelt("cat dog") + " end"), "cat dog end");
}

TEST(SpellOut, AppliesInsideItsElementOnly) {
  EXPECT_EQ(phones("cat " + spelt("cat") + " cat"), "k ae t pau pau s i ey t i k ae t");
}

TEST(SpellOut, TakesAsLongAsItsLetters) {
  const double one = record(spelt("b")).heard().seconds();
  const double eight = record(spelt("bbbbbbbb")).heard().seconds();
  EXPECT_GT(eight, 4 * one);
}

TEST(Digits, AreSpokenOneByOne) {
  EXPECT_EQ(phones(digits("1984")), phones("1 9 8 4"));
  EXPECT_NE(phones("1984"), phones("1 9 8 4"));
  EXPECT_EQ(phones(digits("cat")), phones("cat"));
  EXPECT_EQ(words("Call " + digits("5551212") + ", now"), "Call 5551212 now");
}

TEST(Digits, ApplyInsideTheirElementOnly) {
  EXPECT_EQ(phones("19 " + digits("19") + " 19"), phones("19 1 9 19"));
}

TEST(Numbers, KeepTheirSignInsideASentence) {
  EXPECT_NE(phones("at -5 degrees").find(phones("minus")), std::string::npos);
}

TEST(Break, LastsForItsTime) {
  EXPECT_NEAR(lengthened("<break time='500ms'/>"), 0.5, 0.005);
  EXPECT_NEAR(lengthened("<break time='10ms'/>"), 0.01, 0.005);
  EXPECT_NEAR(lengthened("<break time='1.5s'/>"), 1.5, 0.005);
  EXPECT_NEAR(lengthened("<break time='1.25e2ms'/>"), 0.125, 0.005);
  EXPECT_NEAR(lengthened("<break time=\"0.3s\"></break>"), 0.3, 0.005);
  EXPECT_NEAR(lengthened("<break time='0ms'/>"), 0, 0.005);
  EXPECT_NEAR(lengthened("<break time='-5ms'/>"), 0, 0.005);
}

TEST(Break, AddsToTheNext) {
  EXPECT_NEAR(lengthened("<break time='100ms'/><break time='250ms'/> <break time='50ms'/>"), 0.4,
              0.005);
}

TEST(Break, MayBeAtTheBeginningAndTheEnd) {
  const double plain = record("One.").sound().seconds();
  EXPECT_NEAR(record("<break time='400ms'/>One.").sound().seconds(), plain + 0.4, 0.01);
  EXPECT_NEAR(record("One.<break time='400ms'/>").sound().seconds(),
              record("One.<break/>").sound().seconds() + 0.4, 0.005);
  EXPECT_NEAR(record("One. <break time='400ms'/>").sound().seconds(), plain + 0.4, 0.01);
  EXPECT_NEAR(record("<break time='400ms'/>").sound().seconds(), 0.4, 0.001);
}

TEST(Break, IsSilent) {
  const Recording found = record("One <break time='2s'/>two.");
  const auto silences = acoustics::silences(found.sound(), 1.9);
  ASSERT_EQ(silences.size(), 1u);
  EXPECT_LT(silences[0].length(), 2.2);
}

TEST(Break, IsNotChangedByTheRate) {
  const auto length = [](const char* tags) {
    return record(test::prosody("rate='360'", std::string("One ") + tags + "two."))
        .sound()
        .seconds();
  };
  EXPECT_NEAR(length("<break time='500ms'/>") - length("<break/>"), 0.5, 0.005);
}

TEST(Mark, IsReportedOnceAtItsPosition) {
  const Recording found = record(
      "<mark name='1'/>One <mark name='2'/><mark name='3'/>two.<mark name='4'/> "
      "<emphasis strength='strong'><mark name='5'/>Three</emphasis> four<mark name='6'/>");
  EXPECT_EQ(found.names(KAVREL_EVENT_BOOKMARK), "1 2 3 4 5 6");
  const auto marks = found.events(KAVREL_EVENT_BOOKMARK);
  const auto spoken = found.events(KAVREL_EVENT_WORD);
  ASSERT_EQ(spoken.size(), 4u);
  EXPECT_EQ(marks[0].sample, spoken[0].sample);
  EXPECT_EQ(marks[1].sample, spoken[1].sample);
  EXPECT_EQ(marks[2].sample, spoken[1].sample);
  EXPECT_GT(marks[3].sample, spoken[1].sample);
  EXPECT_LE(marks[3].sample, spoken[2].sample);
  // Switching emphasis on takes some samples.
  EXPECT_NEAR(static_cast<double>(marks[4].sample), static_cast<double>(spoken[2].sample), 441);
  EXPECT_GT(marks[5].sample, spoken[3].sample);
}

TEST(Mark, InsideAWordIsReportedWhileTheWordIsSpoken) {
  const Recording found = record("Some extra<mark name='1'/>ordinary boat.");
  EXPECT_EQ(found.names(KAVREL_EVENT_WORD), "Some extraordinary boat");
  const auto spoken = found.events(KAVREL_EVENT_WORD);
  const auto mark = found.events(KAVREL_EVENT_BOOKMARK).at(0);
  const double share = static_cast<double>(mark.sample - spoken[1].sample) /
                       static_cast<double>(spoken[2].sample - spoken[1].sample);
  EXPECT_NEAR(share, 5.0 / 13, 0.02);
}

TEST(Phoneme, SpeaksItsPhonesInsteadOfItsText) {
  const Recording found = record("say <phoneme ph='h eh0 l ow1'>nothing like it</phoneme> now");
  EXPECT_EQ(found.names(KAVREL_EVENT_WORD), "say nothing like it now");
  EXPECT_NE(found.names(KAVREL_EVENT_PHONEME).find("h eh l ow"), std::string::npos);
}

TEST(Phoneme, AppliesSettingsThatOpenInside) {
  const auto spoken = [](const std::string& open, const std::string& close) {
    return record("<phoneme ph='h eh0 l ow1'>" + open + "hEHl1OW" + close + "</phoneme>");
  };
  const Recording plain = spoken("", "");
  const Recording quiet = spoken("<prosody volume='30'>", "</prosody>");
  const Recording slow = spoken("<prosody rate='100'>", "</prosody>");
  EXPECT_NEAR(level(quiet.heard()) / level(plain.heard()), 0.3, 0.03);
  EXPECT_GT(slow.heard().seconds(), 1.4 * plain.heard().seconds());
  EXPECT_EQ(slow.events(KAVREL_EVENT_WORD).size(), 1u);
}

TEST(Phoneme, SkipsUnknownPhones) {
  EXPECT_EQ(phones("<phoneme ph='h qq eh0 l q1 ow1'>x</phoneme>"),
            phones("<phoneme ph='h eh0 l ow1'>x</phoneme>"));
}

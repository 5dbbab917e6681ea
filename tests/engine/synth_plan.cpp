// SPDX-License-Identifier: Apache-2.0
//
// What the synthesiser is asked for, and how speech is laid out in time.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "synth/plan.h"
#include "synth/voice.h"
#include "text/sentence.h"

using kavrel::Item;
using kavrel::Plan;
using kavrel::Sentence;
using kavrel::Step;
using kavrel::Style;

namespace {

Item word(const std::wstring& text, const Style& style = {}) {
  Item item;
  item.text = text;
  item.style = style;
  return item;
}

Item pause(std::uint32_t milliseconds) {
  Item item;
  item.kind = Item::Kind::Break;
  item.milliseconds = milliseconds;
  return item;
}

std::vector<Step> planned(const std::vector<Item>& items, bool ends = true) {
  Sentence sentence;
  sentence.items = items;
  sentence.ends = ends;
  Plan plan(sentence, kavrel::defaultVoice());
  std::vector<Step> steps;
  Step step;
  while (plan.next(step)) steps.push_back(step);
  return steps;
}

// The call's text with its commands made visible.
std::string visible(const Step& step) {
  std::string text;
  for (const wchar_t c : step.input.text) text += c == 1 ? '^' : static_cast<char>(c);
  return text;
}

std::vector<std::size_t> allMarks(const std::vector<Step>& steps) {
  std::vector<std::size_t> marks;
  for (const Step& step : steps) marks.insert(marks.end(), step.marks.begin(), step.marks.end());
  return marks;
}

Style style(void (*change)(Style&)) {
  Style result;
  change(result);
  return result;
}

}  // namespace

TEST(SynthPlan, PutsAMarkInFrontOfEveryWord) {
  const auto steps = planned({word(L"Hello,"), word(L"world.")});
  ASSERT_EQ(steps.size(), 1u);
  EXPECT_EQ(visible(steps[0]), "^1M Hello, ^2M world. ");
  EXPECT_EQ(steps[0].marks, (std::vector<std::size_t>{0, 1}));
  EXPECT_TRUE(steps[0].audible);
  EXPECT_TRUE(steps[0].input.endPause);
  EXPECT_EQ(steps[0].input.settings, (kavrel::Synthesiser::Settings{180, 50, 50}));
}

TEST(SynthPlan, LeavesThePauseOutWhenTheSentenceGoesOn) {
  EXPECT_FALSE(planned({word(L"Hello")}, false)[0].input.endPause);
}

TEST(SynthPlan, EndsACallAtABreak) {
  const auto steps = planned({word(L"One"), pause(20), word(L"two.")});
  ASSERT_EQ(steps.size(), 3u);
  EXPECT_FALSE(steps[0].input.endPause);
  EXPECT_TRUE(steps[1].isBreak);
  EXPECT_EQ(steps[1].breakItem, 1u);
  EXPECT_EQ(visible(steps[2]), "^1M two. ");
  EXPECT_EQ(steps[2].marks, std::vector<std::size_t>{2});
}

TEST(SynthPlan, TakesTheFirstWordsStyleAsSettingAndLaterOnesAsCommands) {
  const Style slow = style([](Style& s) { s.rate = 80; });
  const Style high = style([](Style& s) { s.pitch = 150; });
  const auto steps = planned({word(L"a", slow), word(L"b", high)});
  EXPECT_EQ(steps[0].input.settings.rate, 80);
  EXPECT_EQ(steps[0].input.settings.pitch, 50);
  EXPECT_TRUE(visible(steps[0]).starts_with("^1M a ^180S ^")) << visible(steps[0]);
  EXPECT_TRUE(visible(steps[0]).ends_with("P ^2M b ")) << visible(steps[0]);
}

TEST(SynthPlan, LeavesVolumeAndSpeedToWhatIsDoneToTheSound) {
  using Adjustment = kavrel::SynthAudio::Adjustment;
  const Style quiet = style([](Style& s) { s.volume = 40; });
  const Style fast = style([](Style& s) { s.rate = 432; });
  const auto steps = planned({word(L"a", quiet), word(L"b"), word(L"c", fast)});
  ASSERT_EQ(steps.size(), 1u);
  EXPECT_EQ(visible(steps[0]), "^1M a ^2M b ^220S ^3M c ");
  EXPECT_EQ(steps[0].input.adjustments,
            (std::vector<Adjustment>{{0, 40, 1, 1}, {2, 100, 1, 1}, {3, 100, 1.2, 2}}));
}

TEST(SynthPlan, HasNoCommandForAMarkInsideAWord) {
  Item mark;
  mark.kind = Item::Kind::Mark;
  mark.share = 0.25;
  const auto steps = planned({word(L"a"), mark, word(L"b")});
  EXPECT_EQ(visible(steps[0]), "^1M a ^3M b ");
  EXPECT_EQ(steps[0].marks, (std::vector<std::size_t>{0, 1, 2}));
  EXPECT_EQ(steps[0].input.innerMarks, (std::vector<kavrel::SynthAudio::InnerMark>{{2, 0.25}}));
}

TEST(SynthPlan, WritesAMinusThatTheSynthesiserReads) {
  EXPECT_EQ(planned({word(L"-5")})[0].input.text.substr(4),
            L"\x2212"
            L"5 ");
  EXPECT_EQ(visible(planned({word(L"-a")})[0]), "^1M -a ");
  EXPECT_EQ(visible(planned({word(L"5-6")})[0]), "^1M 5-6 ");
}

TEST(SynthPlan, SwitchesEmphasisOffAtTheEndOfACall) {
  const Style strong = style([](Style& s) { s.emphasis = true; });
  EXPECT_EQ(visible(planned({word(L"a", strong)})[0]), "^4F ^1M a ^1F ");
  EXPECT_EQ(visible(planned({word(L"a", strong), word(L"b")})[0]), "^4F ^1M a ^1F ^2M b ");
}

TEST(SynthPlan, SpellsAndSetsDigitsApart) {
  const Style spelled = style([](Style& s) { s.spellOut = true; });
  const Style digits = style([](Style& s) { s.digits = true; });
  EXPECT_EQ(visible(planned({word(L"cat", spelled), word(L"x")})[0]), "^18Y ^1M cat ^0Y ^2M x ");
  EXPECT_EQ(visible(planned({word(L"1984.", digits)})[0]), "^1M 1 9 8 4. ");
}

TEST(SynthPlan, KeepsRatesAndVolumesWithinWhatTheSynthesiserTakes) {
  const Style low = style([](Style& s) { s.rate = 1, s.volume = 0, s.pitch = 1, s.range = 0; });
  const Style high =
      style([](Style& s) { s.rate = 1e9, s.volume = 1e9, s.pitch = 1e9, s.range = 1e9; });
  const auto slow = planned({word(L"a", low)})[0].input;
  EXPECT_EQ(slow.settings, (kavrel::Synthesiser::Settings{80, 0, 0}));
  EXPECT_EQ(slow.adjustments[0].volume, 0);
  const auto fast = planned({word(L"a", high)})[0].input;
  EXPECT_EQ(fast.settings, (kavrel::Synthesiser::Settings{220, 99, 99}));
  EXPECT_EQ(fast.adjustments[0].volume, 300);
  EXPECT_NEAR(fast.adjustments[0].speed, 600.0 / 216, 0.01);
}

TEST(SynthPlan, HasThePitchThatTheVoiceIsSaidToHave) {
  const Style style102 = style([](Style& s) { s.pitch = 102.3; });
  EXPECT_EQ(planned({word(L"a", style102)})[0].input.settings.pitch, 50);
}

TEST(SynthPlan, MovesThePitchOverTheRangeThatIsAskedFor) {
  const Style lively = style([](Style& s) { s.range = 27; });
  EXPECT_EQ(planned({word(L"a", lively)})[0].input.settings.range, 50);
}

TEST(SynthPlan, LetsNothingInTheTextBeACommandOrPhones) {
  const auto steps =
      planned({word(L"\x01"
                    L"9S[[[h]]\x7F")});
  EXPECT_EQ(visible(steps[0]), "^1M 9S[ [ [h]] ");
  EXPECT_FALSE(steps[0].input.hasPhones);
}

TEST(SynthPlan, WritesPhonesInTheSynthesisersNotation) {
  Item item;
  item.kind = Item::Kind::Phones;
  item.phones = {{"k", -1}, {"ae", 1}, {"t", -1}};
  const auto steps = planned({item});
  EXPECT_TRUE(steps[0].input.hasPhones);
  EXPECT_EQ(visible(steps[0]).substr(0, 6), "^1M [[");
}

TEST(SynthPlan, HasNothingToSayForMarksAlone) {
  Item mark;
  mark.kind = Item::Kind::Mark;
  const auto steps = planned({mark, mark});
  ASSERT_EQ(steps.size(), 1u);
  EXPECT_FALSE(steps[0].audible);
  EXPECT_EQ(steps[0].marks, (std::vector<std::size_t>{0, 1}));
}

TEST(SynthPlan, CutsLongSentencesWithoutLosingAnItem) {
  std::vector<Item> items;
  std::vector<std::size_t> expected;
  for (std::size_t index = 0; index < 2000; ++index) {
    items.push_back(word(index % 30 == 29 ? L"word," : L"word"));
    expected.push_back(index);
  }
  const auto steps = planned(items);
  EXPECT_EQ(allMarks(steps), expected);
  for (const Step& step : steps) {
    EXPECT_LT(step.input.text.size(), 750u);
    EXPECT_LE(step.marks.size(), 250u);
  }
  for (auto step = steps.begin(); step + 1 < steps.end(); ++step) {
    EXPECT_EQ(visible(*step).substr(visible(*step).size() - 6), "word, ");
  }
}

TEST(SynthPlan, CutsALongWordIntoParts) {
  const auto steps = planned({word(std::wstring(5000, L'x')), word(L"end")});
  EXPECT_EQ(allMarks(steps), (std::vector<std::size_t>{0, 1}));
  std::size_t count = 0;
  for (const Step& step : steps) {
    EXPECT_LT(step.input.text.size(), 750u);
    count +=
        static_cast<std::size_t>(std::count(step.input.text.begin(), step.input.text.end(), L'x'));
  }
  EXPECT_EQ(count, 5000u);
}

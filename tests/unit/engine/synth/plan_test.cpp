// SPDX-License-Identifier: Apache-2.0
//
// The plan: the calls of the synthesiser for a sentence, and the layout of speech in time.
#include "synth/plan.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "synth/plan.h"
#include "synth/voice_cache.h"
#include "text/sentence.h"

using kavrel::Item;
using kavrel::Plan;
using kavrel::Sentence;
using kavrel::Style;
using kavrel::SynthCall;

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

std::vector<SynthCall> planned(const std::vector<Item>& items, bool ends = true) {
  Sentence sentence;
  sentence.items = items;
  sentence.ends = ends;
  Plan plan(sentence, kavrel::defaultVoice());
  std::vector<SynthCall> calls;
  SynthCall call;
  while (plan.next(call)) calls.push_back(call);
  return calls;
}

// The call's text with its commands made visible.
std::string visible(const SynthCall& call) {
  std::string text;
  for (const wchar_t c : call.input.text) text += c == 1 ? '^' : static_cast<char>(c);
  return text;
}

std::vector<std::size_t> allMarks(const std::vector<SynthCall>& calls) {
  std::vector<std::size_t> marks;
  for (const SynthCall& call : calls)
    marks.insert(marks.end(), call.marks.begin(), call.marks.end());
  return marks;
}

Style style(void (*change)(Style&)) {
  Style result;
  change(result);
  return result;
}

}  // namespace

TEST(SynthPlan, PutsAMarkBeforeEveryWord) {
  const auto calls = planned({word(L"Hello,"), word(L"world.")});
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(visible(calls[0]), "^1M Hello, ^2M world. ");
  EXPECT_EQ(calls[0].marks, (std::vector<std::size_t>{0, 1}));
  EXPECT_TRUE(calls[0].audible);
  EXPECT_TRUE(calls[0].input.endPause);
  EXPECT_EQ(calls[0].input.settings, (kavrel::Synthesiser::Settings{180, 50, 50}));
}

TEST(SynthPlan, OmitsThePauseWhenTheSentenceContinues) {
  EXPECT_FALSE(planned({word(L"Hello")}, false)[0].input.endPause);
}

TEST(SynthPlan, EndsACallAtABreak) {
  const auto calls = planned({word(L"One"), pause(20), word(L"two.")});
  ASSERT_EQ(calls.size(), 3u);
  EXPECT_FALSE(calls[0].input.endPause);
  EXPECT_TRUE(calls[1].isBreak);
  EXPECT_EQ(calls[1].breakItem, 1u);
  EXPECT_EQ(visible(calls[2]), "^1M two. ");
  EXPECT_EQ(calls[2].marks, std::vector<std::size_t>{2});
}

TEST(SynthPlan, UsesSettingsForTheFirstWordsStyleAndCommandsForLaterOnes) {
  const Style slow = style([](Style& s) { s.rate = 80; });
  const Style high = style([](Style& s) { s.pitch = 150; });
  const auto calls = planned({word(L"a", slow), word(L"b", high)});
  EXPECT_EQ(calls[0].input.settings.rate, 80);
  EXPECT_EQ(calls[0].input.settings.pitch, 50);
  EXPECT_TRUE(visible(calls[0]).starts_with("^1M a ^180S ^")) << visible(calls[0]);
  EXPECT_TRUE(visible(calls[0]).ends_with("P ^2M b ")) << visible(calls[0]);
}

TEST(SynthPlan, LeavesVolumeAndSpeedToAudioProcessing) {
  using Adjustment = kavrel::SynthAudio::Adjustment;
  const Style quiet = style([](Style& s) { s.volume = 40; });
  const Style fast = style([](Style& s) { s.rate = 432; });
  const auto calls = planned({word(L"a", quiet), word(L"b"), word(L"c", fast)});
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(visible(calls[0]), "^1M a ^2M b ^220S ^3M c ");
  EXPECT_EQ(calls[0].input.adjustments,
            (std::vector<Adjustment>{{0, 40, 1, 1}, {2, 100, 1, 1}, {3, 100, 1.2, 2}}));
}

TEST(SynthPlan, HasNoCommandForAMarkInsideAWord) {
  Item mark;
  mark.kind = Item::Kind::Mark;
  mark.share = 0.25;
  const auto calls = planned({word(L"a"), mark, word(L"b")});
  EXPECT_EQ(visible(calls[0]), "^1M a ^3M b ");
  EXPECT_EQ(calls[0].marks, (std::vector<std::size_t>{0, 1, 2}));
  EXPECT_EQ(calls[0].input.innerMarks, (std::vector<kavrel::SynthAudio::InnerMark>{{2, 0.25}}));
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

TEST(SynthPlan, SpellsWordsAndSeparatesDigits) {
  const Style spelled = style([](Style& s) { s.spellOut = true; });
  const Style digits = style([](Style& s) { s.digits = true; });
  EXPECT_EQ(visible(planned({word(L"cat", spelled), word(L"x")})[0]), "^18Y ^1M cat ^0Y ^2M x ");
  EXPECT_EQ(visible(planned({word(L"1984.", digits)})[0]), "^1M 1 9 8 4. ");
}

TEST(SynthPlan, ClampsRatesAndVolumesToTheSynthesisersLimits) {
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

TEST(SynthPlan, UsesThePitchOfTheVoice) {
  const Style style102 = style([](Style& s) { s.pitch = 102.3; });
  EXPECT_EQ(planned({word(L"a", style102)})[0].input.settings.pitch, 50);
}

TEST(SynthPlan, MovesThePitchOverTheRequestedRange) {
  const Style lively = style([](Style& s) { s.range = 27; });
  EXPECT_EQ(planned({word(L"a", lively)})[0].input.settings.range, 50);
}

TEST(SynthPlan, LetsNothingInTheTextBeACommandOrPhones) {
  const auto calls =
      planned({word(L"\x01"
                    L"9S[[[h]]\x7F")});
  EXPECT_EQ(visible(calls[0]), "^1M 9S[ [ [h]] ");
  EXPECT_FALSE(calls[0].input.hasPhones);
}

// It crashes the synthesiser in some languages.
TEST(SynthPlan, LeavesOutAHyphenAfterASignAtTheStartOfAClause) {
  const auto text = [](const std::wstring& characters, const Style& style = {}) {
    return planned({word(characters, style)})[0].input.text.substr(4);
  };
  EXPECT_EQ(text(L"'-a"), L"'a ");
  EXPECT_EQ(text(L"\x2019-\xE5"), L"\x2019\xE5 ");
  EXPECT_EQ(text(L".''-ab"), L".''ab ");
  EXPECT_EQ(text(L"bog,(-en)"), L"bog,(en) ");
  EXPECT_EQ(text(L"bog!\"-en\""), L"bog!\"en\" ");
  EXPECT_EQ(text(L":[{-\xE5]"), L":[{\xE5] ");
  EXPECT_EQ(text(L"---og"), L"--og ");
  EXPECT_EQ(text(L"-----og"), L"----og ");
  for (const std::wstring same :
       {L"----a", L"x---a", L"---1", L"'-1", L"'--a", L"-a", L"a-b", L"rock-'n'-roll", L"5'-a",
        L"'-", L"(-a)", L"bog(-en)", L"5,(-1)", L"x.(-", L"x.(a-b)"}) {
    EXPECT_EQ(text(same), same + L' ');
  }
  const Style spelled = style([](Style& s) { s.spellOut = true; });
  EXPECT_EQ(text(L"'-a", spelled).substr(5), L"'-a ");
  EXPECT_EQ(text(L"x,(-a", spelled).substr(5), L"x,(-a ");
}

TEST(SynthPlan, WritesPhonesInTheSynthesisersNotation) {
  Item item;
  item.kind = Item::Kind::Phones;
  item.phones = {{"k", -1}, {"ae", 1}, {"t", -1}};
  const auto calls = planned({item});
  EXPECT_TRUE(calls[0].input.hasPhones);
  EXPECT_EQ(visible(calls[0]).substr(0, 6), "^1M [[");
}

TEST(SynthPlan, HasNoCallForMarksWithoutWords) {
  Item mark;
  mark.kind = Item::Kind::Mark;
  const auto calls = planned({mark, mark});
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_FALSE(calls[0].audible);
  EXPECT_EQ(calls[0].marks, (std::vector<std::size_t>{0, 1}));
}

TEST(SynthPlan, CutsLongSentencesWithoutLosingAnItem) {
  std::vector<Item> items;
  std::vector<std::size_t> expected;
  for (std::size_t index = 0; index < 2000; ++index) {
    items.push_back(word(index % 30 == 29 ? L"word," : L"word"));
    expected.push_back(index);
  }
  const auto calls = planned(items);
  EXPECT_EQ(allMarks(calls), expected);
  for (const SynthCall& call : calls) {
    EXPECT_LT(call.input.text.size(), 750u);
    EXPECT_LE(call.marks.size(), 250u);
  }
  for (auto call = calls.begin(); call + 1 < calls.end(); ++call) {
    EXPECT_EQ(visible(*call).substr(visible(*call).size() - 6), "word, ");
  }
}

TEST(SynthPlan, SplitsALongWordIntoParts) {
  const auto calls = planned({word(std::wstring(5000, L'x')), word(L"end")});
  EXPECT_EQ(allMarks(calls), (std::vector<std::size_t>{0, 1}));
  std::size_t count = 0;
  for (const SynthCall& call : calls) {
    EXPECT_LT(call.input.text.size(), 750u);
    count +=
        static_cast<std::size_t>(std::count(call.input.text.begin(), call.input.text.end(), L'x'));
  }
  EXPECT_EQ(count, 5000u);
}

// Buffers of the synthesiser count the bytes of UTF-8.
TEST(SynthPlan, CutsWordsByBytesAndNeverInsideACharacter) {
  const auto parts = [](const std::wstring& text) {
    std::vector<std::wstring> found;
    std::wstring all = planned({word(text)})[0].input.text.substr(4);
    for (std::size_t end = all.find(L' '); end != std::wstring::npos; end = all.find(L' ')) {
      found.push_back(all.substr(0, end));
      all.erase(0, end + 1);
    }
    return found;
  };
  EXPECT_EQ(parts(std::wstring(150, L'a')),
            (std::vector<std::wstring>{std::wstring(120, L'a'), std::wstring(30, L'a')}));
  EXPECT_EQ(parts(std::wstring(79, L'\u00E9')),
            (std::vector<std::wstring>{std::wstring(60, L'\u00E9'), std::wstring(19, L'\u00E9')}));
  EXPECT_EQ(parts(std::wstring(41, L'\u4E2D')),
            (std::vector<std::wstring>{std::wstring(40, L'\u4E2D'), L"\u4E2D"}));
  // 119 letters, and one with an accent of its own that does not fit.
  EXPECT_EQ(parts(std::wstring(120, L'a') + L"\u0301b"),
            (std::vector<std::wstring>{std::wstring(119, L'a'), L"a\u0301b"}));
}

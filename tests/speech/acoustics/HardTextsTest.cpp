// SPDX-License-Identifier: Apache-2.0
//
// Pathological texts are spoken, in time linear in their length: the time limit of the test stops
// anything slower.
#include <string>

#include <gtest/gtest.h>

#include "Recording.h"

using test::record;
using test::Recording;

namespace {

std::string repeated(const std::string& piece, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) all += piece;
  return all;
}

}  // namespace

TEST(HardText, OfOneLongWordIsSpokenToItsEnd) {
  const Recording found = record(repeated("wollen", 1700) + " end.");
  EXPECT_GT(found.heard().seconds(), 300);
  EXPECT_EQ(found.events(KAVREL_EVENT_WORD).back().text, "end");
}

TEST(HardText, OfPunctuationHasNoWord) {
  const Recording found = record(repeated("?!,;:-()\"' ", 300));
  EXPECT_EQ(found.events(KAVREL_EVENT_WORD).size(), 0u);
}

TEST(HardText, OfThousandsOfMarksReportsThemAll) {
  const Recording found = record("One " + repeated("<mark name='7'/>", 5000) + "two" +
                                 repeated("<mark name='8'/>", 5000) + "fold.");
  EXPECT_EQ(found.events(KAVREL_EVENT_BOOKMARK).size(), 10000u);
  EXPECT_EQ(found.events(KAVREL_EVENT_WORD).front().text, "One");
}

TEST(HardText, OfThousandsOfBreaksHasThemAll) {
  const Recording found = record("One " + repeated("<break time='2ms'/>", 5000) + "two.");
  EXPECT_NEAR(found.sound().seconds() - record("One <break/>two.").sound().seconds(), 10, 0.03);
}

TEST(HardText, NestedDeeplyEndsEachSetting) {
  constexpr int kDepth = 10000;
  const Recording found = record("One. " + repeated("<prosody volume='20'>", kDepth) + "One. " +
                                 repeated("</prosody>", kDepth) + "One.");
  const auto words = found.events(KAVREL_EVENT_WORD);
  ASSERT_EQ(words.size(), 3u);
  const auto level = [&](std::size_t begin, std::size_t end) {
    return acoustics::level(found.sound().part(begin, end));
  };
  const double first = level(words[0].sample, words[1].sample);
  EXPECT_NEAR(level(words[1].sample, words[2].sample) / first, 0.2, 0.02);
  EXPECT_NEAR(level(words[2].sample, found.samples.size()) / first, 1, 0.1);
}

TEST(HardText, OfTagsInsideOneWordIsOneWord) {
  const Recording found = record(
      repeated("a<prosody rate='500'>b</prosody><emphasis strength='strong'>", 100) + " end");
  EXPECT_EQ(found.events(KAVREL_EVENT_WORD).size(), 2u);
}

TEST(HardText, WithBrokenMarkupLosesNoWord) {
  EXPECT_EQ(
      record("if a<b and c>d <prosody rate='3 or </foo> so & on &bar; <").names(KAVREL_EVENT_WORD),
      "if a<b and c>d <prosody rate='3 or so & on &bar <");
  EXPECT_EQ(record("<foo bar=baz>One <unknown/>two</foo></prosody> three").names(KAVREL_EVENT_WORD),
            "One two three");
}

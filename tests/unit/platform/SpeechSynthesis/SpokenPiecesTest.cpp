// SPDX-License-Identifier: Apache-2.0
//
// Where a text that is supplied in pieces is cut.
#include <string>

#include <gtest/gtest.h>

#include "SpeechSynthesis/channel/SpokenPieces.h"

namespace {

using platform::bytesBeforeEnd;
using platform::isEnoughToSpeak;
using platform::lengthOfCompletePart;

TEST(SpokenPieces, AreCutAfterTheLastSentence) {
  const auto part = [](const std::string& text) {
    return text.substr(0, lengthOfCompletePart(text));
  };
  EXPECT_EQ(part("One. Two three"), "One. ");
  EXPECT_EQ(part("One. Two! Three? Four"), "One. Two! Three? ");
  EXPECT_EQ(part("One. Two three."), "One. Two three.");
  EXPECT_EQ(part("He said \"No.\" She"), "He said \"No.\" ");
  EXPECT_EQ(part("It is \xD2so.\xD3 And"), "It is \xD2so.\xD3 ");
  EXPECT_EQ(part("A title\n\nand a text"), "A title\n\n");
  EXPECT_EQ(part("A title\r\r and a text"), "A title\r\r ");
  EXPECT_EQ(part("one line\nand the next"), "one line\nand the ");
  EXPECT_EQ(part("costs 3.50 here"), "costs 3.50 ");
  EXPECT_EQ(part("word"), "word");
  EXPECT_EQ(part(""), "");
}

TEST(SpokenPieces, AreNotCutInsideACommand) {
  const auto length = [](const std::string& text) { return lengthOfCompletePart(text); };
  EXPECT_EQ(length("One. [[cmnt a. b"), 5U);
  EXPECT_EQ(length("One [[cmnt a. b]] two"), 18U);
  EXPECT_EQ(length("[[rate 90"), 9U);  // nothing else to cut
}

TEST(SpokenPieces, AreEnoughWithSomeSentencesOrMuchText) {
  EXPECT_FALSE(isEnoughToSpeak(""));
  EXPECT_FALSE(isEnoughToSpeak("One. Two."));
  EXPECT_FALSE(isEnoughToSpeak(std::string(1500, 'x')));
  EXPECT_TRUE(isEnoughToSpeak(std::string(2000, 'x')));
  EXPECT_FALSE(isEnoughToSpeak("A. " + std::string(190, 'x')));
  EXPECT_TRUE(isEnoughToSpeak("A. " + std::string(200, 'x')));
}

TEST(SpokenPieces, AreRequestedAboutTwoSecondsBeforeTheEnd) {
  EXPECT_EQ(bytesBeforeEnd(180), 36U);
  EXPECT_EQ(bytesBeforeEnd(360), 72U);
  EXPECT_EQ(bytesBeforeEnd(0), 10U);
  EXPECT_EQ(bytesBeforeEnd(1e9), 120U);
}

// Searching from every position would take minutes.
TEST(SpokenPieces, TakeLinearTimeForBracketsThatAreNotClosed) {
  std::string text;
  while (text.size() < 4'000'000) text += "[[ a. ]] ' ";
  text += "[[ a. ";
  EXPECT_EQ(lengthOfCompletePart(text), text.size() - 6);
}

}  // namespace

// SPDX-License-Identifier: Apache-2.0
//
// Where a text that is supplied in pieces is cut.
#include <string>

#include <gtest/gtest.h>

#include "SpeechSynthesis/channel/SpokenPieces.h"

namespace {

using platform::bytesBeforeEnd;
using platform::Charset;
using platform::isEnoughToSpeak;
using platform::lengthOfCompletePart;

TEST(SpokenPieces, AreCutAfterTheLastSentence) {
  const auto part = [](const std::string& text) {
    return text.substr(0, lengthOfCompletePart(text, Charset::MacRoman));
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

TEST(SpokenPieces, AreCutAfterSentencesOfAnyScript) {
  const auto part = [](const std::string& text) {
    return text.substr(0, lengthOfCompletePart(text, Charset::Utf8));
  };
  EXPECT_EQ(part("One. Two three"), "One. ");
  EXPECT_EQ(part("Да. Нет или"), "Да. ");
  EXPECT_EQ(part("Да.\u3000Нет или"), "Да.\u3000");
  EXPECT_EQ(part("„Да.“ Нет"), "„Да.“ ");
  EXPECT_EQ(part("हाँ। नहीं"), "हाँ। ");
  EXPECT_EQ(part("نعم؟ لا"), "نعم؟ ");
  EXPECT_EQ(part("是的。不是"), "是的。");
  EXPECT_EQ(part("「是的。」不是"), "「是的。」");
  EXPECT_EQ(part("да нет\u00A0или"), "да ");
}

TEST(SpokenPieces, AreNotCutInsideACharacter) {
  const auto part = [](const std::string& text) {
    return text.substr(0, lengthOfCompletePart(text, Charset::Utf8));
  };
  const std::string text = "世\U0001F600ж";
  EXPECT_EQ(part(text), "世\U0001F600");  // an accent may follow
  EXPECT_EQ(part(text.substr(0, 8)), "世\U0001F600");
  for (const std::size_t length : {4U, 5U, 6U}) EXPECT_EQ(part(text.substr(0, length)), "世");
  EXPECT_EQ(part("a世e\u0301\u0323"), "a世e");
  EXPECT_EQ(part("\xE4\xB8"), "\xE4\xB8");  // nothing else
  EXPECT_EQ(part("word"), "word");
}

TEST(SpokenPieces, AreNotCutInsideACommand) {
  const auto length = [](const std::string& text) {
    return lengthOfCompletePart(text, Charset::MacRoman);
  };
  EXPECT_EQ(length("One. [[cmnt a. b"), 5U);
  EXPECT_EQ(length("One [[cmnt a. b]] two"), 18U);
  EXPECT_EQ(length("[[rate 90"), 9U);  // nothing else to cut
}

TEST(SpokenPieces, AreEnoughWithSomeSentencesOrMuchText) {
  EXPECT_FALSE(isEnoughToSpeak("", Charset::MacRoman));
  EXPECT_FALSE(isEnoughToSpeak("One. Two.", Charset::MacRoman));
  EXPECT_FALSE(isEnoughToSpeak(std::string(1500, 'x'), Charset::MacRoman));
  EXPECT_TRUE(isEnoughToSpeak(std::string(2000, 'x'), Charset::MacRoman));
  EXPECT_FALSE(isEnoughToSpeak("A. " + std::string(190, 'x'), Charset::MacRoman));
  EXPECT_TRUE(isEnoughToSpeak("A. " + std::string(200, 'x'), Charset::MacRoman));
}

TEST(SpokenPieces, AreRequestedAboutTwoSecondsBeforeTheEnd) {
  EXPECT_EQ(bytesBeforeEnd(180, Charset::MacRoman), 36U);
  EXPECT_EQ(bytesBeforeEnd(360, Charset::MacRoman), 72U);
  EXPECT_EQ(bytesBeforeEnd(0, Charset::MacRoman), 10U);
  EXPECT_EQ(bytesBeforeEnd(1e9, Charset::MacRoman), 120U);
  EXPECT_EQ(bytesBeforeEnd(180, Charset::Utf8), 72U);
}

// Searching from every position would take minutes.
TEST(SpokenPieces, TakeLinearTimeForBracketsThatAreNotClosed) {
  std::string text;
  while (text.size() < 4'000'000) text += "[[ a. ]] ' ";
  text += "[[ a. ";
  EXPECT_EQ(lengthOfCompletePart(text, Charset::MacRoman), text.size() - 6);
}

}  // namespace

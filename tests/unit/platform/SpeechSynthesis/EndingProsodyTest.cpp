// SPDX-License-Identifier: Apache-2.0
//
// Tests of the comma that kNoEndingProsody appends.
#include <string_view>

#include <gtest/gtest.h>

#include "SpeechSynthesis/channel/EndingProsody.h"

namespace platform {
namespace {

TEST(EndingProsody, AppendsACommaAfterALetterOrDigitOrAByteAboveAscii) {
  constexpr std::string_view kInWord =
      "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  constexpr std::string_view kIgnored = " \t\r\n";  // the "a" before them counts
  for (int byte = 1; byte < 256; ++byte) {
    const auto last = static_cast<char>(byte);
    const std::string text = std::string("a") + last;
    const bool comma = byte >= 128 || kInWord.find(last) != std::string_view::npos ||
                       kIgnored.find(last) != std::string_view::npos;
    EXPECT_EQ(withoutEndingProsody(text), comma ? text + "," : text) << "byte " << byte;
  }
}

TEST(EndingProsody, IgnoresWhiteSpaceAtTheEnd) {
  EXPECT_EQ(withoutEndingProsody("one \t\r\n"), "one \t\r\n,");
  EXPECT_EQ(withoutEndingProsody("one. \t\r\n"), "one. \t\r\n");
  EXPECT_EQ(withoutEndingProsody(" \t\r\n"), " \t\r\n");
  EXPECT_EQ(withoutEndingProsody(""), "");
}

TEST(EndingProsody, LeavesATextWhoseCommandsChangeHowItIsRead) {
  for (const std::string text :
       {"[[inpt PHON]]hEH", "[[char LTRL]]ab", "a [[rate 1;inpt PHON]]hEH"}) {
    EXPECT_EQ(withoutEndingProsody(text), text);
  }
  for (const std::string text : {"the inpt of a char", "[[rate 200]]one", "one"}) {
    EXPECT_EQ(withoutEndingProsody(text), text + ",");
  }
}

}  // namespace
}  // namespace platform

// SPDX-License-Identifier: Apache-2.0
//
// The caller's text, and the mapping of positions back to it.
#include <string>

#include <gtest/gtest.h>

#include "SpeechSynthesis/channel/CallerText.h"

namespace {

using platform::CallerText;
using platform::Owned;

CallerText ofUtf8(const std::string& utf8) {
  const Owned string(CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(utf8.data()),
                                             static_cast<CFIndex>(utf8.size()),
                                             kCFStringEncodingUTF8, false));
  return CallerText(string.get());
}

// A range as "location+length".
std::string rangeOf(const CallerText& text, unsigned long position, unsigned long length) {
  const CFRange range = text.inCallersUnits(position, length);
  return std::to_string(range.location) + "+" + std::to_string(range.length);
}

TEST(CallerText, KeepsBytesAndReadsNulsAsBlanks) {
  CallerText text("a\0b\xFF", 4);
  EXPECT_EQ(text.bytes(), "a b\xFF");
  text.append("\0c", 2);
  EXPECT_EQ(text.bytes(), "a b\xFF c");
  EXPECT_EQ(rangeOf(text, 2, 4), "2+4");
  EXPECT_FALSE(text.isString());
}

TEST(CallerText, ConvertsStringsToPlainForms) {
  EXPECT_EQ(ofUtf8("\u0141\u00F3d\u017A \u2013 \u2212 \u00BD \uFB03 \U0001F600.").bytes(),
            "L\x97"
            "dz \xD0 - 1/2 ffi  .");
  EXPECT_EQ(ofUtf8("e\u0301\u200B\u00AD!").bytes(), "\x8E!");
  EXPECT_EQ(ofUtf8(std::string("a\0b", 3)).bytes(), "a b");
}

TEST(CallerText, ReturnsRangesInUnitsOfTheString) {
  const CallerText text = ofUtf8("\U0001F600 \u00BD cup e\u0301 x");
  ASSERT_EQ(text.bytes(), "  1/2 cup \x8E x");
  EXPECT_EQ(rangeOf(text, 2, 3), "3+1");
  EXPECT_EQ(rangeOf(text, 2, 1), "3+1");  // one byte of the character's plain form
  EXPECT_EQ(rangeOf(text, 6, 3), "5+3");
  EXPECT_EQ(rangeOf(text, 10, 1), "9+2");  // its accent belongs to it
  EXPECT_EQ(rangeOf(text, 12, 1), "12+1");
  EXPECT_EQ(rangeOf(text, 13, 0), "13+0");
}

TEST(CallerText, ReturnsAStringOfItsBytes) {
  CallerText text("z\x9A", 2);
  EXPECT_EQ(CFStringGetLength(text.string()), 2);
  EXPECT_EQ(CFStringGetCharacterAtIndex(text.string(), 1), 0xF6);
  text.append("!", 1);
  EXPECT_EQ(CFStringGetLength(text.string()), 3);
}

}  // namespace

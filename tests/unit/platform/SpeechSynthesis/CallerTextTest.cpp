// SPDX-License-Identifier: Apache-2.0
//
// The caller's text, and the mapping of positions back to it.
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "CoreFoundation/CFObject.h"
#include "SpeechSynthesis/channel/CallerText.h"

namespace {

using platform::CallerText;
using platform::Charset;
using platform::Owned;

CallerText ofUtf8(const std::string& utf8) {
  const Owned string(CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(utf8.data()),
                                             static_cast<CFIndex>(utf8.size()),
                                             kCFStringEncodingUTF8, false));
  return CallerText(string.get());
}

// The same, for a synthesizer that takes only Mac OS Roman.
CallerText macRomanOfUtf8(const std::string& utf8) {
  CallerText text = ofUtf8(utf8);
  text.useMacRoman();
  return text;
}

// A range as "location+length".
std::string rangeOf(const CallerText& text, unsigned long position, unsigned long length) {
  const CFRange range = text.inCallersUnits(position, length);
  return std::to_string(range.location) + "+" + std::to_string(range.length);
}

TEST(CallerText, KeepsBytesAndReadsNulsAsBlanks) {
  CallerText text("a\0b\xFF", 4, Charset::MacRoman);
  EXPECT_EQ(text.bytes(), "a b\xFF");
  EXPECT_EQ(rangeOf(text, 2, 2), "2+2");
  text.append("\0c", 2, Charset::MacRoman);
  EXPECT_EQ(text.bytes(), "a b\xFF c");
}

TEST(CallerText, ConvertsStringsToPlainForms) {
  EXPECT_EQ(macRomanOfUtf8("\u0141\u00F3d\u017A \u2013 \u2212 \u00BD \uFB03 \U0001F600.").bytes(),
            "L\x97"
            "dz \xD0 - 1/2 ffi  .");
  EXPECT_EQ(macRomanOfUtf8("e\u0301\u200B\u00AD!").bytes(), "\x8E!");
  EXPECT_EQ(macRomanOfUtf8(std::string("a\0b", 3)).bytes(), "a b");
}

TEST(CallerText, ReturnsRangesInUnitsOfTheString) {
  const CallerText text = macRomanOfUtf8("\U0001F600 \u00BD cup e\u0301 x");
  ASSERT_EQ(text.bytes(), "  1/2 cup \x8E x");
  EXPECT_EQ(rangeOf(text, 2, 3), "3+1");
  EXPECT_EQ(rangeOf(text, 2, 1), "3+1");  // one byte of the character's plain form
  EXPECT_EQ(rangeOf(text, 6, 3), "5+3");
  EXPECT_EQ(rangeOf(text, 10, 1), "9+2");  // its accent belongs to it
  EXPECT_EQ(rangeOf(text, 12, 1), "12+1");
  EXPECT_EQ(rangeOf(text, 13, 0), "13+0");
}

std::string utf8Of(const CallerText::String& string) {
  std::string buffer(100, '\0');
  CFStringGetCString(string.get(), buffer.data(), 100, kCFStringEncodingUTF8);
  buffer.resize(std::strlen(buffer.data()));
  return buffer;
}

TEST(CallerText, ReturnsAStringOfItsBytes) {
  CallerText text("z\x9A", 2, Charset::MacRoman);
  EXPECT_EQ(utf8Of(text.stringAt(0)), "z\u00F6");
  EXPECT_EQ(text.stringAt(1), text.stringAt(0));
}

// ---- Pieces

TEST(CallerText, ReturnsPositionsInThePiece) {
  CallerText text("one ", 4, Charset::MacRoman);
  text.append("two ", 4, Charset::MacRoman);
  text.append("three", 5, Charset::MacRoman);
  EXPECT_EQ(text.bytes(), "one two three");
  EXPECT_EQ(rangeOf(text, 0, 3), "0+3");
  EXPECT_EQ(rangeOf(text, 4, 3), "0+3");
  EXPECT_EQ(rangeOf(text, 9, 4), "1+4");
  EXPECT_EQ(rangeOf(text, 6, 5), "2+2");  // to the end of the piece
  EXPECT_EQ(text.unitsFrom(6), 7);
  EXPECT_EQ(utf8Of(text.stringAt(5)), "two ");
  EXPECT_EQ(utf8Of(text.stringAt(8)), "three");
}

TEST(CallerText, CountsPiecesAfterAStringInBytes) {
  CallerText text = macRomanOfUtf8("\U0001F600 \u00BD");
  ASSERT_EQ(text.bytes(), "  1/2");
  text.append(" cup", 4, Charset::MacRoman);
  EXPECT_EQ(rangeOf(text, 2, 3), "3+1");
  EXPECT_EQ(rangeOf(text, 6, 3), "1+3");
  EXPECT_EQ(text.unitsFrom(0), 8);
  EXPECT_EQ(utf8Of(text.stringAt(2)), "\U0001F600 \u00BD");
  EXPECT_EQ(utf8Of(text.stringAt(6)), " cup");
}

TEST(CallerText, KeepsPositionsWhenItIsSplit) {
  CallerText text("one two ", 8, Charset::MacRoman);
  text.append("three four", 10, Charset::MacRoman);
  CallerText rest = text.splitOff(14);
  EXPECT_EQ(text.bytes(), "one two three ");
  EXPECT_EQ(text.unitsFrom(0), 14);
  EXPECT_EQ(rangeOf(text, 8, 5), "0+5");
  EXPECT_EQ(rest.bytes(), "four");
  EXPECT_EQ(rest.unitsFrom(0), 4);
  EXPECT_EQ(rangeOf(rest, 0, 4), "6+4");
  EXPECT_EQ(utf8Of(rest.stringAt(0)), "three four");
  rest.append(" five", 5, Charset::MacRoman);
  EXPECT_EQ(rest.bytes(), "four five");
  EXPECT_EQ(rangeOf(rest, 5, 4), "1+4");
  rest.insertAtStart("[[rate 90]]");
  EXPECT_EQ(rest.bytes(), "[[rate 90]]four five");
  EXPECT_EQ(rangeOf(rest, 11, 4), "6+4");
  EXPECT_EQ(rangeOf(rest, 16, 4), "1+4");
  EXPECT_EQ(rest.unitsFrom(0), 9);
}

TEST(CallerText, CanBeSplitAtItsEnds) {
  CallerText text("one", 3, Charset::MacRoman);
  CallerText rest = text.splitOff(3);
  EXPECT_EQ(text.bytes(), "one");
  EXPECT_EQ(rest.bytes(), "");
  EXPECT_EQ(rest.unitsFrom(0), 0);
  rest.append("two", 3, Charset::MacRoman);
  EXPECT_EQ(rangeOf(rest, 0, 3), "0+3");
  CallerText all = rest.splitOff(0);
  EXPECT_EQ(rest.bytes(), "");
  EXPECT_EQ(rangeOf(all, 1, 2), "1+2");
  EXPECT_EQ(utf8Of(all.stringAt(0)), "two");
}

}  // namespace

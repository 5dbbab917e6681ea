// SPDX-License-Identifier: Apache-2.0
//
// Origins of copied, replaced and inserted bytes, and the ranges of the source that they came from.
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/text/OriginText.h"

namespace {

using base::OriginText;
using testing::ElementsAre;

// Returns the source of a range, as "position+length".
std::string source(const OriginText& text, std::size_t position, std::size_t length) {
  const OriginText::Range range = text.sourceOf(position, length);
  return std::to_string(range.position) + "+" + std::to_string(range.length);
}

TEST(OriginText, KeepsThePositionsOfACopy) {
  OriginText text;
  text.appendCopy("abc", 0);
  text.appendCopy("de", 3);
  text.finish(5);
  EXPECT_EQ(text.text(), "abcde");
  EXPECT_THAT(text.origins(), ElementsAre(0, 1, 2, 3, 4));
  EXPECT_EQ(text.originOf(4), 4U);
  EXPECT_EQ(text.originOf(5), 5U);
  EXPECT_EQ(source(text, 1, 3), "1+3");
}

TEST(OriginText, ReturnsTheWholeSourceOfAnyByteOfAReplacement) {
  OriginText text;
  text.appendCopy("a", 0);
  text.append("->", 1);  // replaces three bytes of the source
  text.appendCopy("bc", 4);
  text.finish(6);
  EXPECT_THAT(text.origins(), ElementsAre(0, 1, 1, 4, 5));
  EXPECT_EQ(source(text, 1, 1), "1+3");
  EXPECT_EQ(source(text, 2, 1), "1+3");
  EXPECT_EQ(source(text, 0, 2), "0+4");
  EXPECT_EQ(source(text, 3, 2), "4+2");
}

TEST(OriginText, AssignsVanishedSourceToTheCharacterBefore) {
  OriginText text;
  text.appendCopy("xy", 0);
  text.appendCopy("z", 5);
  text.finish(9);
  EXPECT_EQ(source(text, 1, 1), "1+4");
  EXPECT_EQ(source(text, 2, 1), "5+4");
}

TEST(OriginText, IsClampedToItsSource) {
  OriginText text;
  text.appendCopy("ab", 0);
  text.finish(2);
  EXPECT_EQ(source(text, 2, 1), "2+0");
  EXPECT_EQ(source(text, 70000, 65535), "2+0");
  EXPECT_EQ(source(text, 1, 0), "1+0");
  EXPECT_EQ(source(text, 1, std::string::npos), "1+1");
  EXPECT_EQ(source(OriginText(), 0, 5), "0+0");
}

TEST(OriginText, GivesInsertedTextTheOriginOfTheNextByte) {
  OriginText text;
  text.append("a", 3);
  text.insert("<>");
  text.append("b", 7);
  text.insert("</>");
  text.finish(9);
  EXPECT_EQ(text.text(), "a<>b</>");
  EXPECT_THAT(text.origins(), ElementsAre(3, 7, 7, 7, 9, 9, 9));
}

TEST(OriginText, CopiesPartsOfAnotherTextWithTheirOrigins) {
  OriginText other;
  other.appendCopy("abc", 0);
  other.append("1/2", 3);
  other.appendCopy("d", 5);
  for (std::size_t start = 0; start <= other.size(); ++start) {
    for (std::size_t end = start; end <= other.size(); ++end) {
      OriginText text;
      text.append("", 0);
      text.append(other, start, end);
      text.append(other, start, end);
      const std::string once = other.text().substr(start, end - start);
      ASSERT_EQ(text.text(), once + once);
      for (std::size_t i = 0; i < once.size(); ++i) {
        ASSERT_EQ(text.originOf(i), other.originOf(start + i)) << start << ", " << end;
        ASSERT_EQ(text.originOf(once.size() + i), other.originOf(start + i));
      }
    }
  }
}

TEST(OriginText, KeepsTheOriginOfAReplacedByte) {
  OriginText text;
  text.appendCopy("[[", 4);
  text.replace(1, '(');
  text.finish(6);
  EXPECT_EQ(text.text(), "[(");
  EXPECT_THAT(text.origins(), ElementsAre(4, 5));
}

TEST(OriginText, IsEmptyAfterClear) {
  OriginText text;
  text.append("ab", 7);
  text.clear();
  EXPECT_TRUE(text.empty());
  text.appendCopy("x", 0);
  EXPECT_THAT(text.origins(), ElementsAre(0));
}

}  // namespace

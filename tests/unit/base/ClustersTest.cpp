// SPDX-License-Identifier: Apache-2.0
//
// Clusters and their widths, and the names of languages.
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/text/Clusters.h"
#include "base/text/LanguageNames.h"
#include "base/text/Utf8.h"

namespace {

using testing::ElementsAre;

std::vector<std::string> clustersOf(std::string_view text) {
  std::vector<std::string> clusters;
  while (!text.empty()) {
    const std::size_t length = base::firstClusterLength(text);
    clusters.emplace_back(text.substr(0, length));
    text.remove_prefix(length);
  }
  return clusters;
}

TEST(Clusters, AreWhatReadersSeeAsOneCharacter) {
  EXPECT_THAT(clustersOf("ab"), ElementsAre("a", "b"));
  EXPECT_THAT(clustersOf("\r\n\n"), ElementsAre("\r\n", "\n"));
  EXPECT_THAT(clustersOf("e\u0301\u0323x"), ElementsAre("e\u0301\u0323", "x"));
  EXPECT_THAT(clustersOf("кот"), ElementsAre("к", "о", "т"));
  EXPECT_THAT(clustersOf("नमस्ते"), ElementsAre("न", "म", "स्ते"));
  EXPECT_THAT(clustersOf("\u1112\u1161\u11AB한"), ElementsAre("\u1112\u1161\u11AB", "한"));
  EXPECT_THAT(clustersOf("\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7"),
              ElementsAre("\U0001F1E9\U0001F1EA", "\U0001F1EB\U0001F1F7"));
  EXPECT_THAT(clustersOf("\U0001F44D\U0001F3FE\u2764\uFE0F"),
              ElementsAre("\U0001F44D\U0001F3FE", "\u2764\uFE0F"));
}

TEST(Clusters, OfMalformedTextAreBytes) {
  EXPECT_THAT(clustersOf("a\xFF\xC3é"), ElementsAre("a", "\xFF", "\xC3", "é"));
}

TEST(Clusters, HaveALimit) {
  std::string text = "e";
  while (text.size() < 5000) text += "\u0301";
  const std::vector<std::string> clusters = clustersOf(text);
  EXPECT_GT(clusters.size(), 4U);
  for (const std::string& cluster : clusters) {
    EXPECT_LE(cluster.size(), 1000U);
    EXPECT_FALSE(base::isContinuation(cluster.front()));
  }
}

TEST(Clusters, HaveTheWidthOfTheTerminal) {
  const auto cells = [](const char* cluster) { return base::cellsOfCluster(cluster); };
  for (const char* const one :
       {"a", "é", "e\u0301", "ж", "न", "\u00AD", "\xFF", "\x1B", "½", "\u2764"}) {
    EXPECT_EQ(cells(one), 1U) << one;
  }
  for (const char* const two :
       {"世", "ａ", "한", "\u1112\u1161\u11AB", "\U0001F600", "\u2764\uFE0F",
        "\U0001F468\u200D\U0001F469\u200D\U0001F467", "\U0001F1E9\U0001F1EA"}) {
    EXPECT_EQ(cells(two), 2U) << two;
  }
  for (const char* const none : {"\u0301", "\u200B", "\u200E", "\uFEFF"}) {
    EXPECT_EQ(cells(none), 0U) << none;
  }
  EXPECT_EQ(base::cellsOf("Łódź 世界"), 9U);
}

TEST(LanguageNames, AreThoseOfTheirOwnAndOfOtherLanguages) {
  EXPECT_EQ(base::languageName("ru_RU", "en"), "Russian");
  EXPECT_EQ(base::languageName("ru_RU", "ru"), "русский");
  EXPECT_EQ(base::languageName("pt_BR", "de"), "Portugiesisch");
  EXPECT_EQ(base::languageName("qqq", "en"), "");
}

}  // namespace

// SPDX-License-Identifier: Apache-2.0
//
// Unit tests of kavrel-ssml: phones, values, origins.
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "SpeechMgrUtils.h"
#include "base/text/OriginText.h"
#include "document/Ipa.h"
#include "document/ProsodyValues.h"
#include "text/SourceText.h"

namespace {

using ssml::Encoding;
using ssml::SourceText;
using testing::ElementsAre;

TEST(Ipa, WritesPhonesTogether) {
  EXPECT_EQ(ssml::toIpa("h ah0 l ow0"), "h\u0259lo\u028A");
}

TEST(Ipa, PutsStressBeforeTheSyllable) {
  EXPECT_EQ(ssml::toIpa("h ah0 l ow1"), "h\u0259\u02C8lo\u028A");
  EXPECT_EQ(ssml::toIpa("s t r ey1 t"), "\u02C8st\u0279e\u026At");
  EXPECT_EQ(ssml::toIpa("ae0 m b r ow1 s"), "\u00E6m\u02C8b\u0279o\u028As");
  EXPECT_EQ(ssml::toIpa("ih0 n s p eh1 k t"), "\u026An\u02C8sp\u025Bkt");
  EXPECT_EQ(ssml::toIpa("s ih0 ng ih1 t"), "s\u026A\u014B\u02C8\u026At");
}

TEST(Ipa, DistinguishesTheStressedSchwa) {
  EXPECT_EQ(ssml::toIpa("ah1"), "\u02C8\u028C");
  EXPECT_EQ(ssml::toIpa("ah0"), "\u0259");
}

TEST(Ipa, WritesAPauseAsABlankBetweenPhones) {
  EXPECT_EQ(ssml::toIpa("pau b i0 pau pau b i1 pau"), "bi \u02C8bi");
}

TEST(Ipa, ReadsPhonesWithoutBlanks) {
  EXPECT_EQ(ssml::toIpa("ow0w ah1 r"), "o\u028A\u02C8w\u028C\u0279");
}

TEST(Ipa, WritesEveryPhoneOfTheTable) {
  BuildPhoneTranslationTables();
  for (const auto& [symbol, phone] : gBrevoldPhones) {
    if (phone.phone.empty() || phone.phone == "pau") continue;
    EXPECT_NE(ssml::toIpa(phone.phone), "") << phone.phone;
  }
}

TEST(ProsodyValues, AreInTheNotationOfTheStandard) {
  EXPECT_EQ(ssml::standardVolume("50"), "-6.02dB");
  EXPECT_EQ(ssml::standardVolume("1e-300"), "-100dB");
  EXPECT_EQ(ssml::standardVolume("-5"), "silent");
  EXPECT_EQ(ssml::standardVolume("nan"), "silent");
  EXPECT_EQ(ssml::standardRate("200"), "111.11%");
  EXPECT_EQ(ssml::standardRate("0.0001"), "1%");
  EXPECT_EQ(ssml::standardHertz("1e+07Hz"), "100000Hz");
  EXPECT_EQ(ssml::standardTime("500ms"), "500ms");
  EXPECT_EQ(ssml::standardTime("0.5ms"), "0.5ms");
  EXPECT_EQ(ssml::standardTime("5.ms"), "5ms");
  EXPECT_EQ(ssml::standardTime("ms"), "");
  EXPECT_EQ(ssml::standardTime("1e3ms"), "");
  EXPECT_EQ(ssml::standardMark("-65536"), "65535");
}

TEST(SourceText, CountsLinesWithAllLineEnds) {
  const SourceText text("a\nb\r\nc\rd", Encoding::MacRoman);
  EXPECT_EQ(text.locationOf(2).line, 2u);
  EXPECT_EQ(text.locationOf(5).line, 3u);
  EXPECT_EQ(text.locationOf(7).line, 4u);
  EXPECT_EQ(text.locationOf(7).column, 1u);
}

TEST(SourceText, CountsColumnsInCharacters) {
  const SourceText text("\u00E9\u20ACx", Encoding::Utf8);
  EXPECT_EQ(text.locationOf(5).column, 3u);
}

TEST(SourceText, ShowsTheCallersBytesInUtf8) {
  EXPECT_EQ(SourceText("\x8E", Encoding::MacRoman).displayText(0, 1), "\u00E9");
  EXPECT_EQ(SourceText("\xA4", Encoding::Latin9).displayText(0, 1), "\u20AC");
  EXPECT_EQ(SourceText("\xFF", Encoding::Utf8).displayText(0, 1), "\uFFFD");
}

}  // namespace

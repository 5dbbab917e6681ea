// SPDX-License-Identifier: Apache-2.0
//
// Compares the product's converter and offset map with the oracle on random input. The seeds are
// fixed; KAVREL_TEST_SEED selects another range.
#include <cstdlib>

#include "SpeechMgrUtils.h"
#include "base/text/Utf8.h"
#include "conversions/ComparedConversion.h"
#include "conversions/RandomTexts.h"

namespace {

using conversion::RandomTexts;

unsigned int firstSeed() {
  const char* seed = std::getenv("KAVREL_TEST_SEED");
  return seed != nullptr ? static_cast<unsigned int>(std::strtoul(seed, nullptr, 10)) : 1;
}

TEST(RandomConversions, EqualTheOracleInTextErrorRecordsRangesOffsetsAndOrigins) {
  for (unsigned int seed = firstSeed(), end = seed + 4000; seed != end; ++seed) {
    RandomTexts random(seed);
    const std::string text = random.text(seed % 7 == 0 ? 40 : 10);
    const auto settings = random.settings();
    const auto output = random.below(8) == 0 ? oracle::Output::PlainText : oracle::Output::Ssml;
    SCOPED_TRACE("seed " + std::to_string(seed) + ": " + text);
    conversion::expectSameAsOracle(text, settings, output);
    if (testing::Test::HasFatalFailure()) return;
  }
}

// Commands with no plain text between them produce lists that are not in order.
TEST(RandomConversions, EqualTheOracleForAdjacentCommands) {
  constexpr std::array<std::string_view, 10> kCommands = {"[[emph +]]",    "[[rate 1]]",
                                                          "[[ctxt WSKP]]", "[[ctxt TSKP]]",
                                                          "[[ctxt WSKP",   "[[inpt TUNE]]",
                                                          "[[slnc 1]]",    "x",
                                                          "[[inpt TEXT]]", ";"};
  for (unsigned int seed = firstSeed(), end = seed + 4000; seed != end; ++seed) {
    RandomTexts random(seed);
    std::string text;
    for (std::size_t i = random.below(12); i > 0; --i) {
      text += kCommands[random.below(kCommands.size())];
    }
    SCOPED_TRACE("seed " + std::to_string(seed) + ": " + text);
    conversion::expectSameAsOracle(text, random.settings(), oracle::Output::Ssml);
    if (testing::Test::HasFatalFailure()) return;
  }
}

TEST(RandomRecords, GiveTheSameListsAndOffsetsAsTheOracle) {
  for (unsigned int seed = firstSeed(), end = seed + 2000; seed != end; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    RandomTexts random(seed);
    OffsetMap fast;
    oracle::OffsetMap slow;
    const std::size_t spread = 4 + random.below(200);
    for (std::size_t i = random.below(150); i > 0; --i) {
      const auto pos = static_cast<unsigned int>(random.below(spread));
      const int amount = static_cast<int>(random.below(12)) - static_cast<int>(random.below(8) / 6);
      const auto type = random.below(2) == 0 ? OffsetMap::APPLE_TOKEN : OffsetMap::SSML_TOKEN;
      const bool inserted = random.below(4) == 0;
      fast.insert(pos, amount, type, inserted);
      slow.insert(pos, amount, type, inserted);
      if (random.below(60) == 0) {
        ASSERT_EQ(fast.offset(pos), slow.offset(pos));
      }
    }
    ASSERT_TRUE(conversion::recordsOf(fast.records()) == slow.records());
    ASSERT_EQ(conversion::offsetsUpTo(fast, 2 * spread), conversion::offsetsUpTo(slow, 2 * spread));
    ASSERT_TRUE(conversion::recordsOf(fast.appleRangeList()) == slow.appleRanges());
    ASSERT_TRUE(conversion::recordsOf(fast.ssmlRangeList()) == slow.ssmlRanges());
  }
}

TEST(RandomRecords, GiveTheSameOffsetsWhereThe32BitArithmeticWraps) {
  for (unsigned int seed = firstSeed(), end = seed + 500; seed != end; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    OffsetMap fast;
    oracle::OffsetMap slow;
    for (int i = 0; i < 12; ++i) {
      const auto pos = static_cast<unsigned int>(random());
      const auto amount = static_cast<int>(random());
      const auto type = i % 3 == 0 ? OffsetMap::SSML_TOKEN : OffsetMap::APPLE_TOKEN;
      fast.insert(pos, amount, type, i % 5 == 0);
      slow.insert(pos, amount, type, i % 5 == 0);
    }
    for (int i = 0; i < 100; ++i) {
      const auto position = static_cast<unsigned int>(random());
      ASSERT_EQ(fast.offset(position), slow.offset(position)) << position;
    }
  }
}

TEST(RandomPreparations, EqualTheOracle) {
  BuildPhoneTranslationTables();
  for (unsigned int seed = firstSeed(), end = seed + 2000; seed != end; ++seed) {
    RandomTexts random(seed);
    std::string text = random.text(10);
    for (std::size_t i = random.below(20); i > 0; --i) {
      text.insert(random.below(text.size() + 1), 1, static_cast<char>(1 + random.below(255)));
    }
    SCOPED_TRACE("seed " + std::to_string(seed) + ": " + text);
    ASSERT_EQ(PreprocessText(reinterpret_cast<unsigned char*>(text.data())), oracle::prepare(text));
  }
}

// ---- UTF-8

// Replaces each byte above ASCII by a character of several bytes. Some have bytes that are blanks
// or keys in 8-bit text: 85, A0 and F0.
std::string inUtf8(const std::string& text, RandomTexts& random) {
  constexpr std::array<std::string_view, 8> kCharacters = {
      "\u00E9", "\u0445", "\u00E0", "\u4E66", "\uF8FF", "\U0001F600", "\U00010348", "\u3000"};
  std::string result;
  for (const char byte : text) {
    if (static_cast<unsigned char>(byte) < 0x80) {
      result += byte;
    } else {
      result += kCharacters[random.below(kCharacters.size())];
    }
  }
  return result;
}

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const base::Utf8Character character = base::firstCharacter(text);
    if (character.length == 0) return false;
    text.remove_prefix(character.length);
  }
  return true;
}

TEST(RandomUtf8, EqualsTheOracleAndStaysWellFormed) {
  BuildPhoneTranslationTables();
  for (unsigned int seed = firstSeed(), end = seed + 4000; seed != end; ++seed) {
    RandomTexts random(seed);
    std::string text = random.text(10);
    for (std::size_t i = random.below(20); i > 0; --i) {
      text.insert(random.below(text.size() + 1), 1, static_cast<char>(1 + random.below(255)));
    }
    text = inUtf8(text, random);
    SCOPED_TRACE("seed " + std::to_string(seed) + ": " + text);
    PositionMap positions;
    const std::string prepared =
        PreprocessText(reinterpret_cast<unsigned char*>(text.data()), &positions, TextForm::Utf8);
    ASSERT_EQ(prepared, oracle::prepareUtf8(text));
    const auto settings = random.settings();
    const oracle::Result expected = oracle::convert(prepared, settings, oracle::Output::Ssml, true);
    const oracle::Result actual =
        conversion::convertByProduct(prepared, settings, oracle::Output::Ssml, true);
    ASSERT_EQ(actual.error, expected.error);
    ASSERT_EQ(actual.converted, expected.converted);
    ASSERT_TRUE(actual.records == expected.records);
    ASSERT_EQ(actual.origins, expected.origins);
    ASSERT_TRUE(isUtf8(actual.converted));
  }
}

TEST(Utf8Preparation, IsThatOf8BitTextButForTheLogo) {
  BuildPhoneTranslationTables();
  const auto prepared = [](std::string text) {
    return PreprocessText(reinterpret_cast<unsigned char*>(text.data()), nullptr, TextForm::Utf8);
  };
  EXPECT_EQ(prepared("<\u00E9> & \u0445"), "&lt;\u00E9&gt; &amp; \u0445");
  EXPECT_EQ(prepared("\u00E9OS X \u00E0 OS X"), "\u00E9OS 10 \u00E0 OS 10");
  EXPECT_EQ(prepared("\uF8FF \U0001F600 \U00010348"), "Apple \U0001F600 \U00010348");
  // Malformed text stays as it is.
  for (const std::string broken : {"\xC3", "\xEF\xA3", "\xF0", "\xF8", "\xED\xA0\x80"}) {
    EXPECT_EQ(prepared("a" + broken), "a" + broken);
  }
}

TEST(Utf8Conversion, MovesAWholeCharacterOutOfAWord) {
  const auto converted = [](const std::string& text, bool utf8) {
    return conversion::convertByProduct(text, std::nullopt, oracle::Output::Ssml, utf8).converted;
  };
  const std::string text = "[[emph +]][[rate 200]]caf\u00E9[[rset 0]]";
  EXPECT_NE(converted(text, true).find("caf</emphasis>\u00E9"), std::string::npos);
  EXPECT_NE(converted(text, false).find("caf\xC3</emphasis>\xA9"), std::string::npos);
}

}  // namespace

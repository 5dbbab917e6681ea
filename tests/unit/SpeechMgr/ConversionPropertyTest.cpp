// SPDX-License-Identifier: Apache-2.0
//
// Compares the product's converter and offset map with the oracle on random input. The seeds are
// fixed; KAVREL_TEST_SEED selects another range.
#include <cstdlib>

#include "SpeechMgrUtils.h"
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

}  // namespace

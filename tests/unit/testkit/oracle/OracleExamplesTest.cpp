// SPDX-License-Identifier: Apache-2.0
//
// Compares the oracle with the worked examples.
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "conversions/CommandExamples.h"
#include "conversions/ConversionExamples.h"
#include "conversions/OffsetExamples.h"
#include "conversions/PreparationExamples.h"
#include "oracle/Oracle.h"
#include "oracle/OracleTokens.h"

namespace {

std::optional<oracle::Settings> settingsOf(const std::optional<examples::Settings>& given) {
  if (!given) return std::nullopt;
  oracle::Settings settings;
  settings.speakPhones = given->speakPhones;
  settings.spellOut = given->spellOut;
  settings.sayDigits = given->sayDigits;
  settings.volume = given->volume;
  settings.wpm = given->wpm;
  settings.pitchBase = given->pitchBase;
  settings.pitchAssumedBase = given->pitchAssumedBase;
  settings.pitchRange = given->pitchRange;
  return settings;
}

oracle::Output outputOf(examples::Format format) {
  return format == examples::Format::Ssml ? oracle::Output::Ssml : oracle::Output::PlainText;
}

oracle::Error errorOf(examples::Failure failure) {
  switch (failure) {
    case examples::Failure::None:
      return oracle::Error::None;
    case examples::Failure::IndexOutOfRange:
      return oracle::Error::IndexOutOfRange;
    case examples::Failure::BadPhoneSequence:
      return oracle::Error::BadPhoneSequence;
    case examples::Failure::OutOfRange:
      return oracle::Error::OutOfRange;
  }
  return oracle::Error::None;
}

std::vector<oracle::Record> recordsOf(const std::vector<examples::OffsetRecord>& list) {
  std::vector<oracle::Record> records;
  for (const auto& each : list) {
    records.push_back({each.pos, each.amount, each.insertedCode, each.type});
  }
  return records;
}

const auto kName = [](const auto& info) { return info.param.shows; };

class OracleConversion : public testing::TestWithParam<examples::ConversionExample> {};

TEST_P(OracleConversion, GivesTheExpectedText) {
  const auto& example = GetParam();
  const oracle::Result result =
      oracle::convert(example.text, settingsOf(example.settings), outputOf(example.format));
  EXPECT_EQ(result.error, errorOf(example.failure));
  EXPECT_EQ(result.converted, example.converted);
}

INSTANTIATE_TEST_SUITE_P(Examples, OracleConversion,
                         testing::ValuesIn(examples::conversionExamples()), kName);

class OracleOffsetMap : public testing::TestWithParam<examples::OffsetExample> {
 protected:
  oracle::OffsetMap recorded() const {
    oracle::OffsetMap map;
    for (const auto& each : GetParam().recorded) {
      map.insert(each.pos, each.amount, each.type, each.insertedCode);
    }
    return map;
  }
};

TEST_P(OracleOffsetMap, KeepsTheExpectedRecords) {
  EXPECT_TRUE(recorded().records() == recordsOf(GetParam().records));
}

TEST_P(OracleOffsetMap, DerivesTheExpectedRanges) {
  oracle::OffsetMap map = recorded();
  map.buildFinalLists();
  EXPECT_TRUE(map.finalListsBuilt());
  EXPECT_TRUE(map.appleRanges() == recordsOf(GetParam().appleRanges));
  EXPECT_TRUE(map.ssmlRanges() == recordsOf(GetParam().ssmlRanges));
}

TEST_P(OracleOffsetMap, CorrectsPositions) {
  oracle::OffsetMap map = recorded();
  for (const auto& [position, amount] : GetParam().corrections) {
    EXPECT_EQ(static_cast<std::int32_t>(map.offset(position)), amount) << "at " << position;
  }
}

TEST_P(OracleOffsetMap, IsEmptyAndStaleOnceCleaned) {
  oracle::OffsetMap map = recorded();
  map.buildFinalLists();
  map.clean();
  EXPECT_FALSE(map.finalListsBuilt());
  EXPECT_TRUE(map.records().empty());
  EXPECT_TRUE(map.appleRanges().empty());
  EXPECT_TRUE(map.ssmlRanges().empty());
}

INSTANTIATE_TEST_SUITE_P(Examples, OracleOffsetMap, testing::ValuesIn(examples::offsetExamples()),
                         kName);

class OracleCommand : public testing::TestWithParam<examples::CommandExample> {};

TEST_P(OracleCommand, HasTheExpectedWordsAndKind) {
  const std::vector<std::string> words = oracle::splitCommand(GetParam().command);
  EXPECT_EQ(words, GetParam().words);
  EXPECT_EQ(static_cast<int>(oracle::classify(words)), GetParam().kind);
}

INSTANTIATE_TEST_SUITE_P(Examples, OracleCommand, testing::ValuesIn(examples::commandExamples()),
                         kName);

class OraclePreparation : public testing::TestWithParam<examples::PreparationExample> {};

TEST_P(OraclePreparation, GivesTheExpectedText) {
  EXPECT_EQ(oracle::prepare(GetParam().text), GetParam().prepared);
}

INSTANTIATE_TEST_SUITE_P(Examples, OraclePreparation,
                         testing::ValuesIn(examples::preparationExamples()), kName);

}  // namespace

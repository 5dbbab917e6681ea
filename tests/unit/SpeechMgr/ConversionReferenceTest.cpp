// SPDX-License-Identifier: Apache-2.0
//
// Compares the product's converter with the reference conversions and the worked examples.
#include "SpeechMgrUtils.h"
#include "conversions/CommandExamples.h"
#include "conversions/ComparedConversion.h"
#include "conversions/PreparationExamples.h"
#include "conversions/ReferenceVectors.h"

namespace {

using reference::Vector;

using ReferenceConversion = reference::VectorSuite;

TEST_P(ReferenceConversion, GivesTheSameTextOrError) {
  for (const Vector& vector : vectors()) {
    SCOPED_TRACE(vector.name);
    const oracle::Result result =
        conversion::convertByProduct(vector.text, vector.settings, vector.output);
    EXPECT_EQ(result.error, reference::errorOf(vector.expected["error"]));
    if (!vector.expected["converted"].is_null()) {
      EXPECT_EQ(result.converted, reference::bytesOf(vector.expected["converted"]));
    }
  }
}

TEST_P(ReferenceConversion, GivesTheSameRecordsRangesAndOffsets) {
  for (const Vector& vector : vectors()) {
    if (!vector.expected["error"].is_null()) continue;
    SCOPED_TRACE(vector.name);
    const std::string text = vector.text;
    const oracle::Result result =
        conversion::convertByProduct(text, vector.settings, vector.output);
    EXPECT_TRUE(result.records == reference::recordsOf(vector.expected["records"]));
    EXPECT_TRUE(result.appleRanges == reference::recordsOf(vector.expected["apple_ranges"]));
    EXPECT_TRUE(result.ssmlRanges == reference::recordsOf(vector.expected["ssml_ranges"]));

    const std::unique_ptr<OffsetMap> offsets(
        conversion::converterFor(text, vector.settings, vector.output).getOffsets());
    const auto expected = vector.expected["offsets"].get<std::vector<std::int32_t>>();
    EXPECT_EQ(conversion::offsetsUpTo(*offsets, expected.size() - 1), expected);
  }
}

INSTANTIATE_TEST_SUITE_P(Plain, ReferenceConversion, testing::Values(reference::kPlainFile),
                         [](const auto&) { return std::string("Texts"); });
INSTANTIATE_TEST_SUITE_P(Odd, ReferenceConversion, testing::Values(reference::kOddFile),
                         [](const auto&) { return std::string("Texts"); });

const auto kName = [](const auto& info) { return info.param.shows; };

std::optional<oracle::Settings> settingsOf(const std::optional<examples::Settings>& given) {
  if (!given) return std::nullopt;
  return oracle::Settings{given->speakPhones,      given->spellOut,  given->sayDigits,
                          given->volume,           given->wpm,       given->pitchBase,
                          given->pitchAssumedBase, given->pitchRange};
}

class Conversion : public testing::TestWithParam<examples::ConversionExample> {};

TEST_P(Conversion, GivesTheExpectedText) {
  const auto& example = GetParam();
  const oracle::Result result = conversion::convertByProduct(
      example.text, settingsOf(example.settings),
      example.format == examples::Format::Ssml ? oracle::Output::Ssml : oracle::Output::PlainText);
  EXPECT_EQ(static_cast<int>(result.error), static_cast<int>(example.failure));
  EXPECT_EQ(result.converted, example.converted);
}

INSTANTIATE_TEST_SUITE_P(Examples, Conversion, testing::ValuesIn(examples::conversionExamples()),
                         kName);

class OffsetMapExample : public testing::TestWithParam<examples::OffsetExample> {};

std::vector<oracle::Record> recordsOf(const std::vector<examples::OffsetRecord>& list) {
  std::vector<oracle::Record> records;
  for (const auto& each : list) {
    records.push_back({each.pos, each.amount, each.insertedCode, each.type});
  }
  return records;
}

TEST_P(OffsetMapExample, GivesTheExpectedRecordsRangesAndCorrections) {
  const auto& example = GetParam();
  OffsetMap map;
  for (const auto& each : example.recorded) {
    map.insert(each.pos, each.amount, static_cast<OffsetMap::TokenType>(each.type),
               each.insertedCode);
  }
  EXPECT_TRUE(conversion::recordsOf(map.records()) == recordsOf(example.records));
  map.buildFinalLists();
  EXPECT_TRUE(conversion::recordsOf(map.appleRangeList()) == recordsOf(example.appleRanges));
  EXPECT_TRUE(conversion::recordsOf(map.ssmlRangeList()) == recordsOf(example.ssmlRanges));
  for (const examples::Correction& each : example.corrections) {
    EXPECT_EQ(static_cast<std::int32_t>(map.offset(each.position)), each.amount) << each.position;
  }
}

INSTANTIATE_TEST_SUITE_P(Examples, OffsetMapExample, testing::ValuesIn(examples::offsetExamples()),
                         kName);

class Command : public testing::TestWithParam<examples::CommandExample> {};

TEST_P(Command, IsSplitAndClassified) {
  const auto& example = GetParam();
  AppleMarkupToken token;
  token.setTokenString(example.command);
  EXPECT_EQ(token.getTokenType(), example.kind);
  EXPECT_EQ(token.getTokenString(), example.command);
  EXPECT_EQ(token.getTokenStringSize(), static_cast<int>(example.command.size()));
  std::vector<std::string> words;
  if (!example.words.empty()) words.push_back(token.getTokenClass());
  for (int i = 0; i + 1 < static_cast<int>(example.words.size()); ++i) {
    words.push_back(token.getTokenArg(i));
  }
  EXPECT_EQ(words, example.words);
  EXPECT_EQ(token.getTokenArg(static_cast<int>(example.words.size())), "");
}

INSTANTIATE_TEST_SUITE_P(Examples, Command, testing::ValuesIn(examples::commandExamples()), kName);

class Preparation : public testing::TestWithParam<examples::PreparationExample> {};

TEST_P(Preparation, GivesTheExpectedText) {
  BuildPhoneTranslationTables();
  std::string text = GetParam().text;
  EXPECT_EQ(PreprocessText(reinterpret_cast<unsigned char*>(text.data())), GetParam().prepared);
  EXPECT_EQ(text, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Examples, Preparation, testing::ValuesIn(examples::preparationExamples()),
                         kName);

}  // namespace

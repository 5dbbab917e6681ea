// SPDX-License-Identifier: Apache-2.0
//
// Adapters that give the product's converter and offset map the interface of the oracle and of the
// examples, so that one line compares them.
#pragma once

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "AppleMarkupConverter.h"
#include "AppleSynthesisError.h"
#include "conversions/ConversionExamples.h"
#include "conversions/OffsetExamples.h"
#include "oracle/Oracle.h"

namespace conversion {

inline SpeechMgrEnv environmentOf(const oracle::Settings& settings) {
  SpeechMgrEnv environment;
  environment.speakPhones = settings.speakPhones;
  environment.spellOut = settings.spellOut;
  environment.sayDigits = settings.sayDigits;
  environment.volume = settings.volume;
  environment.wpm = settings.wpm;
  environment.pitchBase = settings.pitchBase;
  environment.pitchAssumedBase = settings.pitchAssumedBase;
  environment.pitchRange = settings.pitchRange;
  return environment;
}

inline oracle::Settings settingsOf(const SpeechMgrEnv& environment) {
  return {environment.speakPhones,      environment.spellOut,  environment.sayDigits,
          environment.volume,           environment.wpm,       environment.pitchBase,
          environment.pitchAssumedBase, environment.pitchRange};
}

inline AppleMarkupConverter converterFor(const std::string& text,
                                         const std::optional<oracle::Settings>& settings,
                                         oracle::Output output) {
  const auto format =
      output == oracle::Output::Ssml ? AppleMarkupConverter::SSML : AppleMarkupConverter::PLAINTEXT;
  if (!settings) return AppleMarkupConverter(text, format);
  return AppleMarkupConverter(text, format, environmentOf(*settings));
}

inline std::vector<oracle::Record> recordsOf(const std::vector<OffsetMap::Offset>& list) {
  std::vector<oracle::Record> records;
  records.reserve(list.size());
  for (const OffsetMap::Offset& each : list) {
    records.push_back({each.pos, each.amount, each.insertedCode, each.type});
  }
  return records;
}

inline std::vector<std::size_t> originsOf(const PositionMap& positions) {
  std::vector<std::size_t> origins;
  for (std::uint32_t p = 0; p < positions.length(); ++p) origins.push_back(positions.origin(p));
  return origins;
}

// Does what oracle::convert does, with the product's converter.
inline oracle::Result convertByProduct(const std::string& text,
                                       const std::optional<oracle::Settings>& settings,
                                       oracle::Output output, bool utf8 = false) {
  oracle::Result result;
  try {
    AppleMarkupConverter converter = converterFor(text, settings, output);
    if (utf8) converter.useUtf8();
    const std::string converted = converter.getConvertedText();
    const std::unique_ptr<OffsetMap> offsets(converter.getOffsets());
    offsets->buildFinalLists();
    result.converted = converted;
    result.records = recordsOf(offsets->records());
    result.appleRanges = recordsOf(offsets->appleRangeList());
    result.ssmlRanges = recordsOf(offsets->ssmlRangeList());
    result.origins = originsOf(converter.getPositions());
  } catch (const AppleSynthesisError& error) {
    result.error = error.getErrorType() == BAD_PHONE_SEQUENCE ? oracle::Error::BadPhoneSequence
                                                              : oracle::Error::IndexOutOfRange;
  } catch (const std::out_of_range&) {
    result.error = oracle::Error::OutOfRange;
  }
  return result;
}

// The corrections at positions 0 … `last`.
template <typename Map>
std::vector<std::int32_t> offsetsUpTo(Map& map, std::size_t last) {
  std::vector<std::int32_t> offsets;
  for (std::uint32_t p = 0; p <= last; ++p) {
    offsets.push_back(static_cast<std::int32_t>(map.offset(p)));
  }
  return offsets;
}

// Checks that every result of the product for `text` equals the oracle's result.
inline void expectSameAsOracle(const std::string& text,
                               const std::optional<oracle::Settings>& settings,
                               oracle::Output output) {
  const oracle::Result expected = oracle::convert(text, settings, output);
  const oracle::Result actual = convertByProduct(text, settings, output);
  ASSERT_EQ(actual.error, expected.error);
  ASSERT_EQ(actual.converted, expected.converted);
  ASSERT_TRUE(actual.records == expected.records);
  ASSERT_TRUE(actual.appleRanges == expected.appleRanges);
  ASSERT_TRUE(actual.ssmlRanges == expected.ssmlRanges);
  ASSERT_EQ(actual.origins, expected.origins);
  if (expected.error != oracle::Error::None) return;

  oracle::OffsetMap slow = oracle::offsetsOf(text, settings, output);
  const std::unique_ptr<OffsetMap> fast(converterFor(text, settings, output).getOffsets());
  const std::size_t last = expected.converted.size() + 8;
  ASSERT_EQ(offsetsUpTo(*fast, last), offsetsUpTo(slow, last));
}

}  // namespace conversion

// SPDX-License-Identifier: Apache-2.0
//
// The oracle against the reference conversions, and the true origins against what they promise.
#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "oracle/Oracle.h"

namespace {

using nlohmann::json;

std::string bytesOf(const json& latin1) {
  const std::string utf8 = latin1.get<std::string>();
  std::string bytes;
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const unsigned lead = static_cast<unsigned char>(utf8[i]);
    if (lead < 0x80) {
      bytes += utf8[i];
    } else {
      const unsigned trail = static_cast<unsigned char>(utf8.at(++i));
      bytes += static_cast<char>(((lead & 0x03) << 6) | (trail & 0x3F));
    }
  }
  return bytes;
}

std::vector<oracle::Record> recordsOf(const json& list) {
  std::vector<oracle::Record> records;
  for (const json& entry : list) {
    records.push_back({entry[0].get<std::uint32_t>(), entry[1].get<std::int32_t>(),
                       entry[2].get<bool>(), entry[3].get<int>()});
  }
  return records;
}

struct Vector {
  std::string name;
  std::string text;
  std::optional<oracle::Settings> settings;
  oracle::Output output;
  json expected;
};

std::optional<oracle::Settings> settingsOf(const json& env) {
  if (env.is_null()) return std::nullopt;
  oracle::Settings settings;
  settings.speakPhones = env["speakPhones"].get<bool>();
  settings.spellOut = env["spellOut"].get<bool>();
  settings.sayDigits = env["sayDigits"].get<bool>();
  settings.volume = env["volume"].get<double>();
  settings.wpm = env["wpm"].get<double>();
  settings.pitchBase = env["pitchBase"].get<long>();
  settings.pitchAssumedBase = env["pitchAssumedBase"].get<int>();
  settings.pitchRange = env["pitchRange"].get<long>();
  return settings;
}

std::vector<Vector> vectorsIn(const std::string& file) {
  std::ifstream in(std::string(KAVREL_VECTORS_DIR) + "/" + file);
  std::vector<Vector> vectors;
  std::string line;
  while (std::getline(in, line)) {
    const json object = json::parse(line);
    Vector vector;
    vector.name = file + ":" + std::to_string(vectors.size() + 1);
    vector.text = bytesOf(object["text"]);
    if (object["preprocess"].get<bool>()) vector.text = oracle::prepare(vector.text);
    vector.settings = settingsOf(object["env"]);
    vector.output = object["output"] == "ssml" ? oracle::Output::Ssml : oracle::Output::PlainText;
    vector.expected = object["expected"];
    vectors.push_back(vector);
  }
  return vectors;
}

oracle::Error errorOf(const json& expected) {
  if (expected.is_null()) return oracle::Error::None;
  if (expected == "INDEX_OUT_OF_RANGE") return oracle::Error::IndexOutOfRange;
  if (expected == "BAD_PHONE_SEQUENCE") return oracle::Error::BadPhoneSequence;
  EXPECT_EQ(expected, "OUT_OF_RANGE");
  return oracle::Error::OutOfRange;
}

struct VectorFile {
  std::string name;
  std::size_t count;
};

class ReferenceConversions : public testing::TestWithParam<VectorFile> {
 protected:
  std::vector<Vector> vectors() const {
    const std::vector<Vector> all = vectorsIn(GetParam().name);
    EXPECT_EQ(all.size(), GetParam().count);
    return all;
  }
};

TEST_P(ReferenceConversions, GiveTheSameTextOrTheSameError) {
  for (const Vector& vector : vectors()) {
    SCOPED_TRACE(vector.name + ": " + vector.text);
    const oracle::Result result = oracle::convert(vector.text, vector.settings, vector.output);
    EXPECT_EQ(result.error, errorOf(vector.expected["error"]));
    if (!vector.expected["converted"].is_null()) {
      EXPECT_EQ(result.converted, bytesOf(vector.expected["converted"]));
    }
  }
}

TEST_P(ReferenceConversions, GiveTheSameRecordsAndRanges) {
  for (const Vector& vector : vectors()) {
    if (!vector.expected["error"].is_null()) continue;
    SCOPED_TRACE(vector.name + ": " + vector.text);
    const oracle::Result result = oracle::convert(vector.text, vector.settings, vector.output);
    EXPECT_TRUE(result.records == recordsOf(vector.expected["records"]));
    EXPECT_TRUE(result.appleRanges == recordsOf(vector.expected["apple_ranges"]));
    EXPECT_TRUE(result.ssmlRanges == recordsOf(vector.expected["ssml_ranges"]));
  }
}

TEST_P(ReferenceConversions, GiveTheSameOffsetAtEveryPosition) {
  for (const Vector& vector : vectors()) {
    if (!vector.expected["error"].is_null()) continue;
    SCOPED_TRACE(vector.name + ": " + vector.text);
    oracle::OffsetMap map = oracle::offsetsOf(vector.text, vector.settings, vector.output);
    std::vector<std::int32_t> offsets;
    for (std::uint32_t p = 0; p < vector.expected["offsets"].size(); ++p) {
      offsets.push_back(static_cast<std::int32_t>(map.offset(p)));
    }
    EXPECT_EQ(offsets, vector.expected["offsets"].get<std::vector<std::int32_t>>());
  }
}

TEST_P(ReferenceConversions, GiveEveryByteAnOriginInTheText) {
  for (const Vector& vector : vectors()) {
    SCOPED_TRACE(vector.name + ": " + vector.text);
    const oracle::Result result = oracle::convert(vector.text, vector.settings, vector.output);
    ASSERT_EQ(result.origins.size(), result.converted.size());
    std::size_t last = 0;
    for (std::size_t origin : result.origins) {
      EXPECT_GE(origin, last);
      EXPECT_LE(origin, vector.text.size());
      last = origin;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Plain, ReferenceConversions,
                         testing::Values(VectorFile{"conversion.jsonl", 300}),
                         [](const auto&) { return std::string("Texts"); });
INSTANTIATE_TEST_SUITE_P(Odd, ReferenceConversions,
                         testing::Values(VectorFile{"conversion-odd.jsonl", 200}),
                         [](const auto&) { return std::string("Texts"); });

}  // namespace

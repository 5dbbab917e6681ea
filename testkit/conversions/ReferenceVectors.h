// SPDX-License-Identifier: Apache-2.0
//
// Reads the reference conversions in vectors/: texts with their converted text, records and
// offsets. KAVREL_VECTORS_DIR is the path of that folder. Malformed files end in an exception of
// the JSON parser.
#pragma once

#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "oracle/Oracle.h"

namespace reference {

using nlohmann::json;

// The files store bytes as the characters U+0000 to U+00FF, which UTF-8 encodes in one or two
// bytes.
inline std::string bytesOf(const json& latin1) {
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

inline std::vector<oracle::Record> recordsOf(const json& list) {
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

inline std::optional<oracle::Settings> settingsOf(const json& env) {
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

// Reads a file of vectors; a missing file has no vectors, which VectorSuite reports.
inline std::vector<Vector> vectorsIn(const std::string& file) {
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

inline oracle::Error errorOf(const json& expected) {
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

inline const VectorFile kPlainFile{"conversion.jsonl", 300};
inline const VectorFile kOddFile{"conversion-odd.jsonl", 200};

// The suite's parameter is the file; vectors() checks that the file is complete.
class VectorSuite : public testing::TestWithParam<VectorFile> {
 protected:
  std::vector<Vector> vectors() const {
    const std::vector<Vector> all = vectorsIn(GetParam().name);
    EXPECT_EQ(all.size(), GetParam().count);
    return all;
  }
};

}  // namespace reference

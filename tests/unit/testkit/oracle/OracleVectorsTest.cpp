// SPDX-License-Identifier: Apache-2.0
//
// Compares the oracle with the reference conversions, and checks the properties of exact origins.
#include "conversions/ReferenceVectors.h"

namespace {

using reference::bytesOf;
using reference::errorOf;
using reference::recordsOf;
using reference::Vector;

using ReferenceConversions = reference::VectorSuite;

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

INSTANTIATE_TEST_SUITE_P(Plain, ReferenceConversions, testing::Values(reference::kPlainFile),
                         [](const auto&) { return std::string("Texts"); });
INSTANTIATE_TEST_SUITE_P(Odd, ReferenceConversions, testing::Values(reference::kOddFile),
                         [](const auto&) { return std::string("Texts"); });

}  // namespace

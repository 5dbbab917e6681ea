// SPDX-License-Identifier: Apache-2.0
//
// All rates in steps of ten, for texts of several kinds.
#include <string>

#include <gtest/gtest.h>

#include "Recording.h"

using test::prosody;
using test::record;

class EveryRate : public testing::TestWithParam<const char*> {};

TEST_P(EveryRate, IsAccurateWithinATenth) {
  const std::string text = GetParam();
  const double plain = record(text).heard().seconds();
  for (int rate = 90; rate <= 600; rate += 10) {
    const double found =
        record(prosody("rate='" + std::to_string(rate) + "'", text)).heard().seconds();
    EXPECT_NEAR(found * rate / (plain * 180), 1, 0.1) << rate;
  }
}

INSTANTIATE_TEST_SUITE_P(
    OfTexts, EveryRate,
    testing::Values(
        "The quick brown fox jumps over the lazy dog.",
        "When we speak of free software, we are referring to freedom, not price. Our licenses are "
        "designed to make sure that you have the freedom to distribute copies.",
        "The harbour was quiet that morning. A single boat, painted green, lay at the quay! Who "
        "had left it there? Nobody could say; the keeper had seen 12 sails go out.",
        "One two three four five six seven eight nine ten."));

// SPDX-License-Identifier: Apache-2.0
//
// Fixed-point arithmetic at its limits. Numbers are written as their 32 bits.
#include <ApplicationServices/FixMath.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

#include <gtest/gtest.h>

namespace {

constexpr Fixed kOne = 0x00010000;
constexpr Fixed kHalf = 0x00008000;
constexpr Fixed kSmallest = std::numeric_limits<Fixed>::min();
constexpr Fixed kLargest = std::numeric_limits<Fixed>::max();

TEST(Long2Fix, KeepsWholeNumbers) {
  EXPECT_EQ(Long2Fix(180), 0x00B40000);
  EXPECT_EQ(Long2Fix(0), 0);
  EXPECT_EQ(Long2Fix(-1), -kOne);
  EXPECT_EQ(Long2Fix(32767), 0x7FFF0000);
  EXPECT_EQ(Long2Fix(-32768), kSmallest);
}

TEST(Long2Fix, SaturatesAtTheLimitsOfFixed) {
  EXPECT_EQ(Long2Fix(32768), kLargest);
  EXPECT_EQ(Long2Fix(65536), kLargest);
  EXPECT_EQ(Long2Fix(LONG_MAX), kLargest);
  EXPECT_EQ(Long2Fix(-32769), kSmallest);
  EXPECT_EQ(Long2Fix(LONG_MIN), kSmallest);
}

TEST(Fix2Long, RoundsTowardZero) {
  EXPECT_EQ(Fix2Long(0x00C8C000), 200);
  EXPECT_EQ(Fix2Long(kOne - 1), 0);
  EXPECT_EQ(Fix2Long(-kOne + 1), 0);
  EXPECT_EQ(Fix2Long(-kOne - kHalf), -1);
  EXPECT_EQ(Fix2Long(kLargest), 32767);
  EXPECT_EQ(Fix2Long(kSmallest), -32768);
}

TEST(FixMul, RoundsToTheNearestAndHalfWayAwayFromZero) {
  EXPECT_EQ(FixMul(kHalf, Long2Fix(100)), Long2Fix(50));
  EXPECT_EQ(FixMul(1, kHalf), 1);
  EXPECT_EQ(FixMul(-1, kHalf), -1);
  EXPECT_EQ(FixMul(1, kHalf - 1), 0);
  EXPECT_EQ(FixMul(-1, kHalf - 1), 0);
}

TEST(FixMul, SaturatesBySign) {
  EXPECT_EQ(FixMul(kLargest, kLargest), kLargest);
  EXPECT_EQ(FixMul(kSmallest, kSmallest), kLargest);
  EXPECT_EQ(FixMul(kSmallest, kLargest), kSmallest);
  EXPECT_EQ(FixMul(kSmallest, kOne), kSmallest);
  EXPECT_EQ(FixMul(kSmallest, -kOne), kLargest);
}

TEST(FixDiv, RoundsToTheNearestAndHalfWayAwayFromZero) {
  EXPECT_EQ(FixDiv(Long2Fix(100), Long2Fix(100)), kOne);
  EXPECT_EQ(FixDiv(Long2Fix(1), Long2Fix(3)), 0x5555);
  EXPECT_EQ(FixDiv(Long2Fix(2), Long2Fix(3)), 0xAAAB);
  EXPECT_EQ(FixDiv(Long2Fix(-2), Long2Fix(3)), -0xAAAB);
  EXPECT_EQ(FixDiv(1, Long2Fix(2)), 1);
  EXPECT_EQ(FixDiv(-1, Long2Fix(2)), -1);
}

TEST(FixDiv, SaturatesBySignAndOnZero) {
  EXPECT_EQ(FixDiv(kLargest, 1), kLargest);
  EXPECT_EQ(FixDiv(kSmallest, 1), kSmallest);
  EXPECT_EQ(FixDiv(kSmallest, -1), kLargest);
  EXPECT_EQ(FixDiv(kOne, 0), kLargest);
  EXPECT_EQ(FixDiv(0, 0), kLargest);
  EXPECT_EQ(FixDiv(-kOne, 0), kSmallest);
}

TEST(FixMath, AgreesWithExactArithmeticOnManyNumbers) {
  const auto saturated = [](long double value) {
    return static_cast<Fixed>(std::fmin(std::fmax(std::round(value), kSmallest), kLargest));
  };
  std::mt19937 random(20);
  for (int i = 0; i < 100'000; ++i) {
    // Numbers of every magnitude.
    const auto a = static_cast<Fixed>(random()) >> (random() % 31);
    const auto b = static_cast<Fixed>(random()) >> (random() % 31);
    const long double exact = a;
    ASSERT_EQ(FixMul(a, b), saturated(exact * b / 65536)) << a << " * " << b;
    if (b == 0) continue;
    ASSERT_EQ(FixDiv(a, b), saturated(exact * 65536 / b)) << a << " / " << b;
  }
}

TEST(FixRatio, RoundsAndSaturatesLikeFixDiv) {
  EXPECT_EQ(FixRatio(1, 2), kHalf);
  EXPECT_EQ(FixRatio(-1, 2), -kHalf);
  EXPECT_EQ(FixRatio(1, 3), 0x00005555);
  EXPECT_EQ(FixRatio(2, 3), 0x0000AAAB);
  EXPECT_EQ(FixRatio(-2, 3), -0x0000AAAB);
  EXPECT_EQ(FixRatio(32767, 1), 0x7FFF0000);
  EXPECT_EQ(FixRatio(-32768, 1), kSmallest);
  EXPECT_EQ(FixRatio(-32768, -1), kLargest);
  EXPECT_EQ(FixRatio(0, 0), kLargest);
  EXPECT_EQ(FixRatio(-5, 0), kSmallest);
}

TEST(X2Fix, RoundsToTheNearestAndSaturates) {
  EXPECT_EQ(X2Fix(180.5), 0x00B48000);
  EXPECT_EQ(X2Fix(-0.5), -kHalf);
  EXPECT_EQ(X2Fix(1.0 / 3), 0x00005555);
  EXPECT_EQ(X2Fix(2.0 / 3), 0x0000AAAB);
  EXPECT_EQ(X2Fix(0.5 / 65536), 1);
  EXPECT_EQ(X2Fix(-0.5 / 65536), -1);
  EXPECT_EQ(X2Fix(0.4 / 65536), 0);
  EXPECT_EQ(X2Fix(32768), kLargest);
  EXPECT_EQ(X2Fix(-32769), kSmallest);
  EXPECT_EQ(X2Fix(std::numeric_limits<double>::infinity()), kLargest);
  EXPECT_EQ(X2Fix(-std::numeric_limits<double>::infinity()), kSmallest);
  EXPECT_EQ(X2Fix(std::numeric_limits<double>::quiet_NaN()), 0);
}

TEST(Fix2X, IsExact) {
  EXPECT_EQ(Fix2X(0x00B48000), 180.5);
  EXPECT_EQ(Fix2X(1), 1.0 / 65536);
  EXPECT_EQ(Fix2X(kSmallest), -32768.0);
  EXPECT_EQ(Fix2X(fixed1), 1.0);
  for (const Fixed value : {kSmallest, kLargest, -1, 0, 1, kHalf}) {
    EXPECT_EQ(X2Fix(Fix2X(value)), value);
  }
}

}  // namespace

// SPDX-License-Identifier: Apache-2.0
//
// FixMath: arithmetic with Fixed in 64-bit integers, saturated at the end. Stateless.
#include <ApplicationServices/FixMath.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace {

constexpr std::int64_t kOne = 65536;
constexpr std::int64_t kSmallest = std::numeric_limits<Fixed>::min();
constexpr std::int64_t kLargest = std::numeric_limits<Fixed>::max();

Fixed saturate(std::int64_t value) {
  return static_cast<Fixed>(std::clamp(value, kSmallest, kLargest));
}

// Returns the integer nearest to numerator / denominator; halves round away from zero. Cannot
// overflow: numerators have a magnitude of at most 2^62 here, denominators of 2^31.
std::int64_t nearestQuotient(std::int64_t numerator, std::int64_t denominator) {
  const bool negative = (numerator < 0) != (denominator < 0);
  const std::int64_t dividend = numerator < 0 ? -numerator : numerator;
  const std::int64_t divisor = denominator < 0 ? -denominator : denominator;
  const std::int64_t quotient = (dividend + divisor / 2) / divisor;
  return negative ? -quotient : quotient;
}

}  // namespace

Fixed Long2Fix(long x) {
  // Clamp before multiplying: the product of a large value overflows.
  return saturate(std::clamp<std::int64_t>(x, -32768, 32768) * kOne);
}

SInt32 Fix2Long(Fixed x) {
  return x / static_cast<Fixed>(kOne);
}

Fixed FixMul(Fixed a, Fixed b) {
  return saturate(nearestQuotient(static_cast<std::int64_t>(a) * b, kOne));
}

Fixed FixDiv(Fixed x, Fixed y) {
  if (y == 0) return static_cast<Fixed>(x < 0 ? kSmallest : kLargest);
  return saturate(nearestQuotient(static_cast<std::int64_t>(x) * kOne, y));
}

Fixed FixRatio(short numer, short denom) {
  // The quotient of two Fixed with the same scale is that of the integers.
  return FixDiv(numer, denom);
}

Fixed X2Fix(double x) {
  if (std::isnan(x)) return 0;
  // Clamp before rounding: llround of a larger value is undefined.
  const double scaled = std::clamp(x * static_cast<double>(kOne), static_cast<double>(kSmallest),
                                   static_cast<double>(kLargest));
  return static_cast<Fixed>(std::llround(scaled));
}

double Fix2X(Fixed x) {
  return static_cast<double>(x) / static_cast<double>(kOne);
}

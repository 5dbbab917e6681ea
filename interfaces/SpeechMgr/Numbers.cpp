// SPDX-License-Identifier: Apache-2.0
//
// std::to_chars and std::from_chars do the conversions, since they do not depend on the locale.
// They differ from a text stream in how far they read and in overflow, so numbers are scanned
// first.
#include "Numbers.h"

#include <array>
#include <charconv>
#include <limits>
#include <system_error>

namespace {

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

std::string_view withoutLeadingSpace(std::string_view text) {
  const std::size_t start = text.find_first_not_of(" \t\n\v\f\r");
  return start == std::string_view::npos ? std::string_view() : text.substr(start);
}

std::size_t countDigits(std::string_view text, std::size_t position) {
  std::size_t count = 0;
  while (position + count < text.size() && isDigit(text[position + count])) ++count;
  return count;
}

// Returns 1 if there is a sign at `position`, else 0.
std::size_t signLength(std::string_view text, std::size_t position) {
  return position < text.size() && (text[position] == '+' || text[position] == '-') ? 1 : 0;
}

// A number as written: sign, whole and fractional digits, exponent.
struct Numeral {
  bool negative = false;
  std::string_view whole;
  std::string_view fraction;
  bool hasExponent = false;
  bool exponentNegative = false;
  std::string_view exponent;
  std::string_view digits;  // everything but the sign

  bool isComplete() const {
    return !(whole.empty() && fraction.empty()) && !(hasExponent && exponent.empty());
  }
};

// Takes the longest prefix that a text stream would take, even if it is not a complete number: a
// stream reads "1e" and then fails, whereas std::from_chars would return 1.
Numeral scanNumeral(std::string_view text) {
  Numeral numeral;
  std::size_t at = signLength(text, 0);
  numeral.negative = at == 1 && text[0] == '-';
  const std::size_t start = at;
  numeral.whole = text.substr(at, countDigits(text, at));
  at += numeral.whole.size();
  if (at < text.size() && text[at] == '.') {
    numeral.fraction = text.substr(at + 1, countDigits(text, at + 1));
    at += 1 + numeral.fraction.size();
  }
  const bool anyDigit = !(numeral.whole.empty() && numeral.fraction.empty());
  if (anyDigit && at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
    numeral.hasExponent = true;
    const std::size_t sign = signLength(text, at + 1);
    numeral.exponentNegative = sign == 1 && text[at + 1] == '-';
    numeral.exponent = text.substr(at + 1 + sign, countDigits(text, at + 1 + sign));
    at += 1 + sign + numeral.exponent.size();
  }
  numeral.digits = text.substr(start, at - start);
  return numeral;
}

// For a number that does not fit a double: returns true if it is too large, false if it is too
// small. std::from_chars reports both alike. The position of the first digit that is not 0 decides.
bool isTooLarge(const Numeral& numeral) {
  std::int64_t exponent = 0;
  // Clamped: no text is long enough for its digits to make up for such an exponent.
  for (const char digit : numeral.exponent) {
    if (exponent < 1'000'000'000) exponent = exponent * 10 + (digit - '0');
  }
  if (numeral.exponentNegative) exponent = -exponent;
  const std::size_t leading = numeral.whole.find_first_not_of('0');
  if (leading != std::string_view::npos) {
    return exponent + static_cast<std::int64_t>(numeral.whole.size() - leading) > 0;
  }
  const std::size_t zeros = numeral.fraction.find_first_not_of('0');
  if (zeros == std::string_view::npos) return false;
  return exponent - static_cast<std::int64_t>(zeros) > 0;
}

}  // namespace

std::string numberText(double value) {
  std::array<char, 32> text{};
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, 6);
  return std::string(text.data(), end.ptr);
}

// The sign is applied last, because std::from_chars does not accept "+".
double readNumber(std::string_view text) {
  const Numeral numeral = scanNumeral(withoutLeadingSpace(text));
  if (!numeral.isComplete()) return 0.0;
  double value = 0.0;
  const auto read =
      std::from_chars(numeral.digits.data(), numeral.digits.data() + numeral.digits.size(), value);
  if (read.ec == std::errc::result_out_of_range) {
    value = isTooLarge(numeral) ? std::numeric_limits<double>::max() : 0.0;
  }
  return numeral.negative ? -value : value;
}

std::int32_t readInteger(std::string_view text) {
  text = withoutLeadingSpace(text);
  const std::size_t sign = signLength(text, 0);
  const bool negative = sign == 1 && text[0] == '-';
  const std::int64_t limit = negative ? -std::int64_t{std::numeric_limits<std::int32_t>::min()}
                                      : std::numeric_limits<std::int32_t>::max();
  std::int64_t value = 0;
  for (std::size_t at = sign; at < text.size() && isDigit(text[at]); ++at) {
    value = value * 10 + (text[at] - '0');
    // Clamped in every step, so that 64 bits suffice for any number of digits.
    if (value > limit) value = limit;
  }
  return static_cast<std::int32_t>(negative ? -value : value);
}

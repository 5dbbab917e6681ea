// SPDX-License-Identifier: Apache-2.0
#include "document/ProsodyValues.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>

#include "Numbers.h"

namespace ssml {
namespace {

constexpr double kNormalRate = 180.0;
constexpr double kFullVolume = 100.0;

// Writes at most two decimals and no exponent, which SSML does not allow. to_chars() ignores the
// locale.
std::string plainNumber(double value) {
  std::array<char, 64> buffer{};
  const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                          std::chars_format::fixed, 2);
  std::string text(buffer.data(), error == std::errc() ? end : buffer.data());
  while (text.ends_with('0')) text.pop_back();
  if (text.ends_with('.')) text.pop_back();
  return text == "-0" ? "0" : text;
}

}  // namespace

// SSML states volume in decibels relative to the default. 0 percent has no logarithm: "silent".
std::string standardVolume(std::string_view percent) {
  constexpr double kLoudest = 100.0;   // dB
  constexpr double kSoftest = -100.0;  // dB
  const double value = readNumber(percent);
  if (!std::isfinite(value) || value == kFullVolume) return {};
  if (value <= 0) return "silent";
  const double decibels = std::clamp(20 * std::log10(value / kFullVolume), kSoftest, kLoudest);
  return (decibels < 0 ? "" : "+") + plainNumber(decibels) + "dB";
}

// SSML states the rate in percent of the default.
std::string standardRate(std::string_view wordsPerMinute) {
  constexpr double kSlowest = 1.0;      // percent
  constexpr double kFastest = 10000.0;  // percent
  const double value = readNumber(wordsPerMinute);
  if (!std::isfinite(value) || value == kNormalRate) return {};
  if (value <= 0) return "x-slow";
  return plainNumber(std::clamp(value / kNormalRate * 100, kSlowest, kFastest)) + "%";
}

// Frequencies have the same unit in both notations; only the number is rewritten.
std::string standardHertz(std::string_view hertz) {
  constexpr double kLowest = 0.01;
  constexpr double kHighest = 100000.0;
  const double value = readNumber(hertz);
  if (!std::isfinite(value)) return {};
  return plainNumber(std::clamp(value, kLowest, kHighest)) + "Hz";
}

// Checked as text: the converter copies the argument of the command, which can be anything.
std::string standardTime(std::string_view milliseconds) {
  constexpr std::string_view kUnit = "ms";
  static constexpr std::string_view kDigits = "0123456789";
  if (!milliseconds.ends_with(kUnit)) return {};
  const std::string_view number = milliseconds.substr(0, milliseconds.size() - kUnit.size());
  const std::string_view whole = number.substr(0, number.find('.'));
  const std::string_view fraction =
      whole.size() < number.size() ? number.substr(whole.size() + 1) : std::string_view();
  const auto isDigits = [](std::string_view text) {
    return text.find_first_not_of(kDigits) == std::string_view::npos;
  };
  if (whole.empty() || !isDigits(whole) || !isDigits(fraction)) return {};
  const bool endsInPoint = whole.size() < number.size() && fraction.empty();
  return std::string(endsInPoint ? whole : number) + std::string(kUnit);
}

std::string standardMark(std::string_view number) {
  return std::to_string(static_cast<std::uint32_t>(readInteger(number)) >> 16U);
}

}  // namespace ssml

// SPDX-License-Identifier: Apache-2.0
//
// Checks that the translation of phoneme text equals the oracle's for any range of any text. Input:
// a line with the first and the last position of the range (default: the whole text), then the
// text.
#include <charconv>

#include "Fuzz.h"
#include "conversions/ComparedConversion.h"

namespace {

std::uint32_t numberOr(std::string_view word, std::size_t otherwise) {
  auto value = static_cast<std::uint32_t>(otherwise);
  std::from_chars(word.data(), word.data() + word.size(), value);
  return value;
}

oracle::Phones byProduct(const std::string& text, std::uint32_t start, std::uint32_t end) {
  oracle::Phones result;
  try {
    AppleMarkupConverter converter(text, AppleMarkupConverter::SSML);
    result.phones = converter.convertPhones(text, start, end);
  } catch (const AppleSynthesisError& error) {
    fuzz::require(error.getErrorType() == BAD_PHONE_SEQUENCE, "the error of phones");
    result.error = oracle::Error::BadPhoneSequence;
  } catch (const std::out_of_range&) {
    result.error = oracle::Error::OutOfRange;
  }
  return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  auto [line, rest] = fuzz::atFirstLine(fuzz::viewOf(data, size));
  const std::string text(rest);
  const std::uint32_t start = numberOr(fuzz::takeWord(line), 0);
  const std::uint32_t end = numberOr(fuzz::takeWord(line), text.empty() ? 0 : text.size() - 1);
  const oracle::Phones expected = oracle::convertPhones(text, start, end);
  const oracle::Phones actual = byProduct(text, start, end);
  fuzz::require(actual.error == expected.error, "same error");
  fuzz::require(actual.phones == expected.phones, "same phones");
  return 0;
}

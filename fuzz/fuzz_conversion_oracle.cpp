// SPDX-License-Identifier: Apache-2.0
//
// Checks that conversion equals the oracle's: result, kind of error, records, ranges, the offset of
// every position up to a few after the end, and the origin of every byte. Input: as for
// fuzz_conversion, up to 2 KB, since the oracle is slow.
#include "Settings.h"
#include "conversions/ComparedConversion.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kMost = 2048;
  const auto [line, rest] = fuzz::atFirstLine(fuzz::viewOf(data, size));
  if (rest.size() > kMost) return 0;
  const fuzz::Request request = fuzz::readRequest(line);
  std::optional<oracle::Settings> settings;
  if (request.settings) settings = conversion::settingsOf(*request.settings);
  const auto output = request.plain ? oracle::Output::PlainText : oracle::Output::Ssml;
  const std::string text(rest);

  const oracle::Result expected = oracle::convert(text, settings, output);
  const oracle::Result actual = conversion::convertByProduct(text, settings, output);
  fuzz::require(actual.error == expected.error, "same error");
  fuzz::require(actual.converted == expected.converted, "same text");
  fuzz::require(actual.records == expected.records, "same records");
  fuzz::require(actual.appleRanges == expected.appleRanges, "same ranges of command text");
  fuzz::require(actual.ssmlRanges == expected.ssmlRanges, "same ranges of markup");
  fuzz::require(actual.origins == expected.origins, "same origins");
  if (expected.error != oracle::Error::None) return 0;

  oracle::OffsetMap slow = oracle::offsetsOf(text, settings, output);
  const std::unique_ptr<OffsetMap> fast(
      conversion::converterFor(text, settings, output).getOffsets());
  const std::size_t last = expected.converted.size() + 8;
  fuzz::require(conversion::offsetsUpTo(*fast, last) == conversion::offsetsUpTo(slow, last),
                "same offsets");
  return 0;
}

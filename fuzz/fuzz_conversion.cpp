// SPDX-License-Identifier: Apache-2.0
//
// Converts any text with any settings. Checks that the conversion terminates, that it fails only in
// the documented ways, and that every position of the result has an origin in the text. Input: a
// line of settings (see Settings.h), then the text, which may contain every byte.
#include <memory>
#include <stdexcept>

#include "AppleMarkupConverter.h"
#include "AppleSynthesisError.h"
#include "Settings.h"

namespace {

AppleMarkupConverter converterFor(const std::string& text, const fuzz::Request& request) {
  const auto format = request.plain ? AppleMarkupConverter::PLAINTEXT : AppleMarkupConverter::SSML;
  if (!request.settings) return AppleMarkupConverter(text, format);
  return AppleMarkupConverter(text, format, *request.settings);
}

void checkPositions(AppleMarkupConverter& converter, std::size_t converted, std::size_t given) {
  const PositionMap origins = converter.getPositions();
  fuzz::require(origins.length() == converted, "the positions are those of the result");
  for (std::uint32_t p = 0; p <= converted; ++p) {
    fuzz::require(origins.origin(p) <= origins.originEnd(p), "an origin begins before it ends");
    fuzz::require(origins.originEnd(p) <= given, "origins are in the text");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto [line, rest] = fuzz::atFirstLine(fuzz::viewOf(data, size));
  const fuzz::Request request = fuzz::readRequest(line);
  const std::string text(rest);
  try {
    AppleMarkupConverter converter = converterFor(text, request);
    const std::string converted = converter.getConvertedText();
    fuzz::require(converter.getConvertedText() == converted, "the result stays the same");
    const std::unique_ptr<OffsetMap> offsets(converter.getOffsets());
    for (std::uint32_t p = 0; p <= converted.size() + 8; p += 1 + p / 64) offsets->offset(p);
    checkPositions(converter, converted.size(), text.size());
  } catch (const AppleSynthesisError& error) {
    const auto kind = error.getErrorType();
    fuzz::require(kind == INDEX_OUT_OF_RANGE || kind == BAD_PHONE_SEQUENCE, "known kinds of error");
    fuzz::require(!request.plain, "plain text does not fail");
  } catch (const std::out_of_range&) {
    fuzz::require(!request.plain, "plain text does not fail");
  }
  return 0;
}

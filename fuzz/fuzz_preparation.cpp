// SPDX-License-Identifier: Apache-2.0
//
// Checks that text preparation equals the oracle's, and that the origins of its bytes are in order:
// each byte comes from the same bytes as the one before, or from bytes after those. Input: the
// text.
#include "Fuzz.h"
#include "SpeechMgrUtils.h"
#include "conversions/ComparedConversion.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kMost = 4096;
  if (size > kMost) return 0;
  BuildPhoneTranslationTables();
  std::string text(fuzz::viewOf(data, size));
  text.resize(text.find('\0') == text.npos ? text.size() : text.find('\0'));

  auto* bytes = reinterpret_cast<unsigned char*>(text.data());
  PositionMap origins;
  const std::string prepared = PreprocessText(bytes, &origins);
  fuzz::require(prepared == oracle::prepare(text), "same text");
  fuzz::require(PreprocessText(bytes) == prepared, "positions change nothing");
  fuzz::require(origins.length() == prepared.size(), "every byte has an origin");
  std::uint32_t start = 0;
  std::uint32_t done = 0;
  for (std::uint32_t p = 0; p < prepared.size(); ++p) {
    const std::uint32_t origin = origins.origin(p);
    fuzz::require(origin == start || origin >= done, "origins are in order");
    // Every byte of the result has a non-empty origin.
    start = origin;
    done = origins.originEnd(p);
    fuzz::require(start < done && done <= text.size(), "origins are in the text");
  }
  return 0;
}

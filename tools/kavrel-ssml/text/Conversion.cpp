// SPDX-License-Identifier: Apache-2.0
#include "text/Conversion.h"

#include <stdexcept>

#include "AppleSynthesisError.h"
#include "base/text/Latin9.h"
#include "base/text/Utf8.h"
#include "text/FaultFinder.h"

namespace ssml {
namespace {

// Converts to UTF-8 and keeps the origins, run by run. All bytes of a replaced run have one origin.
base::OriginText utf8Of(const std::string& latin9, const PositionMap& origins) {
  base::OriginText utf8;
  for (std::size_t run = 0; run < origins.runs().size(); ++run) {
    for (std::uint32_t at = origins.runs()[run].start; at < origins.endOfRun(run); ++at) {
      const auto byte = static_cast<unsigned char>(latin9[at]);
      const PositionMap::Run& from = origins.runs()[run];
      utf8.append(base::toUtf8(base::fromLatin9(byte)),
                  from.isCopied() ? from.origin + (at - from.start) : from.origin);
    }
  }
  return utf8;
}

}  // namespace

// The constructor without settings inserts no commands.
AppleMarkupConverter converterFor(const SourceText& text, const ConversionOptions& options) {
  if (!options.settings) return {text.prepared(), options.output};
  return {text.prepared(), options.output, *options.settings};
}

// The converter reports errors only by type; FaultFinder locates them.
std::variant<base::OriginText, Fault> convert(const SourceText& text,
                                              const ConversionOptions& options) {
  try {
    AppleMarkupConverter converter = converterFor(text, options);
    const std::string converted = converter.getConvertedText();
    return utf8Of(converted, converter.getPositions().composeAfter(text.origins()));
  } catch (const AppleSynthesisError& error) {
    const FaultFinder finder(text, options);
    return error.getErrorType() == BAD_PHONE_SEQUENCE
               ? finder.findBadPhone()
               : finder.findRefusedCommand("INDEX_OUT_OF_RANGE");
  } catch (const std::out_of_range&) {
    return FaultFinder(text, options).findRefusedCommand("OUT_OF_RANGE");
  }
}

}  // namespace ssml

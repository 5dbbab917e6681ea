// SPDX-License-Identifier: Apache-2.0
#include "text/Conversion.h"

#include <stdexcept>
#include <string_view>

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

// All bytes of a character have the origin of its first byte.
base::OriginText withOrigins(const std::string& utf8, const PositionMap& origins) {
  base::OriginText text;
  text.reserve(utf8.size());
  for (std::size_t at = 0; at < utf8.size();) {
    const std::string_view rest = std::string_view(utf8).substr(at);
    const std::size_t length = base::firstCharacterLength(rest);
    text.append(rest.substr(0, length), origins.origin(static_cast<std::uint32_t>(at)));
    at += length;
  }
  return text;
}

}  // namespace

// The constructor without settings inserts no commands.
AppleMarkupConverter converterFor(const std::string& prepared, bool isUtf8,
                                  const ConversionOptions& options) {
  auto converter = options.settings
                       ? AppleMarkupConverter(prepared, options.output, *options.settings)
                       : AppleMarkupConverter(prepared, options.output);
  if (isUtf8) converter.useUtf8();
  return converter;
}

AppleMarkupConverter converterFor(const SourceText& text, const ConversionOptions& options) {
  return converterFor(text.prepared(), text.isUtf8(), options);
}

// The converter reports errors only by type; FaultFinder locates them.
std::variant<base::OriginText, Fault> convert(const SourceText& text,
                                              const ConversionOptions& options) {
  try {
    AppleMarkupConverter converter = converterFor(text, options);
    const std::string converted = converter.getConvertedText();
    const PositionMap origins = converter.getPositions().composeAfter(text.origins());
    return text.isUtf8() ? withOrigins(converted, origins) : utf8Of(converted, origins);
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

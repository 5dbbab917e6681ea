// SPDX-License-Identifier: Apache-2.0
//
// One conversion by the plug-in's converter, and what is wrong with a text that it refuses.
#pragma once

#include <optional>
#include <string>
#include <variant>

#include "AppleMarkupConverter.h"
#include "SpeechMgrEnv.h"
#include "base/text/OriginText.h"
#include "text/CallerText.h"

namespace ssml {

struct ConversionOptions {
  AppleMarkupConverter::output_t output = AppleMarkupConverter::SSML;
  std::optional<SpeechMgrEnv> settings;
};

// Why a text cannot be converted.
struct Fault {
  std::string kind;      // BAD_PHONE_SEQUENCE, INDEX_OUT_OF_RANGE or OUT_OF_RANGE
  std::size_t position;  // in the caller's text
  std::string message;   // one line for people
};

// A converter for the text; both are to be kept while it is used.
AppleMarkupConverter converterFor(const CallerText& text, const ConversionOptions& options);

// The converted text in UTF-8. The bytes of a character all came from where the character did.
std::variant<base::OriginText, Fault> convert(const CallerText& text,
                                              const ConversionOptions& options);

}  // namespace ssml

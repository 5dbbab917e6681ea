// SPDX-License-Identifier: Apache-2.0
//
// Conversion: runs the plug-in's converter once, and locates the fault in a text that it rejects.
//
// Pure functions, safe on any thread.
#pragma once

#include <optional>
#include <string>
#include <variant>

#include "AppleMarkupConverter.h"
#include "SpeechMgrEnv.h"
#include "base/text/OriginText.h"
#include "text/SourceText.h"

namespace ssml {

// The converter's options. Without settings no commands are inserted.
struct ConversionOptions {
  AppleMarkupConverter::output_t output = AppleMarkupConverter::SSML;
  std::optional<SpeechMgrEnv> settings;
};

// Why a text cannot be converted.
struct Fault {
  std::string kind;      // BAD_PHONE_SEQUENCE, INDEX_OUT_OF_RANGE or OUT_OF_RANGE
  std::size_t position;  // in the caller's text
  std::string message;   // one line for users
};

// Returns a converter for a prepared text. Text and options must outlive it.
AppleMarkupConverter converterFor(const std::string& prepared, bool isUtf8,
                                  const ConversionOptions& options);
AppleMarkupConverter converterFor(const SourceText& text, const ConversionOptions& options);

// Returns the converted text in UTF-8, with the origin of each byte, or the fault. All bytes of a
// character have the same origin.
std::variant<base::OriginText, Fault> convert(const SourceText& text,
                                              const ConversionOptions& options);

}  // namespace ssml

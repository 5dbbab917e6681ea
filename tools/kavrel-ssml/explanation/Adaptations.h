// SPDX-License-Identifier: Apache-2.0
//
// Adaptations: lists what the Manager changes in a text before the synthesizer gets it.
//
// Pure functions.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "SpeechSynthesis/texts/TextAdapter.h"
#include "text/Conversion.h"
#include "text/SourceText.h"

namespace ssml {

// A part of the text that is replaced, or reported as a problem.
struct Adaptation {
  SourceLocation location;
  std::size_t length;   // bytes of the caller's text
  std::string text;     // as the caller wrote it
  std::string becomes;  // empty: left out
  std::string note;     // what is reported, or the value of a sync mark
};

// Returns the state of a channel with these options.
platform::TextSettings adaptationFor(const ConversionOptions& options);

// Returns what the Manager changes in the text, in order, whether or not `text` is adapted already.
std::vector<Adaptation> findAdaptations(const SourceText& text,
                                        const platform::TextSettings& settings);

// Returns a table with a heading and one line for each adaptation.
std::string tableOf(const std::vector<Adaptation>& adaptations);

}  // namespace ssml

// SPDX-License-Identifier: Apache-2.0
//
// Captions: groups the words of a spoken text into cues and writes them as WebVTT or SubRip.
//
// Pure functions. Times are seconds from the start of the audio, positions count bytes of the text.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "SpokenText.h"

namespace say {

// A word of the text and when it is heard.
struct SpokenWord {
  tool::Slice range;
  double begin;
  double end;
};

// One caption.
struct Cue {
  double begin;
  double end;
  std::vector<std::string> lines;  // UTF-8, not empty
};

// Returns the cues for `words`, which are in the order of the text. A cue starts at each sentence
// and after each long pause. A sentence that does not fit into two lines is cut, preferably after a
// comma. Punctuation belongs to the word that it touches. Speech commands are left out unless
// `brackets` is Text. Bytes that are not UTF-8 become U+FFFD.
std::vector<Cue> cuesOf(std::string_view text, const std::vector<SpokenWord>& words,
                        tool::Brackets brackets);

// Return the contents of a file with the cues. SubRip has no escapes, so its text is as it is.
std::string webVttOf(const std::vector<Cue>& cues);
std::string subRipOf(const std::vector<Cue>& cues);

}  // namespace say

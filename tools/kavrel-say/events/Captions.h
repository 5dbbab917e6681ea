// SPDX-License-Identifier: Apache-2.0
//
// Captions: a spoken text in pieces to be shown while they are heard, as WebVTT and SubRip files
// have them.
//
// Pure functions. Times are seconds from the beginning of the sound, positions count bytes of the
// text.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "SpokenText.h"

namespace say {

struct SpokenWord {
  tool::Slice place;
  double begin;
  double end;
};

struct Cue {
  double begin;
  double end;
  std::vector<std::string> lines;  // UTF-8, not empty
};

// The words, which are in the order of the text, in cues. A sentence begins a cue, and so does a
// word behind a long pause; a sentence that does not fit into two lines is cut where it best can,
// behind a comma above all. What stands between words goes with the one it touches. Commands are
// left out unless `brackets` says that there are none; what is no UTF-8 is U+FFFD.
std::vector<Cue> cuesOf(std::string_view text, const std::vector<SpokenWord>& words,
                        tool::Brackets brackets);

std::string webVttOf(const std::vector<Cue>& cues);
std::string subRipOf(const std::vector<Cue>& cues);

}  // namespace say

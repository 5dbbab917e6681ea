// SPDX-License-Identifier: GPL-3.0-or-later
//
// Produced speech: a block of sound, with what happens at its samples.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kavrel.h"

namespace kavrel {

// Something that happens at a sample: an event to report, or a place where speech can be cut.
struct TimedEvent {
  std::uint64_t sample = 0;
  kavrel_event_t type = KAVREL_EVENT_NONE;  // none: only a place to cut
  std::uint32_t start = 0;
  std::uint32_t length = 0;
  std::string text;
  bool endsWord = false;      // whatever word went before is over here
  bool endsSentence = false;  // so is the sentence
};

// Samples, then `silence` samples of nothing. Entries are in order of time; their samples count
// from the start of the segment, and the last may lie at its end.
struct SpeechSegment {
  std::vector<std::int16_t> samples;
  std::uint64_t silence = 0;
  std::vector<TimedEvent> events;

  std::uint64_t length() const { return samples.size() + silence; }
};

}  // namespace kavrel

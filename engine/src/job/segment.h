// SPDX-License-Identifier: Apache-2.0
//
// Produced speech: a segment of audio with the events at its samples. Plain data, used by one
// thread at a time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kavrel.h"

namespace kavrel {

// An event at a sample: an event to report, or a boundary where a stop or pause can take effect, or
// both.
struct TimedEvent {
  std::uint64_t sample = 0;
  kavrel_event_t type = KAVREL_EVENT_NONE;  // NONE: only a boundary
  std::uint32_t start = 0;                  // in the text, in bytes
  std::uint32_t length = 0;
  std::string text;           // as for kavrel_event_get_text
  bool endsWord = false;      // a boundary: the word before, if any, is over
  bool endsSentence = false;  // a boundary: the sentence before is over, too

  bool operator==(const TimedEvent&) const = default;
};

// Audio: `samples`, then `silence` samples of silence, which are not stored. The events are in
// order of time; their samples count from the start of the segment, and may be equal to its length.
struct SpeechSegment {
  std::vector<std::int16_t> samples;
  std::uint64_t silence = 0;
  std::vector<TimedEvent> events;

  bool operator==(const SpeechSegment&) const = default;

  // In samples.
  std::uint64_t length() const { return samples.size() + silence; }
};

}  // namespace kavrel

// SPDX-License-Identifier: Apache-2.0
//
// Recording: a text spoken into memory, with the sample positions of its words, phones and marks.
// The engine's pipeline makes it, as for a port but without a port's threads.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "acoustics/Sound.h"
#include "job/segment.h"
#include "synth/voice.h"
#include "synth/voice_cache.h"

namespace test {

struct Recording {
  std::vector<std::int16_t> samples;
  std::vector<kavrel::TimedEvent> timedEvents;  // in order; their samples count from the start

  acoustics::Sound sound() const { return {samples}; }
  // From the first audible sample to the last.
  acoustics::Sound heard() const { return acoustics::trimSilence(sound()); }

  std::vector<kavrel::TimedEvent> events(kavrel_event_t type) const;
  // The texts of these events, separated by blanks.
  std::string names(kavrel_event_t type) const;

  // From the sample of the first event of `type` with this text to the next event of that type, or
  // the end. Without such an event, fails the test and returns an empty sound.
  acoustics::Sound from(kavrel_event_t type, std::string_view text) const;
  acoustics::Sound word(std::string_view text) const { return from(KAVREL_EVENT_WORD, text); }
};

Recording record(std::string_view text, const kavrel::Voice& voice = kavrel::defaultVoice());

// `text` inside an element with these attributes.
std::string prosody(std::string_view attributes, std::string_view text);

// Sentences with all kinds of speech sounds, about seven seconds long.
extern const std::string kProse;

}  // namespace test

// SPDX-License-Identifier: GPL-3.0-or-later
//
// What the tests that listen share: a text spoken into memory, with the samples at which its words,
// phones and marks come. It is made by the engine's producer, as for a port, without a port's
// threads.
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
  // From the first sound to the last.
  acoustics::Sound heard() const { return acoustics::trimmed(sound()); }

  std::vector<kavrel::TimedEvent> events(kavrel_event_t type) const;
  // Their texts, with blanks between them.
  std::string names(kavrel_event_t type) const;

  // From the sample of the first event of `type` with this text to the next event of that type, or
  // the end. Fails the test, and is of no length, when there is none.
  acoustics::Sound from(kavrel_event_t type, std::string_view text) const;
  acoustics::Sound word(std::string_view text) const { return from(KAVREL_EVENT_WORD, text); }
};

Recording record(std::string_view text, const kavrel::Voice& voice = kavrel::defaultVoice());

// `text` inside an element with these attributes.
std::string prosody(std::string_view attributes, std::string_view text);

// Sentences of all kinds of sounds, about seven seconds of them.
extern const std::string kProse;

}  // namespace test

// SPDX-License-Identifier: Apache-2.0
//
// References: the audio of a text, and its comparison with what was heard.
//
// A text has the same samples in every process. A reference is made in a child process, so that the
// observers of the test's own process see the events of the test's jobs only.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "SoundServer.h"

namespace test {

struct TimedEvent {
  kavrel_event_t type = KAVREL_EVENT_NONE;
  std::uint64_t sample = 0;
  std::string text;
  // When it was reported, and by which job. Not set in references.
  Clock::time_point when;
  const void* job = nullptr;
};

struct Reference {
  std::vector<std::int16_t> samples;
  std::vector<TimedEvent> events;

  // The sample where the word begins. Fails the test if there is no such word.
  std::uint64_t sampleOf(const std::string& word) const;
};

Reference referenceFor(std::string_view text);

// Collects the events of all jobs of this process during its lifetime.
class Observer {
 public:
  Observer();
  ~Observer();
  Observer(const Observer&) = delete;
  Observer& operator=(const Observer&) = delete;

  std::vector<TimedEvent> events() const;

 private:
  mutable std::mutex m_lock;
  std::vector<TimedEvent> m_events;
};

// The comparison of a recording with its reference. Up to `same`, no sample of the reference is
// missing or repeated, but silence may be inserted: pauses, and gaps of a server that is not
// scheduled in time.
struct Comparison {
  // For each sample of the reference that was heard, the position in the recording.
  std::vector<std::size_t> positions;
  std::size_t same = 0;     // samples of the reference that were heard, from its start
  std::size_t pauseAt = 0;  // position in it of the longest inserted silence
  std::size_t pause = 0;    // its length; silence at the end does not count
};

// The recording must begin with silence.
Comparison compare(const Recording& heard, const Reference& reference);

}  // namespace test

// SPDX-License-Identifier: Apache-2.0
//
// What a text sounds like, and how what was heard compares with it.
//
// The synthesiser says the same, to the sample, whenever it is the first that it says in a process.
// So a reference is made in a child process, before the test's own process speaks.
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
  // When it came, and of which job. Not in references.
  Clock::time_point when;
  const void* job = nullptr;
};

struct Reference {
  std::vector<std::int16_t> samples;
  std::vector<TimedEvent> events;

  // Where the word begins; fails the test when there is none.
  std::uint64_t sampleOf(const std::string& word) const;
};

Reference referenceFor(std::string_view text);

// Collects the events of all jobs of this process while it lives.
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

// What was heard, laid beside its reference. Nothing of the reference is left out or said twice, as
// far as it is the same, but silence may come in between: pauses, and what a server adds that gets
// no time from the machine.
struct Comparison {
  // For each sample of the reference that was heard, the sample of the recording.
  std::vector<std::size_t> places;
  std::size_t same = 0;     // how much of the reference was heard, from its start
  std::size_t pauseAt = 0;  // where in it the longest silence was added
  std::size_t pause = 0;    // how long that is; the silence at the end does not count
};

// Of a recording that begins in silence.
Comparison compare(const Recording& heard, const Reference& reference);

}  // namespace test

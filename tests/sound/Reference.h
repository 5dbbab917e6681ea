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

// What was heard, laid beside its reference.
struct Comparison {
  // The sample of the recording that is the reference's sample 0, had there been no pause.
  std::int64_t offset = 0;
  std::size_t same = 0;       // how many samples are as in the reference, from its start
  std::size_t pause = 0;      // then this many are silent
  std::size_t sameAfter = 0;  // then this many go on where the reference was left
};

// Of a recording that begins in silence. What is heard behind the end of the reference does not
// count; nothing but silence should be.
Comparison compare(const Recording& heard, const Reference& reference);

}  // namespace test

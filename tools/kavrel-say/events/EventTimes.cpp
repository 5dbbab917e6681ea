// SPDX-License-Identifier: Apache-2.0
#include "events/EventTimes.h"

namespace say {

// The engine reports an event here before the Manager calls back, so the time is always queued
// first.
void EventTimes::observe(SpeechNumber speech, Kind kind, double seconds) {
  const base::ScopedLock held(m_lock);
  recordOf(speech).times[static_cast<std::size_t>(kind)].push_back(seconds);
}

void EventTimes::observeEnd(SpeechNumber speech, double seconds) {
  const base::ScopedLock held(m_lock);
  recordOf(speech).end = seconds;
}

EventTimes::Record& EventTimes::recordOf(SpeechNumber speech) {
  if (m_speeches.empty() || m_speeches.back().speech != speech) {
    m_speeches.emplace_back().speech = speech;
  }
  return m_speeches.back();
}

void EventTimes::word(std::size_t /*position*/, std::size_t /*length*/) {
  take(Kind::Word);
}

void EventTimes::phoneme(int /*code*/) {
  take(Kind::Phoneme);
}

void EventTimes::sync(std::uint32_t /*message*/) {
  take(Kind::Sync);
}

// Takes the oldest time of that kind. Without one, now() is unknown rather than the time of an
// earlier event.
void EventTimes::take(Kind kind) {
  m_now.reset();
  const base::ScopedLock held(m_lock);
  if (m_speeches.empty()) return;
  std::deque<double>& times = m_speeches.front().times[static_cast<std::size_t>(kind)];
  if (times.empty()) return;
  m_now = times.front();
  times.pop_front();
}

// Drops the speech with the times whose callbacks never came, so that they are not taken for times
// of the next speech.
void EventTimes::done() {
  m_now.reset();
  const base::ScopedLock held(m_lock);
  if (m_speeches.empty()) return;
  m_now = m_speeches.front().end;
  m_speeches.pop_front();
}

}  // namespace say

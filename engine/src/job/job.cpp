// SPDX-License-Identifier: GPL-3.0-or-later
#include "job/job.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "cst/diag.h"
#include "job/event.h"
#include "job/observer.h"
#include "synth/synthesiser.h"

namespace kavrel {

namespace {

// The most samples written at a time, so that a request is not kept waiting.
constexpr std::uint64_t kMaxWrite = 4096;
// How long a wait bears with a callback that does not return, counted from the end of the sound.
constexpr std::chrono::seconds kCallbackGrace(1);
// The most entries that wait for their sound while more are produced. A text may have any number of
// marks in one place; a second of speech has far fewer entries.
constexpr std::size_t kMaxWaiting = 4096;
constexpr std::uint64_t kNoEntry = std::numeric_limits<std::uint64_t>::max();

}  // namespace

Place placeFor(kavrel_event_t place) {
  if (place == KAVREL_EVENT_WORD) return Place::Word;
  if (place == KAVREL_EVENT_SENTENCE) return Place::Sentence;
  return Place::Now;
}

// A handle is a number, not an address, so that no job to come can have it.
kavrel_background_t handleFor(std::uint64_t number) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr)
  return reinterpret_cast<kavrel_background_t>(static_cast<std::uintptr_t>(number));
}

Job::Job(std::uint64_t number, Request request)
    : m_number(number), m_request(std::move(request)), m_sink(*m_request.sink) {}

void Job::run() {
  const base::ScopedLock held(m_lock);
  if (m_stopAt != Place::Now) {
    m_begun = true;
    const auto length = static_cast<std::uint32_t>(m_request.text.size());
    deliver({0, KAVREL_EVENT_START, 0, length, {}, false, false});
    try {
      speak();
    } catch (...) {
      fail("memory is out");
    }
  }
  finish();
}

void Job::speak() {
  // A sink that takes sound as fast as it comes is kept busy while more is produced.
  Pipeline producer(m_request.text, *m_request.voice, m_cancel, m_sink.lead() == 0);
  while (m_stopAt != Place::Now && !m_failed) {
    if (m_paused) {
      m_wake.wait(m_lock);
      continue;
    }
    findCut();
    if (step(producer)) continue;
    if (isDone()) {
      m_position = static_cast<std::uint32_t>(m_request.text.size());
      return;
    }
    m_wake.waitUntil(m_lock, nextDue());
  }
}

// Whatever comes first in this order is done; what follows may depend on it.
bool Job::step(Pipeline& producer) {
  m_timeline.forget(std::min(m_sink.heard(), m_written));
  if (deliverDue()) return true;
  if (isCut()) {
    beCut();
    return true;
  }
  return writeMore() || produceMore(producer);
}

bool Job::deliverDue() {
  const Entry* const entry = m_timeline.nextEntry();
  if (entry == nullptr) return false;
  if (m_cut.has_value() && m_timeline.takenCount() >= m_cut->entry) return false;
  if (!isDue(*entry)) return false;
  deliver(Entry(m_timeline.takeEntry()));
  return true;
}

bool Job::isDue(const Entry& entry) {
  if (m_request.eventsImmediate) return entry.sample <= m_written;
  if (m_sink.hasReached(entry.sample)) return true;
  // Without any sound there is nothing to wait for, nor can more be kept than this.
  return m_timeline.end() == 0 && (m_allProduced || m_timeline.waitingCount() >= kMaxWaiting);
}

// Finds where a pause or stop takes hold that waits for its place.
void Job::findCut() {
  const std::optional<Place> place = m_stopAt.has_value() ? m_stopAt : m_pauseAt;
  if (!place.has_value() || m_cut.has_value()) return;
  m_cut = m_timeline.findCut(m_sink.heard(), *place == Place::Sentence);
  if (!m_cut.has_value() && m_allProduced) m_cut = {m_timeline.end(), kNoEntry};
  if (!m_cut.has_value() || m_cut->sample >= m_written) return;
  m_written = m_sink.takeBack(m_cut->sample);
  // What has been heard meanwhile has been heard.
  m_cut->sample = std::max(m_cut->sample, m_sink.heard());
}

bool Job::isCut() {
  return m_cut.has_value() && m_sink.heard() >= m_cut->sample;
}

void Job::beCut() {
  m_position = m_wordEnd;
  m_cut.reset();
  m_sink.pause();
  if (m_stopAt.has_value()) {
    m_stopAt = Place::Now;
    m_stopTime = base::Clock::now();
  } else {
    m_pauseAt.reset();
    m_paused = true;
  }
}

// How far the sink may be written to, as things are.
std::uint64_t Job::writeTarget() {
  std::uint64_t target = m_timeline.end();
  const std::uint64_t lead = m_sink.lead();
  if (lead > 0) {
    target = std::min(target, m_sink.heard() + lead);
  } else if (const Entry* const entry = m_timeline.nextEntry()) {
    target = std::min(target, std::max(entry->sample, m_written));
  }
  return m_cut.has_value() ? std::min(target, m_cut->sample) : target;
}

bool Job::writeMore() {
  const std::uint64_t target = writeTarget();
  if (target <= m_written) return false;
  const auto limit = static_cast<std::size_t>(std::min(target - m_written, kMaxWrite));
  const std::span<const std::int16_t> samples = m_timeline.samplesAt(m_written, limit);
  bool taken = false;
  {
    const base::ScopedUnlock released(m_lock);
    taken = m_sink.write(samples);
  }
  if (!taken) {
    fail(m_sink.error());
    return true;
  }
  m_sink.advance(samples.size());
  m_written += samples.size();
  return true;
}

// Sound that is still to be heard makes room when entries are too many.
bool Job::mayProduce() {
  return !m_allProduced && !m_cut.has_value() && m_timeline.waitingCount() < kMaxWaiting;
}

bool Job::produceMore(Pipeline& producer) {
  if (!mayProduce()) return false;
  const bool seeksCut = m_stopAt.has_value() || m_pauseAt.has_value();
  if (!seeksCut && m_timeline.end() >= m_sink.heard() + std::max<std::uint64_t>(m_sink.lead(), 1)) {
    return false;
  }
  Piece piece;
  Producer::Result result = Producer::Result::Failed;
  {
    const base::ScopedUnlock released(m_lock);
    result = producer.next(piece);
  }
  switch (result) {
    case Producer::Result::Piece:
      m_timeline.append(std::move(piece));
      break;
    case Producer::Result::End:
      m_allProduced = true;
      break;
    case Producer::Result::Failed:
      fail(producer.error());
      break;
  }
  return true;
}

bool Job::isDone() {
  return m_allProduced && m_timeline.nextEntry() == nullptr && m_sink.heard() >= m_timeline.end();
}

// When there is something to do again, if nothing is asked of the job before. Everything that could
// be done now has been done.
base::Clock::time_point Job::nextDue() {
  const std::uint64_t end = m_cut.has_value() ? m_cut->sample : m_timeline.end();
  std::uint64_t position = end;
  const Entry* const entry = m_timeline.nextEntry();
  if (entry != nullptr && !m_request.eventsImmediate) position = std::min(position, entry->sample);
  const bool moreToWrite = m_written < end || mayProduce();
  const std::uint64_t margin = m_sink.lead() / 2;
  if (moreToWrite && m_written > margin) position = std::min(position, m_written - margin);
  return m_sink.dueAt(position);
}

void Job::finish() {
  m_ending = true;
  m_paused = false;
  if (!finishSink() && !m_failed) fail(m_sink.error());
  deliver({soundLength(), KAVREL_EVENT_END, m_position, 0, {}, false, false});
  m_over = true;
  m_done.notifyAll();
}

// The job ends whatever becomes of its sound.
bool Job::finishSink() {
  const base::ScopedUnlock released(m_lock);
  try {
    return m_sink.finish();
  } catch (...) {
    return false;
  }
}

void Job::fail(const std::string& message) {
  m_failed = true;
  KAVREL_DIAG("Job", "A job cannot go on: %s", message.c_str());
  deliver({soundLength(), KAVREL_EVENT_ERROR, m_position, 0, message, false, false});
}

// How long the job's sound is, as far as it has been spoken.
std::uint64_t Job::soundLength() {
  return std::max(m_lastSample, std::min(m_sink.heard(), m_timeline.end()));
}

void Job::deliver(const Entry& entry) {
  m_lastSample = entry.sample;
  if (entry.type == KAVREL_EVENT_WORD) {
    m_position = entry.start;
    m_wordEnd = entry.start + entry.length;
  }
  const bool wanted = m_request.callback != nullptr && (m_request.mask & entry.type) != 0;
  const bool observed = entry.type != KAVREL_EVENT_NONE && isObserved();
  if (!wanted && !observed) return;
  m_inCallback = true;
  m_callbackBegan = base::Clock::now();
  {
    const base::ScopedUnlock released(m_lock);
    if (observed) report(entry);
    if (wanted) call(entry);
  }
  m_inCallback = false;
}

void Job::report(const Entry& entry) {
  const double time = static_cast<double>(entry.sample) / kSampleRate;
  observe({entry.type, handleFor(m_number), entry.sample, kSampleRate, time, entry.start,
           entry.length, entry.text.c_str()});
}

void Job::call(const Entry& entry) {
  try {
    kavrel_event_struct event{entry.text, static_cast<int>(entry.start),
                              static_cast<int>(entry.length)};
    m_request.callback(&event, entry.type, m_request.user);
  } catch (...) {
    KAVREL_DIAG("Job", "A callback has thrown.");
  }
}

bool Job::pause(Place place) {
  const base::ScopedLock held(m_lock);
  if (m_ending) return false;
  if (m_stopAt.has_value()) {
    // A paused job ends where it stands, so a pause at once is what the stop was waiting for.
    if (place == Place::Now) stopNow();
  } else if (m_paused) {
    m_paused = false;
    m_sink.resume();
  } else if (m_pauseAt.has_value()) {
    m_pauseAt.reset();
    m_cut.reset();
  } else if (place == Place::Now) {
    m_paused = true;
    m_sink.pause();
  } else {
    m_pauseAt = place;
  }
  changed();
  return true;
}

void Job::stop(Place place) {
  const base::ScopedLock held(m_lock);
  if (m_ending || (m_stopAt.has_value() && *m_stopAt <= place)) return;
  if (place == Place::Now || m_paused || !m_begun) {
    stopNow();
  } else {
    m_stopAt = place;
    m_pauseAt.reset();
    m_cut.reset();
  }
  changed();
}

void Job::stopNow() {
  m_stopAt = Place::Now;
  m_stopTime = base::Clock::now();
  m_cancel = true;
  m_sink.pause();
}

void Job::changed() {
  m_wake.notifyAll();
  m_done.notifyAll();
}

// Callbacks are many and short, so none of them wakes those who wait. Looking again after the grace
// at the latest is soon enough: a callback that has begun meanwhile has some of its own left.
Job::Waited Job::wait() {
  const base::ScopedLock held(m_lock);
  while (!m_over) {
    const base::Clock::time_point now = base::Clock::now();
    const base::Clock::time_point limit = hangLimit();
    if (now >= limit) return Waited::CallbackHangs;
    m_done.waitUntil(m_lock, std::min(limit, now + kCallbackGrace));
  }
  return Waited::Over;
}

// Until when the callback that is running may run, for those who wait; the end of time when none
// does, or while the sound goes on by itself.
base::Clock::time_point Job::hangLimit() {
  if (!m_inCallback || (m_paused && !m_ending)) return base::Clock::time_point::max();
  base::Clock::time_point silent = m_callbackBegan;
  if (m_stopAt == Place::Now) {
    silent = std::max(silent, m_stopTime);
  } else if (!m_ending) {
    silent = std::max(silent, m_sink.dueAt(m_written));
  }
  return silent + kCallbackGrace;
}

}  // namespace kavrel

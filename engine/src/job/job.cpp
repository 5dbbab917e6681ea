// SPDX-License-Identifier: Apache-2.0
#include "job/job.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "cst/diag.h"
#include "job/event.h"
#include "job/observer.h"
#include "sample_rate.h"
#include "synth/voice_cache.h"

namespace kavrel {

namespace {

// Maximum number of samples written at a time, so that a pause or stop does not wait long.
constexpr std::uint64_t kMaxWrite = 4096;
// How long wait() waits for a callback that does not return, counted from the end of the audio.
constexpr std::chrono::seconds kCallbackGrace(1);
// Maximum number of events that wait for their samples while more are produced. A text may have any
// number of marks at one position; a second of speech has far fewer events.
constexpr std::size_t kMaxWaiting = 4096;
constexpr std::uint64_t kNoEvent = std::numeric_limits<std::uint64_t>::max();

}  // namespace

StopBoundary stopBoundaryFor(kavrel_event_t boundary) {
  if (boundary == KAVREL_EVENT_WORD) return StopBoundary::Word;
  if (boundary == KAVREL_EVENT_SENTENCE) return StopBoundary::Sentence;
  return StopBoundary::Now;
}

// A handle is a number, not an address, so that it is never reused.
kavrel_background_t handleFor(std::uint64_t number) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr)
  return reinterpret_cast<kavrel_background_t>(static_cast<std::uintptr_t>(number));
}

Job::Job(std::uint64_t number, Request request)
    : m_number(number), m_request(std::move(request)), m_sink(*m_request.sink) {}

// A job that was stopped before it began sends only END.
void Job::run() {
  const base::ScopedLock held(m_lock);
  if (m_stopAt != StopBoundary::Now) {
    m_begun = true;
    const auto length = static_cast<std::uint32_t>(m_request.text.size());
    deliver({0, KAVREL_EVENT_START, 0, length, {}, false, false});
    try {
      speak();
    } catch (...) {
      fail("out of memory");
    }
  }
  finish();
}

// The job's main loop: does the work that there is, then sleeps until more is due or a request
// comes.
void Job::speak() {
  // A sink without a lead takes audio as fast as it is produced, so production runs ahead of it.
  ScriptVoices voices = m_request.oneVoice ? ScriptVoices(*m_request.voice)
                                           : ScriptVoices(*m_request.voice, loadVoice);
  m_pipeline.emplace(m_request.text, m_request.encoding, std::move(voices), m_sink.lead() == 0);
  while (m_stopAt != StopBoundary::Now && !m_failed) {
    if (m_paused) {
      m_wake.wait(m_lock);
      continue;
    }
    findBoundary();
    if (step()) continue;
    if (isDone()) {
      m_position = static_cast<std::uint32_t>(m_request.text.size());
      return;
    }
    m_wake.waitUntil(m_lock, nextDue());
  }
}

// Does the first kind of work that there is. The order matters: events come before a boundary at
// their sample, and audio that is produced already is written before more is produced.
bool Job::step() {
  m_timeline.discard(std::min(m_sink.heard(), m_written));
  if (deliverDue()) return true;
  if (isAtBoundary()) {
    applyBoundary();
    return true;
  }
  return writeMore() || produceMore();
}

// Events after a boundary that was found wait until it is certain that speech continues.
bool Job::deliverDue() {
  const TimedEvent* const event = m_timeline.nextEvent();
  if (event == nullptr) return false;
  if (m_boundary.has_value() && m_timeline.takenCount() >= m_boundary->event) return false;
  if (!isDue(*event)) return false;
  deliver(TimedEvent(m_timeline.takeEvent()));
  return true;
}

bool Job::isDue(const TimedEvent& event) {
  if (m_request.eventsImmediate) return event.sample <= m_written;
  if (m_sink.hasReached(event.sample)) return true;
  // A text without audio has no samples to wait for; its events are due at its end, or when there
  // are too many to keep.
  return m_timeline.end() == 0 && (m_allProduced || m_timeline.waitingCount() >= kMaxWaiting);
}

// Finds the boundary of a pending pause or stop, and takes back the audio after it from the sink.
void Job::findBoundary() {
  const std::optional<StopBoundary> wanted = m_stopAt.has_value() ? m_stopAt : m_pauseAt;
  if (!wanted.has_value() || m_boundary.has_value()) return;
  m_boundary = m_timeline.findBoundary(m_sink.heard(), *wanted == StopBoundary::Sentence);
  if (!m_boundary.has_value() && m_allProduced) m_boundary = {m_timeline.end(), kNoEvent};
  if (!m_boundary.has_value() || m_boundary->sample >= m_written) return;
  m_written = m_sink.takeBack(m_boundary->sample);
  // More may have been heard in the meantime; that cannot be taken back.
  m_boundary->sample = std::max(m_boundary->sample, m_sink.heard());
}

bool Job::isAtBoundary() {
  return m_boundary.has_value() && m_sink.heard() >= m_boundary->sample;
}

// The boundary has been heard: the stop or pause takes effect.
void Job::applyBoundary() {
  m_position = m_wordEnd;
  m_boundary.reset();
  m_sink.pause();
  if (m_stopAt.has_value()) {
    m_stopAt = StopBoundary::Now;
    m_stopTime = base::Clock::now();
  } else {
    m_pauseAt.reset();
    m_paused = true;
  }
}

// Returns the position up to which the sink may be written. A device gets as much as its lead; a
// file only up to the next event, so that the event is sent before later audio is written.
std::uint64_t Job::writeTarget() {
  std::uint64_t target = m_timeline.end();
  const std::uint64_t lead = m_sink.lead();
  if (lead > 0) {
    target = std::min(target, m_sink.heard() + lead);
  } else if (const TimedEvent* const event = m_timeline.nextEvent()) {
    target = std::min(target, std::max(event->sample, m_written));
  }
  return m_boundary.has_value() ? std::min(target, m_boundary->sample) : target;
}

// The lock is released while the sink writes, since that may take time.
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

// If too many events are waiting, production continues when some have been sent.
bool Job::mayProduce() {
  return !m_allProduced && !m_boundary.has_value() && m_timeline.waitingCount() < kMaxWaiting;
}

// Produces as far as the sink's lead; further only to find the boundary of a pending pause or stop.
bool Job::produceMore() {
  if (!mayProduce()) return false;
  const bool seeksBoundary = m_stopAt.has_value() || m_pauseAt.has_value();
  if (!seeksBoundary &&
      m_timeline.end() >= m_sink.heard() + std::max<std::uint64_t>(m_sink.lead(), 1)) {
    return false;
  }
  SpeechSegment segment;
  Pipeline& pipeline = *m_pipeline;
  Pipeline::Result result = Pipeline::Result::Failed;
  {
    const base::ScopedUnlock released(m_lock);
    result = pipeline.next(segment);
  }
  switch (result) {
    case Pipeline::Result::Segment:
      m_timeline.append(std::move(segment));
      break;
    case Pipeline::Result::End:
      m_allProduced = true;
      break;
    case Pipeline::Result::Failed:
      fail(pipeline.error());
      break;
    case Pipeline::Result::Cancelled:
      break;  // by a stop, which ends the loop
  }
  return true;
}

bool Job::isDone() {
  return m_allProduced && m_timeline.nextEvent() == nullptr && m_sink.heard() >= m_timeline.end();
}

// Returns when there will be work again, unless a request comes first. Called when there is no work
// now. More audio is written when half of the sink's lead has been heard.
base::Clock::time_point Job::nextDue() {
  const std::uint64_t end = m_boundary.has_value() ? m_boundary->sample : m_timeline.end();
  std::uint64_t position = end;
  const TimedEvent* const event = m_timeline.nextEvent();
  if (event != nullptr && !m_request.eventsImmediate) position = std::min(position, event->sample);
  const bool moreToWrite = m_written < end || mayProduce();
  const std::uint64_t margin = m_sink.lead() / 2;
  if (moreToWrite && m_written > margin) position = std::min(position, m_written - margin);
  return m_sink.dueAt(position);
}

void Job::finish() {
  m_ending = true;
  m_paused = false;
  m_pipeline.reset();
  if (!finishSink() && !m_failed) fail(m_sink.error());
  deliver({audioLength(), KAVREL_EVENT_END, m_position, 0, {}, false, false});
  m_over = true;
  m_done.notifyAll();
}

// The job ends even if the sink fails or throws.
bool Job::finishSink() {
  const base::ScopedUnlock released(m_lock);
  try {
    return m_sink.finish();
  } catch (...) {
    KAVREL_DIAG("Job", "The sink has failed: out of memory.");
    return false;
  }
}

void Job::fail(const std::string& message) {
  m_failed = true;
  KAVREL_DIAG("Job", "The job has failed: %s", message.c_str());
  deliver({audioLength(), KAVREL_EVENT_ERROR, m_position, 0, message, false, false});
}

// Returns the length of the job's audio, as far as it has been heard.
std::uint64_t Job::audioLength() {
  return std::max(m_lastSample, std::min(m_sink.heard(), m_timeline.end()));
}

// Calls the observer, then the callback, without the lock. m_inCallback lets wait() find out that
// they hang.
void Job::deliver(const TimedEvent& event) {
  m_lastSample = event.sample;
  if (event.type == KAVREL_EVENT_WORD) {
    m_position = event.start;
    m_wordEnd = event.start + event.length;
  }
  const bool wanted = m_request.callback != nullptr && (m_request.mask & event.type) != 0;
  const bool observed = event.type != KAVREL_EVENT_NONE && isObserved();
  if (!wanted && !observed) return;
  m_inCallback = true;
  m_callbackBegan = base::Clock::now();
  {
    const base::ScopedUnlock released(m_lock);
    if (observed) report(event);
    if (wanted) call(event);
  }
  m_inCallback = false;
}

void Job::report(const TimedEvent& event) {
  const double time = static_cast<double>(event.sample) / kSampleRate;
  observe({event.type, handleFor(m_number), event.sample, kSampleRate, time, event.start,
           event.length, event.text.c_str()});
}

void Job::call(const TimedEvent& event) {
  try {
    kavrel_event_struct argument{event.text, static_cast<int>(event.start),
                                 static_cast<int>(event.length)};
    m_request.callback(&argument, event.type, m_request.user);
  } catch (...) {
    KAVREL_DIAG("Job", "A callback has thrown an exception.");
  }
}

// Each branch is one state of the job, see kavrel_port_pause.
bool Job::pause(StopBoundary boundary) {
  const base::ScopedLock held(m_lock);
  if (m_ending) return false;
  if (m_stopAt.has_value()) {
    // A paused job stops at its current position, so this pause makes the pending stop immediate.
    if (boundary == StopBoundary::Now) stopNow();
  } else if (m_paused) {
    m_paused = false;
    m_sink.resume();
  } else if (m_pauseAt.has_value()) {
    m_pauseAt.reset();
    m_boundary.reset();
  } else if (boundary == StopBoundary::Now) {
    m_paused = true;
    m_sink.pause();
  } else {
    m_pauseAt = boundary;
  }
  changed();
  return true;
}

// An earlier stop at a nearer boundary stays in effect.
void Job::stop(StopBoundary boundary) {
  const base::ScopedLock held(m_lock);
  if (m_ending || (m_stopAt.has_value() && *m_stopAt <= boundary)) return;
  if (boundary == StopBoundary::Now || m_paused || !m_begun) {
    stopNow();
  } else {
    m_stopAt = boundary;
    m_pauseAt.reset();
    m_boundary.reset();
  }
  changed();
}

void Job::stopNow() {
  m_stopAt = StopBoundary::Now;
  m_stopTime = base::Clock::now();
  if (m_pipeline.has_value()) m_pipeline->cancel();
  m_sink.pause();
}

void Job::changed() {
  m_wake.notifyAll();
  m_done.notifyAll();
}

// Callbacks are many and short, so they do not wake waiting threads. Checking again after the grace
// period at the latest is soon enough: a callback that has begun meanwhile still has time left.
Job::WaitResult Job::wait() {
  const base::ScopedLock held(m_lock);
  while (!m_over) {
    const base::Clock::time_point now = base::Clock::now();
    const base::Clock::time_point limit = hangLimit();
    if (now >= limit) return WaitResult::CallbackHangs;
    m_done.waitUntil(m_lock, std::min(limit, now + kCallbackGrace));
  }
  return WaitResult::Over;
}

// Returns the time from which on the running callback counts as hanging: the grace period after the
// audio has ended, or has run out because of the callback. The end of time if no callback is
// running, or while the job is paused.
base::Clock::time_point Job::hangLimit() {
  if (!m_inCallback || (m_paused && !m_ending)) return base::Clock::time_point::max();
  base::Clock::time_point silent = m_callbackBegan;
  if (m_stopAt == StopBoundary::Now) {
    silent = std::max(silent, m_stopTime);
  } else if (!m_ending) {
    silent = std::max(silent, m_sink.dueAt(m_written));
  }
  return silent + kCallbackGrace;
}

}  // namespace kavrel

// SPDX-License-Identifier: Apache-2.0
//
// A job: one text, spoken once. It produces speech, writes it to a sink, and sends events as their
// samples are heard.
//
// Threads: run() does the work on one thread, the job's thread, and calls the callback there, under
// no lock. All other functions may be called on any thread.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "base/threads/Clock.h"
#include "base/threads/Mutex.h"
#include "job/pipeline.h"
#include "job/timeline.h"
#include "kavrel.h"
#include "output/sink.h"
#include "text/encoding.h"

namespace kavrel {

class Voice;

// Where a pause or a stop takes effect, the nearest first.
enum class StopBoundary { Now, Word, Sentence };

// Returns the boundary that `boundary` names; Now for all other values.
StopBoundary stopBoundaryFor(kavrel_event_t boundary);

// Returns the handle of the job with this number.
kavrel_background_t handleFor(std::uint64_t number);

class Job {
 public:
  // The text, the voice, the sink and the callback of a job. `voice` must outlive the job; voices
  // are never destroyed.
  struct Request {
    std::string text;
    Encoding encoding = Encoding::Latin9;  // of the text and of the texts of its events
    const Voice* voice = nullptr;
    bool oneVoice = false;  // other scripts are spoken by `voice`, too
    std::unique_ptr<Sink> sink;
    bool eventsImmediate = false;
    kavrel_callback_t callback = nullptr;
    kavrel_event_t mask = KAVREL_EVENT_NONE;
    void* user = nullptr;
  };

  enum class WaitResult { Over, CallbackHangs };

  // `number` identifies the job; its handle is made of it.
  Job(std::uint64_t number, Request request);

  std::uint64_t number() const { return m_number; }

  // Speaks the text, and sends END at the end, whatever happens. Called once.  [job's thread]
  void run() EXCLUDES(m_lock);

  // As kavrel_port_pause. Returns false if the job is over.
  bool pause(StopBoundary boundary) EXCLUDES(m_lock);

  // As kavrel_port_stop.
  void stop(StopBoundary boundary) EXCLUDES(m_lock);

  // As kavrel_port_wait. Must not be called on the job's thread.
  WaitResult wait() EXCLUDES(m_lock);

 private:
  // These run on the job's thread, with the lock held; those that take time release it meanwhile.
  // Those that return bool return true if they did any work; the loop then re-evaluates the job's
  // state.
  void speak() REQUIRES(m_lock);
  bool step() REQUIRES(m_lock);
  bool deliverDue() REQUIRES(m_lock);
  bool writeMore() REQUIRES(m_lock);
  bool produceMore() REQUIRES(m_lock);
  void findBoundary() REQUIRES(m_lock);
  bool isAtBoundary() REQUIRES(m_lock);
  void applyBoundary() REQUIRES(m_lock);
  void finish() REQUIRES(m_lock);
  bool finishSink() REQUIRES(m_lock);
  void fail(const std::string& message) REQUIRES(m_lock);
  void deliver(const TimedEvent& event) REQUIRES(m_lock);
  void report(const TimedEvent& event) EXCLUDES(m_lock);
  void call(const TimedEvent& event) EXCLUDES(m_lock);

  std::uint64_t audioLength() REQUIRES(m_lock);
  bool isDone() REQUIRES(m_lock);
  bool isDue(const TimedEvent& event) REQUIRES(m_lock);
  bool mayProduce() REQUIRES(m_lock);
  std::uint64_t writeTarget() REQUIRES(m_lock);
  base::Clock::time_point nextDue() REQUIRES(m_lock);
  base::Clock::time_point hangLimit() REQUIRES(m_lock);
  void changed() REQUIRES(m_lock);
  void stopNow() REQUIRES(m_lock);

  const std::uint64_t m_number;
  const Request m_request;
  Sink& m_sink;

  base::Mutex m_lock;
  base::Condition m_wake;  // with m_lock: a pause, resume or stop was requested
  base::Condition m_done;  // with m_lock: the same, or the job is over

  bool m_begun GUARDED_BY(m_lock) = false;
  bool m_ending GUARDED_BY(m_lock) = false;  // no more audio is written
  bool m_over GUARDED_BY(m_lock) = false;    // END has been sent and its callback has returned
  bool m_failed GUARDED_BY(m_lock) = false;

  bool m_paused GUARDED_BY(m_lock) = false;
  std::optional<StopBoundary> m_pauseAt GUARDED_BY(m_lock);  // pending; never Now
  std::optional<StopBoundary> m_stopAt GUARDED_BY(m_lock);   // pending, or Now
  base::Clock::time_point m_stopTime GUARDED_BY(m_lock);     // when m_stopAt became Now
  // Where m_stopAt or m_pauseAt takes effect; nullopt until it is found.
  std::optional<Timeline::Boundary> m_boundary GUARDED_BY(m_lock);

  std::optional<Pipeline> m_pipeline GUARDED_BY(m_lock);  // while the job speaks
  Timeline m_timeline GUARDED_BY(m_lock);
  std::uint64_t m_written GUARDED_BY(m_lock) = 0;  // samples, to the sink
  bool m_allProduced GUARDED_BY(m_lock) = false;

  std::uint64_t m_lastSample GUARDED_BY(m_lock) = 0;  // of the last event
  std::uint32_t m_wordEnd GUARDED_BY(m_lock) = 0;     // of the last word reported
  std::uint32_t m_position GUARDED_BY(m_lock) = 0;    // of the speech, in the text

  bool m_inCallback GUARDED_BY(m_lock) = false;
  base::Clock::time_point m_callbackBegan GUARDED_BY(m_lock);
};

}  // namespace kavrel

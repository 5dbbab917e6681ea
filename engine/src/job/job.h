// SPDX-License-Identifier: GPL-3.0-or-later
//
// A job: one text, spoken once.
//
// run() does the work on one thread, the job's thread; the other functions may be called on any
// thread. The callback is called on the job's thread, under no lock.
#pragma once

#include <atomic>
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

namespace kavrel {

class Voice;

// Where a pause or a stop takes hold, the nearest first.
enum class Place { Now, Word, Sentence };

Place placeFor(kavrel_event_t place);

// The handle of the job with that number.
kavrel_background_t handleFor(std::uint64_t number);

class Job {
 public:
  struct Request {
    std::string text;
    const Voice* voice = nullptr;
    std::unique_ptr<Sink> sink;
    bool eventsImmediate = false;
    kavrel_callback_t callback = nullptr;
    kavrel_event_t mask = KAVREL_EVENT_NONE;
    void* user = nullptr;
  };

  enum class Waited { Over, CallbackHangs };

  // `number` is the job's handle.
  Job(std::uint64_t number, Request request);

  std::uint64_t number() const { return m_number; }

  // Speaks the text; the last thing that it does is the END event. Called once.
  void run() EXCLUDES(m_lock);

  // As kavrel_port_pause. False when the job is over.
  bool pause(Place place) EXCLUDES(m_lock);

  // As kavrel_port_stop.
  void stop(Place place) EXCLUDES(m_lock);

  // As kavrel_port_wait; not for the job's own thread.
  Waited wait() EXCLUDES(m_lock);

 private:
  // On the job's thread, with the lock held; those that take time let go of it meanwhile. They
  // answer whether they have done something, after which everything is looked at anew.
  void speak() REQUIRES(m_lock);
  bool step(Pipeline& producer) REQUIRES(m_lock);
  bool deliverDue() REQUIRES(m_lock);
  bool writeMore() REQUIRES(m_lock);
  bool produceMore(Pipeline& producer) REQUIRES(m_lock);
  void findCut() REQUIRES(m_lock);
  bool isCut() REQUIRES(m_lock);
  void beCut() REQUIRES(m_lock);
  void finish() REQUIRES(m_lock);
  bool finishSink() REQUIRES(m_lock);
  void fail(const std::string& message) REQUIRES(m_lock);
  void deliver(const Entry& entry) REQUIRES(m_lock);
  void report(const Entry& entry) EXCLUDES(m_lock);
  void call(const Entry& entry) EXCLUDES(m_lock);

  std::uint64_t soundLength() REQUIRES(m_lock);
  bool isDone() REQUIRES(m_lock);
  bool isDue(const Entry& entry) REQUIRES(m_lock);
  bool mayProduce() REQUIRES(m_lock);
  std::uint64_t writeTarget() REQUIRES(m_lock);
  base::Clock::time_point nextDue() REQUIRES(m_lock);
  base::Clock::time_point hangLimit() REQUIRES(m_lock);
  void changed() REQUIRES(m_lock);
  void stopNow() REQUIRES(m_lock);

  const std::uint64_t m_number;
  const Request m_request;
  Sink& m_sink;
  std::atomic<bool> m_cancel = false;  // production is given up

  base::Mutex m_lock;
  base::Condition m_wake;  // with m_lock: something was asked of the job
  base::Condition m_done;  // with m_lock: something was asked of the job, or it is over

  bool m_begun GUARDED_BY(m_lock) = false;
  bool m_ending GUARDED_BY(m_lock) = false;  // nothing more is spoken
  bool m_over GUARDED_BY(m_lock) = false;    // END has been sent and its callback has returned
  bool m_failed GUARDED_BY(m_lock) = false;

  bool m_paused GUARDED_BY(m_lock) = false;
  std::optional<Place> m_pauseAt GUARDED_BY(m_lock);      // asked for, not reached; never Now
  std::optional<Place> m_stopAt GUARDED_BY(m_lock);       // asked for
  base::Clock::time_point m_stopTime GUARDED_BY(m_lock);  // when a stop at once was asked for
  std::optional<Timeline::Cut> m_cut GUARDED_BY(m_lock);  // where m_stopAt or m_pauseAt is

  Timeline m_timeline GUARDED_BY(m_lock);
  std::uint64_t m_written GUARDED_BY(m_lock) = 0;  // to the sink
  bool m_allProduced GUARDED_BY(m_lock) = false;

  std::uint64_t m_lastSample GUARDED_BY(m_lock) = 0;  // of the last event
  std::uint32_t m_wordEnd GUARDED_BY(m_lock) = 0;     // of the last word reported
  std::uint32_t m_position GUARDED_BY(m_lock) = 0;    // of the speech, in the text

  bool m_inCallback GUARDED_BY(m_lock) = false;
  base::Clock::time_point m_callbackBegan GUARDED_BY(m_lock);
};

}  // namespace kavrel

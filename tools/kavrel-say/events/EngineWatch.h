// SPDX-License-Identifier: Apache-2.0
//
// EngineWatch: receives the times of events and the error messages of the engine.
//
// kavrel-say is a client of the Manager, with one exception: EngineWatch.cpp includes the engine's
// kavrel_observer.h. The Manager's callbacks carry no time and no error text, and --events and the
// captions need the time of each event in the audio. With another engine, NoEngineWatch.cpp takes
// the place of EngineWatch.cpp; it reports nothing.
//
// Threads: the engine calls back on its own threads. The functions below are for one thread.
#pragma once

#include <optional>
#include <string>

#include "base/threads/Mutex.h"
#include "events/EventTimes.h"

namespace say {

class EngineWatch {
 public:
  // Passes event times to `times`, which outlives the watch; null if no times are needed. The
  // process has one observer, so only one watch may exist at a time. Throws Failure.
  explicit EngineWatch(EventTimes* times);
  ~EngineWatch();
  EngineWatch(const EngineWatch&) = delete;
  EngineWatch& operator=(const EngineWatch&) = delete;

  // Throws Failure with the engine's message if a speech has stopped because of an error.
  void check() const EXCLUDES(m_lock);

 private:
  struct Callback;

  EventTimes* const m_times;
  mutable base::Mutex m_lock;
  std::optional<std::string> m_error GUARDED_BY(m_lock);  // the first one
};

}  // namespace say

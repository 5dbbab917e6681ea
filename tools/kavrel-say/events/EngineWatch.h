// SPDX-License-Identifier: Apache-2.0
//
// EngineWatch: what only the engine knows, the times of events and why a speech broke off.
//
// This one part of the program looks past the Manager. Where the plug-in is built on another engine
// than ours nothing comes from it: NoEngineWatch.cpp then stands for EngineWatch.cpp.
#pragma once

#include <optional>
#include <string>

#include "base/threads/Mutex.h"
#include "events/EventTimes.h"

namespace say {

class EngineWatch {
 public:
  // Hands times to `times`, which outlives the watch; null: nobody asks for times. One watch at a
  // time. Throws Failure.
  explicit EngineWatch(EventTimes* times);
  ~EngineWatch();
  EngineWatch(const EngineWatch&) = delete;
  EngineWatch& operator=(const EngineWatch&) = delete;

  // Throws Failure with the engine's own words when a speech has broken off.
  void check() const EXCLUDES(m_lock);

 private:
  struct Callback;

  EventTimes* const m_times;
  mutable base::Mutex m_lock;
  std::optional<std::string> m_error GUARDED_BY(m_lock);  // the first one
};

}  // namespace say

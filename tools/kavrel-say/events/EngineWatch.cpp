// SPDX-License-Identifier: Apache-2.0
#include "events/EngineWatch.h"

#include <kavrel_observer.h>

#include "Failure.h"

namespace say {

struct EngineWatch::Callback {
  // Runs on a thread of the engine. The engine catches what this throws: out of memory costs an
  // event time, not the speech.
  static void observe(const kavrel_observation* event, void* user) {
    auto& watch = *static_cast<EngineWatch*>(user);
    if (event->type == KAVREL_EVENT_ERROR) {
      const base::ScopedLock held(watch.m_lock);
      // The first error is the cause; later ones follow from it.
      if (!watch.m_error) watch.m_error = event->text;
    } else if (watch.m_times != nullptr) {
      observeTime(*watch.m_times, *event);
    }
  }

  // The handle of the engine's job identifies the speech; it is only compared.
  static void observeTime(EventTimes& times, const kavrel_observation& event) {
    const auto speech = reinterpret_cast<EventTimes::SpeechNumber>(event.job);
    switch (event.type) {
      case KAVREL_EVENT_WORD:
        return times.observe(speech, EventTimes::Kind::Word, event.time);
      case KAVREL_EVENT_PHONEME:
        return times.observe(speech, EventTimes::Kind::Phoneme, event.time);
      case KAVREL_EVENT_BOOKMARK:
        return times.observe(speech, EventTimes::Kind::Sync, event.time);
      case KAVREL_EVENT_END:
        return times.observeEnd(speech, event.time);
      default:
        return;
    }
  }
};

EngineWatch::EngineWatch(EventTimes* times) : m_times(times) {
  if (kavrel_set_observer(&Callback::observe, this) != KAVREL_SUCCESS) {
    throw tool::Failure("out of memory");
  }
}

EngineWatch::~EngineWatch() {
  kavrel_set_observer(nullptr, nullptr);
}

void EngineWatch::check() const {
  const base::ScopedLock held(m_lock);
  if (m_error) throw tool::Failure("the speech stopped early: " + *m_error);
}

}  // namespace say

// SPDX-License-Identifier: Apache-2.0
#include "job/pipeline.h"

#include <system_error>
#include <utility>

#include "cst/diag.h"

namespace kavrel {

Pipeline::Pipeline(std::string_view text, const Voice& voice, std::atomic<bool>& cancel, bool ahead)
    : m_producer(text, voice, cancel), m_cancel(cancel) {
  if (!ahead) return;
  try {
    m_thread.emplace([this] { run(); });
  } catch (const std::system_error&) {
    // Slower, but not a failure.
    KAVREL_DIAG("Pipeline",
                "The system refuses to start a thread; segments are produced on demand.");
  }
}

Pipeline::~Pipeline() {
  if (!m_thread.has_value()) return;
  // The flag makes the producer return soon; m_abandoned wakes a thread that waits for a free slot.
  m_cancel = true;
  {
    const base::ScopedLock held(m_lock);
    m_abandoned = true;
    m_changed.notifyAll();
  }
  m_thread->join();
}

// Waits for the thread's next outcome, or produces one itself if there is no thread.
Producer::Result Pipeline::next(SpeechSegment& segment) {
  if (!m_thread.has_value()) return m_producer.next(segment);
  Outcome outcome;
  {
    const base::ScopedLock held(m_lock);
    // The thread always stores a last outcome, so this ends.
    while (m_taken == m_produced) m_changed.wait(m_lock);
    outcome = std::move(m_outcomes[m_taken++ % m_outcomes.size()]);
    m_changed.notifyAll();
  }
  if (outcome.thrown) std::rethrow_exception(outcome.thrown);
  segment = std::move(outcome.segment);
  return outcome.result;
}

// Main function of the thread. Ends after the last outcome, or when the consumer is gone.
void Pipeline::run() {
  bool isLast = false;
  while (!isLast) {
    Outcome outcome = produce();
    isLast = outcome.thrown || outcome.result != Producer::Result::Segment;
    const base::ScopedLock held(m_lock);
    m_outcomes[m_produced++ % m_outcomes.size()] = std::move(outcome);
    m_changed.notifyAll();
    while (m_produced - m_taken == m_outcomes.size() && !m_abandoned) m_changed.wait(m_lock);
    isLast = isLast || m_abandoned;
  }
}

// An exception is passed on to the consumer, which reports it.
Pipeline::Outcome Pipeline::produce() noexcept {
  Outcome outcome;
  try {
    outcome.result = m_producer.next(outcome.segment);
  } catch (...) {
    outcome.thrown = std::current_exception();
  }
  return outcome;
}

}  // namespace kavrel

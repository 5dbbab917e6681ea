// SPDX-License-Identifier: GPL-3.0-or-later
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
    KAVREL_DIAG("Pipeline", "The system refuses a thread; speaking goes on without it.");
  }
}

Pipeline::~Pipeline() {
  if (!m_thread.has_value()) return;
  m_cancel = true;
  {
    const base::ScopedLock held(m_lock);
    m_givenUp = true;
    m_changed.notifyAll();
  }
  m_thread->join();
}

Producer::Result Pipeline::next(Piece& piece) {
  if (!m_thread.has_value()) return m_producer.next(piece);
  Outcome outcome;
  {
    const base::ScopedLock held(m_lock);
    while (m_taken == m_produced) m_changed.wait(m_lock);
    outcome = std::move(m_outcomes[m_taken++ % m_outcomes.size()]);
    m_changed.notifyAll();
  }
  if (outcome.thrown) std::rethrow_exception(outcome.thrown);
  piece = std::move(outcome.piece);
  return outcome.result;
}

void Pipeline::run() {
  bool isLast = false;
  while (!isLast) {
    Outcome outcome = produce();
    isLast = outcome.thrown || outcome.result != Producer::Result::Piece;
    const base::ScopedLock held(m_lock);
    m_outcomes[m_produced++ % m_outcomes.size()] = std::move(outcome);
    m_changed.notifyAll();
    while (m_produced - m_taken == m_outcomes.size() && !m_givenUp) m_changed.wait(m_lock);
    isLast = isLast || m_givenUp;
  }
}

Pipeline::Outcome Pipeline::produce() noexcept {
  Outcome outcome;
  try {
    outcome.result = m_producer.next(outcome.piece);
  } catch (...) {
    outcome.thrown = std::current_exception();
  }
  return outcome;
}

}  // namespace kavrel

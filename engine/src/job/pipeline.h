// SPDX-License-Identifier: GPL-3.0-or-later
//
// A producer that can be ahead of whoever takes its pieces: it then produces on a thread of its
// own, and stops when a few pieces are waiting to be taken.
//
// Used by one thread, apart from that one.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "base/threads/Mutex.h"
#include "job/producer.h"

namespace kavrel {

class Pipeline {
 public:
  // As for Producer. Not `ahead`, or when the system refuses a thread: pieces are produced as they
  // are asked for.
  Pipeline(std::string_view text, const Voice& voice, std::atomic<bool>& cancel, bool ahead);

  // Sets `cancel`, and waits for a piece that is in production.
  ~Pipeline();
  Pipeline(const Pipeline&) = delete;
  Pipeline& operator=(const Pipeline&) = delete;

  // As Producer::next(), what it throws included; not to be called again after the end or a
  // failure.
  Producer::Result next(Piece& piece) EXCLUDES(m_lock);

  const std::string& error() const { return m_producer.error(); }

 private:
  struct Outcome {
    Producer::Result result = Producer::Result::End;
    Piece piece;
    std::exception_ptr thrown;
  };

  void run() EXCLUDES(m_lock);
  Outcome produce() noexcept;

  Producer m_producer;  // used by the thread, if there is one, until its last outcome
  std::atomic<bool>& m_cancel;

  base::Mutex m_lock;
  base::Condition m_changed;  // with m_lock
  // Not yet taken, from the m_taken'th on; more would only cost memory, for a piece is far more
  // work to produce than to take.
  std::array<Outcome, 2> m_outcomes GUARDED_BY(m_lock);
  std::size_t m_produced GUARDED_BY(m_lock) = 0;
  std::size_t m_taken GUARDED_BY(m_lock) = 0;
  bool m_givenUp GUARDED_BY(m_lock) = false;

  std::optional<std::thread> m_thread;
};

}  // namespace kavrel

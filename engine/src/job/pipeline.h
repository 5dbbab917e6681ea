// SPDX-License-Identifier: Apache-2.0
//
// A producer that can run ahead of its consumer: a bounded queue (a ring buffer of two outcomes)
// between a thread of its own and the consumer.
//
// Threads: used by one thread, the consumer, apart from its own thread.
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
  // Arguments as for Producer. If `ahead` is false, or if the system refuses a thread, segments are
  // produced when next() is called.
  Pipeline(std::string_view text, const Voice& voice, std::atomic<bool>& cancel, bool ahead);

  // Sets `cancel`, and waits for the segment in production.
  ~Pipeline();
  Pipeline(const Pipeline&) = delete;
  Pipeline& operator=(const Pipeline&) = delete;

  // As Producer::next(), including its exceptions. Must not be called again after the end, a
  // failure or an exception.
  Producer::Result next(SpeechSegment& segment) EXCLUDES(m_lock);

  const std::string& error() const { return m_producer.error(); }

 private:
  // What one call of Producer::next() returned or threw.
  struct Outcome {
    Producer::Result result = Producer::Result::End;
    SpeechSegment segment;
    std::exception_ptr thrown;
  };

  void run() EXCLUDES(m_lock);
  Outcome produce() noexcept;

  Producer m_producer;  // used by the thread, if there is one, until its last outcome is stored
  std::atomic<bool>& m_cancel;

  base::Mutex m_lock;
  base::Condition m_changed;  // with m_lock
  // A ring buffer of the outcomes that have not been taken. Two are enough: producing a segment
  // takes far longer than consuming it, so a longer queue would only cost memory.
  std::array<Outcome, 2> m_outcomes GUARDED_BY(m_lock);
  std::size_t m_produced GUARDED_BY(m_lock) = 0;
  std::size_t m_taken GUARDED_BY(m_lock) = 0;
  bool m_abandoned GUARDED_BY(m_lock) = false;  // the consumer takes no more outcomes

  std::optional<std::thread> m_thread;
};

}  // namespace kavrel

// SPDX-License-Identifier: GPL-3.0-or-later
//
// The produced part of a job that has not been heard yet, on one count of samples from the job's
// start. Used by one thread at a time.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <vector>

#include "job/segment.h"

namespace kavrel {

class Timeline {
 public:
  void append(SpeechSegment&& segment);

  // Where the next segment will go.
  std::uint64_t end() const { return m_end; }

  // Samples from `position` on, at least one and at most `limit`; `position` has not been forgotten
  // and lies in front of end(). Good until the next append or discard.
  std::span<const std::int16_t> samplesAt(std::uint64_t position, std::size_t limit) const;

  // The first event that has not been taken; null when there is none.
  const TimedEvent* nextEvent() const;
  // Takes it. Good until the next append or discard.
  const TimedEvent& takeEvent();

  // A place where speech can be cut: at `sample`, in front of the event with number `event`.
  struct Boundary {
    std::uint64_t sample = 0;
    std::uint64_t event = 0;
  };

  // How many events have been taken, which is the number of nextEvent().
  std::uint64_t takenCount() const { return m_dropped + m_taken; }

  // How many events have not been taken.
  std::size_t waitingCount() const { return m_events.size() - m_taken; }

  // The first place at or after `heard` where the current word (`sentence`: sentence) is over and
  // nothing of what follows has begun. None: it has not been produced yet.
  std::optional<Boundary> findBoundary(std::uint64_t heard, bool sentence) const;

  // Drops the samples in front of `position`, and the events up to it that have been taken. All of
  // it has been heard.
  void discard(std::uint64_t position);

 private:
  struct Block {
    std::uint64_t begin = 0;
    std::vector<std::int16_t> samples;
    std::uint64_t silence = 0;

    std::uint64_t end() const { return begin + samples.size() + silence; }
  };

  std::deque<Block> m_blocks;
  std::deque<TimedEvent> m_events;
  std::size_t m_taken = 0;      // how many of m_events, from the front
  std::uint64_t m_dropped = 0;  // how many events there were in front of m_events
  std::uint64_t m_end = 0;
};

}  // namespace kavrel

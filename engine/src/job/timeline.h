// SPDX-License-Identifier: Apache-2.0
//
// The produced part of a job that has not been heard yet: two double-ended queues, one of audio and
// one of events, on one sample count from the job's start. Segments are appended at the end; what
// has been heard is dropped at the front. Used by one thread at a time.
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
  // Appends a segment. Its events are clamped to its length.
  void append(SpeechSegment&& segment);

  // The end of the produced audio, in samples: where the next segment will begin.
  std::uint64_t end() const { return m_end; }

  // Returns samples from `position` on, at least one and at most `limit`. `position` must be before
  // end() and not discarded. Valid until the next append or discard.
  std::span<const std::int16_t> samplesAt(std::uint64_t position, std::size_t limit) const;

  // Returns the first event that has not been taken; null if there is none.
  const TimedEvent* nextEvent() const;
  // Takes that event. The result is valid until the next append or discard.
  const TimedEvent& takeEvent();

  // A boundary where a stop or pause takes effect: at `sample`, before the event with number
  // `event`, counted from the job's start.
  struct Boundary {
    std::uint64_t sample = 0;
    std::uint64_t event = 0;
  };

  // The number of events taken since the job's start, which is also the number of nextEvent().
  std::uint64_t takenCount() const { return m_dropped + m_taken; }

  // The number of events that have not been taken.
  std::size_t waitingCount() const { return m_events.size() - m_taken; }

  // Returns the first boundary at or after sample `heard`: the end of the current word, or of the
  // current sentence if `sentence` is set, before anything that follows has begun. Returns nullopt
  // if it has not been produced yet.
  std::optional<Boundary> findBoundary(std::uint64_t heard, bool sentence) const;

  // Drops the samples before `position`, and the taken events up to it. All of them have been
  // heard.
  void discard(std::uint64_t position);

 private:
  // The audio of one segment.
  struct Block {
    std::uint64_t begin = 0;
    std::vector<std::int16_t> samples;
    std::uint64_t silence = 0;

    std::uint64_t end() const { return begin + samples.size() + silence; }
  };

  std::deque<Block> m_blocks;
  std::deque<TimedEvent> m_events;
  std::size_t m_taken = 0;      // number of taken events at the front of m_events
  std::uint64_t m_dropped = 0;  // number of events dropped from m_events
  std::uint64_t m_end = 0;
};

}  // namespace kavrel

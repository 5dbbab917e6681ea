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

#include "job/piece.h"

namespace kavrel {

class Timeline {
 public:
  void append(Piece&& piece);

  // Where the next piece will go.
  std::uint64_t end() const { return m_end; }

  // Samples from `position` on, at least one and at most `limit`; `position` has not been forgotten
  // and lies in front of end(). Good until the next append or forget.
  std::span<const std::int16_t> samplesAt(std::uint64_t position, std::size_t limit) const;

  // The first entry that has not been taken; null when there is none.
  const Entry* nextEntry() const;
  // Takes it. Good until the next append or forget.
  const Entry& takeEntry();

  // A place where speech can be cut: at `sample`, in front of the entry with number `entry`.
  struct Cut {
    std::uint64_t sample = 0;
    std::uint64_t entry = 0;
  };

  // How many entries have been taken, which is the number of nextEntry().
  std::uint64_t takenCount() const { return m_dropped + m_taken; }

  // How many entries have not been taken.
  std::size_t waitingCount() const { return m_entries.size() - m_taken; }

  // The first place at or after `heard` where the current word (`sentence`: sentence) is over and
  // nothing of what follows has begun. None: it has not been produced yet.
  std::optional<Cut> findCut(std::uint64_t heard, bool sentence) const;

  // Drops the samples in front of `position`, and the entries up to it that have been taken. All of
  // it has been heard.
  void forget(std::uint64_t position);

 private:
  struct Stretch {
    std::uint64_t begin = 0;
    std::vector<std::int16_t> samples;
    std::uint64_t silence = 0;

    std::uint64_t end() const { return begin + samples.size() + silence; }
  };

  std::deque<Stretch> m_stretches;
  std::deque<Entry> m_entries;
  std::size_t m_taken = 0;      // how many of m_entries, from the front
  std::uint64_t m_dropped = 0;  // how many entries there were in front of m_entries
  std::uint64_t m_end = 0;
};

}  // namespace kavrel

// SPDX-License-Identifier: GPL-3.0-or-later
//
// The samples between a job and a sound device, and the account of which of them have been heard.
//
// A device never stops asking: where there are no samples it is given silence, a gap. Positions
// count the job's samples, frames count all that the device has been given.
//
// Threads: three sides. [job] is the job's thread, [device] the thread on which the device asks;
// any other thread may look up what has been heard, one at a time [listener]. No side waits for
// another, takes a lock or allocates, so that a job's thread which gets no time cannot hold up the
// sound.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <span>

namespace kavrel {

class Playback {
 public:
  // The most samples that there may be between the written and the heard.
  static constexpr std::uint32_t kCapacity = 32768;

  Playback();

  // Puts samples behind those that are there.  [job]
  void write(std::span<const std::int16_t> samples);

  // Takes back what was written from `position` on, if the device does not have it yet. The new end
  // of what is written is the result.  [job]
  std::uint64_t takeBack(std::uint64_t position);

  // The next gap is wanted, or nobody's fault.  [any thread]
  void allowGap() { m_gapAllowed.store(true, std::memory_order_relaxed); }

  // Fills `out` with the next samples, or with silence behind the last.  [device]
  void take(std::span<std::int16_t> out);

  struct Heard {
    std::uint64_t position = 0;  // samples
    std::uint64_t silence = 0;   // frames of silence since the last of them; 0 outside of gaps
  };

  // What has been heard when the device has played `frames`. Asked again only for the same or
  // more.  [listener]
  Heard heardAt(std::uint64_t frames);

  // How many gaps between two samples there have been that were not allowed.  [any thread]
  std::uint32_t gapCount() const { return m_gapCount.load(std::memory_order_relaxed); }

 private:
  struct Gap {
    std::atomic<std::uint64_t> frame = 0;
    std::atomic<std::uint64_t> length = 0;
  };
  static constexpr std::uint32_t kMaxGaps = 64;

  std::uint32_t claim(std::uint32_t wanted);
  void copyTo(std::span<std::int16_t> out, std::uint32_t from) const;
  bool hasRoomForGap() const;
  void leaveGap();
  void addSilence(std::uint64_t frame, std::uint64_t count);

  std::unique_ptr<std::int16_t[]> m_samples;  // kCapacity of them, in turn

  // Which samples the device has claimed, in the upper half, and the end of those that are written,
  // in the lower; both modulo 2^32. In one word, so that a sample is either claimed or taken back.
  std::atomic<std::uint64_t> m_state = 0;
  std::uint64_t m_written = 0;  // [job]

  std::uint64_t m_given = 0;               // frames  [device]
  std::atomic<std::uint64_t> m_taken = 0;  // samples that the device has

  // Gaps that may not have been heard, in order, in turn: the device adds at the head, whoever
  // listens removes at the tail.
  std::array<Gap, kMaxGaps> m_gaps;
  std::atomic<std::uint32_t> m_head = 0;
  std::atomic<std::uint32_t> m_tail = 0;
  bool m_inGap = false;           // [device]
  std::uint64_t m_heardGaps = 0;  // frames of the gaps that are removed  [listener]

  std::atomic<bool> m_gapAllowed = false;
  std::atomic<std::uint32_t> m_gapCount = 0;
};

}  // namespace kavrel

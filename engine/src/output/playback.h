// SPDX-License-Identifier: Apache-2.0
//
// A lock-free ring buffer of samples between a job and a sound device, and a record of which
// samples have been heard.
//
// A device asks for frames all the time: if there are no samples, it gets silence, a gap. Positions
// count the job's samples; frames count everything that the device has been given, gaps included. A
// second ring buffer lists the gaps, so that a frame can be converted to a position.
//
// Threads: three sides. [job] is the job's thread, [device] the thread on which the device asks for
// frames, [listener] any thread that asks what has been heard, one at a time. No side waits for
// another, takes a lock or allocates, so a job's thread that gets no processor time cannot block
// the audio of others.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <span>

namespace kavrel {

class Playback {
 public:
  // Maximum number of samples that are written but not heard.
  static constexpr std::uint32_t kCapacity = 32768;

  Playback();

  // Appends samples. The caller must not exceed kCapacity.  [job]
  void write(std::span<const std::int16_t> samples);

  // Takes back the samples from `position` on that the device does not have yet. Returns the new
  // end of the written samples.  [job]
  std::uint64_t takeBack(std::uint64_t position);

  // The next gap is intended, and not counted by gapCount().  [any thread]
  void allowGap() { m_gapAllowed.store(true, std::memory_order_relaxed); }

  // Fills `out` with the next samples, and with silence after the last one.  [device]
  void take(std::span<std::int16_t> out);

  // The number of frames that the device has been given, which is more than have been heard.  [any
  // thread]
  std::uint64_t given() const { return m_given.load(std::memory_order_relaxed); }

  struct Heard {
    std::uint64_t position = 0;  // samples heard
    std::uint64_t silence = 0;   // frames of silence heard since then; 0 outside of gaps
  };

  // Returns what has been heard when the device has played `frames` frames. `frames` must not
  // decrease from call to call.  [listener]
  Heard heardAt(std::uint64_t frames);

  // The number of gaps between samples that were not allowed by allowGap(): underruns.  [any
  // thread]
  std::uint32_t gapCount() const { return m_gapCount.load(std::memory_order_relaxed); }

 private:
  // A run of silence: its first frame and its number of frames.
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

  std::unique_ptr<std::int16_t[]> m_samples;  // the ring buffer, kCapacity samples

  // Upper half: the end of the samples that the device has claimed. Lower half: the end of those
  // that are written. Both modulo 2^32. They share one word, so that a sample is either claimed or
  // taken back, never both.
  std::atomic<std::uint64_t> m_state = 0;
  std::uint64_t m_written = 0;  // [job]

  std::atomic<std::uint64_t> m_given = 0;  // frames
  std::atomic<std::uint64_t> m_taken = 0;  // samples copied to the device

  // A ring buffer of the gaps that may not have been heard: the device appends at the head, the
  // listener removes at the tail.
  std::array<Gap, kMaxGaps> m_gaps;
  std::atomic<std::uint32_t> m_head = 0;
  std::atomic<std::uint32_t> m_tail = 0;
  bool m_inGap = false;           // [device]
  std::uint64_t m_heardGaps = 0;  // frames of the gaps that were removed  [listener]

  std::atomic<bool> m_gapAllowed = false;
  std::atomic<std::uint32_t> m_gapCount = 0;
};

}  // namespace kavrel

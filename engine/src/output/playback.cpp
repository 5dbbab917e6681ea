// SPDX-License-Identifier: Apache-2.0
#include "output/playback.h"

#include <algorithm>

namespace kavrel {

namespace {

constexpr std::uint64_t stateOf(std::uint32_t claimed, std::uint32_t end) {
  return std::uint64_t{claimed} << 32 | end;
}

constexpr std::uint32_t claimedIn(std::uint64_t state) {
  return static_cast<std::uint32_t>(state >> 32);
}

constexpr std::uint32_t endIn(std::uint64_t state) {
  return static_cast<std::uint32_t>(state);
}

}  // namespace

Playback::Playback() : m_samples(std::make_unique<std::int16_t[]>(kCapacity)) {}

// The samples are stored before the new end is published (release), so that the device never reads
// a sample that is not there yet.
void Playback::write(std::span<const std::int16_t> samples) {
  for (const std::int16_t sample : samples) m_samples[m_written++ % kCapacity] = sample;
  std::uint64_t state = m_state.load(std::memory_order_relaxed);
  while (!m_state.compare_exchange_weak(
      state, stateOf(claimedIn(state), static_cast<std::uint32_t>(m_written)),
      std::memory_order_release, std::memory_order_relaxed)) {
  }
}

// The device may claim samples in the meantime; the compare-and-swap then fails and is tried again.
std::uint64_t Playback::takeBack(std::uint64_t position) {
  std::uint64_t state = m_state.load(std::memory_order_relaxed);
  std::uint64_t end = 0;
  do {
    const std::uint64_t claimed = m_written - (endIn(state) - claimedIn(state));
    end = std::clamp(position, claimed, m_written);
  } while (!m_state.compare_exchange_weak(
      state, stateOf(claimedIn(state), static_cast<std::uint32_t>(end)),
      std::memory_order_relaxed));
  m_written = end;
  return end;
}

// Samples are claimed before they are copied: from then on they cannot be taken back. Their slots
// in the ring buffer are not reused before they have been heard.
std::uint32_t Playback::claim(std::uint32_t wanted) {
  std::uint64_t state = m_state.load(std::memory_order_acquire);
  std::uint32_t count = 0;
  do {
    count = std::min(wanted, endIn(state) - claimedIn(state));
  } while (count > 0 &&
           !m_state.compare_exchange_weak(state, stateOf(claimedIn(state) + count, endIn(state)),
                                          std::memory_order_acquire));
  return count;
}

void Playback::copyTo(std::span<std::int16_t> out, std::uint32_t from) const {
  for (std::int16_t& sample : out) sample = m_samples[from++ % kCapacity];
}

bool Playback::hasRoomForGap() const {
  return m_head.load(std::memory_order_relaxed) - m_tail.load(std::memory_order_acquire) < kMaxGaps;
}

// The silence before the first sample is not an underrun.
void Playback::leaveGap() {
  m_inGap = false;
  const bool first = m_taken.load(std::memory_order_relaxed) == 0;
  if (!m_gapAllowed.exchange(false, std::memory_order_relaxed) && !first) {
    m_gapCount.fetch_add(1, std::memory_order_relaxed);
  }
}

// Extends the current gap, or begins a new one. The release makes it visible to the listener.
void Playback::addSilence(std::uint64_t frame, std::uint64_t count) {
  const std::uint32_t head = m_head.load(std::memory_order_relaxed);
  if (m_inGap) {
    m_gaps[(head - 1) % kMaxGaps].length.fetch_add(count, std::memory_order_release);
    return;
  }
  Gap& gap = m_gaps[head % kMaxGaps];
  gap.frame.store(frame, std::memory_order_relaxed);
  gap.length.store(count, std::memory_order_relaxed);
  m_head.store(head + 1, std::memory_order_release);
  m_inGap = true;
}

void Playback::take(std::span<std::int16_t> out) {
  // Samples after a gap may be followed by another gap, which needs a free slot in the list.
  // Without one, the current gap is extended instead.
  std::size_t count = 0;
  if (!m_inGap || hasRoomForGap()) {
    const auto from = static_cast<std::uint32_t>(m_taken.load(std::memory_order_relaxed));
    count = claim(static_cast<std::uint32_t>(out.size()));
    copyTo(out.first(count), from);
  }
  if (count > 0) {
    if (m_inGap) leaveGap();
    m_taken.fetch_add(count, std::memory_order_release);
  }
  if (count < out.size()) {
    std::fill(out.begin() + static_cast<std::ptrdiff_t>(count), out.end(), std::int16_t{0});
    addSilence(given() + count, out.size() - count);
  }
  m_given.fetch_add(out.size(), std::memory_order_relaxed);
}

// Subtracts the gaps before `frames`, and removes those that are over.
Playback::Heard Playback::heardAt(std::uint64_t frames) {
  const std::uint64_t taken = m_taken.load(std::memory_order_acquire);
  const std::uint32_t head = m_head.load(std::memory_order_acquire);
  std::uint32_t tail = m_tail.load(std::memory_order_relaxed);
  std::uint64_t silent = m_heardGaps;
  std::uint64_t since = 0;
  for (std::uint32_t index = tail; index != head; ++index) {
    const Gap& gap = m_gaps[index % kMaxGaps];
    const std::uint64_t begin = gap.frame.load(std::memory_order_relaxed);
    const std::uint64_t length = gap.length.load(std::memory_order_acquire);
    if (frames < begin) break;
    silent += std::min(length, frames - begin);
    if (frames <= begin + length) since = frames - begin;
    // The last gap may still grow.
    if (frames < begin + length || index + 1 == head) break;
    m_heardGaps += length;
    tail = index + 1;
    since = 0;
  }
  m_tail.store(tail, std::memory_order_release);
  return {std::min(frames - silent, taken), since};
}

}  // namespace kavrel

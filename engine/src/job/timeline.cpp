// SPDX-License-Identifier: Apache-2.0
#include "job/timeline.h"

#include <algorithm>
#include <array>
#include <utility>

namespace kavrel {

namespace {

// What samplesAt() returns for silence, which is not stored.
constexpr std::array<std::int16_t, 4096> kSilence{};

}  // namespace

void Timeline::append(SpeechSegment&& segment) {
  for (TimedEvent& event : segment.events) {
    // An event after the end of its audio would never be reached.
    event.sample = m_end + std::min<std::uint64_t>(event.sample, segment.length());
    m_events.push_back(std::move(event));
  }
  if (segment.length() == 0) return;
  m_blocks.push_back({m_end, std::move(segment.samples), segment.silence});
  m_end = m_blocks.back().end();
}

// Blocks are few, since what has been heard is dropped: a linear search is enough.
std::span<const std::int16_t> Timeline::samplesAt(std::uint64_t position, std::size_t limit) const {
  const auto block =
      std::find_if(m_blocks.begin(), m_blocks.end(),
                   [position](const Block& candidate) { return position < candidate.end(); });
  const std::uint64_t offset = position - block->begin;
  const std::size_t count = block->samples.size();
  if (offset < count) {
    const std::span<const std::int16_t> samples(block->samples);
    return samples.subspan(offset, std::min<std::size_t>(limit, count - offset));
  }
  const std::uint64_t rest = std::min<std::uint64_t>(limit, block->end() - position);
  return std::span(kSilence).first(std::min<std::size_t>(rest, kSilence.size()));
}

const TimedEvent* Timeline::nextEvent() const {
  return m_taken < m_events.size() ? &m_events[m_taken] : nullptr;
}

const TimedEvent& Timeline::takeEvent() {
  return m_events[m_taken++];
}

// At the very sample `heard`, a boundary counts only if its event has not been taken: else what
// follows it has begun.
std::optional<Timeline::Boundary> Timeline::findBoundary(std::uint64_t heard, bool sentence) const {
  for (std::size_t index = 0; index < m_events.size(); ++index) {
    const TimedEvent& event = m_events[index];
    if (!(sentence ? event.endsSentence : event.endsWord)) continue;
    if (event.sample > heard || (event.sample == heard && index >= m_taken)) {
      return Boundary{event.sample, m_dropped + index};
    }
  }
  return std::nullopt;
}

void Timeline::discard(std::uint64_t position) {
  while (!m_blocks.empty() && m_blocks.front().end() <= position) m_blocks.pop_front();
  while (m_taken > 0 && m_events.front().sample <= position) {
    m_events.pop_front();
    --m_taken;
    ++m_dropped;
  }
}

}  // namespace kavrel

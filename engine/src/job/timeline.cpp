// SPDX-License-Identifier: GPL-3.0-or-later
#include "job/timeline.h"

#include <algorithm>
#include <array>
#include <utility>

namespace kavrel {

namespace {

constexpr std::array<std::int16_t, 4096> kSilence{};

}  // namespace

void Timeline::append(Piece&& piece) {
  for (Entry& entry : piece.entries) {
    // What lay behind its sound would never be reached.
    entry.sample = m_end + std::min<std::uint64_t>(entry.sample, piece.length());
    m_entries.push_back(std::move(entry));
  }
  if (piece.length() == 0) return;
  m_stretches.push_back({m_end, std::move(piece.samples), piece.silence});
  m_end = m_stretches.back().end();
}

std::span<const std::int16_t> Timeline::samplesAt(std::uint64_t position, std::size_t limit) const {
  const auto stretch =
      std::find_if(m_stretches.begin(), m_stretches.end(),
                   [position](const Stretch& candidate) { return position < candidate.end(); });
  const std::uint64_t offset = position - stretch->begin;
  const std::size_t count = stretch->samples.size();
  if (offset < count) {
    const std::span<const std::int16_t> samples(stretch->samples);
    return samples.subspan(offset, std::min<std::size_t>(limit, count - offset));
  }
  const std::uint64_t rest = std::min<std::uint64_t>(limit, stretch->end() - position);
  return std::span(kSilence).first(std::min<std::size_t>(rest, kSilence.size()));
}

const Entry* Timeline::nextEntry() const {
  return m_taken < m_entries.size() ? &m_entries[m_taken] : nullptr;
}

const Entry& Timeline::takeEntry() {
  return m_entries[m_taken++];
}

std::optional<Timeline::Cut> Timeline::findCut(std::uint64_t heard, bool sentence) const {
  for (std::size_t index = 0; index < m_entries.size(); ++index) {
    const Entry& entry = m_entries[index];
    if (!(sentence ? entry.endsSentence : entry.endsWord)) continue;
    if (entry.sample > heard || (entry.sample == heard && index >= m_taken)) {
      return Cut{entry.sample, m_dropped + index};
    }
  }
  return std::nullopt;
}

void Timeline::forget(std::uint64_t position) {
  while (!m_stretches.empty() && m_stretches.front().end() <= position) m_stretches.pop_front();
  while (m_taken > 0 && m_entries.front().sample <= position) {
    m_entries.pop_front();
    --m_taken;
    ++m_dropped;
  }
}

}  // namespace kavrel

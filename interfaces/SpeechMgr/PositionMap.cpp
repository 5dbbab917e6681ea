// SPDX-License-Identifier: Apache-2.0
#include "PositionMap.h"

#include <algorithm>

// A run that continues the last one extends it, so a text without changes is a single run.
void PositionMap::addCopied(std::uint32_t length, std::uint32_t origin) {
  if (length == 0) return;
  const bool continues = !m_runs.empty() && m_runs.back().isCopied() &&
                         m_runs.back().origin + (m_length - m_runs.back().start) == origin;
  if (!continues) m_runs.push_back({m_length, origin, Run::kCopied});
  m_length += length;
}

void PositionMap::addReplacement(std::uint32_t length, std::uint32_t origin, std::uint32_t end) {
  if (length == 0) return;
  const bool continues =
      !m_runs.empty() && m_runs.back().origin == origin && m_runs.back().end == end;
  if (!continues) m_runs.push_back({m_length, origin, end});
  m_length += length;
}

std::size_t PositionMap::runAt(std::uint32_t position) const {
  // The first run starts at 0, so there always is a run before the one that starts after
  // `position`.
  const auto next = std::upper_bound(m_runs.begin(), m_runs.end(), position,
                                     [](std::uint32_t p, const Run& run) { return p < run.start; });
  return static_cast<std::size_t>(next - m_runs.begin()) - 1;
}

std::uint32_t PositionMap::origin(std::uint32_t position) const {
  if (m_length == 0) return 0;
  if (position >= m_length) return originEnd(m_length - 1);
  const Run& run = m_runs[runAt(position)];
  return run.isCopied() ? run.origin + (position - run.start) : run.origin;
}

std::uint32_t PositionMap::originEnd(std::uint32_t position) const {
  if (m_length == 0) return 0;
  position = std::min(position, m_length - 1);
  const Run& run = m_runs[runAt(position)];
  return run.isCopied() ? run.origin + (position - run.start) + 1 : run.end;
}

// Walks this map's runs and looks up the origin of each in `first`: time is linear in the number of
// runs, times a binary search.
PositionMap PositionMap::composeAfter(const PositionMap& first) const {
  PositionMap whole;
  whole.reserve(m_runs.size() + first.m_runs.size());
  for (std::size_t i = 0; i < m_runs.size(); ++i) {
    const Run& run = m_runs[i];
    const std::uint32_t length = endOfRun(i) - run.start;
    if (!run.isCopied()) {
      // The run stands for a range of the middle text: map both ends of it. An insertion stays an
      // insertion.
      const std::uint32_t from = first.origin(run.origin);
      const bool standsForBytes = run.end > run.origin;
      whole.addReplacement(length, from, standsForBytes ? first.originEnd(run.end - 1) : from);
      continue;
    }
    // A copied run is split where the runs of the text that it was copied from begin.
    for (std::uint32_t done = 0; done < length;) {
      const std::uint32_t position = run.origin + done;
      if (position >= first.m_length) {
        // The rest was copied from after the end of that text: it stands for no bytes.
        const std::uint32_t from = first.origin(position);
        whole.addReplacement(length - done, from, from);
        break;
      }
      const std::size_t at = first.runAt(position);
      const Run& inner = first.m_runs[at];
      const std::uint32_t piece = std::min(length - done, first.endOfRun(at) - position);
      if (inner.isCopied()) {
        whole.addCopied(piece, inner.origin + (position - inner.start));
      } else {
        whole.addReplacement(piece, inner.origin, inner.end);
      }
      done += piece;
    }
  }
  return whole;
}

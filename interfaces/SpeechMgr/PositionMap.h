// SPDX-License-Identifier: Apache-2.0
//
// PositionMap: where each byte of a text made from another came from.
//
// The made text is described from front to back as runs: stretches copied byte by byte, and
// stretches that stand as a whole for some bytes of the origin (an escape for its character) or for
// none (inserted markup). Positions and lengths count bytes.
//
// Threads: one thread builds; reading needs no lock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

class PositionMap {
 public:
  struct Run {
    static constexpr std::uint32_t kCopied = 0xFFFFFFFFu;

    std::uint32_t start;   // in the made text
    std::uint32_t origin;  // of its first byte
    std::uint32_t end;     // kCopied, or the end of the bytes that the run stands for

    bool isCopied() const { return end == kCopied; }
  };

  // Appends `length` made bytes, copied from the origin's bytes from `origin` on.
  void copied(std::uint32_t length, std::uint32_t origin);

  // Appends `length` made bytes that together stand for the origin's bytes [origin, end); with
  // `end` equal to `origin`, an insertion in front of that byte.
  void replaced(std::uint32_t length, std::uint32_t origin, std::uint32_t end);

  void reserve(std::size_t runs) { m_runs.reserve(runs); }

  const std::vector<Run>& runs() const { return m_runs; }
  // Length of the made text.
  std::uint32_t length() const { return m_length; }
  std::uint32_t endOfRun(std::size_t index) const {
    return index + 1 < m_runs.size() ? m_runs[index + 1].start : m_length;
  }

  // The origin of the made byte at `position`: the byte itself, or the first of those that its run
  // stands for. Past the end: where the origin of the last byte ends; 0 in an empty map.
  std::uint32_t origin(std::uint32_t position) const;

  // Where the origin of the made byte at `position` ends.
  std::uint32_t originEnd(std::uint32_t position) const;

  // The map of a text made in two steps: this one's origin is the text that `first` made.
  PositionMap after(const PositionMap& first) const;

 private:
  std::size_t runAt(std::uint32_t position) const;

  std::vector<Run> m_runs;  // in order of start, none empty
  std::uint32_t m_length = 0;
};

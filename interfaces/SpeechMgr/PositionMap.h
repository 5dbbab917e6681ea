// SPDX-License-Identifier: Apache-2.0
//
// PositionMap: the exact origin of each byte of a text that was made from another text.
//
// Two maps convert the position of an engine event into a position in the caller's text. OffsetMap
// always exists and gives the shift that clients of the interface know. A PositionMap exists only
// if the host has set the selector "cpos" (kCallerPositions): the preparation of the text
// (PreprocessText) makes one, the converter (AppleMarkupConverter::getPositions) another, and
// SESpeakBuffer composes them into the channel's `text_positions`. find_word
// (SpeechChannelEvents.cpp) uses that map for the position and length of a word event; without it,
// it uses the OffsetMap.
//
// Algorithm: run-length encoding, built front to back; queries are binary searches over the runs. A
// run is copied byte by byte, or stands as a whole for some bytes of the origin (an escape for its
// character) or for none (inserted markup).
//
// Positions and lengths count bytes.
//
// Threads: one thread builds; reading a complete map needs no lock. Failure: std::bad_alloc.
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
  void addCopied(std::uint32_t length, std::uint32_t origin);

  // Appends `length` made bytes that together stand for the origin's bytes [origin, end). If `end`
  // equals `origin`, they are an insertion before that byte.
  void addReplacement(std::uint32_t length, std::uint32_t origin, std::uint32_t end);

  // Reserves memory for `runs` runs in total.
  void reserve(std::size_t runs) { m_runs.reserve(runs); }

  const std::vector<Run>& runs() const { return m_runs; }
  // Length of the made text.
  std::uint32_t length() const { return m_length; }
  // End, in the made text, of the run with that index.
  std::uint32_t endOfRun(std::size_t index) const {
    return index + 1 < m_runs.size() ? m_runs[index + 1].start : m_length;
  }

  // Returns the origin of the made byte at `position`: the byte that it was copied from, or the
  // first of the bytes that its run stands for. After the end: the end of the origin of the last
  // byte. An empty map returns 0.
  std::uint32_t origin(std::uint32_t position) const;

  // Returns the end of the origin of the made byte at `position`, clamped to the last byte.
  std::uint32_t originEnd(std::uint32_t position) const;

  // Returns the map of a text made in two steps: `first` describes the first step, and the text
  // that it made is the origin of this map.
  PositionMap composeAfter(const PositionMap& first) const;

 private:
  std::size_t runAt(std::uint32_t position) const;

  std::vector<Run> m_runs;  // in order of start, none empty
  std::uint32_t m_length = 0;
};

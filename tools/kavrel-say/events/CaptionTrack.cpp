// SPDX-License-Identifier: Apache-2.0
#include "events/CaptionTrack.h"

#include <algorithm>

namespace say {
namespace {

constexpr int kLastSilence = 1;  // phoneme codes up to this one are silence

}  // namespace

void CaptionTrack::word(std::size_t position, std::size_t length) {
  endWord();
  const tool::Slice range = m_text.origin(position, length);
  const auto time = m_times.now();
  // Text that the Manager inserted has no range in the input and no caption.
  if (range.length == 0 || !time) return;
  m_words.push_back({range, *time, *time});
  m_isOpen = true;
}

// Silence ends a word: the pause before the next word belongs to no caption.
void CaptionTrack::phoneme(int code) {
  if (code <= kLastSilence) endWord();
}

void CaptionTrack::done() {
  endWord();
}

// An end without a known time leaves the word with its start time as end.
void CaptionTrack::endWord() {
  if (!m_isOpen) return;
  if (const auto time = m_times.now()) m_words.back().end = std::max(*time, m_words.back().begin);
  m_isOpen = false;
}

}  // namespace say

// SPDX-License-Identifier: Apache-2.0
//
// CaptionTrack: records the start and end time of each word, for captions.
//
// Threads: as for listeners.
#pragma once

#include <vector>

#include "SpokenText.h"
#include "events/Captions.h"
#include "events/EventTimes.h"
#include "speech/Listener.h"

namespace say {

class CaptionTrack : public Listener {
 public:
  // Both outlive the track. `times` must be added to the Speech before the track.
  CaptionTrack(const tool::SpokenText& text, const EventTimes& times)
      : m_text(text), m_times(times) {}

  void word(std::size_t position, std::size_t length) override;
  void phoneme(int code) override;
  void done() override;

  // Returns the words in the order of the text. To be called when the speech has ended.
  const std::vector<SpokenWord>& words() const { return m_words; }

 private:
  void endWord();

  const tool::SpokenText& m_text;
  const EventTimes& m_times;
  std::vector<SpokenWord> m_words;
  bool m_isOpen = false;  // the end of the last word is not known yet
};

}  // namespace say

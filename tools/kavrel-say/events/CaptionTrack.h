// SPDX-License-Identifier: Apache-2.0
//
// CaptionTrack: what of a text is spoken when, for captions.
#pragma once

#include <vector>

#include "SpokenText.h"
#include "events/Captions.h"
#include "events/EventTimes.h"
#include "speech/Listener.h"

namespace say {

class CaptionTrack : public Listener {
 public:
  // Both outlive the track; `times` listens in front of it.
  CaptionTrack(const tool::SpokenText& text, const EventTimes& times)
      : m_text(text), m_times(times) {}

  void word(std::size_t position, std::size_t length) override;
  void phoneme(int code) override;
  void done() override;

  // To be called when the speech is over.
  const std::vector<SpokenWord>& words() const { return m_words; }

 private:
  void endWord();

  const tool::SpokenText& m_text;
  const EventTimes& m_times;
  std::vector<SpokenWord> m_words;
  bool m_isOpen = false;  // the last word has no end yet
};

}  // namespace say

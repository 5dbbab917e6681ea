// SPDX-License-Identifier: Apache-2.0
//
// Turns the spoken steps of a text into segments: attaches each event to its sample and to its
// position in the text.
//
// Threads: used by one thread at a time.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "job/segment.h"
#include "job/step_reader.h"
#include "synth/synth_audio.h"

namespace kavrel {

class SegmentBuilder {
 public:
  // Returns the segment of `step`, which may have no audio. Must be called for all steps of the
  // text, in order: phones at the start of one belong to the word before. `audio` is that of the
  // step's call, else empty. May throw std::bad_alloc.
  SpeechSegment build(const Step& step, SynthAudio&& audio);

 private:
  void beginSentence(const Sentence& sentence);
  void announce(const Sentence& sentence);
  void addCall(const Step& step, SynthAudio&& audio);
  void addBreak(const Item& item);
  // Adds the events of the call's marks, up to number `upTo`, that have not been reached yet.
  void reachMarks(const Step& step, int upTo, std::uint64_t sample);
  void reach(const Item& item, std::uint64_t sample);
  void addPhones(const SynthAudio::Event& event);
  void addPhone(std::string_view name, std::uint64_t sample);
  void addBoundary(bool endsSentence);

  SpeechSegment m_segment;      // under construction
  bool m_announced = true;      // the sentence has been reported or needs no report
  std::string m_phoneLanguage;  // in which the next phones are spoken
  int m_lastMark = 0;           // number of the last mark of the call that has been reached
  std::uint32_t m_start = 0;    // the position that phones are reported for
  std::uint32_t m_length = 0;
};

}  // namespace kavrel

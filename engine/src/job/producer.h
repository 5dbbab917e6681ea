// SPDX-License-Identifier: Apache-2.0
//
// Produces the speech of one text, segment by segment: reads sentences, plans their calls, runs the
// synthesiser, and attaches each event to its sample and to its position in the text. Holds one
// sentence and one segment at a time, whatever the length of the text.
//
// Threads: used by one thread at a time; only the flag that cancels may be set on another thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "job/segment.h"
#include "synth/plan.h"
#include "synth/synthesiser.h"
#include "text/sentence.h"

namespace kavrel {

class Voice;

class Producer final : private SynthesisListener {
 public:
  enum class Result { Segment, End, Failed };

  // The arguments must outlive the producer. Once `cancel` is set, a running next() returns soon,
  // with a segment that may be incomplete.
  Producer(std::string_view text, const Voice& voice, const std::atomic<bool>& cancel);

  // Fills `segment` with the next segment, which may have no audio. Failed: error() has the cause.
  // May throw std::bad_alloc.
  Result next(SpeechSegment& segment);

  const std::string& error() const { return m_error; }

 private:
  bool beginSentence();
  bool perform(const SynthCall& call);
  void performBreak(const Item& item);
  void endSentence();
  // Adds the event of the item with this index.
  void reach(std::size_t item, std::uint64_t sample);
  void reachMarks(int upTo, std::uint64_t sample);
  void addPhone(std::string_view name, std::uint64_t sample);

  void onMark(int number, std::uint64_t sample) override;
  void onPhone(std::string_view name, std::uint64_t sample) override;
  void onSamples(std::span<const std::int16_t> samples) override;
  bool cancelled() const override;

  const Voice& m_voice;
  const std::atomic<bool>& m_cancel;
  SentenceReader m_reader;
  Sentence m_sentence;
  std::optional<Plan> m_plan;  // of m_sentence; nullopt between sentences
  bool m_announced = false;    // m_sentence has been reported or needs no report
  const SynthCall* m_call = nullptr;
  std::string m_phoneLanguage;  // in which the next phones are spoken
  int m_lastMark = 0;           // number of the last mark of m_call that has been reached
  std::uint32_t m_start = 0;    // the position that phones are reported for
  std::uint32_t m_length = 0;
  SpeechSegment* m_segment = nullptr;
  std::string m_error;
};

}  // namespace kavrel

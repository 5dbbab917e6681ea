// SPDX-License-Identifier: GPL-3.0-or-later
//
// Produces the speech of one text, segment by segment: reads sentences, has them spoken, and ties
// every sound to its place in the text. Holds one sentence and one segment at a time, whatever the
// text's length. Used by one thread at a time, but for the flag that cancels.
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

  // All must outlive the producer. Once `cancel` is set, a running next() comes back soon, with a
  // segment that may be cut short.
  Producer(std::string_view text, const Voice& voice, const std::atomic<bool>& cancel);

  // Fills `segment` with what comes next; it may be of no length. Failed: error() says why.
  Result next(SpeechSegment& segment);

  const std::string& error() const { return m_error; }

 private:
  bool beginSentence();
  bool perform(const SynthCall& call);
  void performBreak(const Item& item);
  void endSentence();
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
  std::optional<Plan> m_plan;  // of m_sentence; none between sentences
  bool m_announced = false;    // m_sentence has been reported, or need not be
  const SynthCall* m_call = nullptr;
  std::string m_phoneLanguage;  // in which the phones that come are spoken
  int m_lastMark = 0;           // the last mark of m_call that has been reached
  std::uint32_t m_start = 0;    // the place that phones are reported for
  std::uint32_t m_length = 0;
  SpeechSegment* m_segment = nullptr;
  std::string m_error;
};

}  // namespace kavrel

// SPDX-License-Identifier: Apache-2.0
//
// Splits a text into the steps of speaking it: calls of the synthesiser, breaks, and ends of
// sentences. Reads one sentence at a time, whatever the length of the text.
//
// Threads: used by one thread at a time. Steps are independent of each other and of the reader, so
// their calls can be spoken in any order and at the same time.
#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "synth/plan.h"
#include "synth/script_voices.h"
#include "text/sentence.h"

namespace kavrel {

struct Step {
  enum class Kind { Call, Break, SentenceEnd };

  Kind kind = Kind::SentenceEnd;
  std::shared_ptr<const Sentence> sentence;
  bool isFirst = false;  // of its sentence
  SynthCall call;        // for Call and Break
};

class StepReader {
 public:
  // `text` must outlive the reader.
  StepReader(std::string_view text, Encoding encoding, ScriptVoices voices);

  // Fills `step` and returns true; returns false at the end of the text. The last step of every
  // sentence is its end. May throw std::bad_alloc.
  bool next(Step& step);

 private:
  ScriptVoices m_voices;
  SentenceReader m_reader;
  std::shared_ptr<const Sentence> m_sentence;
  std::optional<Plan> m_plan;  // of m_sentence; nullopt between sentences
};

}  // namespace kavrel

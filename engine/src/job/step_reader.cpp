// SPDX-License-Identifier: Apache-2.0
#include "job/step_reader.h"

#include <utility>

#include "synth/voice.h"

namespace kavrel {

StepReader::StepReader(std::string_view text, Encoding encoding, ScriptVoices voices)
    : m_voices(std::move(voices)), m_reader(text, encoding, m_voices.own().language()) {}

bool StepReader::next(Step& step) {
  step = Step();
  if (!m_plan.has_value()) {
    Sentence sentence;
    if (!m_reader.next(sentence)) return false;
    // The plan refers to the sentence, which therefore must not move.
    m_sentence = std::make_shared<const Sentence>(std::move(sentence));
    m_plan.emplace(*m_sentence, m_voices.own(), m_voices.of(*m_sentence));
    step.isFirst = true;
  }
  step.sentence = m_sentence;
  if (m_plan->next(step.call)) {
    step.kind = step.call.isBreak ? Step::Kind::Break : Step::Kind::Call;
  } else {
    m_plan.reset();
  }
  return true;
}

}  // namespace kavrel

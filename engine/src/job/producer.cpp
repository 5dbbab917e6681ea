// SPDX-License-Identifier: Apache-2.0
#include "job/producer.h"

#include <algorithm>

#include "cst/diag.h"
#include "sample_rate.h"
#include "synth/voice.h"
#include "text/phones.h"

namespace kavrel {

namespace {

constexpr std::string_view kPause = "pau";

std::uint64_t samplesOf(std::uint32_t milliseconds) {
  return std::uint64_t{milliseconds} * kSampleRate / 1000;
}

}  // namespace

Producer::Producer(std::string_view text, const Voice& voice, const std::atomic<bool>& cancel)
    : m_voice(voice), m_cancel(cancel), m_reader(text) {}

// Each call performs one synthesiser call or break, or ends a sentence.
Producer::Result Producer::next(SpeechSegment& segment) {
  segment = SpeechSegment();
  m_segment = &segment;
  if (!m_plan.has_value() && !beginSentence()) return Result::End;
  SynthCall call;
  if (!m_plan->next(call)) {
    endSentence();
    return Result::Segment;
  }
  return perform(call) ? Result::Segment : Result::Failed;
}

// A later piece of a long sentence is not announced again, and phones before its first word belong
// to the word before.
bool Producer::beginSentence() {
  if (!m_reader.next(m_sentence)) return false;
  m_plan.emplace(m_sentence, m_voice);
  m_announced = !m_sentence.begins;
  if (m_sentence.begins) {
    m_start = m_sentence.start;
    m_length = 0;
  }
  return true;
}

// The SENTENCE event comes with the sentence's first audio, not before.
bool Producer::perform(const SynthCall& call) {
  if (!m_announced) {
    m_segment->events.push_back(
        {0, KAVREL_EVENT_SENTENCE, m_sentence.start, m_sentence.length, {}, true, true});
    m_announced = true;
  }
  if (call.isBreak) {
    performBreak(m_sentence.items[call.breakItem]);
    return true;
  }
  m_call = &call;
  m_lastMark = 0;
  m_phoneLanguage = m_voice.language();
  const bool done =
      !call.audible || Synthesiser::shared().speak(call.input, m_voice, *this, m_error);
  // The synthesiser does not report marks at the end of a call, with no audio after them.
  if (done && !cancelled()) reachMarks(static_cast<int>(call.marks.size()), m_segment->length());
  m_call = nullptr;
  return done;
}

// A break is a boundary: the word before it is over.
void Producer::performBreak(const Item& item) {
  m_segment->events.push_back({0, KAVREL_EVENT_NONE, m_start, m_length, {}, true, false});
  m_segment->silence = samplesOf(item.milliseconds);
  if (m_segment->silence > 0) addPhone(kPause, 0);
}

// The end of a sentence is an event without a type: only a boundary for pauses and stops.
void Producer::endSentence() {
  const bool ends = m_sentence.ends;
  if (ends) m_segment->events.push_back({0, KAVREL_EVENT_NONE, m_start, m_length, {}, true, true});
  m_plan.reset();
}

// Words of punctuation only have no event, but phones are reported for their position.
void Producer::reach(std::size_t index, std::uint64_t sample) {
  const Item& item = m_sentence.items[index];
  if (item.kind == Item::Kind::Mark) {
    m_segment->events.push_back(
        {sample, KAVREL_EVENT_BOOKMARK, item.start, item.length, item.name, false, false});
    return;
  }
  m_start = item.start;
  m_length = item.length;
  if (!item.reported) return;
  m_segment->events.push_back(
      {sample, KAVREL_EVENT_WORD, item.start, item.length, item.name, true, false});
}

// Marks that the synthesiser skipped are reached together with the next one.
void Producer::reachMarks(int upTo, std::uint64_t sample) {
  const int last = std::min(upTo, static_cast<int>(m_call->marks.size()));
  while (m_lastMark < last) reach(m_call->marks[static_cast<std::size_t>(m_lastMark++)], sample);
}

void Producer::addPhone(std::string_view name, std::uint64_t sample) {
  m_segment->events.push_back(
      {sample, KAVREL_EVENT_PHONEME, m_start, m_length, std::string(name), false, false});
}

void Producer::onMark(int number, std::uint64_t sample) {
  reachMarks(number, sample);
}

// A phone event becomes no, one or several phones. Some events only switch the language.
void Producer::onPhone(std::string_view name, std::uint64_t sample) {
  if (const std::string_view language = languageOfEvent(name); !language.empty()) {
    m_phoneLanguage = language;
    return;
  }
  if (!isKnownEvent(name, m_phoneLanguage)) {
    KAVREL_DIAG("Producer", "Unknown phone event \"%.*s\" in language %s.",
                static_cast<int>(name.size()), name.data(), m_phoneLanguage.c_str());
  }
  for (const std::string_view phone : phonesOfEvent(name, m_phoneLanguage)) addPhone(phone, sample);
}

void Producer::onSamples(std::span<const std::int16_t> samples) {
  m_segment->samples.insert(m_segment->samples.end(), samples.begin(), samples.end());
}

bool Producer::cancelled() const {
  return m_cancel.load(std::memory_order_relaxed);
}

}  // namespace kavrel

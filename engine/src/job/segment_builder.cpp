// SPDX-License-Identifier: Apache-2.0
#include "job/segment_builder.h"

#include <algorithm>
#include <utility>

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

SpeechSegment SegmentBuilder::build(const Step& step, SynthAudio&& audio) {
  m_segment = SpeechSegment();
  if (step.isFirst) beginSentence(*step.sentence);
  switch (step.kind) {
    case Step::Kind::Call:
      announce(*step.sentence);
      addCall(step, std::move(audio));
      break;
    case Step::Kind::Break:
      announce(*step.sentence);
      addBreak(step.sentence->items[step.call.breakItem]);
      break;
    case Step::Kind::SentenceEnd:
      if (step.sentence->ends) addBoundary(true);
      break;
  }
  return std::move(m_segment);
}

// A later piece of a long sentence is not announced again, and phones before its first word belong
// to the word before.
void SegmentBuilder::beginSentence(const Sentence& sentence) {
  m_announced = !sentence.begins;
  if (!sentence.begins) return;
  m_start = sentence.start;
  m_length = 0;
}

// The SENTENCE event comes with the sentence's first audio, not before.
void SegmentBuilder::announce(const Sentence& sentence) {
  if (std::exchange(m_announced, true)) return;
  m_segment.events.push_back(
      {0, KAVREL_EVENT_SENTENCE, sentence.start, sentence.length, {}, true, true});
}

void SegmentBuilder::addCall(const Step& step, SynthAudio&& audio) {
  m_lastMark = 0;
  m_phoneLanguage = step.call.voice->language();
  for (const SynthAudio::Event& event : audio.events()) {
    if (event.mark > 0) {
      reachMarks(step, event.mark, event.sample);
    } else {
      addPhones(event);
    }
  }
  m_segment.samples = std::move(audio).takeSamples();
  // The synthesiser does not report marks at the end of a call, with no audio after them.
  reachMarks(step, static_cast<int>(step.call.marks.size()), m_segment.length());
}

// A break is a boundary: the word before it is over.
void SegmentBuilder::addBreak(const Item& item) {
  addBoundary(false);
  m_segment.silence = samplesOf(item.milliseconds);
  if (m_segment.silence > 0) addPhone(kPause, 0);
}

// An event without a type: only a boundary for pauses and stops.
void SegmentBuilder::addBoundary(bool endsSentence) {
  m_segment.events.push_back({0, KAVREL_EVENT_NONE, m_start, m_length, {}, true, endsSentence});
}

// Marks that the synthesiser skipped are reached together with the next one.
void SegmentBuilder::reachMarks(const Step& step, int upTo, std::uint64_t sample) {
  const int last = std::min(upTo, static_cast<int>(step.call.marks.size()));
  while (m_lastMark < last) {
    reach(step.sentence->items[step.call.marks[static_cast<std::size_t>(m_lastMark++)]], sample);
  }
}

// Words of punctuation only have no event, but phones are reported for their position.
void SegmentBuilder::reach(const Item& item, std::uint64_t sample) {
  if (item.kind == Item::Kind::Mark) {
    m_segment.events.push_back(
        {sample, KAVREL_EVENT_BOOKMARK, item.start, item.length, item.name, false, false});
    return;
  }
  m_start = item.start;
  m_length = item.length;
  if (!item.reported) return;
  m_segment.events.push_back(
      {sample, KAVREL_EVENT_WORD, item.start, item.length, item.name, true, false});
}

// A phone event becomes no, one or several phones. Some events only switch the language. Without a
// name it is a pause, or its time belongs to the phone before.
void SegmentBuilder::addPhones(const SynthAudio::Event& event) {
  if (event.silence == SynthAudio::Silence::Pause) addPhone(kPause, event.sample);
  if (event.phone.empty()) return;
  if (const std::string_view language = languageOfEvent(event.phone); !language.empty()) {
    m_phoneLanguage = language;
    return;
  }
  if (!isKnownEvent(event.phone)) {
    KAVREL_DIAG("SegmentBuilder", "Unknown phone event \"%s\".", event.phone.c_str());
  }
  for (const std::string_view phone : phonesOfEvent(event.phone, m_phoneLanguage)) {
    addPhone(phone, event.sample);
  }
}

void SegmentBuilder::addPhone(std::string_view name, std::uint64_t sample) {
  m_segment.events.push_back(
      {sample, KAVREL_EVENT_PHONEME, m_start, m_length, std::string(name), false, false});
}

}  // namespace kavrel

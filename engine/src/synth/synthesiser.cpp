// SPDX-License-Identifier: Apache-2.0
#include "synth/synthesiser.h"

#include <algorithm>
#include <utility>

#include "cst/diag.h"
#include "synth/synth_pool.h"
#include "synth/voice.h"
#include "synth/word_pieces.h"

namespace kavrel {

namespace {

namespace protocol = synth_protocol;

// After a crash or the like, a call is repeated so often before it is spoken word by word.
constexpr int kRepeats = 1;

// Appends what a process has spoken.
void append(SynthAudio& audio, SynthProcess::Speech&& speech) {
  const auto offset = static_cast<std::int64_t>(audio.samples().size());
  for (const protocol::Event& event : speech.events) {
    const std::int64_t sample = offset + event.sample;
    if (event.mark > 0) {
      audio.addMark(event.mark, sample);
    } else {
      audio.addPhone(event.nameText(), sample);
    }
  }
  audio.addSamples(std::move(speech.samples));
}

}  // namespace

// One call of speak().
class Synthesiser::Call {
 public:
  Call(SynthPool& pool, const Input& input, const Voice& voice, const Cancelled& cancelled)
      : m_pool(pool), m_input(input), m_voice(voice.synthesiserName()), m_cancelled(cancelled) {}

  // Fills `audio`. A cancelled call counts as a success, without audio.
  bool run(SynthAudio& audio, std::string& why) {
    SynthProcess::Speech speech;
    switch (m_pool.speak(m_voice, m_input.frame(), kRepeats, m_cancelled, speech, why)) {
      case SynthPool::Result::Done:
        append(audio, std::move(speech));
        return true;
      case SynthPool::Result::Cancelled:
        return true;
      case SynthPool::Result::Unspeakable:
        return runByWords(audio, why);
      case SynthPool::Result::NoVoice:
      case SynthPool::Result::Failed:
        break;
    }
    return false;
  }

 private:
  // Only the last word has the pause of the call's end.
  bool runByWords(SynthAudio& audio, std::string& why) {
    const std::vector<WordPiece> pieces = wordPieces(m_input.text);
    for (const WordPiece& piece : pieces) {
      protocol::Speak frame = m_input.frame();
      frame.text = protocol::utf8Of(piece.text);
      if (&piece != &pieces.back()) frame.flags &= ~protocol::Speak::kEndPause;
      SynthProcess::Speech speech;
      const SynthPool::Result result = m_pool.speak(m_voice, frame, 0, m_cancelled, speech, why);
      if (result == SynthPool::Result::Cancelled) {
        audio = SynthAudio();
        return true;
      }
      const bool spoken = result == SynthPool::Result::Done;
      if (!spoken && result != SynthPool::Result::Unspeakable) return false;
      if (!spoken) reportSkipped(piece, why);
      appendPiece(audio, piece, std::move(speech), spoken);
    }
    return true;
  }

  // A mark that the synthesiser skipped or did not get to is reached where its word begins.
  static void appendPiece(SynthAudio& audio, const WordPiece& piece, SynthProcess::Speech&& speech,
                          bool spoken) {
    const bool reached = spoken && std::ranges::any_of(speech.events, [&](const auto& event) {
                           return event.mark == piece.mark;
                         });
    if (piece.mark > 0 && !reached) {
      audio.addMark(piece.mark, static_cast<std::int64_t>(audio.samples().size()));
    }
    if (spoken) append(audio, std::move(speech));
  }

  void reportSkipped(const WordPiece& piece, const std::string& why) const {
    KAVREL_DIAG("Synthesiser", "Item %d of a call in voice %s is not spoken: %s.", piece.mark,
                m_voice.c_str(), why.c_str());
  }

  SynthPool& m_pool;
  const Input& m_input;
  const std::string m_voice;
  const Cancelled& m_cancelled;
};

protocol::Speak Synthesiser::Input::frame() const {
  protocol::Speak speak;
  speak.rate = settings.rate;
  speak.pitch = settings.pitch;
  speak.range = settings.range;
  if (hasPhones) speak.flags |= protocol::Speak::kPhones;
  if (endPause) speak.flags |= protocol::Speak::kEndPause;
  speak.text = protocol::utf8Of(text);
  return speak;
}

Synthesiser& Synthesiser::shared() {
  static Synthesiser& synthesiser = *new Synthesiser(SynthPool::shared());
  return synthesiser;
}

bool Synthesiser::isReady(const std::string& voice, std::string& why) {
  return m_pool.prepare(voice, {}, why) == SynthPool::Result::Done;
}

bool Synthesiser::start(std::string& why) {
  return isReady(Voice().synthesiserName(), why);
}

bool Synthesiser::hasVoice(const Voice& voice, std::string& why) {
  return isReady(voice.synthesiserName(), why);
}

std::size_t Synthesiser::maxCalls() const {
  return m_pool.maxCalls();
}

bool Synthesiser::speak(const Input& input, const Voice& voice, const Cancelled& cancelled,
                        SynthAudio& audio, std::string& why) {
  if (!Call(m_pool, input, voice, cancelled).run(audio, why)) {
    audio = SynthAudio();
    return false;
  }
  audio.correctLateMarks(input.marked);
  audio.adjust(input.adjustments);
  audio.addLostMarks(input.marked, input.innerMarks);
  audio.addInnerMarks(input.innerMarks);
  return true;
}

}  // namespace kavrel

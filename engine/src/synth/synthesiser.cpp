// SPDX-License-Identifier: GPL-3.0-or-later
#include "synth/synthesiser.h"

#include <clocale>

#include <espeak-ng/speak_lib.h>
#include <unistd.h>

#include "sample_rate.h"
#include "synth/voice.h"

namespace kavrel {

namespace {

// Length of the blocks that espeak-ng returns. It sizes its event list by this value: with short
// blocks the list is too small, and events are lost silently.
constexpr int kBlockMilliseconds = 500;

// Where the running call stores its results, and who may cancel it. espeak-ng's callback has no
// argument for them. Used only by the thread that holds the turn.
SynthAudio* currentAudio = nullptr;
const SynthesisListener* currentListener = nullptr;
bool outOfMemory = false;

void takeEvents(const espeak_EVENT* event) {
  for (; event->type != espeakEVENT_LIST_TERMINATED; ++event) {
    if (event->type == espeakEVENT_MARK) {
      // For a mark command, the union holds its number: the name pointer is invalid.
      currentAudio->addMark(event->id.number, event->sample);
    } else if (event->type == espeakEVENT_PHONEME) {
      // The name has no NUL if it fills the array.
      std::string_view name(event->id.string, sizeof(event->id.string));
      currentAudio->addPhone(name.substr(0, name.find('\0')), event->sample);
    }
  }
}

// Called by espeak-ng for each block; the result is espeak-ng's.
extern "C" int onSynthesis(short* samples, int count, espeak_EVENT* events) {
  constexpr int kContinue = 0;
  constexpr int kCancel = 1;
  if (currentAudio == nullptr) return kContinue;
  if (currentListener->cancelled()) return kCancel;
  // An exception must not pass through espeak-ng, which is C. call() reports it.
  try {
    if (events != nullptr) takeEvents(events);
    if (samples != nullptr && count >= 0) {
      currentAudio->addSamples({samples, static_cast<std::size_t>(count)});
    }
  } catch (...) {
    outOfMemory = true;
    return kCancel;
  }
  return kContinue;
}

void deliverTo(SynthesisListener& listener, const SynthAudio& audio) {
  for (const SynthAudio::Event& event : audio.events()) {
    if (event.mark > 0) {
      listener.onMark(event.mark, event.sample);
    } else {
      listener.onPhone(event.phone, event.sample);
    }
  }
  if (!audio.samples().empty()) listener.onSamples(audio.samples());
}

// espeak-ng sets the process's LC_CTYPE while it starts; this guard restores it.
class CharacterTypeGuard {
 public:
  CharacterTypeGuard() {
    if (const char* const current = std::setlocale(LC_CTYPE, nullptr)) m_saved = current;
  }
  ~CharacterTypeGuard() {
    if (!m_saved.empty()) std::setlocale(LC_CTYPE, m_saved.c_str());
  }
  CharacterTypeGuard(const CharacterTypeGuard&) = delete;
  CharacterTypeGuard& operator=(const CharacterTypeGuard&) = delete;

 private:
  std::string m_saved;
};

// Commands in a text stay in force after it, so every setting is made before each call.
void applySettings(const Synthesiser::Settings& settings) {
  espeak_SetParameter(espeakRATE, settings.rate, 0);
  // espeak-ng's volume is not linear; SynthAudio::adjust() applies the volume instead.
  espeak_SetParameter(espeakVOLUME, 100, 0);
  espeak_SetParameter(espeakPITCH, settings.pitch, 0);
  espeak_SetParameter(espeakRANGE, settings.range, 0);
  espeak_SetParameter(espeakPUNCTUATION, espeakPUNCT_NONE, 0);
  espeak_SetParameter(espeakCAPITALS, 0, 0);
  espeak_SetParameter(espeakWORDGAP, 0, 0);
}

// Synchronous: returns after the last callback.
espeak_ERROR synthesise(const std::wstring& text, unsigned flags) {
  return espeak_Synth(text.c_str(), (text.size() + 1) * sizeof(wchar_t), 0, POS_CHARACTER, 0,
                      espeakCHARS_WCHAR | flags, nullptr, nullptr);
}

}  // namespace

// A plain mutex would let a busy thread take the turn again and again. All waiting threads wake for
// each turn; they are as few as the ports that speak.
void TicketLock::waitForTurn() {
  const base::ScopedLock held(m_lock);
  const std::uint64_t ticket = m_next++;
  while (m_serving != ticket) m_changed.wait(m_lock);
}

void TicketLock::endTurn() {
  const base::ScopedLock held(m_lock);
  ++m_serving;
  if (m_serving != m_next) m_changed.notifyAll();
}

Synthesiser& Synthesiser::shared() {
  static Synthesiser& synthesiser = *new Synthesiser;
  return synthesiser;
}

bool Synthesiser::startInTurn(std::string& why) {
  if (m_started) return true;
  const CharacterTypeGuard guard;
  // Rationale: espeak-ng plays nothing in this mode, but looks for a sound server once, here. It
  // has no option against that, and changing PULSE_SERVER is not safe while other threads run.
  // Without DONT_EXIT, espeak-ng ends the process if its data is missing.
  const int rate =
      espeak_Initialize(AUDIO_OUTPUT_SYNCHRONOUS, kBlockMilliseconds, KAVREL_SPEECH_DATA_DIR,
                        espeakINITIALIZE_PHONEME_EVENTS | espeakINITIALIZE_DONT_EXIT);
  if (rate != kSampleRate) {
    why = rate < 0 ? "the synthesiser's data cannot be read in " KAVREL_SPEECH_DATA_DIR
                   : "the synthesiser has an unexpected sample rate";
    return false;
  }
  espeak_SetSynthCallback(&onSynthesis);
  m_started = true;
  return true;
}

bool Synthesiser::start(std::string& why) {
  const base::ScopedLock turn(m_turn);
  return startInTurn(why);
}

// The only sure test of a language is to select it.
bool Synthesiser::hasVoice(const Voice& voice, std::string& why) {
  const base::ScopedLock turn(m_turn);
  if (!startInTurn(why)) return false;
  if (!selectVoice(voice)) {
    why = "the synthesiser does not know the language";
    return false;
  }
  // espeak-ng silently ignores a variant that does not exist, so look for its file.
  const char* data = nullptr;
  espeak_Info(&data);
  const std::string file = std::string(data) + "/voices/!v/" + voice.variant();
  if (!voice.variant().empty() && ::access(file.c_str(), R_OK) != 0) {
    why = "the synthesiser does not know the variant";
    return false;
  }
  return true;
}

// Selecting a voice reads its files again, so it is done only if another voice is selected, or if a
// cancelled call may have left this one in an unfinished state.
bool Synthesiser::selectVoice(const Voice& voice) {
  const std::string name = voice.synthesiserName();
  if (m_currentVoice == name && !m_lastCancelled) return true;
  m_currentVoice.clear();
  if (espeak_SetVoiceByName(name.c_str()) != EE_OK) return false;
  m_currentVoice = name;
  return true;
}

// Emphasis is the one command that no setting resets. Every text ends with a command that switches
// it off, but a cancelled call has not reached its end.
void Synthesiser::clearEmphasis() {
  currentAudio = nullptr;
  synthesise(
      L"\x01"
      L"1F ",
      0);
  m_lastCancelled = false;
}

// Only the call itself needs the turn: adjustments run in parallel for several ports.
bool Synthesiser::speak(const Input& input, const Voice& voice, SynthesisListener& listener,
                        std::string& why) {
  SynthAudio audio;
  if (!call(input, voice, listener, audio, why)) return false;
  audio.adjust(input.adjustments);
  audio.addInnerMarks(input.innerMarks);
  deliverTo(listener, audio);
  return true;
}

// Runs espeak-ng on the input. A cancelled call counts as a success.
bool Synthesiser::call(const Input& input, const Voice& voice, const SynthesisListener& listener,
                       SynthAudio& audio, std::string& why) {
  const base::ScopedLock turn(m_turn);
  // The wait for the turn may have been long.
  if (listener.cancelled()) return true;
  if (!startInTurn(why)) return false;
  if (!selectVoice(voice)) {
    why = "the synthesiser does not know the voice";
    return false;
  }
  applySettings(input.settings);
  if (m_lastCancelled) clearEmphasis();
  currentAudio = &audio;
  currentListener = &listener;
  outOfMemory = false;
  const espeak_ERROR result = synthesise(
      input.text, (input.hasPhones ? espeakPHONEMES : 0u) | (input.endPause ? espeakENDPAUSE : 0u));
  currentAudio = nullptr;
  m_lastCancelled = outOfMemory || result != EE_OK || listener.cancelled();
  if (outOfMemory) {
    why = "out of memory";
    return false;
  }
  // espeak-ng reports a cancelled call as a failure.
  if (result != EE_OK && !listener.cancelled()) {
    why = "the synthesiser failed";
    return false;
  }
  return true;
}

}  // namespace kavrel

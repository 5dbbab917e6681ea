// SPDX-License-Identifier: GPL-3.0-or-later
#include "synth/synthesiser.h"

#include <clocale>

#include <espeak-ng/speak_lib.h>
#include <unistd.h>

#include "synth/voice.h"

namespace kavrel {

namespace {

// Length of the blocks that come back. espeak-ng's list of events grows with it: with short blocks
// it is too small, and events are lost without a sign.
constexpr int kBlockMilliseconds = 500;

// What the running call gives, and who may give it up. Used by the thread whose turn it is.
CallSound* currentSound = nullptr;
const SynthesisListener* currentListener = nullptr;
bool outOfMemory = false;

void takeEvents(const espeak_EVENT* event) {
  for (; event->type != espeakEVENT_LIST_TERMINATED; ++event) {
    if (event->type == espeakEVENT_MARK) {
      // A mark command's number comes where a name would be; there is nothing behind the pointer.
      currentSound->addMark(event->id.number, event->sample);
    } else if (event->type == espeakEVENT_PHONEME) {
      std::string_view name(event->id.string, sizeof(event->id.string));
      currentSound->addPhone(name.substr(0, name.find('\0')), event->sample);
    }
  }
}

extern "C" int onSynthesis(short* samples, int count, espeak_EVENT* events) {
  constexpr int kGoOn = 0;
  constexpr int kGiveUp = 1;
  if (currentSound == nullptr) return kGoOn;
  if (currentListener->cancelled()) return kGiveUp;
  // Nothing may be thrown through espeak-ng, which is C.
  try {
    if (events != nullptr) takeEvents(events);
    if (samples != nullptr && count >= 0) {
      currentSound->addSamples({samples, static_cast<std::size_t>(count)});
    }
  } catch (...) {
    outOfMemory = true;
    return kGiveUp;
  }
  return kGoOn;
}

void giveTo(SynthesisListener& listener, const CallSound& sound) {
  for (const CallSound::Event& event : sound.events()) {
    if (event.mark > 0) {
      listener.onMark(event.mark, event.sample);
    } else {
      listener.onPhone(event.phone, event.sample);
    }
  }
  if (!sound.samples().empty()) listener.onSamples(sound.samples());
}

// espeak-ng sets the process's character type while it starts; what was set stays set.
class KeepCharacterType {
 public:
  KeepCharacterType() {
    if (const char* const current = std::setlocale(LC_CTYPE, nullptr)) m_saved = current;
  }
  ~KeepCharacterType() {
    if (!m_saved.empty()) std::setlocale(LC_CTYPE, m_saved.c_str());
  }
  KeepCharacterType(const KeepCharacterType&) = delete;
  KeepCharacterType& operator=(const KeepCharacterType&) = delete;

 private:
  std::string m_saved;
};

// Commands in a text stay in force after it, so everything is set before each call.
void adopt(const Synthesiser::Settings& settings) {
  espeak_SetParameter(espeakRATE, settings.rate, 0);
  // Its own volume has no exact measure; see CallSound::finish.
  espeak_SetParameter(espeakVOLUME, 100, 0);
  espeak_SetParameter(espeakPITCH, settings.pitch, 0);
  espeak_SetParameter(espeakRANGE, settings.range, 0);
  espeak_SetParameter(espeakPUNCTUATION, espeakPUNCT_NONE, 0);
  espeak_SetParameter(espeakCAPITALS, 0, 0);
  espeak_SetParameter(espeakWORDGAP, 0, 0);
}

espeak_ERROR synthesise(const std::wstring& text, unsigned flags) {
  return espeak_Synth(text.c_str(), (text.size() + 1) * sizeof(wchar_t), 0, POS_CHARACTER, 0,
                      espeakCHARS_WCHAR | flags, nullptr, nullptr);
}

}  // namespace

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

bool Synthesiser::startHeld(std::string& why) {
  if (m_started) return true;
  const KeepCharacterType keep;
  // It never plays anything in this mode, but still looks for a sound server once, here. There is
  // no option against that, and changing PULSE_SERVER is not safe while other threads run.
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
  return startHeld(why);
}

bool Synthesiser::hasVoice(const Voice& voice, std::string& why) {
  const base::ScopedLock turn(m_turn);
  if (!startHeld(why)) return false;
  if (!use(voice)) {
    why = "language is not known to the synthesiser";
    return false;
  }
  // A variant that does not exist is passed over in silence.
  const char* data = nullptr;
  espeak_Info(&data);
  const std::string file = std::string(data) + "/voices/!v/" + voice.variant();
  if (!voice.variant().empty() && ::access(file.c_str(), R_OK) != 0) {
    why = "variant is not known to the synthesiser";
    return false;
  }
  return true;
}

// Setting a voice reads its files anew, so it is done only when another one is in force, or when
// a call that was given up may have left this one unfinished.
bool Synthesiser::use(const Voice& voice) {
  const std::string name = voice.synthesiserName();
  if (m_voiceInForce == name && !m_cutShort) return true;
  m_voiceInForce.clear();
  if (espeak_SetVoiceByName(name.c_str()) != EE_OK) return false;
  m_voiceInForce = name;
  return true;
}

// Emphasis is the one command that no setting takes back. Texts end with it switched off, but a
// call that was given up has not come to its end.
void Synthesiser::clearEmphasis() {
  currentSound = nullptr;
  synthesise(
      L"\x01"
      L"1F ",
      0);
  m_cutShort = false;
}

bool Synthesiser::speak(const Input& input, const Voice& voice, SynthesisListener& listener,
                        std::string& why) {
  CallSound sound;
  if (!call(input, voice, listener, sound, why)) return false;
  sound.finish(input.finishes);
  sound.addInnerMarks(input.innerMarks);
  giveTo(listener, sound);
  return true;
}

bool Synthesiser::call(const Input& input, const Voice& voice, const SynthesisListener& listener,
                       CallSound& sound, std::string& why) {
  const base::ScopedLock turn(m_turn);
  if (listener.cancelled()) return true;
  if (!startHeld(why)) return false;
  if (!use(voice)) {
    why = "the voice is not known to the synthesiser";
    return false;
  }
  adopt(input.settings);
  if (m_cutShort) clearEmphasis();
  currentSound = &sound;
  currentListener = &listener;
  outOfMemory = false;
  const espeak_ERROR result = synthesise(
      input.text, (input.hasPhones ? espeakPHONEMES : 0u) | (input.endPause ? espeakENDPAUSE : 0u));
  currentSound = nullptr;
  m_cutShort = outOfMemory || result != EE_OK || listener.cancelled();
  if (outOfMemory) {
    why = "memory is out";
    return false;
  }
  // A call that was given up is reported as a failure.
  if (result != EE_OK && !listener.cancelled()) {
    why = "the synthesiser failed";
    return false;
  }
  return true;
}

}  // namespace kavrel

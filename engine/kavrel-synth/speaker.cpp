// SPDX-License-Identifier: GPL-3.0-or-later
#include "speaker.h"

#include <string_view>

#include <espeak-ng/speak_lib.h>
#include <unistd.h>

namespace kavrel::speaker {

namespace {

namespace protocol = synth_protocol;

constexpr int kSampleRate = 22050;
// Length of the blocks that espeak-ng returns. It sizes its event list by this value: with short
// blocks the list is too small, and events are lost silently.
constexpr int kBlockMilliseconds = 500;

// Of the running call: espeak-ng's callback has no argument for them.
Output* currentOutput = nullptr;
bool cancelled = false;
bool outOfMemory = false;

protocol::Event phoneEvent(const espeak_EVENT& event) {
  protocol::Event phone;
  phone.sample = static_cast<std::uint32_t>(event.sample);
  // The name has no NUL if it fills the array. The bytes after a NUL are not part of it.
  for (std::size_t i = 0; i < sizeof(event.id.string) && event.id.string[i] != '\0'; ++i) {
    phone.name[i] = event.id.string[i];
  }
  return phone;
}

bool passEvents(const espeak_EVENT* event) {
  std::vector<protocol::Event> events;
  for (; event->type != espeakEVENT_LIST_TERMINATED; ++event) {
    if (event->sample < 0) continue;
    if (event->type == espeakEVENT_MARK && event->id.number > 0) {
      // For a mark command, the union holds its number: the name pointer is invalid.
      protocol::Event mark;
      mark.sample = static_cast<std::uint32_t>(event->sample);
      mark.mark = event->id.number;
      events.push_back(mark);
    } else if (event->type == espeakEVENT_PHONEME) {
      events.push_back(phoneEvent(*event));
    }
  }
  return events.empty() || currentOutput->onEvents(events);
}

// Called by espeak-ng for each block; the result is espeak-ng's.
extern "C" int onSynthesis(short* samples, int count, espeak_EVENT* events) {
  constexpr int kContinue = 0;
  constexpr int kCancel = 1;
  if (currentOutput == nullptr) return kContinue;
  // An exception must not pass through espeak-ng, which is C.
  try {
    cancelled = cancelled || !currentOutput->beforeBlock();
    if (!cancelled && events != nullptr) cancelled = !passEvents(events);
    if (!cancelled && samples != nullptr && count > 0) {
      cancelled = !currentOutput->onSamples({samples, static_cast<std::size_t>(count)});
    }
  } catch (...) {
    outOfMemory = true;
  }
  return cancelled || outOfMemory ? kCancel : kContinue;
}

// Synchronous: returns after the last callback.
espeak_ERROR synthesise(const std::wstring& text, unsigned flags) {
  return espeak_Synth(text.c_str(), (text.size() + 1) * sizeof(wchar_t), 0, POS_CHARACTER, 0,
                      espeakCHARS_WCHAR | flags, nullptr, nullptr);
}

// espeak-ng silently ignores a variant that does not exist, so look for its file.
bool hasVariant(std::string_view voice) {
  const std::size_t plus = voice.find('+');
  if (plus == std::string_view::npos) return true;
  const std::string file = dataFolder() + "/voices/!v/" + std::string(voice.substr(plus + 1));
  return ::access(file.c_str(), R_OK) == 0;
}

}  // namespace

protocol::Ready::Status start(const std::string& voice) {
  using Status = protocol::Ready::Status;
  // Without DONT_EXIT, espeak-ng ends the process if its data is missing.
  const int rate = espeak_Initialize(
      AUDIO_OUTPUT_SYNCHRONOUS, kBlockMilliseconds, KAVREL_SPEECH_DATA_DIR,
      espeakINITIALIZE_PHONEME_EVENTS | espeakINITIALIZE_PHONEME_IPA | espeakINITIALIZE_DONT_EXIT);
  if (rate < 0) return Status::NoData;
  if (rate != kSampleRate) return Status::OtherRate;
  espeak_SetSynthCallback(&onSynthesis);
  if (espeak_SetVoiceByName(voice.c_str()) != EE_OK) return Status::NoLanguage;
  return hasVariant(voice) ? Status::Ok : Status::NoVariant;
}

std::string dataFolder() {
  const char* data = nullptr;
  espeak_Info(&data);
  return data != nullptr ? data : "";
}

protocol::End::Status speak(const protocol::Speak& call, const std::wstring& text, Output& output) {
  using Status = protocol::End::Status;
  espeak_SetParameter(espeakRATE, call.rate, 0);
  // espeak-ng's volume is not linear; the client applies the volume instead.
  espeak_SetParameter(espeakVOLUME, 100, 0);
  espeak_SetParameter(espeakPITCH, call.pitch, 0);
  espeak_SetParameter(espeakRANGE, call.range, 0);
  espeak_SetParameter(espeakPUNCTUATION, espeakPUNCT_NONE, 0);
  espeak_SetParameter(espeakCAPITALS, 0, 0);
  espeak_SetParameter(espeakWORDGAP, 0, 0);
  currentOutput = &output;
  const espeak_ERROR result =
      synthesise(text, ((call.flags & protocol::Speak::kPhones) != 0 ? espeakPHONEMES : 0U) |
                           ((call.flags & protocol::Speak::kEndPause) != 0 ? espeakENDPAUSE : 0U));
  currentOutput = nullptr;
  // espeak-ng reports a cancelled call as a failure.
  if (outOfMemory) return Status::Failed;
  if (cancelled) return Status::Cancelled;
  return result == EE_OK ? Status::Done : Status::Failed;
}

}  // namespace kavrel::speaker

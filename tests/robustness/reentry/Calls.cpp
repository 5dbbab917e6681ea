// SPDX-License-Identifier: Apache-2.0
#include "Calls.h"

#include <CoreFoundation/CoreFoundation.h>

#include "KavrelSpeechEngine.h"
#include "channels/ChannelTest.h"

namespace reentry {
namespace {

// A bundle that exists until the process exits.
CFBundleRef voiceBundle() {
  static const CFBundleRef bundle = [] {
    const CFURLRef folder = CFURLCreateFromFileSystemRepresentation(
        nullptr, reinterpret_cast<const UInt8*>("/tmp"), 4, true);
    const CFBundleRef made = CFBundleCreate(nullptr, folder);
    CFRelease(folder);
    return made;
  }();
  return bundle;
}

long useVoice(SpeechChannelIdentifier id) {
  VoiceSpec voice{channels::code("BRVD"), 1};
  return SEUseVoice(id, &voice, voiceBundle());
}

}  // namespace

long speak(SpeechChannelIdentifier id, const std::string& text) {
  std::string copy = text;
  return SESpeakBuffer(id, copy.data(), static_cast<long>(copy.size()), 0);
}

long callEntryPoint(EntryPoint entry, SpeechChannelIdentifier id, SpeechChannelIdentifier& opened,
                    SpeechStatusInfo& status) {
  Fixed rate = Long2Fix(180);
  switch (entry) {
    case EntryPoint::Open:
      opened = id;
      return SEOpenSpeechChannel(&opened);
    case EntryPoint::Close:
      return SECloseSpeechChannel(id);
    case EntryPoint::Status:
      return SESpeechStatus(id, &status);
    case EntryPoint::Stop:
      return SEStopSpeechAt(id, kImmediate);
    case EntryPoint::Pause:
      return SEPauseSpeechAt(id, kImmediate);
    case EntryPoint::Continue:
      return SEContinueSpeech(id);
    case EntryPoint::TextToPhonemes:
      return SETextToPhonemes(id, nullptr, 0, nullptr, nullptr);
    case EntryPoint::UseDictionary:
      return SEUseDictionary(id, nullptr, 0);
    case EntryPoint::Speak:
      return speak(id);
    case EntryPoint::GetInfo:
      return SEGetSpeechInfo(id, soRate, &rate);
    case EntryPoint::SetInfo:
      return SESetSpeechInfo(id, soRate, &rate);
    case EntryPoint::UseVoice:
      return useVoice(id);
  }
  return kNever;
}

}  // namespace reentry

// SPDX-License-Identifier: Apache-2.0
//
// SpeechSynthesis: the functions for voices, channels and speech. Each finds its channel, forwards
// the call, and converts exceptions to results.
#include <ApplicationServices/SpeechSynthesis.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>

#include "SpeechSynthesis/bundles/Synthesizers.h"
#include "SpeechSynthesis/bundles/VoiceCatalogue.h"
#include "SpeechSynthesis/bundles/VoiceCodes.h"
#include "SpeechSynthesis/calls/OnChannel.h"
#include "SpeechSynthesis/calls/PhonemeSymbols.h"
#include "SpeechSynthesis/calls/Results.h"
#include "SpeechSynthesis/calls/Selectors.h"
#include "SpeechSynthesis/channel/ChannelRegistry.h"

namespace {

using platform::Channel;
using platform::ChannelRegistry;
using platform::onChannel;
using platform::OpenedChannel;
using platform::resultOf;
using platform::Synthesizers;
using platform::Voice;
using platform::VoiceCatalogue;

// The voice of `spec`, or the default voice for null. Null if there is no such voice.
const Voice* voiceOf(const VoiceSpec* spec) {
  const VoiceCatalogue& catalogue = VoiceCatalogue::shared();
  return spec == nullptr ? catalogue.defaultVoice() : catalogue.find(*spec);
}

// Opens a channel in the synthesizer of a voice and registers a Channel for it. If that fails, the
// synthesizer's channel is closed again.
OSErr openChannel(const Voice& voice, std::shared_ptr<Channel>& made) {
  OpenedChannel opened;
  const OSErr result = Synthesizers::shared().open(voice.spec.creator, opened);
  if (result != noErr) return result;
  try {
    ChannelRegistry& registry = ChannelRegistry::shared();
    made = std::make_shared<Channel>(*opened.plugIn, opened.identifier, registry.newHandle());
    registry.add(made);
  } catch (...) {
    opened.plugIn->call().closeSpeechChannel(opened.identifier);
    throw;
  }
  return noErr;
}

// Of several threads that close the same channel, one finds it in the registry.
void closeChannel(SpeechChannel handle) {
  if (const auto channel = ChannelRegistry::shared().remove(handle)) channel->close();
}

// Stores a new handle at `speechInfo`.
OSErr copyPhonemeSymbols(void* speechInfo) {
  if (speechInfo == nullptr) return paramErr;
  Handle const symbols = platform::newPhonemeDescriptor();
  if (symbols == nullptr) return memFullErr;
  std::memcpy(speechInfo, &symbols, sizeof symbols);
  return noErr;
}

}  // namespace

OSErr MakeVoiceSpec(OSType creator, OSType id, VoiceSpec* voice) {
  if (voice == nullptr) return paramErr;
  *voice = {creator, id};
  return noErr;
}

OSErr CountVoices(SInt16* numVoices) {
  if (numVoices == nullptr) return paramErr;
  return resultOf([&]() -> OSErr {
    // The count has 16 bits; further voices are reachable by their VoiceSpec only.
    constexpr std::size_t kMost = std::numeric_limits<SInt16>::max();
    *numVoices = static_cast<SInt16>(std::min(VoiceCatalogue::shared().voices().size(), kMost));
    return noErr;
  });
}

OSErr GetIndVoice(SInt16 index, VoiceSpec* voice) {
  if (voice == nullptr) return paramErr;
  return resultOf([&]() -> OSErr {
    const auto& voices = VoiceCatalogue::shared().voices();
    if (index < 1 || static_cast<std::size_t>(index) > voices.size()) return voiceNotFound;
    *voice = voices[static_cast<std::size_t>(index) - 1].spec;
    return noErr;
  });
}

OSErr GetVoiceDescription(const VoiceSpec* voice, VoiceDescription* info, long infoLength) {
  if (infoLength < 0) return paramErr;
  return resultOf([&]() -> OSErr {
    const Voice* const found = voiceOf(voice);
    if (found == nullptr) return voiceNotFound;
    // A client may only ask whether the voice exists.
    if (info == nullptr) return noErr;
    VoiceDescription description = found->description;
    const std::size_t length = std::min(static_cast<std::size_t>(infoLength), sizeof description);
    description.length = static_cast<SInt32>(length);
    std::memcpy(info, &description, length);
    return noErr;
  });
}

OSErr GetVoiceInfo(const VoiceSpec* voice, OSType selector, void* voiceInfo) {
  if (voiceInfo == nullptr) return paramErr;
  return resultOf([&]() -> OSErr {
    const Voice* const found = voiceOf(voice);
    if (found == nullptr) return voiceNotFound;
    switch (selector) {
      case soVoiceDescription:
        std::memcpy(voiceInfo, &found->description, sizeof found->description);
        return noErr;
      case soVoiceLocale: {
        // memcpy: a client's record may be unaligned.
        VoiceLocale locale{};
        platform::shortLocaleOf(found->locale)
            .copy(locale.identifier, sizeof locale.identifier - 1);
        std::memcpy(voiceInfo, &locale, sizeof locale);
        return noErr;
      }
      case soVoiceLocaleName: {
        VoiceLocaleName locale{};
        found->locale.copy(locale.identifier, sizeof locale.identifier - 1);
        std::memcpy(voiceInfo, &locale, sizeof locale);
        return noErr;
      }
      default:
        return siUnknownInfoType;
    }
  });
}

OSErr NewSpeechChannel(VoiceSpec* voice, SpeechChannel* chan) {
  if (chan == nullptr) return paramErr;
  *chan = nullptr;
  return resultOf([&]() -> OSErr {
    const Voice* const found = voiceOf(voice);
    if (found == nullptr) return voiceNotFound;
    std::shared_ptr<Channel> channel;
    OSErr result = openChannel(*found, channel);
    if (result != noErr) return result;
    // RAII guard: closes the channel unless the last step below succeeds.
    struct Opened {
      SpeechChannel handle;
      ~Opened() {
        if (handle != nullptr) closeChannel(handle);
      }
    } opened{channel->handle()};
    result = channel->prepare();
    if (result == noErr) result = channel->useVoice(*found);
    if (result == noErr) *chan = std::exchange(opened.handle, nullptr);
    return result;
  });
}

OSErr DisposeSpeechChannel(SpeechChannel chan) {
  return resultOf([&]() -> OSErr {
    const auto channel = ChannelRegistry::shared().remove(chan);
    if (!channel) return invalidComponentID;
    channel->close();
    return noErr;
  });
}

// The length is limited so that every position fits in 32 bits.
OSErr SpeakBuffer(SpeechChannel chan, const void* textBuf, unsigned long textBytes,
                  SInt32 controlFlags) {
  return onChannel(chan, [&](Channel& channel) -> OSErr {
    if (textBytes > static_cast<unsigned long>(std::numeric_limits<SInt32>::max())) return paramErr;
    // No text is a stop, as the interface defines it.
    if (textBuf == nullptr || textBytes == 0) return channel.stop(kImmediate);
    return channel.speak(platform::CallerText(textBuf, textBytes, channel.charset()), controlFlags);
  });
}

OSErr SpeakText(SpeechChannel chan, const void* textBuf, unsigned long textBytes) {
  return SpeakBuffer(chan, textBuf, textBytes, 0);
}

OSErr StopSpeech(SpeechChannel chan) {
  return StopSpeechAt(chan, kImmediate);
}

OSErr StopSpeechAt(SpeechChannel chan, SInt32 whereToStop) {
  return onChannel(chan, [&](Channel& channel) { return channel.stop(whereToStop); });
}

OSErr PauseSpeechAt(SpeechChannel chan, SInt32 whereToPause) {
  return onChannel(chan, [&](Channel& channel) { return channel.pause(whereToPause); });
}

OSErr ContinueSpeech(SpeechChannel chan) {
  return onChannel(chan, [](Channel& channel) { return channel.resume(); });
}

SInt16 SpeechBusySystemWide() {
  return SpeechBusy();
}

SInt16 SpeechBusy() {
  // Without memory for the list of channels the count stays 0; the function has no result for it.
  SInt16 active = 0;
  resultOf([&]() -> OSErr {
    for (const auto& channel : ChannelRegistry::shared().all()) {
      if (channel->isActive() && active < std::numeric_limits<SInt16>::max()) ++active;
    }
    return noErr;
  });
  return active;
}

OSErr SetSpeechInfo(SpeechChannel chan, OSType selector, const void* speechInfo) {
  return onChannel(chan, [&](Channel& channel) {
    const OSErr result = platform::checkSetting(selector, speechInfo);
    return result == noErr ? channel.setInfo(selector, speechInfo) : result;
  });
}

OSErr GetSpeechInfo(SpeechChannel chan, OSType selector, void* speechInfo) {
  return onChannel(chan, [&](Channel& channel) {
    // The Manager's own table: a synthesizer has none.
    if (selector == soPhonemeSymbols) return copyPhonemeSymbols(speechInfo);
    return channel.getInfo(selector, speechInfo);
  });
}

OSErr SetSpeechRate(SpeechChannel chan, Fixed rate) {
  return SetSpeechInfo(chan, soRate, &rate);
}

OSErr GetSpeechRate(SpeechChannel chan, Fixed* rate) {
  return GetSpeechInfo(chan, soRate, rate);
}

OSErr SetSpeechPitch(SpeechChannel chan, Fixed pitch) {
  return SetSpeechInfo(chan, soPitchBase, &pitch);
}

OSErr GetSpeechPitch(SpeechChannel chan, Fixed* pitch) {
  return GetSpeechInfo(chan, soPitchBase, pitch);
}

// SPDX-License-Identifier: Apache-2.0
//
// TextCalls: the functions for texts and words: SpeakString, phonemes, dictionaries, the version.
#include <ApplicationServices/SpeechProperties.h>

#include <cstring>
#include <string>
#include <utility>

#include "SpeechSynthesis/bundles/VoiceCatalogue.h"
#include "SpeechSynthesis/calls/OnChannel.h"
#include "SpeechSynthesis/calls/Phonemes.h"
#include "base/threads/Mutex.h"

using platform::CallerText;
using platform::Channel;
using platform::onChannel;

namespace {

// ---- SpeakString

NEVER_DESTROYED constinit base::Mutex g_stringLock;
SpeechChannel g_stringChannel GUARDED_BY(g_stringLock) = nullptr;  // what SpeakString speaks on

// Returns the channel of the last string, or null, and gives its ownership to the caller: of two
// threads only one disposes it.
SpeechChannel takeStringChannel() {
  const base::ScopedLock held(g_stringLock);
  return std::exchange(g_stringChannel, nullptr);
}

// Speech-done of SpeakString. Runs on the callback thread. The channel may have been taken already
// by a SpeakString on another thread; disposing it twice has no effect.
void finishString(SpeechChannel channel, SRefCon /*refCon*/) {
  {
    const base::ScopedLock held(g_stringLock);
    if (g_stringChannel == channel) g_stringChannel = nullptr;
  }
  DisposeSpeechChannel(channel);
}

// ---- Phonemes

// Reads the voice and the modes of the channel and speaks the text with them elsewhere. Results:
// those of collectPhonemes.
OSErr phonemesOf(Channel& channel, CallerText text, std::string& phonemes) {
  VoiceSpec spec{};
  platform::ReadingModes modes;
  channel.getInfo(soCurrentVoice, &spec);
  channel.getInfo(soInputMode, &modes.input);
  channel.getInfo(soCharacterMode, &modes.characters);
  channel.getInfo(soNumberMode, &modes.numbers);
  const platform::Voice* const voice = platform::VoiceCatalogue::shared().find(spec);
  if (voice == nullptr) return voiceNotFound;
  return collectPhonemes(channel.plugIn(), *voice, modes, channel.adaptedFor(std::move(text)),
                         phonemes);
}

// ---- Dictionaries

// The header of a 'dict' resource: a byte count and a mark, as big-endian numbers.
constexpr std::size_t kByteCountOffset = 0;
constexpr std::size_t kMarkOffset = 4;
constexpr long kSmallestDictionary = 8;
constexpr UInt32 kDictionaryMark = 0x64696374;  // 'dict'

UInt32 numberAt(const char* bytes, std::size_t offset) {
  UInt32 number = 0;
  for (std::size_t i = 0; i < sizeof number; ++i) {
    number = (number << 8U) | static_cast<unsigned char>(bytes[offset + i]);
  }
  return number;
}

// Only the header is checked: the entries are for the synthesizer.
bool isDictionary(const char* bytes, long size) {
  return size >= kSmallestDictionary && numberAt(bytes, kMarkOffset) == kDictionaryMark &&
         static_cast<long>(numberAt(bytes, kByteCountOffset)) <= size;
}

bool isOfType(CFTypeRef object, CFTypeID type) {
  return object != nullptr && CFGetTypeID(object) == type;
}

// True for a dictionary with a spelling and phonemes.
bool isEntry(CFTypeRef object) {
  if (!isOfType(object, CFDictionaryGetTypeID())) return false;
  const auto entry = static_cast<CFDictionaryRef>(object);
  return isOfType(CFDictionaryGetValue(entry, kSpeechDictionaryEntrySpelling),
                  CFStringGetTypeID()) &&
         isOfType(CFDictionaryGetValue(entry, kSpeechDictionaryEntryPhonemes), CFStringGetTypeID());
}

// Null, a missing list, counts as empty.
bool isListOfEntries(CFTypeRef object) {
  if (object == nullptr) return true;
  if (!isOfType(object, CFArrayGetTypeID())) return false;
  const auto list = static_cast<CFArrayRef>(object);
  for (CFIndex index = 0; index < CFArrayGetCount(list); ++index) {
    if (!isEntry(CFArrayGetValueAtIndex(list, index))) return false;
  }
  return true;
}

}  // namespace

NumVersion SpeechManagerVersion() {
  NumVersion version{};
  // Rationale: not the version of the project. Clients compare this number with that of the first
  // Manager that has a call they need, so it stays that of the interface the headers declare.
  version.majorRev = 4;
  version.minorAndBugRev = 0x04;
  version.stage = finalStage;
  return version;
}

// The channel disposes itself in its speech-done callback, since the caller does not know it.
OSErr SpeakString(ConstStr255Param textToBeSpoken) {
  if (SpeechChannel const earlier = takeStringChannel()) DisposeSpeechChannel(earlier);
  if (textToBeSpoken == nullptr || textToBeSpoken[0] == 0) return noErr;
  SpeechChannel channel = nullptr;
  OSErr result = NewSpeechChannel(nullptr, &channel);
  if (result != noErr) return result;
  {
    const base::ScopedLock held(g_stringLock);
    g_stringChannel = channel;
  }
  SetSpeechInfo(channel, soSpeechDoneCallBack, reinterpret_cast<const void*>(finishString));
  result = SpeakText(channel, textToBeSpoken + 1, textToBeSpoken[0]);
  // No speech-done comes for a text that was not started.
  if (result != noErr) finishString(channel, nullptr);
  return result;
}

OSErr TextToPhonemes(SpeechChannel chan, const void* textBuf, unsigned long textBytes,
                     Handle phonemeBuf, long* phonemeBytes) {
  return onChannel(chan, [&](Channel& channel) -> OSErr {
    if (phonemeBuf == nullptr || phonemeBytes == nullptr || (textBuf == nullptr && textBytes > 0)) {
      return paramErr;
    }
    std::string phonemes;
    if (textBytes > 0) {
      const OSErr result =
          phonemesOf(channel, CallerText(textBuf, textBytes, channel.charset()), phonemes);
      if (result != noErr) return result;
    }
    // The last step that can fail; before it, nothing of the caller is changed.
    SetHandleSize(phonemeBuf, static_cast<Size>(phonemes.size()));
    if (MemError() != noErr) return MemError();
    std::memcpy(*phonemeBuf, phonemes.data(), phonemes.size());
    *phonemeBytes = static_cast<long>(phonemes.size());
    return noErr;
  });
}

OSErr CopyPhonemesFromText(SpeechChannel chan, CFStringRef text, CFStringRef* phonemes) {
  if (phonemes != nullptr) *phonemes = nullptr;
  return onChannel(chan, [&](Channel& channel) -> OSErr {
    if (text == nullptr || phonemes == nullptr) return paramErr;
    std::string collected;
    CallerText converted(text);
    if (!converted.hasNoWidth()) {
      const OSErr result = phonemesOf(channel, std::move(converted), collected);
      if (result != noErr) return result;
    }
    *phonemes =
        CFStringCreateWithCString(kCFAllocatorDefault, collected.c_str(), kCFStringEncodingASCII);
    return *phonemes == nullptr ? OSErr{memFullErr} : OSErr{noErr};
  });
}

OSErr UseDictionary(SpeechChannel chan, Handle dictionary) {
  return onChannel(chan, [&](Channel& channel) -> OSErr {
    if (dictionary == nullptr) return paramErr;
    const Size size = GetHandleSize(dictionary);
    if (!isDictionary(*dictionary, size)) return badDictFormat;
    return channel.useDictionary(*dictionary, size);
  });
}

OSErr UseSpeechDictionary(SpeechChannel chan, CFDictionaryRef speechDictionary) {
  return onChannel(chan, [&](Channel& /*channel*/) -> OSErr {
    if (speechDictionary == nullptr) return paramErr;
    if (!isOfType(speechDictionary, CFDictionaryGetTypeID())) return badDictFormat;
    for (CFStringRef const list :
         {kSpeechDictionaryPronunciations, kSpeechDictionaryAbbreviations}) {
      if (!isListOfEntries(CFDictionaryGetValue(speechDictionary, list))) return badDictFormat;
    }
    return noErr;
  });
}

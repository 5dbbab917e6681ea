// SPDX-License-Identifier: Apache-2.0
#include "Channel.h"

#include <CoreFoundation/CFBundle.h>
#include <CoreFoundation/CFURL.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>

#include "../CoreFoundation/CFObject.h"
#include "Trampolines.h"

namespace platform {
namespace {

// 'cpos': positions of words are to be those of the caller's own bytes. The value is a number in
// the place of a pointer; not zero switches it on.
constexpr OSType kExactPositions = 0x63706F73;
// NOLINTNEXTLINE(performance-no-int-to-ptr)
const void* const kYes = reinterpret_cast<const void*>(std::uintptr_t{1});

// How long the end of a stopped job is waited for.
constexpr std::chrono::seconds kEndOfJobLimit{1};

// What a synthesizer answers as clients know it.
OSErr translated(long result) {
  constexpr long kRefused = -1;
  if (result == kRefused) return synthNotReady;
  // A synthesizer's name for "no such channel"; the channel was disposed meanwhile.
  if (result == noSynthFound) return invalidComponentID;
  return static_cast<OSErr>(result);
}

bool isPlace(SInt32 where) {
  return where == kImmediate || where == kEndOfWord || where == kEndOfSentence;
}

// Whether SetSpeechInfo reads what the value points at.
bool readsValue(OSType selector) {
  switch (selector) {
    case soInputMode:
    case soCharacterMode:
    case soNumberMode:
    case soRate:
    case soPitchBase:
    case soPitchMod:
    case soVolume:
    case soCommandDelimiter:
    case soCurrentVoice:
    case soSynthExtension:
      return true;
    default:
      return false;
  }
}

template <typename Function>
Function asFunction(const void* value) {
  return reinterpret_cast<Function>(const_cast<void*>(value));
}

template <typename Function>
const void* asValue(Function* function) {
  return reinterpret_cast<const void*>(function);
}

}  // namespace

Channel::Channel(const SynthesizerPlugIn& plugIn, SpeechChannelIdentifier identifier,
                 SpeechChannel handle)
    : m_plugIn(plugIn), m_identifier(identifier), m_handle(handle) {}

OSErr Channel::prepare() {
  const struct {
    OSType selector;
    const void* value;
  } settings[] = {{soRefCon, m_handle},
                  {soSpeechDoneCallBack, asValue(trampolines::speechDone)},
                  {soSyncCallBack, asValue(trampolines::sync)},
                  {soWordCallBack, asValue(trampolines::word)},
                  {kExactPositions, kYes}};
  for (const auto& setting : settings) {
    if (const OSErr result = set(setting.selector, setting.value); result != noErr) return result;
  }
  return noErr;
}

void Channel::close() {
  m_plugIn.call().closeSpeechChannel(m_identifier);
}

OSErr Channel::useVoice(const Voice& voice) {
  const std::string& path = voice.bundle.native();
  const Owned url(CFURLCreateFromFileSystemRepresentation(
      kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.data()),
      static_cast<CFIndex>(path.size()), true));
  const Owned bundle(CFBundleCreate(kCFAllocatorDefault, url.get()));
  if (!bundle) return voiceNotFound;
  VoiceSpec spec = voice.spec;
  const OSErr result = translated(m_plugIn.call().useVoice(m_identifier, &spec, bundle.get()));
  if (result != noErr) return result;
  const std::lock_guard held(m_lock);
  m_voice = spec;
  return noErr;
}

OSErr Channel::speak(const void* text, unsigned long bytes, SInt32 flags) {
  if (bytes > static_cast<unsigned long>(std::numeric_limits<SInt32>::max())) return paramErr;
  if (text == nullptr || bytes == 0) return stop(kImmediate);
  if (isActive()) {
    if ((flags & kNoSpeechInterrupt) != 0) return synthNotReady;
    if (const OSErr result = stop(kImmediate); result != noErr) return result;
  }
  if (!waitForEndOfJobs()) return synthNotReady;

  // Before the call: a short job may end before the call returns.
  jobStarts(bytes);
  // Undone when no job came of it, however that shows.
  struct Start {
    Channel& channel;
    bool succeeded = false;
    ~Start() {
      if (!succeeded) channel.jobDidNotStart();
    }
  } start{*this};
  const OSErr result = translated(m_plugIn.call().speakBuffer(
      m_identifier, static_cast<Ptr>(const_cast<void*>(text)), static_cast<long>(bytes), flags));
  start.succeeded = result == noErr;
  return result;
}

OSErr Channel::stop(SInt32 where) {
  if (!isPlace(where)) return paramErr;
  return translated(m_plugIn.call().stopSpeechAt(m_identifier, static_cast<unsigned long>(where)));
}

OSErr Channel::pause(SInt32 where) {
  if (!isPlace(where)) return paramErr;
  // A synthesizer marks even an idle channel as paused when it is asked to pause it.
  if (!state().busy) return noErr;
  return translated(m_plugIn.call().pauseSpeechAt(m_identifier, static_cast<unsigned long>(where)));
}

OSErr Channel::resume() {
  return translated(m_plugIn.call().continueSpeech(m_identifier));
}

OSErr Channel::setInfo(OSType selector, const void* value) {
  if (value == nullptr && readsValue(selector)) return paramErr;
  switch (selector) {
    case soRefCon:
    case soTextDoneCallBack:
    case soSpeechDoneCallBack:
    case soSyncCallBack:
    case soErrorCallBack:
    case soPhonemeCallBack:
    case soWordCallBack:
      return setCallback(selector, value);
    case soCurrentVoice:
      return setCurrentVoice(*static_cast<const VoiceSpec*>(value));
    case kExactPositions:
      return noErr;  // on for every channel
    default:
      return set(selector, value);
  }
}

OSErr Channel::getInfo(OSType selector, void* value) {
  if (value == nullptr) return paramErr;
  switch (selector) {
    case soStatus:
      return getStatus(*static_cast<SpeechStatusInfo*>(value));
    case soErrors:
      // The synthesizer writes nothing into the record.
      std::memset(value, 0, sizeof(SpeechErrorInfo));
      break;
    case soRecentSync: {
      const std::lock_guard held(m_lock);
      std::memcpy(value, &m_recentSync, sizeof m_recentSync);
      return noErr;
    }
    case soCurrentVoice: {
      const std::lock_guard held(m_lock);
      std::memcpy(value, &m_voice, sizeof m_voice);
      return noErr;
    }
    default:
      break;
  }
  return translated(m_plugIn.call().getSpeechInfo(m_identifier, selector, value));
}

bool Channel::isActive() const {
  const State now = state();
  return now.busy || now.paused;
}

ClientCallbacks Channel::callbacks() const {
  const std::lock_guard held(m_lock);
  return m_callbacks;
}

void Channel::jobHasEnded() {
  const std::lock_guard held(m_lock);
  ++m_jobsEnded;
  m_jobEnded.notify_all();
}

void Channel::syncReached(OSType message) {
  const std::lock_guard held(m_lock);
  m_recentSync = message;
}

Channel::Word Channel::wordReached(Word word) {
  const std::lock_guard held(m_lock);
  m_wordPosition = std::clamp(word.position, m_wordPosition, m_textBytes);
  const unsigned long left = m_textBytes - m_wordPosition;
  return {m_wordPosition, static_cast<UInt16>(std::min<unsigned long>(word.length, left))};
}

const std::string& Channel::keepPiece(const void* text, unsigned long bytes) {
  m_piece.assign(static_cast<const char*>(text), bytes);
  {
    const std::lock_guard held(m_lock);
    m_textBytes += bytes;
  }
  // The synthesizer takes a piece up to its NUL; the bytes behind one inside count too.
  std::replace(m_piece.begin(), m_piece.end(), '\0', ' ');
  return m_piece;
}

Channel::State Channel::state() const {
  SpeechStatusInfo status{};
  if (m_plugIn.call().speechStatus(m_identifier, &status) != noErr) return {false, false};
  return {status.outputBusy != 0, status.outputPaused != 0};
}

// The bytes left are those behind the last word's start, of the caller's text. A synthesizer counts
// its own text, and has none left while it is paused.
OSErr Channel::getStatus(SpeechStatusInfo& status) const {
  const OSErr result = translated(m_plugIn.call().getSpeechInfo(m_identifier, soStatus, &status));
  if (result != noErr) return result;
  const std::lock_guard held(m_lock);
  const bool active = status.outputBusy != 0 || status.outputPaused != 0;
  constexpr unsigned long kMost = std::numeric_limits<SInt32>::max();
  const unsigned long left = std::min(m_textBytes - m_wordPosition, kMost);
  status.inputBytesLeft = active ? static_cast<SInt32>(left) : 0;
  return noErr;
}

void Channel::jobStarts(unsigned long bytes) {
  const std::lock_guard held(m_lock);
  ++m_jobsStarted;
  m_textBytes = bytes;
  m_wordPosition = 0;
}

void Channel::jobDidNotStart() {
  const std::lock_guard held(m_lock);
  --m_jobsStarted;
}

OSErr Channel::set(OSType selector, const void* value) const {
  return translated(
      m_plugIn.call().setSpeechInfo(m_identifier, selector, const_cast<void*>(value)));
}

// Keeps what the client wants to be called, then makes the synthesizer report it. The reference
// constant, speech-done, sync and word are ours with the synthesizer for as long as the channel
// lives.
OSErr Channel::setCallback(OSType selector, const void* value) {
  const void* trampoline = nullptr;
  {
    const std::lock_guard held(m_lock);
    switch (selector) {
      case soRefCon:
        m_callbacks.refCon = const_cast<void*>(value);
        return noErr;
      case soSpeechDoneCallBack:
        m_callbacks.speechDone = asFunction<SpeechDoneProcPtr>(value);
        return noErr;
      case soSyncCallBack:
        m_callbacks.sync = asFunction<SpeechSyncProcPtr>(value);
        return noErr;
      case soWordCallBack:
        m_callbacks.word = asFunction<SpeechWordProcPtr>(value);
        return noErr;
      case soTextDoneCallBack:
        m_callbacks.textDone = asFunction<SpeechTextDoneProcPtr>(value);
        trampoline = asValue(trampolines::textDone);
        break;
      case soErrorCallBack:
        m_callbacks.error = asFunction<SpeechErrorProcPtr>(value);
        trampoline = asValue(trampolines::error);
        break;
      default:
        m_callbacks.phoneme = asFunction<SpeechPhonemeProcPtr>(value);
        trampoline = asValue(trampolines::phoneme);
        break;
    }
  }
  return set(selector, value == nullptr ? nullptr : trampoline);
}

OSErr Channel::setCurrentVoice(const VoiceSpec& spec) {
  const Voice* const voice = VoiceCatalogue::shared().find(spec);
  if (voice == nullptr) return voiceNotFound;
  if (voice->spec.creator != kSynthesizerCreator) return incompatibleVoice;
  return useVoice(*voice);
}

// False when a job does not end in time.
bool Channel::waitForEndOfJobs() {
  std::unique_lock held(m_lock);
  return m_jobEnded.wait_for(held, kEndOfJobLimit, [this] { return m_jobsEnded >= m_jobsStarted; });
}

}  // namespace platform

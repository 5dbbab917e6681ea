// SPDX-License-Identifier: Apache-2.0
//
// Channel, first part: opening and closing, voice, settings and state.
#include "SpeechSynthesis/channel/Channel.h"

#include <CoreFoundation/CFURL.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <limits>
#include <utility>

#include "CoreFoundation/CFObject.h"
#include "SpeechSynthesis/calls/Results.h"
#include "SpeechSynthesis/calls/StandardError.h"
#include "SpeechSynthesis/channel/Trampolines.h"

namespace platform {
namespace {

// Selector 'cpos' of the synthesizer: word positions are exact positions in the caller's bytes. The
// value is a number instead of a pointer; a value other than 0 switches it on.
constexpr OSType kExactPositions = 0x63706F73;
// NOLINTNEXTLINE(performance-no-int-to-ptr)
const void* const kYes = reinterpret_cast<const void*>(std::uintptr_t{1});

// The longest path that a synthesizer accepts, with its NUL.
constexpr std::size_t kLongestPath = 2048;

// The number of bytes that SetSpeechInfo reads at its pointer; 0 for a selector whose value is not
// read through a pointer or has no fixed size.
std::size_t sizeOfValue(OSType selector) {
  switch (selector) {
    case soInputMode:
    case soCharacterMode:
    case soNumberMode:
      return sizeof(OSType);
    case soRate:
    case soPitchBase:
    case soPitchMod:
    case soVolume:
      return sizeof(Fixed);
    case soCommandDelimiter:
      return sizeof(DelimiterInfo);
    case soCurrentVoice:
      return sizeof(VoiceSpec);
    default:
      return 0;
  }
}

// Room for the value of any selector with a size: it must outlive the caller when it is queued.
struct alignas(8) ValueCopy {
  std::array<std::byte, 8> bytes{};
};

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
  // Text-done is missing: the Manager asks for more text itself and gives the synthesizer all of
  // it.
  const struct {
    OSType selector;
    const void* value;
  } settings[] = {{soRefCon, m_handle},
                  {soSpeechDoneCallBack, asValue(trampolines::speechDone)},
                  {soSyncCallBack, asValue(trampolines::sync)},
                  {soErrorCallBack, asValue(trampolines::error)},
                  {soPhonemeCallBack, asValue(trampolines::phoneme)},
                  {soWordCallBack, asValue(trampolines::word)},
                  {kExactPositions, kYes}};
  for (const auto& setting : settings) {
    if (const OSErr result = set(setting.selector, setting.value); result != noErr) return result;
  }
  return noErr;
}

void Channel::close() {
  {
    const base::ScopedLock held(m_lock);
    m_disposed = true;
    m_phase = Phase::Idle;
    // The report holds a reference to this channel, which would never be destroyed.
    m_doneReport.clear();
    m_jobEnded.notifyAll();
  }
  // Calls that are still queued must not run on a closed channel.
  m_calls.dropQueued();
  m_calls.runOrQueue(shared_from_this(), [this] {
    try {
      m_plugIn.call().closeSpeechChannel(m_identifier);
    } catch (...) {
      // The channel is closed for the client in any case.
      writeException("closing a channel of the synthesizer");
    }
  });
  CallbackThread::shared().waitForReportTo(*this);
}

// The synthesizer first: m_voice is what soCurrentVoice reports, so it must be a voice that was
// accepted.
OSErr Channel::useVoice(const Voice& voice) {
  const OSErr result = m_plugIn.useVoice(m_identifier, voice);
  if (result != noErr) return result;
  const base::ScopedLock held(m_lock);
  m_voice = voice.spec;
  return noErr;
}

// Callbacks and the reference constant stay in the Manager; everything else goes to the
// synthesizer. Values of known size are copied, so that they can be queued during a pending stop.
OSErr Channel::setInfo(OSType selector, const void* value) {
  const std::size_t size = sizeOfValue(selector);
  if (value == nullptr && (size > 0 || selector == soSynthExtension)) return paramErr;
  switch (selector) {
    case soRefCon:
    case soTextDoneCallBack:
    case soSpeechDoneCallBack:
    case soSyncCallBack:
    case soErrorCallBack:
    case soPhonemeCallBack:
    case soWordCallBack:
      return setCallback(selector, value);
    case soCurrentVoice: {
      VoiceSpec spec{};
      std::memcpy(&spec, value, sizeof spec);
      return setCurrentVoice(spec);
    }
    case soOutputToFileWithCFURL:
      return setOutputFile(static_cast<CFURLRef>(value));
    case soCommandDelimiter: {
      DelimiterInfo delimiters{};
      std::memcpy(&delimiters, value, sizeof delimiters);
      return runOrQueue(
          [delimiters](Channel& channel) { return channel.setDelimiters(delimiters); });
    }
    case soReset:
      return runOrQueue([](Channel& channel) { return channel.resetSettings(); });
    case kExactPositions:
      return noErr;  // on for every channel
    default:
      break;
  }
  // Of unknown size: cannot be copied, so the caller waits for a pending stop.
  if (size == 0) {
    return callInTurn([&](const auto&, auto) { return set(selector, value); });
  }
  ValueCopy copy;
  std::memcpy(copy.bytes.data(), value, size);
  return runOrQueue(
      [selector, copy](Channel& channel) { return channel.set(selector, copy.bytes.data()); });
}

// What the Manager knows itself is returned without the call queue, so reading it never waits.
OSErr Channel::getInfo(OSType selector, void* value) {
  if (value == nullptr) return paramErr;
  switch (selector) {
    case soStatus:
      return readStatus(*static_cast<SpeechStatusInfo*>(value));
    case soErrors:
      return readErrors(*static_cast<SpeechErrorInfo*>(value));
    case soRecentSync: {
      const base::ScopedLock held(m_lock);
      std::memcpy(value, &m_recentSync, sizeof m_recentSync);
      return noErr;
    }
    case soCurrentVoice: {
      const base::ScopedLock held(m_lock);
      std::memcpy(value, &m_voice, sizeof m_voice);
      return noErr;
    }
    default:
      return callInTurn([=](const SynthesizerPlugIn& plugIn, SpeechChannelIdentifier identifier) {
        return toClientResult(plugIn.call().getSpeechInfo(identifier, selector, value));
      });
  }
}

OSErr Channel::useDictionary(void* dictionary, long bytes) {
  return callInTurn([=](const SynthesizerPlugIn& plugIn, SpeechChannelIdentifier identifier) {
    return toClientResult(plugIn.call().useDictionary(identifier, dictionary, bytes));
  });
}

void Channel::setStrict(bool isStrict) {
  const base::ScopedLock held(m_lock);
  m_isStrict = isStrict;
}

bool Channel::isStrict() const {
  const base::ScopedLock held(m_lock);
  return m_isStrict;
}

void Channel::setErrorCallback(SpeechErrorCFProcPtr callback) {
  const base::ScopedLock held(m_lock);
  m_callbacks.errorCF = callback;
}

void Channel::setWordCallback(SpeechWordCFProcPtr callback) {
  const base::ScopedLock held(m_lock);
  m_callbacks.wordCF = callback;
}

ClientCallbacks Channel::callbacks() const {
  const base::ScopedLock held(m_lock);
  return m_callbacks;
}

bool Channel::isActive() const {
  const base::ScopedLock held(m_lock);
  return m_phase != Phase::Idle;
}

OSType Channel::creator() const {
  const base::ScopedLock held(m_lock);
  return m_voice.creator;
}

// Runs `work` on the call queue and returns its result. If it must be queued because a stop waits
// for its boundary, returns noErr immediately.
OSErr Channel::runOrQueue(std::function<OSErr(Channel&)> work) {
  // Shared, since queued work outlives this call; its result is not used then.
  const auto result = std::make_shared<OSErr>(OSErr{noErr});
  m_calls.runOrQueue(shared_from_this(),
                     [this, result, work = std::move(work)] { *result = work(*this); });
  return *result;
}

OSErr Channel::readStatus(SpeechStatusInfo& status) const {
  status = {};
  const base::ScopedLock held(m_lock);
  if (m_phase == Phase::Idle) return noErr;
  status.outputPaused = m_paused;
  status.outputBusy = !m_paused;
  constexpr CFIndex kMost = std::numeric_limits<SInt32>::max();
  status.inputBytesLeft = static_cast<SInt32>(std::min(m_text.unitsFrom(m_wordPosition), kMost));
  status.phonemeCode = m_phonemeCode;
  return noErr;
}

// Reading clears the record.
OSErr Channel::readErrors(SpeechErrorInfo& errors) {
  const base::ScopedLock held(m_lock);
  errors = std::exchange(m_errors, {});
  return noErr;
}

OSErr Channel::set(OSType selector, const void* value) const {
  return toClientResult(
      m_plugIn.call().setSpeechInfo(m_identifier, selector, const_cast<void*>(value)));
}

// The synthesizer keeps the trampolines; only the Manager's record changes. `selector` is soRefCon
// or a callback.
OSErr Channel::setCallback(OSType selector, const void* value) {
  const base::ScopedLock held(m_lock);
  switch (selector) {
    case soRefCon:
      m_callbacks.refCon = const_cast<void*>(value);
      break;
    case soTextDoneCallBack:
      m_callbacks.textDone = asFunction<SpeechTextDoneProcPtr>(value);
      break;
    case soSpeechDoneCallBack:
      m_callbacks.speechDone = asFunction<SpeechDoneProcPtr>(value);
      break;
    case soSyncCallBack:
      m_callbacks.sync = asFunction<SpeechSyncProcPtr>(value);
      break;
    case soErrorCallBack:
      m_callbacks.error = asFunction<SpeechErrorProcPtr>(value);
      break;
    case soPhonemeCallBack:
      m_callbacks.phoneme = asFunction<SpeechPhonemeProcPtr>(value);
      break;
    default:
      m_callbacks.word = asFunction<SpeechWordProcPtr>(value);
      break;
  }
  return noErr;
}

// The synthesizer only records delimiters; they are for the adaptation of texts.
OSErr Channel::setDelimiters(const DelimiterInfo& delimiters) {
  const OSErr result = set(soCommandDelimiter, &delimiters);
  if (result != noErr) return result;
  const base::ScopedLock held(m_lock);
  m_delimiters = delimiters;
  return noErr;
}

OSErr Channel::resetSettings() {
  const OSErr result = set(soReset, nullptr);
  if (result != noErr) return result;
  const base::ScopedLock held(m_lock);
  m_delimiters = kUsualDelimiters;
  return noErr;
}

OSErr Channel::setCurrentVoice(const VoiceSpec& spec) {
  const Voice* const voice = VoiceCatalogue::shared().find(spec);
  if (voice == nullptr) return voiceNotFound;
  // A channel belongs to one synthesizer.
  if (voice->spec.creator != creator()) return incompatibleVoice;
  return runOrQueue([voice](Channel& channel) { return channel.useVoice(*voice); });
}

// An unusable path is rejected here: the synthesizer would keep part of it even if it returns an
// error.
OSErr Channel::setOutputFile(CFURLRef url) {
  if (url != nullptr) {
    std::array<UInt8, kLongestPath> path{};
    if (!CFURLGetFileSystemRepresentation(url, true, path.data(), path.size())) return paramErr;
  }
  // The URL must outlive a queued call.
  std::shared_ptr<const void> kept;
  if (url != nullptr) kept.reset(CFRetain(url), CFRelease);
  return runOrQueue(
      [kept](Channel& channel) { return channel.set(soOutputToFileWithCFURL, kept.get()); });
}

}  // namespace platform

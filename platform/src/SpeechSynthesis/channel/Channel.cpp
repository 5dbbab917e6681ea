// SPDX-License-Identifier: Apache-2.0
//
// Channel, first part: opening and closing, voice, settings and state.
#include "SpeechSynthesis/channel/Channel.h"

#include <CoreFoundation/CFURL.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>
#include <utility>

#include "CoreFoundation/CFObject.h"
#include "SpeechSynthesis/calls/Results.h"
#include "SpeechSynthesis/calls/StandardError.h"
#include "SpeechSynthesis/channel/Trampolines.h"
#include "SpeechSynthesis/channel/WritableFile.h"

namespace platform {
namespace {

// Selectors of our synthesizer. Others ignore them. The value is a number instead of a pointer; a
// value other than 0 switches them on.
constexpr OSType kExactPositions = 0x63706F73;  // 'cpos': word positions are bytes of the caller
constexpr OSType kReportErrors = 0x65657272;    // 'eerr': failures during speech are reported
constexpr OSType kOneVoice = 0x31766365;        // '1vce': no other voice for another script
// NOLINTNEXTLINE(performance-no-int-to-ptr)
const void* const kYes = reinterpret_cast<const void*>(std::uintptr_t{1});

// The longest path that a synthesizer accepts, with its NUL.
constexpr std::size_t kLongestPath = 2048;

constexpr double kFixedOne = 65536;

// Index in the numbers that a channel keeps; empty for other selectors.
std::optional<std::size_t> indexOfNumber(OSType selector) {
  switch (selector) {
    case soRate:
      return 0;
    case soPitchBase:
      return 1;
    case soPitchMod:
      return 2;
    case soVolume:
      return 3;
    default:
      return std::nullopt;
  }
}

// Programs that were written for UTF-8 everywhere need not be changed.
Charset charsetOfEnvironment() {
  const char* const name = secure_getenv("KAVREL_TEXT_ENCODING");
  return name != nullptr && std::string_view(name) == "utf-8" ? Charset::Utf8 : Charset::MacRoman;
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
    : m_plugIn(plugIn),
      m_identifier(identifier),
      m_handle(handle),
      m_charset(charsetOfEnvironment()) {
  // Created now, since close() must not fail.
  CallbackThread::shared();
}

OSErr Channel::prepare() {
  // Text-done is missing: the Manager asks for more text itself.
  const struct {
    OSType selector;
    const void* value;
  } settings[] = {{soRefCon, m_handle},
                  {soSpeechDoneCallBack, asValue(trampolines::speechDone)},
                  {soSyncCallBack, asValue(trampolines::sync)},
                  {soErrorCallBack, asValue(trampolines::error)},
                  {soPhonemeCallBack, asValue(trampolines::phoneme)},
                  {soWordCallBack, asValue(trampolines::word)},
                  {kExactPositions, kYes},
                  {kReportErrors, kYes}};
  const base::ScopedLock turn(m_turn);
  // Read, since synthesizers may accept any selector that is set.
  const auto offers = [this](OSType selector) REQUIRES(m_turn) {
    UInt32 offered = 0;
    return get(selector, &offered) == noErr && offered != 0;
  };
  m_stopsWithoutWaiting = offers(kStopAtBoundary);
  m_takesUtf8 = offers(kUtf8Text);
  for (const auto& setting : settings) {
    if (const OSErr result = set(setting.selector, setting.value); result != noErr) return result;
  }
  return noErr;
}

void Channel::close() {
  {
    const base::ScopedLock held(m_lock);
    m_disposed = true;
    becomeIdle();
    // The report holds a reference to this channel, which would never be destroyed.
    m_doneReport.clear();
    m_jobEnded.notifyAll();
  }
  {
    const base::ScopedLock turn(m_turn);
    try {
      m_plugIn.call().closeSpeechChannel(m_identifier);
    } catch (...) {
      // The channel is closed for the client in any case.
      writeException("closing a channel of the synthesizer");
    }
  }
  CallbackThread::shared().waitForReportTo(*this);
}

// The synthesizer first: m_voice is what soCurrentVoice reports, so it must be a voice that was
// accepted.
OSErr Channel::useVoice(const Voice& voice) {
  const base::ScopedLock turn(m_turn);
  const OSErr result = m_plugIn.useVoice(m_identifier, voice);
  if (result != noErr) return result;
  const base::ScopedLock held(m_lock);
  m_voice = voice.spec;
  return noErr;
}

// Callbacks and the reference constant stay in the Manager; everything else goes to the
// synthesizer.
OSErr Channel::setInfo(OSType selector, const void* value) {
  if (indexOfNumber(selector)) {
    Fixed fixed = 0;
    std::memcpy(&fixed, value, sizeof fixed);
    return setNumber(selector, fixed / kFixedOne);
  }
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
    default:
      break;
  }
  const base::ScopedLock turn(m_turn);
  if (selector == soReset) return resetSettings();
  if (selector != soCommandDelimiter) return set(selector, value);
  DelimiterInfo delimiters{};
  std::memcpy(&delimiters, value, sizeof delimiters);
  return setDelimiters(delimiters);
}

// What the Manager knows itself is returned without the synthesizer.
OSErr Channel::getInfo(OSType selector, void* value) {
  if (value == nullptr) return paramErr;
  if (indexOfNumber(selector)) {
    double number = 0;
    const OSErr result = getNumber(selector, number);
    const auto fixed = static_cast<Fixed>(std::lround(number * kFixedOne));
    if (result == noErr) std::memcpy(value, &fixed, sizeof fixed);
    return result;
  }
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
    case kStopAtBoundary:
    case kUtf8Text:
    case kOneVoice:
      // Between the Manager and the synthesizer only.
      return siUnknownInfoType;
    default: {
      const base::ScopedLock turn(m_turn);
      return get(selector, value);
    }
  }
}

OSErr Channel::setNumber(OSType selector, double value) {
  const double scaled = std::round(value * kFixedOne);
  // False for NaN, too.
  const bool fits =
      scaled >= std::numeric_limits<Fixed>::min() && scaled <= std::numeric_limits<Fixed>::max();
  const std::optional<std::size_t> index = indexOfNumber(selector);
  if (!fits || !index) return paramErr;
  const auto fixed = static_cast<Fixed>(scaled);
  const base::ScopedLock turn(m_turn);
  const OSErr result = set(selector, &fixed);
  if (result != noErr) return result;
  const base::ScopedLock held(m_lock);
  m_numbers.at(*index) = value;
  return noErr;
}

// A synthesizer may keep whole numbers only. The number that was set is returned while it differs
// from the synthesizer's by rounding only: another voice may have changed that.
OSErr Channel::getNumber(OSType selector, double& value) {
  const std::optional<std::size_t> index = indexOfNumber(selector);
  if (!index) return paramErr;
  const base::ScopedLock turn(m_turn);
  Fixed fixed = 0;
  const OSErr result = get(selector, &fixed);
  if (result != noErr) return result;
  value = fixed / kFixedOne;
  const base::ScopedLock held(m_lock);
  const std::optional<double>& number = m_numbers.at(*index);
  if (number && std::abs(*number - value) < 1) value = *number;
  return noErr;
}

OSErr Channel::useDictionary(void* dictionary, long bytes) {
  const base::ScopedLock turn(m_turn);
  return toClientResult(m_plugIn.call().useDictionary(m_identifier, dictionary, bytes));
}

void Channel::setStrict(bool isStrict) {
  const base::ScopedLock held(m_lock);
  m_isStrict = isStrict;
}

bool Channel::isStrict() const {
  const base::ScopedLock held(m_lock);
  return m_isStrict;
}

void Channel::setCharset(Charset charset) {
  const base::ScopedLock held(m_lock);
  m_charset = charset;
}

Charset Channel::charset() const {
  const base::ScopedLock held(m_lock);
  return m_charset;
}

OSErr Channel::setOneVoice(bool hasOneVoice) {
  const base::ScopedLock turn(m_turn);
  if (const OSErr result = set(kOneVoice, hasOneVoice ? kYes : nullptr); result != noErr) {
    return result;
  }
  const base::ScopedLock held(m_lock);
  m_hasOneVoice = hasOneVoice;
  return noErr;
}

bool Channel::hasOneVoice() const {
  const base::ScopedLock held(m_lock);
  return m_hasOneVoice;
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

OSErr Channel::readStatus(SpeechStatusInfo& status) const {
  status = {};
  const base::ScopedLock held(m_lock);
  if (m_phase == Phase::Idle) return noErr;
  status.outputPaused = m_paused;
  status.outputBusy = !m_paused;
  constexpr CFIndex kMost = std::numeric_limits<SInt32>::max();
  CFIndex left = m_next.unitsFrom(0);
  if (m_phase == Phase::Speaking) left += m_text.unitsFrom(m_wordPosition);
  status.inputBytesLeft = static_cast<SInt32>(std::min(left, kMost));
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

OSErr Channel::get(OSType selector, void* value) const {
  return toClientResult(m_plugIn.call().getSpeechInfo(m_identifier, selector, value));
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
  m_numbers = {};
  return noErr;
}

OSErr Channel::setCurrentVoice(const VoiceSpec& spec) {
  const Voice* const voice = VoiceCatalogue::shared().find(spec);
  if (voice == nullptr) return voiceNotFound;
  // A channel belongs to one synthesizer.
  if (voice->spec.creator != creator()) return incompatibleVoice;
  return useVoice(*voice);
}

// A file that cannot be written is rejected here: the synthesizer would find out in the next
// speech. It would also keep part of a path that is too long.
OSErr Channel::setOutputFile(CFURLRef url) {
  std::array<char, kLongestPath> path{};
  if (url != nullptr) {
    auto* const bytes = reinterpret_cast<UInt8*>(path.data());
    if (!CFURLGetFileSystemRepresentation(url, true, bytes, path.size())) return paramErr;
    if (const OSErr problem = problemOfFile(path.data()); problem != noErr) return problem;
  }
  const base::ScopedLock turn(m_turn);
  const OSErr result = set(soOutputToFileWithCFURL, url);
  if (result != noErr) return result;
  const base::ScopedLock held(m_lock);
  m_file = path.data();
  return noErr;
}

// Synthesizers report a file that they cannot write as if they were not ready.
OSErr Channel::resultForFile(OSErr result) const {
  if (result != synthNotReady) return result;
  try {
    std::string file;
    {
      const base::ScopedLock held(m_lock);
      file = m_file;
    }
    if (file.empty()) return result;
    const OSErr problem = problemOfFile(file);
    return problem == noErr ? OSErr{ioErr} : problem;
  } catch (...) {
    return resultOfException();
  }
}

}  // namespace platform

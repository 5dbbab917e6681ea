// SPDX-License-Identifier: Apache-2.0
//
// The entry points: each finds its channel, takes the lock and delegates to the channel layer.
// Preparing and converting a text, and the selectors, are here.
#include "KavrelSpeechEngine.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include <pthread.h>

#include "AppleMarkupConverter.h"
#include "AppleSynthesisError.h"
#include "ChannelSupport.h"
#include "SpeechMgrUtils.h"

// Writes a diagnostic line of an entry point. `function` is its name.
#define ENGINE_LINE(above, function, ...) \
  DIAG_LINE(kDiagChannels, above, "KavrelSpeechEngine", function, __VA_ARGS__)

namespace {

// Calls `work` with the open channel of that identifier, under its lock, and returns its result.
// Returns noSynthFound if there is no such channel.
template <typename Work>
long on_channel(SpeechChannelIdentifier ssr, Work work) {
  const ChannelHold hold(ssr);
  if (!hold) return noSynthFound;
  speech_channel* const channel = hold.get();
  const ChannelLock held(channel);
  // Another thread may have closed the channel before this one got the lock.
  if (is_closing(channel)) return noSynthFound;
  // Not written work(channel): clang's lock check would take the wrong argument for `channel`.
  return work.operator()(channel);
}

// A four-character code as text, in reading order on every machine.
class CodeText {
 public:
  explicit CodeText(unsigned long code)
      : m_text{static_cast<char>(code >> 24), static_cast<char>(code >> 16),
               static_cast<char>(code >> 8), static_cast<char>(code), '\0'} {}
  const char* c_str() const { return m_text.data(); }

 private:
  std::array<char, 5> m_text;
};

constexpr OSType kText = 0x54455854;             // "TEXT"
constexpr OSType kPhonemes = 0x50484F4E;         // "PHON"
constexpr OSType kNormal = 0x4E4F524D;           // "NORM"
constexpr OSType kLiteral = 0x4C54524C;          // "LTRL"
constexpr OSType kSynthesizerType = 0x74747363;  // "ttsc"
constexpr OSType kSubType = 0x4B56524C;          // "KVRL"
constexpr OSType kManufacturer = 0x42525644;     // "BRVD"
constexpr std::size_t kPathSize = 2048;

// A quarter of the range of positions, which are signed 32-bit numbers: markup makes a text longer.
constexpr std::size_t kMaxTextBytes = 0x1FFFFFFF;

template <typename Value>
Value& valueAt(void* speechInfo) {
  return *static_cast<Value*>(speechInfo);
}

}  // namespace

// ---- Opening, closing, state

long SEOpenSpeechChannel(SpeechChannelIdentifier* ssr) {
  static std::atomic<SpeechChannelIdentifier> gNextIdentifier{0};
  if (ssr == nullptr) return paramErr;
  // Rationale: the identifier is stored even if the channel cannot be opened.
  const SpeechChannelIdentifier id = ++gNextIdentifier;
  *ssr = id;
  try {
    BuildPhoneTranslationTables();
  } catch (const std::bad_alloc&) {
    return synthOpenFailed;
  }
  ENGINE_LINE(3, "SEOpenSpeechChannel", "Open Channel ID: %d\n", id);
  if (new_channel(id) == nullptr) return synthOpenFailed;
  return noErr;
}

long SECloseSpeechChannel(SpeechChannelIdentifier ssr) {
  const ChannelHold channel(ssr);
  if (!channel) return noSynthFound;
  ENGINE_LINE(3, "SECloseSpeechChannel", "Close Channel ID: %d\n", ssr);
  delete_channel(channel.get());
  return noErr;
}

namespace {

// Position and phoneme are those of the last phoneme event; the engine's thread may change them
// meanwhile.
void get_status(speech_channel* channel, SpeechStatusInfo& status) REQUIRES(channel->lock) {
  status.outputBusy = channel->status == STATUS_BUSY;
  status.outputPaused = channel->status == STATUS_PAUSED;
  status.inputBytesLeft = 0;
  status.phonemeCode = 0;
  if (channel->status == STATUS_BUSY && channel->text != nullptr) {
    const auto length = static_cast<SInt32>(std::strlen(channel->text));
    status.inputBytesLeft = length - load_shared(channel->curr_pos);
    status.phonemeCode = static_cast<SInt16>(load_shared(channel->curr_phoneme));
  }
  // Rationale: "usy" is the line's own wording.
  ENGINE_LINE(3, "SESpeechStatus", "Status paused:%d, usy:%d, bytes left:%ld, phoneme:%d\n",
              status.outputPaused, status.outputBusy, static_cast<long>(status.inputBytesLeft),
              status.phonemeCode);
}

}  // namespace

long SESpeechStatus(SpeechChannelIdentifier ssr, SpeechStatusInfo* status) {
  ENGINE_LINE(3, "SESpeechStatus", "Status Channel ID: %d\n", ssr);
  return on_channel(ssr, [&](speech_channel* channel) REQUIRES(channel->lock) -> long {
    if (status == nullptr) return paramErr;
    get_status(channel, *status);
    return noErr;
  });
}

// ---- Stop, pause, continue

long SEStopSpeechAt(SpeechChannelIdentifier ssr, unsigned long whereToStop) {
  ENGINE_LINE(3, "SEStopSpeechAt", "Stop Channel ID: %d, whereToStop: %d\n", ssr,
              static_cast<int>(whereToStop));
  return on_channel(ssr, [&](speech_channel* channel) REQUIRES(channel->lock) -> long {
    return channel_stop(channel, static_cast<long>(whereToStop));
  });
}

long SEPauseSpeechAt(SpeechChannelIdentifier ssr, unsigned long whereToPause) {
  ENGINE_LINE(3, "SEPauseSpeechAt", "Pause Channel ID: %d, whereToPause: %d\n", ssr,
              static_cast<int>(whereToPause));
  return on_channel(ssr, [&](speech_channel* channel) REQUIRES(channel->lock) -> long {
    return channel_pause(channel, static_cast<long>(whereToPause));
  });
}

long SEContinueSpeech(SpeechChannelIdentifier ssr) {
  ENGINE_LINE(3, "SEContinueSpeech", "Continue Channel ID: %d\n", ssr);
  return on_channel(ssr, [&](speech_channel* channel) REQUIRES(channel->lock) -> long {
    return channel_unpause(channel);
  });
}

long SETextToPhonemes(SpeechChannelIdentifier ssr, char* /*textBuf*/, long /*textBytes*/,
                      void** /*phonemeBuf*/, long* /*phonBytes*/) {
  ENGINE_LINE(3, "SETextToPhonemes", "text2phonemes Channel ID: %d\n", ssr);
  if (!ChannelHold(ssr)) return noSynthFound;
  return noErr;
}

long SEUseDictionary(SpeechChannelIdentifier ssr, void* /*dictionary*/, long /*dictLength*/) {
  ENGINE_LINE(3, "SEUseDictionary", "UseDictionary Channel ID: %d\n", ssr);
  if (!ChannelHold(ssr)) return noSynthFound;
  return noErr;
}

// ---- Speaking

namespace {

// Returns the text up to its length or its NUL, for a diagnostic line.
std::string boundedText(const char* text, long length) {
  if (text == nullptr || length <= 0) return std::string();
  return std::string(text, strnlen(text, static_cast<std::size_t>(length)));
}

// Returns `text`; throws std::bad_alloc if it is null, as the cst allocator reports that.
char* owned_text(char* text) {
  if (text == nullptr) throw std::bad_alloc();
  return text;
}

// The text of one speak while it is gathered. It is not on the channel yet, since a stop or a close
// inside the text-done callback frees the channel's text. Grows by doubling, so that many pieces
// are appended in linear time.
class GatheredText {
 public:
  GatheredText(const char* text, long length)
      : m_text(owned_text(cst_substr(text, 0, text != nullptr ? length : 0))),
        m_length(std::strlen(m_text)),
        m_room(m_length + 1) {}
  ~GatheredText() { free_and_null(m_text); }
  GatheredText(const GatheredText&) = delete;
  GatheredText& operator=(const GatheredText&) = delete;

  void append(const char* more) {
    const std::size_t added = std::strlen(more);
    if (m_length + added + 1 > m_room) makeRoom(2 * (m_length + added + 1));
    std::memcpy(m_text + m_length, more, added + 1);
    m_length += added;
  }

  // Returns the text; the caller frees it with cst_free.
  char* release() { return std::exchange(m_text, nullptr); }

 private:
  void makeRoom(std::size_t room) {
    auto* text = static_cast<char*>(cst_safe_realloc(m_text, room));
    if (text == nullptr) throw std::bad_alloc();
    m_text = text;
    m_room = room;
  }

  char* m_text;
  std::size_t m_length;
  std::size_t m_room;
};

// RAII guard: marks that the text-done callback is being called. The callback may call every entry
// point, but a speak on this channel returns synthNotReady.
class GatheringScope {
 public:
  explicit GatheringScope(bool& gathering) : m_gathering(gathering) { m_gathering = true; }
  ~GatheringScope() { m_gathering = false; }
  GatheringScope(const GatheringScope&) = delete;
  GatheringScope& operator=(const GatheringScope&) = delete;

 private:
  bool& m_gathering;
};

// Appends the texts that the client's text-done callback supplies, until it supplies none.
// Rationale: a text ends at its NUL; the length that the client stores is ignored.
void gather_more_text(speech_channel* channel, GatheredText& text, long controlFlags)
    REQUIRES(channel->lock) {
  const SpeechTextDoneProcPtr text_done = load_shared(channel->cb_text_done);
  if (text_done == nullptr) return;
  const GatheringScope scope(channel->gathering);
  const void* next = nullptr;
  auto flags = static_cast<SInt32>(controlFlags);
  while (true) {
    unsigned long bytes = 0;
    outside(text_done)(client_channel(channel->id), client_refcon(load_shared(channel->refcon)),
                       &next, &bytes, &flags);
    if (next == nullptr) return;
    text.append(static_cast<const char*>(next));
  }
}

// Replaces the channel's text, as the caller wrote it, by the text for the engine, and makes its
// maps. The maps are handed to the channel last, when nothing can fail any more.
void convert_text(speech_channel* channel, AppleMarkupConverter& amc) REQUIRES(channel->lock) {
  if (std::strlen(channel->text) > kMaxTextBytes) throw AppleSynthesisError(INDEX_OUT_OF_RANGE);
  ENGINE_LINE(2, "SESpeakBuffer", "Converting: \"%s\"\n", channel->text);
  PositionMap prepared;
  const bool exact = channel->caller_positions;
  channel->text_is_utf8 = channel->utf8_text;
  const TextForm form = channel->text_is_utf8 ? TextForm::Utf8 : TextForm::MacRoman;
  amc = AppleMarkupConverter(PreprocessText(reinterpret_cast<unsigned char*>(channel->text),
                                            exact ? &prepared : nullptr, form),
                             AppleMarkupConverter::SSML, channel->environment);
  if (channel->text_is_utf8) amc.useUtf8();
  free_and_null(channel->text);
  channel->text = owned_text(cst_strdup(amc.convertedText().c_str()));
  ENGINE_LINE(2, "SESpeakBuffer", "Converted: \"%s\"\n", channel->text);

  std::unique_ptr<OffsetMap> offsets(amc.getOffsets());
  // The first query builds the lists. Later ones come from the engine's thread under a leaf lock,
  // which may be held for a few instructions only.
  offsets->offset(0);
  std::unique_ptr<PositionMap> positions;
  if (exact) positions = std::make_unique<PositionMap>(amc.getPositions().composeAfter(prepared));
  LeafLock held(channel->job_state.leaf);
  channel->text_offsets = offsets.release();
  channel->text_positions = positions.release();
}

// Makes the channel idle without a text: nothing is spoken.
void discard_text(speech_channel* channel) REQUIRES(channel->lock) {
  release_text(channel);
  channel->output_is_file = 0;
  channel->status = STATUS_IDLE;
}

// Gathers, converts and speaks the text. Every way out without a job leaves the channel idle.
long speak_text(speech_channel* channel, AppleMarkupConverter& amc, const char* text, long length,
                long controlFlags) REQUIRES(channel->lock) {
  if (channel->status != STATUS_IDLE || channel->gathering) return synthNotReady;
  try {
    GatheredText gathered(text, length);
    gather_more_text(channel, gathered, controlFlags);
    // The callback may have closed the channel.
    if (is_closing(channel)) {
      discard_text(channel);
      return noSynthFound;
    }
    channel->text = gathered.release();
    convert_text(channel, amc);
  } catch (const AppleSynthesisError&) {
    discard_text(channel);
    return badInputText;
  } catch (...) {
    discard_text(channel);
    throw;
  }
  channel_wait(channel);
  if (channel_speak(channel) == 0) return noErr;
  discard_text(channel);
  return synthNotReady;
}

}  // namespace

long SESpeakBuffer(SpeechChannelIdentifier ssr, Ptr textBuf, long byteLen, long controlFlags) {
  // Made first and destroyed last, outside the lock: freeing a large text takes time.
  AppleMarkupConverter amc;
  ENGINE_LINE(1, "SESpeakBuffer",
              "Speak Channel ID: %d, length: %d, control flags: %x, text:\n%s\n", ssr,
              static_cast<int>(byteLen), static_cast<unsigned int>(controlFlags),
              boundedText(textBuf, byteLen).c_str());
  return on_channel(ssr, [&](speech_channel* channel) REQUIRES(channel->lock) {
    return speak_text(channel, amc, textBuf, byteLen, controlFlags);
  });
}

// ---- Settings

namespace {

void get_version(SpeechVersionInfo& version) {
  version.synthType = kSynthesizerType;
  version.synthSubType = kSubType;
  version.synthManufacturer = kManufacturer;
  version.synthFlags = 0;
  version.synthVersion = {};
  // Rationale: fixed by the plug-in's interface; it does not follow the releases of the project.
  version.synthVersion.majorRev = 4;
  version.synthVersion.minorAndBugRev = 0x04;
  version.synthVersion.stage = 0x80;  // final
}

// Rationale: "soErrors" and "soRecentSync" are accepted and write nothing.
long get_info(speech_channel* channel, unsigned long selector, void* speechInfo)
    REQUIRES(channel->lock) {
  const SpeechMgrEnv environment = channel->environment;
  switch (selector) {
    case soStatus:
      return SESpeechStatus(channel->id, static_cast<SpeechStatusInfo*>(speechInfo));
    case soErrors:
    case soRecentSync:
      return noErr;
    case soInputMode:
      valueAt<OSType>(speechInfo) = environment.speakPhones ? kPhonemes : kText;
      return noErr;
    case soCharacterMode:
      valueAt<OSType>(speechInfo) = environment.spellOut ? kLiteral : kNormal;
      return noErr;
    case soNumberMode:
      valueAt<OSType>(speechInfo) = environment.sayDigits ? kLiteral : kNormal;
      return noErr;
    case soRate:
      ENGINE_LINE(3, "SEGetSpeechInfo", "GetInfo selector soRate: %f\n", environment.wpm);
      valueAt<Fixed>(speechInfo) = Long2Fix(static_cast<long>(environment.wpm));
      return noErr;
    case soPitchBase:
      ENGINE_LINE(3, "SEGetSpeechInfo", "GetInfo selector soPitchBase: %ld\n",
                  environment.pitchBase);
      valueAt<Fixed>(speechInfo) = Long2Fix(environment.pitchBase);
      return noErr;
    case soPitchMod:
      ENGINE_LINE(3, "SEGetSpeechInfo", "GetInfo selector soPitchMod: %ld\n",
                  environment.pitchRange);
      valueAt<Fixed>(speechInfo) = Long2Fix(environment.pitchRange);
      return noErr;
    case soVolume: {
      const Fixed percent = Long2Fix(static_cast<long>(environment.volume));
      ENGINE_LINE(3, "SEGetSpeechInfo", "GetInfo selector soVolume: %f\n", environment.volume);
      valueAt<Fixed>(speechInfo) = FixDiv(percent, Long2Fix(100));
      return noErr;
    }
    case kStopAtBoundary:
    case kUtf8Text:
    case kOneVoice:
      valueAt<UInt32>(speechInfo) = 1;
      return noErr;
    case soSynthType:
      get_version(valueAt<SpeechVersionInfo>(speechInfo));
      return noErr;
    default:
      return siUnknownInfoType;
  }
}

// Sets `flag` to true for the code `on` and to false for `off`; other codes are ignored.
void set_mode(bool& flag, OSType mode, OSType on, OSType off) {
  if (mode == on) flag = true;
  if (mode == off) flag = false;
}

void set_delimiters(SpeechMgrEnv& environment, const DelimiterInfo& delimiters) {
  for (int i = 0; i < 2; ++i) {
    environment.tagStart[i] = static_cast<char>(delimiters.startDelimiter[i]);
    environment.tagEnd[i] = static_cast<char>(delimiters.endDelimiter[i]);
  }
}

// Copies the path of `url`; null ends the output to a file. If the copy fails, `outfile` keeps the
// buffer that was allocated.
long set_output_file(speech_channel* channel, CFURLRef url) REQUIRES(channel->lock) {
  free_and_null(channel->outfile);
  if (url == nullptr) return noErr;
  channel->outfile = static_cast<char*>(cst_safe_alloc(kPathSize));
  if (channel->outfile == nullptr) return paramErr;
  auto* path = reinterpret_cast<UInt8*>(channel->outfile);
  if (!CFURLGetFileSystemRepresentation(url, true, path, kPathSize)) return paramErr;
  return noErr;
}

template <typename Callback>
long set_callback(Callback& field, void* speechInfo) {
  store_shared(field, reinterpret_cast<Callback>(speechInfo));
  return noErr;
}

// The settings proper: converters get a copy of them, so a change does not affect the current text.
long set_value(speech_channel* channel, unsigned long selector, void* speechInfo)
    REQUIRES(channel->lock) {
  SpeechMgrEnv& environment = channel->environment;
  switch (selector) {
    case soRate:
      environment.wpm = static_cast<double>(Fix2Long(valueAt<Fixed>(speechInfo)));
      ENGINE_LINE(3, "SESetSpeechInfo", "SetInfo selector soRate: %f\n", environment.wpm);
      return noErr;
    case soPitchBase:
      environment.pitchBase = Fix2Long(valueAt<Fixed>(speechInfo));
      ENGINE_LINE(3, "SESetSpeechInfo", "SetInfo selector soPitchBase: %ld\n",
                  environment.pitchBase);
      return noErr;
    case soPitchMod:
      environment.pitchRange = Fix2Long(valueAt<Fixed>(speechInfo));
      ENGINE_LINE(3, "SESetSpeechInfo", "SetInfo selector soPitchMod: %ld\n",
                  environment.pitchRange);
      return noErr;
    case soVolume: {
      const Fixed percent = FixMul(valueAt<Fixed>(speechInfo), Long2Fix(100));
      environment.volume = static_cast<double>(Fix2Long(percent));
      ENGINE_LINE(3, "SESetSpeechInfo", "SetInfo selector soVolume: %f\n", environment.volume);
      return noErr;
    }
    case soInputMode:
      set_mode(environment.speakPhones, valueAt<OSType>(speechInfo), kPhonemes, kText);
      return noErr;
    case soCharacterMode:
      set_mode(environment.spellOut, valueAt<OSType>(speechInfo), kLiteral, kNormal);
      return noErr;
    case soNumberMode:
      set_mode(environment.sayDigits, valueAt<OSType>(speechInfo), kLiteral, kNormal);
      return noErr;
    case soCommandDelimiter:
      set_delimiters(environment, valueAt<DelimiterInfo>(speechInfo));
      return noErr;
    case soReset:
      environment = SpeechMgrEnv();
      return SetPitchDefaults(channel->voice, environment, true);
    case soOutputToFileWithCFURL:
      return set_output_file(channel, static_cast<CFURLRef>(speechInfo));
    default:
      // Rationale: unknown selectors are accepted.
      return noErr;
  }
}

// Callbacks and the reference constant: for these `speechInfo` is the value itself, not an address.
// The engine's thread reads them without the lock.
long set_info(speech_channel* channel, unsigned long selector, void* speechInfo)
    REQUIRES(channel->lock) {
  switch (selector) {
    case soTextDoneCallBack:
      return set_callback(channel->cb_text_done, speechInfo);
    case soSpeechDoneCallBack:
      return set_callback(channel->cb_speech_done, speechInfo);
    case soSyncCallBack:
      return set_callback(channel->cb_sync, speechInfo);
    case soErrorCallBack:
      return set_callback(channel->cb_error, speechInfo);
    case soPhonemeCallBack:
      return set_callback(channel->cb_phoneme, speechInfo);
    case soWordCallBack:
      return set_callback(channel->cb_word, speechInfo);
    case soRefCon:
      store_shared(channel->refcon, static_cast<long>(reinterpret_cast<std::intptr_t>(speechInfo)));
      return noErr;
    case kCallerPositions:
      channel->caller_positions = speechInfo != nullptr;
      return noErr;
    case kUtf8Text:
      channel->utf8_text = speechInfo != nullptr;
      return noErr;
    case kOneVoice:
      channel->one_voice = speechInfo != nullptr;
      return noErr;
    case kStopAtBoundary:
      return channel_request_stop(channel,
                                  static_cast<long>(reinterpret_cast<std::intptr_t>(speechInfo)));
    case kEngineErrors:
      store_shared(channel->engine_errors, speechInfo != nullptr ? 1 : 0);
      return noErr;
    default:
      return set_value(channel, selector, speechInfo);
  }
}

}  // namespace

long SEGetSpeechInfo(SpeechChannelIdentifier ssr, unsigned long selector, void* speechInfo) {
  ENGINE_LINE(2, "SEGetSpeechInfo", "GetInfo Channel ID: %d, selector: %.4s\n", ssr,
              CodeText(selector).c_str());
  return on_channel(ssr, [&](speech_channel* channel) REQUIRES(channel->lock) -> long {
    if (speechInfo == nullptr) return paramErr;
    return get_info(channel, selector, speechInfo);
  });
}

long SESetSpeechInfo(SpeechChannelIdentifier ssr, unsigned long selector, void* speechInfo) {
  ENGINE_LINE(2, "SESetSpeechInfo", "SetInfo Channel ID: %d, selector: %.4s\n", ssr,
              CodeText(selector).c_str());
  return on_channel(ssr, [&](speech_channel* channel) REQUIRES(channel->lock) {
    return set_info(channel, selector, speechInfo);
  });
}

// ---- Voice

long SEUseVoice(SpeechChannelIdentifier ssr, VoiceSpec* voice, CFBundleRef inVoiceSpecBundle) {
  ENGINE_LINE(1, "SEUseVoice",
              "Use voice Channel ID: %d, voice creator: %.4s, voice identifier: %.4s, "
              "voice bundle info: ",
              ssr, voice != nullptr ? CodeText(voice->creator).c_str() : "",
              voice != nullptr ? CodeText(voice->id).c_str() : "");
  // Rationale: the line has no line feed; CFShow of the bundle completes it.
  if (inVoiceSpecBundle != nullptr && diagnosticsEnabled(kDiagChannels, 1))
    CFShow(inVoiceSpecBundle);

  const long result = on_channel(ssr, [&](speech_channel* channel) REQUIRES(channel->lock) {
    CFURLRef url = CFBundleCopyBundleURL(inVoiceSpecBundle);
    char* voxdir = get_url_path(url);
    CFRelease(url);
    channel_set_voice(channel, voice, voxdir);
    return SetPitchDefaults(voice, channel->environment, false);
  });
  if (result == noSynthFound) cst_errmsg("SEUseVoice: no channel found for %d\n", ssr);
  return result;
}

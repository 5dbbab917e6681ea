// SPDX-License-Identifier: Apache-2.0
#include "synthesizers/FakeSynthesizer.h"

#include <CoreFoundation/CoreFoundation.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <mutex>
#include <new>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

namespace fake {
namespace {

// A callback of a client with the reference constant to call it with.
template <typename Function>
struct Target {
  Function function = nullptr;
  SRefCon refCon = nullptr;
};

// Selector for a stop at a boundary that does not wait for it.
constexpr OSType kStopAtBoundary = 0x73746264;  // 'stbd'

// Selector for texts in UTF-8.
constexpr OSType kUtf8Text = 0x75746638;  // 'utf8'

SpeechChannel asChannel(SpeechChannelIdentifier identifier) {
  return reinterpret_cast<SpeechChannel>(static_cast<std::intptr_t>(identifier));
}

class Implementation final : public FakeSynthesizer {
 public:
  static Implementation& shared() {
    static Implementation synthesizer;
    return synthesizer;
  }
  ~Implementation() override { Implementation::join(); }

  void reset() override {
    holdEndsOfJobs(false);
    holdStopsAtBoundaries(false);
    const std::lock_guard held(m_lock);
    m_refusesToOpen = false;
    m_stopsWithoutWaiting = true;
    m_takesUtf8 = false;
    m_outcome = SpeakOutcome::Speaks;
  }

  void refuseToOpen(bool refuses) override {
    const std::lock_guard held(m_lock);
    m_refusesToOpen = refuses;
  }

  void setSpeakOutcome(SpeakOutcome outcome) override {
    const std::lock_guard held(m_lock);
    m_outcome = outcome;
  }

  void holdEndsOfJobs(bool holds) override {
    const std::lock_guard held(m_lock);
    m_holdsEnds = holds;
    m_changed.notify_all();
  }

  void holdStopsAtBoundaries(bool holds) override {
    const std::lock_guard held(m_lock);
    m_holdsStops = holds;
    if (holds) return;
    for (const auto& [identifier, record] : m_channels) {
      if (record.stopPending) endJob(identifier);
    }
  }

  void stopWithoutWaiting(bool can) override {
    const std::lock_guard held(m_lock);
    m_stopsWithoutWaiting = can;
  }

  void takeUtf8(bool takes) override {
    const std::lock_guard held(m_lock);
    m_takesUtf8 = takes;
  }

  std::map<SpeechChannelIdentifier, ChannelRecord> channels() override {
    const std::lock_guard held(m_lock);
    return m_channels;
  }

  void confuse(SpeechChannelIdentifier channel) override {
    const std::lock_guard held(m_lock);
    m_channels.at(channel).status = Status::Paused;
  }

  void finish(SpeechChannelIdentifier channel) override {
    const std::lock_guard held(m_lock);
    endJob(channel);
  }

  void sendWord(SpeechChannelIdentifier channel, unsigned long position, UInt16 length) override {
    const auto target = targetOf<SpeechWordProcPtr>(channel, soWordCallBack);
    if (target.function) target.function(asChannel(channel), target.refCon, position, length);
  }

  void sendSync(SpeechChannelIdentifier channel, OSType message) override {
    const auto target = targetOf<SpeechSyncProcPtr>(channel, soSyncCallBack);
    if (target.function) target.function(asChannel(channel), target.refCon, message);
  }

  void sendPhoneme(SpeechChannelIdentifier channel, SInt16 opcode) override {
    const auto target = targetOf<SpeechPhonemeProcPtr>(channel, soPhonemeCallBack);
    if (target.function) target.function(asChannel(channel), target.refCon, opcode);
  }

  void sendError(SpeechChannelIdentifier channel, OSErr error, long position) override {
    const auto target = targetOf<SpeechErrorProcPtr>(channel, soErrorCallBack);
    if (target.function) target.function(asChannel(channel), target.refCon, error, position);
  }

  void join() override {
    std::vector<std::thread> ending;
    {
      const std::lock_guard held(m_lock);
      ending.swap(m_threads);
    }
    for (std::thread& thread : ending) {
      // A callback that closes its channel or speaks again runs on one of these threads.
      if (thread.get_id() != std::this_thread::get_id()) thread.join();
    }
  }

  // ---- Entry points

  long open(SpeechChannelIdentifier* identifier) {
    const std::lock_guard held(m_lock);
    if (m_refusesToOpen) return synthOpenFailed;
    *identifier = ++m_lastIdentifier;
    m_channels[*identifier] = {};
    return noErr;
  }

  long close(SpeechChannelIdentifier identifier) {
    const std::lock_guard held(m_lock);
    return m_channels.erase(identifier) == 1 ? long{noErr} : long{noSynthFound};
  }

  long status(SpeechChannelIdentifier identifier, SpeechStatusInfo* info) {
    return with(identifier, [&](ChannelRecord& record) -> long {
      *info = {record.status == Status::Busy, record.status == Status::Paused, 7, 0};
      return noErr;
    });
  }

  long stop(SpeechChannelIdentifier identifier, unsigned long where) {
    return with(identifier, [&](ChannelRecord& record) -> long {
      record.stops.push_back(where);
      endJob(identifier);
      return noErr;
    });
  }

  long stopAtBoundary(SpeechChannelIdentifier identifier, unsigned long where) {
    return with(identifier, [&](ChannelRecord& record) -> long {
      record.stops.push_back(where);
      record.stopPending = m_holdsStops;
      if (!m_holdsStops) endJob(identifier);
      return noErr;
    });
  }

  long pause(SpeechChannelIdentifier identifier, unsigned long where) {
    return with(identifier, [&](ChannelRecord& record) -> long {
      record.pauses.push_back(where);
      // Rationale: sets Paused even when idle, as synthesizers do; the Manager hides it from
      // clients.
      record.status = Status::Paused;
      return noErr;
    });
  }

  long resume(SpeechChannelIdentifier identifier) {
    return with(identifier, [&](ChannelRecord& record) -> long {
      if (record.status == Status::Paused) record.status = Status::Busy;
      return noErr;
    });
  }

  // The text-done callback runs before the job starts and under no lock, so that it may call the
  // Manager.
  long speak(SpeechChannelIdentifier identifier, const char* text, long bytes, long flags) {
    std::string all(text, static_cast<std::size_t>(bytes));
    const auto more = targetOf<SpeechTextDoneProcPtr>(identifier, soTextDoneCallBack);
    const void* piece = nullptr;
    auto pieceFlags = static_cast<SInt32>(flags);
    while (more.function != nullptr) {
      unsigned long pieceBytes = 0;
      more.function(asChannel(identifier), more.refCon, &piece, &pieceBytes, &pieceFlags);
      if (piece == nullptr) break;
      // Up to the NUL; the count is ignored.
      all += static_cast<const char*>(piece);
    }
    return with(identifier, [&](ChannelRecord& record) -> long {
      if (record.status != Status::Idle) return synthNotReady;
      if (m_outcome == SpeakOutcome::RunsOutOfMemory) throw std::bad_alloc();
      if (m_outcome == SpeakOutcome::Throws) throw std::out_of_range("a text");
      if (m_outcome == SpeakOutcome::RefusesText) return badInputText;
      record.text = all;
      const auto utf8 = record.pointers.find(kUtf8Text);
      record.isUtf8 = utf8 != record.pointers.end() && utf8->second != nullptr;
      record.flags = flags;
      record.status = Status::Busy;
      return noErr;
    });
  }

  long getInfo(SpeechChannelIdentifier identifier, OSType selector, void* value) {
    if (selector == soStatus) return status(identifier, static_cast<SpeechStatusInfo*>(value));
    return with(identifier, [&](ChannelRecord& record) -> long {
      if (selector == soSynthType) {
        *static_cast<SpeechVersionInfo*>(value) = {0x74747363, m_creator, 0x54455354, 0, {}};
        return noErr;
      }
      if ((selector == kStopAtBoundary && m_stopsWithoutWaiting) ||
          (selector == kUtf8Text && m_takesUtf8)) {
        *static_cast<UInt32*>(value) = 1;
        return noErr;
      }
      const auto number = record.numbers.find(selector);
      if (number != record.numbers.end()) {
        *static_cast<Fixed*>(value) = number->second;
        return noErr;
      }
      return selector == soErrors ? long{noErr} : long{siUnknownInfoType};
    });
  }

  // Rationale: an unknown selector is recorded and accepted, as synthesizers do.
  // Fixed-point values are copied, since the caller's variable may be temporary; all other values
  // are recorded as pointers.
  long setInfo(SpeechChannelIdentifier identifier, OSType selector, const void* value) {
    if (selector == kStopAtBoundary) {
      return stopAtBoundary(identifier, reinterpret_cast<std::uintptr_t>(value));
    }
    return with(identifier, [&](ChannelRecord& record) -> long {
      switch (selector) {
        case soInputMode:
        case soCharacterMode:
        case soNumberMode:
        case soRate:
        case soPitchBase:
        case soPitchMod:
        case soVolume:
          record.numbers[selector] = *static_cast<const Fixed*>(value);
          return noErr;
        default:
          record.pointers[selector] = value;
          return noErr;
      }
    });
  }

  long useDictionary(SpeechChannelIdentifier identifier, const void* dictionary, long length) {
    return with(identifier, [&](ChannelRecord& record) -> long {
      record.dictionary.assign(static_cast<const char*>(dictionary),
                               static_cast<std::size_t>(length));
      return noErr;
    });
  }

  long useVoice(SpeechChannelIdentifier identifier, const VoiceSpec* voice, CFBundleRef bundle) {
    std::array<UInt8, 4096> path{};
    CFURLRef const url = CFBundleCopyBundleURL(bundle);
    CFURLGetFileSystemRepresentation(url, true, path.data(), path.size());
    CFRelease(url);
    return with(identifier, [&](ChannelRecord& record) -> long {
      record.voice = *voice;
      record.voicePath = reinterpret_cast<const char*>(path.data());
      return noErr;
    });
  }

 private:
  // Returns the result of `work` for the channel, called under the lock; noSynthFound for an
  // unknown channel.
  template <typename Work>
  long with(SpeechChannelIdentifier identifier, Work work) {
    const std::lock_guard held(m_lock);
    const auto found = m_channels.find(identifier);
    return found == m_channels.end() ? long{noSynthFound} : work(found->second);
  }

  // The client's callback.
  template <typename Function>
  Target<Function> targetOf(SpeechChannelIdentifier identifier, OSType selector) {
    const std::lock_guard held(m_lock);
    const auto found = m_channels.find(identifier);
    if (found == m_channels.end()) return {};
    auto& pointers = found->second.pointers;
    return {reinterpret_cast<Function>(const_cast<void*>(pointers[selector])),
            const_cast<void*>(pointers[soRefCon])};
  }

  // With m_lock: ends the job, if there is one, on a new thread.
  void endJob(SpeechChannelIdentifier identifier) {
    const auto found = m_channels.find(identifier);
    if (found == m_channels.end()) return;
    ChannelRecord& record = found->second;
    if (record.status != Status::Busy && record.status != Status::Paused) return;
    record.status = Status::Closing;
    record.stopPending = false;
    m_threads.emplace_back([this, identifier] { signalDone(identifier); });
  }

  // Runs on a thread of the synthesizer. The channel is idle before the callback, so that the
  // client may speak again inside it.
  void signalDone(SpeechChannelIdentifier identifier) {
    {
      std::unique_lock held(m_lock);
      m_changed.wait(held, [this] { return !m_holdsEnds; });
      const auto found = m_channels.find(identifier);
      if (found == m_channels.end()) return;
      found->second.status = Status::Idle;
    }
    const auto target = targetOf<SpeechDoneProcPtr>(identifier, soSpeechDoneCallBack);
    if (target.function) target.function(asChannel(identifier), target.refCon);
  }

  std::mutex m_lock;
  // With m_lock:
  std::condition_variable m_changed;  // m_holdsEnds has changed
  std::map<SpeechChannelIdentifier, ChannelRecord> m_channels;
  std::vector<std::thread> m_threads;
  SpeechChannelIdentifier m_lastIdentifier = 0;
  SpeakOutcome m_outcome = SpeakOutcome::Speaks;
  bool m_refusesToOpen = false;
  bool m_holdsEnds = false;
  bool m_holdsStops = false;
  bool m_stopsWithoutWaiting = true;
  bool m_takesUtf8 = false;
  const OSType m_creator = FAKE_CREATOR;
};

}  // namespace
}  // namespace fake

using fake::Implementation;

#define ENTRY_POINT extern "C" __attribute__((visibility("default")))

ENTRY_POINT fake::FakeSynthesizer* fakeSynthesizer() {
  return &Implementation::shared();
}

ENTRY_POINT long SEOpenSpeechChannel(SpeechChannelIdentifier* ssr) {
  return Implementation::shared().open(ssr);
}
ENTRY_POINT long SECloseSpeechChannel(SpeechChannelIdentifier ssr) {
  return Implementation::shared().close(ssr);
}
ENTRY_POINT long SESpeechStatus(SpeechChannelIdentifier ssr, SpeechStatusInfo* status) {
  return Implementation::shared().status(ssr, status);
}
ENTRY_POINT long SEStopSpeechAt(SpeechChannelIdentifier ssr, unsigned long whereToStop) {
  return Implementation::shared().stop(ssr, whereToStop);
}
ENTRY_POINT long SEPauseSpeechAt(SpeechChannelIdentifier ssr, unsigned long whereToPause) {
  return Implementation::shared().pause(ssr, whereToPause);
}
ENTRY_POINT long SEContinueSpeech(SpeechChannelIdentifier ssr) {
  return Implementation::shared().resume(ssr);
}
ENTRY_POINT long SETextToPhonemes(SpeechChannelIdentifier /*ssr*/, char* /*textBuf*/,
                                  long /*textBytes*/, void** /*phonemeBuf*/, long* /*phonBytes*/) {
  return noErr;
}
ENTRY_POINT long SEUseDictionary(SpeechChannelIdentifier ssr, void* dictionary, long dictLength) {
  return Implementation::shared().useDictionary(ssr, dictionary, dictLength);
}
ENTRY_POINT long SESpeakBuffer(SpeechChannelIdentifier ssr, Ptr textBuf, long byteLen,
                               long controlFlags) {
  return Implementation::shared().speak(ssr, textBuf, byteLen, controlFlags);
}
ENTRY_POINT long SEGetSpeechInfo(SpeechChannelIdentifier ssr, unsigned long selector,
                                 void* speechInfo) {
  return Implementation::shared().getInfo(ssr, static_cast<OSType>(selector), speechInfo);
}
ENTRY_POINT long SESetSpeechInfo(SpeechChannelIdentifier ssr, unsigned long selector,
                                 void* speechInfo) {
  return Implementation::shared().setInfo(ssr, static_cast<OSType>(selector), speechInfo);
}
ENTRY_POINT long SEUseVoice(SpeechChannelIdentifier ssr, VoiceSpec* voice,
                            CFBundleRef inVoiceSpecBundle) {
  return Implementation::shared().useVoice(ssr, voice, inVoiceSpecBundle);
}

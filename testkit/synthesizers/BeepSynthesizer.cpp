// SPDX-License-Identifier: Apache-2.0
//
// BeepSynthesizer: a small synthesizer plug-in that is independent of the product's. Its voices
// have the creator BEEP. A word is a beep of 10 ms that nobody hears: time passes on a clock, and
// the word callback comes at its start. It follows the rules for synthesizers: it refuses text
// while a channel is not idle, and a channel is idle before its speech-done.
//
// Threads: each job has a thread, which calls the callbacks under no lock.
#include <ApplicationServices/SpeechSynthesis.h>
#include <CoreFoundation/CoreFoundation.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

extern "C" __attribute__((weak, visibility("default"))) bool beepSynthesizerRuns(bool runs);

namespace {

// Scope guards for code of the synthesizer, and for its calls of the Manager.
template <bool kRuns>
class Running {
 public:
  Running() : m_before(tell(kRuns)) {}
  ~Running() { tell(m_before); }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

 private:
  static bool tell(bool runs) {
    return beepSynthesizerRuns != nullptr && beepSynthesizerRuns(runs);
  }
  bool m_before;
};
using Inside = Running<true>;
using Outside = Running<false>;

constexpr OSType kBeep = 0x42454550;
constexpr std::chrono::milliseconds kWordTime{1};
constexpr long kRefused = -1;

class Beeper {
 public:
  ~Beeper() {
    stop();
    const std::lock_guard held(m_turn);
    if (m_thread.joinable()) m_thread.join();
  }

  long speak(std::string text) {
    const std::lock_guard turn(m_turn);
    {
      const std::lock_guard held(m_lock);
      if (m_busy) return synthNotReady;
      m_busy = true;
      m_paused = false;
      m_stopped = false;
    }
    if (m_thread.joinable()) m_thread.join();
    m_thread = std::thread([this, spoken = std::move(text)] { run(spoken); });
    return noErr;
  }

  long stop() {
    const std::lock_guard held(m_lock);
    m_stopped = true;
    m_changed.notify_all();
    return noErr;
  }

  long pause(bool isPaused) {
    const std::lock_guard held(m_lock);
    if (!m_busy) return kRefused;
    m_paused = isPaused;
    m_changed.notify_all();
    return noErr;
  }

  SpeechStatusInfo status() {
    const std::lock_guard held(m_lock);
    return {static_cast<Boolean>(m_busy && !m_paused), static_cast<Boolean>(m_busy && m_paused), 0,
            0};
  }

  void set(OSType selector, const void* value) {
    const std::lock_guard held(m_lock);
    m_values[selector] = value;
  }
  const void* get(OSType selector) {
    const std::lock_guard held(m_lock);
    return m_values[selector];
  }
  template <typename Function>
  Function callback(OSType selector) {
    return reinterpret_cast<Function>(const_cast<void*>(get(selector)));
  }

 private:
  // Beeps for every word, until the end of the text or a stop.
  void run(const std::string& text) {
    const Inside inside;
    const auto refCon = [this] { return const_cast<void*>(get(soRefCon)); };
    constexpr const char* kBlanks = " \t\r\n";
    for (std::size_t begin = text.find_first_not_of(kBlanks); begin != std::string::npos;) {
      const std::size_t end = std::min(text.find_first_of(kBlanks, begin), text.size());
      if (const auto word = callback<SpeechWordProcPtr>(soWordCallBack)) {
        void* const who = refCon();
        const Outside outside;
        word(nullptr, who, begin, static_cast<UInt16>(end - begin));
      }
      std::unique_lock held(m_lock);
      m_changed.wait_for(held, kWordTime, [this] { return m_stopped; });
      m_changed.wait(held, [this] { return m_stopped || !m_paused; });
      if (m_stopped) break;
      begin = text.find_first_not_of(kBlanks, end);
    }
    {
      const std::lock_guard held(m_lock);
      m_busy = false;
    }
    if (const auto done = callback<SpeechDoneProcPtr>(soSpeechDoneCallBack)) {
      void* const who = refCon();
      const Outside outside;
      done(nullptr, who);
    }
  }

  // Of a call that starts or ends a thread. Taken before m_lock.
  std::mutex m_turn;
  std::thread m_thread;
  std::mutex m_lock;
  std::condition_variable m_changed;  // with m_lock: m_paused or m_stopped
  std::map<OSType, const void*> m_values;
  bool m_busy = false;
  bool m_paused = false;
  bool m_stopped = false;
};

std::mutex g_lock;
std::map<SpeechChannelIdentifier, std::shared_ptr<Beeper>> g_beepers;
SpeechChannelIdentifier g_last = 0;

// Returns what `work` returns for an open channel.
template <typename Work>
long with(SpeechChannelIdentifier channel, Work work) {
  const Inside inside;
  std::shared_ptr<Beeper> beeper;
  {
    const std::lock_guard held(g_lock);
    const auto found = g_beepers.find(channel);
    if (found == g_beepers.end()) return noSynthFound;
    beeper = found->second;
  }
  return work(*beeper);
}

}  // namespace

#define ENTRY_POINT extern "C" __attribute__((visibility("default"))) long

ENTRY_POINT SEOpenSpeechChannel(SpeechChannelIdentifier* channel) {
  const Inside inside;
  const std::lock_guard held(g_lock);
  *channel = ++g_last;
  g_beepers[*channel] = std::make_shared<Beeper>();
  return noErr;
}

ENTRY_POINT SECloseSpeechChannel(SpeechChannelIdentifier channel) {
  const Inside inside;
  std::shared_ptr<Beeper> closed;
  {
    const std::lock_guard held(g_lock);
    const auto found = g_beepers.find(channel);
    if (found == g_beepers.end()) return noSynthFound;
    closed = std::move(found->second);
    g_beepers.erase(found);
  }
  return noErr;
}

ENTRY_POINT SESpeechStatus(SpeechChannelIdentifier channel, SpeechStatusInfo* status) {
  return with(channel, [&](Beeper& beeper) -> long {
    *status = beeper.status();
    return noErr;
  });
}

ENTRY_POINT SEStopSpeechAt(SpeechChannelIdentifier channel, unsigned long /*where*/) {
  return with(channel, [](Beeper& beeper) { return beeper.stop(); });
}

ENTRY_POINT SEPauseSpeechAt(SpeechChannelIdentifier channel, unsigned long /*where*/) {
  return with(channel, [](Beeper& beeper) { return beeper.pause(true); });
}

ENTRY_POINT SEContinueSpeech(SpeechChannelIdentifier channel) {
  return with(channel, [](Beeper& beeper) { return beeper.pause(false); });
}

ENTRY_POINT SETextToPhonemes(SpeechChannelIdentifier /*channel*/, char* /*text*/, long /*bytes*/,
                             void** /*phonemes*/, long* /*length*/) {
  return paramErr;
}

ENTRY_POINT SEUseDictionary(SpeechChannelIdentifier /*channel*/, void* /*dictionary*/,
                            long /*length*/) {
  return noErr;
}

ENTRY_POINT SESpeakBuffer(SpeechChannelIdentifier channel, Ptr text, long bytes, long /*flags*/) {
  return with(channel, [&](Beeper& beeper) {
    return beeper.speak(std::string(text, static_cast<std::size_t>(bytes)));
  });
}

// Values that a client has set are kept as they are; only the callbacks have a meaning.
ENTRY_POINT SEGetSpeechInfo(SpeechChannelIdentifier channel, unsigned long selector, void* info) {
  return with(channel, [&](Beeper& /*beeper*/) -> long {
    if (selector != soSynthType) return siUnknownInfoType;
    *static_cast<SpeechVersionInfo*>(info) = {0x74747363, kBeep, 0x54455354, 0, {}};
    return noErr;
  });
}

ENTRY_POINT SESetSpeechInfo(SpeechChannelIdentifier channel, unsigned long selector, void* info) {
  return with(channel, [&](Beeper& beeper) -> long {
    beeper.set(static_cast<OSType>(selector), info);
    return noErr;
  });
}

ENTRY_POINT SEUseVoice(SpeechChannelIdentifier channel, VoiceSpec* voice, CFBundleRef bundle) {
  return with(channel, [&](Beeper& /*beeper*/) -> long {
    return voice->creator == kBeep && bundle != nullptr ? long{noErr} : long{voiceNotFound};
  });
}

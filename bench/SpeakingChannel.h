// SPDX-License-Identifier: Apache-2.0
//
// A channel of the plug-in on the real engine, and the times of what it does. All times are
// wall-clock times, since several threads and processes do the work.
//
// Threads: one thread speaks and waits; the callbacks run on others.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>

#include "KavrelSpeechEngine.h"
#include "WallClock.h"
#include "kavrel_observer.h"

namespace bench {

// Counts events and records the time of the last one.
class Tally {
 public:
  void add() {
    const std::lock_guard held(m_lock);
    m_last = Clock::now();
    ++m_count;
    m_changed.notify_all();
  }
  // Waits for `count` events; returns the time of the last one and starts at 0 again.
  Clock::time_point take(int count) {
    std::unique_lock held(m_lock);
    m_changed.wait(held, [&] { return m_count >= count; });
    m_count = 0;
    return m_last;
  }
  void reset() {
    const std::lock_guard held(m_lock);
    m_count = 0;
  }

 private:
  std::mutex m_lock;
  std::condition_variable m_changed;
  Clock::time_point m_last;
  int m_count = 0;
};

// A channel that speaks to the sound output, or to `file` if it is not null. Only one may exist at
// a time.
class SpeakingChannel {
 public:
  explicit SpeakingChannel(const char* file) {
    SEOpenSpeechChannel(&m_id);
    set(soRefCon, this);
    const SpeechDoneProcPtr done = [](SpeechChannel, SRefCon self) {
      static_cast<SpeakingChannel*>(self)->m_done.add();
    };
    set(soSpeechDoneCallBack, reinterpret_cast<void*>(done));
    const SpeechPhonemeProcPtr phoneme = [](SpeechChannel, SRefCon self, SInt16) {
      auto& channel = *static_cast<SpeakingChannel*>(self);
      if (++channel.m_phonemes == kPhonemeAfterSound) channel.m_sound.add();
    };
    set(soPhonemeCallBack, reinterpret_cast<void*>(phoneme));
    const kavrel_observer_t observe = [](const kavrel_observation* observation, void* self) {
      if (observation->type == KAVREL_EVENT_SENTENCE)
        static_cast<SpeakingChannel*>(self)->m_audio.add();
    };
    kavrel_set_observer(observe, this);
    if (file != nullptr) setOutputFile(file);
  }
  ~SpeakingChannel() {
    SECloseSpeechChannel(m_id);
    kavrel_set_observer(nullptr, nullptr);
  }
  SpeakingChannel(const SpeakingChannel&) = delete;
  SpeakingChannel& operator=(const SpeakingChannel&) = delete;

  bool speak(std::string text) {
    m_phonemes = 0;
    m_sound.reset();
    m_audio.reset();
    return SESpeakBuffer(m_id, text.data(), static_cast<long>(text.size()), 0) == noErr;
  }
  void stop() { SEStopSpeechAt(m_id, kImmediate); }

  // Waits for the time at which the first samples are there, just before they are passed to the
  // output: that of the first sentence's event.
  Clock::time_point waitForAudio() { return m_audio.take(1); }
  // Waits for the second phoneme. A file then has the samples of the first one; on the sound
  // output, speech is under way.
  Clock::time_point waitForSound() { return m_sound.take(1); }
  Clock::time_point waitUntilDone() { return m_done.take(1); }

 private:
  // The first phoneme is reported before its samples are passed on, the second one afterwards.
  static constexpr int kPhonemeAfterSound = 2;

  void set(unsigned long selector, void* value) { SESetSpeechInfo(m_id, selector, value); }

  void setOutputFile(const std::string& path) {
    const CFURLRef url = CFURLCreateFromFileSystemRepresentation(
        nullptr, reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()),
        false);
    set(soOutputToFileWithCFURL, const_cast<void*>(static_cast<const void*>(url)));
    CFRelease(url);
  }

  SpeechChannelIdentifier m_id = 0;
  std::atomic<int> m_phonemes = 0;
  Tally m_sound;
  Tally m_audio;
  Tally m_done;
};

}  // namespace bench

// SPDX-License-Identifier: Apache-2.0
//
// Speech: one text spoken through the Manager, from the beginning to the end.
//
// Threads: used by one thread, but for what is tagged otherwise. The Manager calls back on threads
// of its own.
#pragma once

#include <ApplicationServices/ApplicationServices.h>

#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "SpokenText.h"
#include "base/threads/Mutex.h"
#include "speech/Listener.h"

namespace say {

class Speech {
 public:
  // With that voice, or with the default voice. Throws Failure, as all functions do.
  explicit Speech(std::optional<VoiceSpec> voice);
  ~Speech();
  Speech(const Speech&) = delete;
  Speech& operator=(const Speech&) = delete;

  void setRate(int wordsPerMinute);

  // Into this file instead of the sound output.
  void setOutputFile(const std::string& path);

  // `listener` is told what happens, after those added before it. It outlives the speech.
  void addListener(Listener& listener);

  // Begins to speak. `text` is copied.
  void start(const tool::SpokenText& text);

  // Returns when the speech is over, or when it has been stopped. Throws what a listener threw; the
  // speech has then been stopped. `onTick` is called in between, a few times a second, and may
  // throw, too; it may be empty.
  void waitForEnd(const std::function<void()>& onTick) EXCLUDES(m_lock);

  // Makes waitForEnd() stop the speech. May be called on any thread.
  void stop() EXCLUDES(m_lock);

  // The speech stands still from here on, and goes on. May be called on any thread.
  void pause();
  void resume();

 private:
  static void wordBegins(SpeechChannel, SRefCon self, unsigned long position, UInt16 length);
  static void phonemeBegins(SpeechChannel, SRefCon self, SInt16 code);
  static void syncReached(SpeechChannel, SRefCon self, OSType message);
  static void speechIsDone(SpeechChannel, SRefCon self);

  template <typename Tell>
  void report(Tell tell) noexcept EXCLUDES(m_lock);
  void fail() noexcept EXCLUDES(m_lock);
  void tickUntilOver(const std::function<void()>& onTick) REQUIRES(m_lock);
  bool isOver() const REQUIRES(m_lock) { return m_done || m_stop; }

  SpeechChannel m_channel = nullptr;
  std::vector<Listener*> m_listeners;  // constant while speaking

  base::Mutex m_lock;
  base::Condition m_changed;  // with m_lock: the speech is done, or it is to be stopped
  bool m_done GUARDED_BY(m_lock) = false;
  bool m_stop GUARDED_BY(m_lock) = false;
  std::exception_ptr m_error GUARDED_BY(m_lock);  // what the first failure of a listener threw
};

}  // namespace say

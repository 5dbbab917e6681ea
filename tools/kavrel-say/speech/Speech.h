// SPDX-License-Identifier: Apache-2.0
//
// Speech: speaks one text with the Manager and waits for its end.
//
// Wraps one speech channel: the constructor opens it, the destructor disposes of it. All calls go
// through the Manager's client interface; this is the only class of kavrel-say that speaks.
// Callbacks of the Manager are passed on to listeners. The engine behind the Manager can be
// observed as well, see EngineWatch.h.
//
// Threads: used by one thread; functions tagged [any] are safe on any thread. The Manager calls
// back on threads of its own.
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
  // Opens a channel with that voice, or the default voice. Throws Failure, as all functions do.
  explicit Speech(std::optional<VoiceSpec> voice);
  ~Speech();
  Speech(const Speech&) = delete;
  Speech& operator=(const Speech&) = delete;

  void setRate(int wordsPerMinute);

  // The synthesizer gets texts as they are written; the Manager does not adapt them.
  void setStrict();

  // The voice speaks the whole text, words in other scripts included.
  void setOneVoice();

  // Writes the speech to this AIFF file instead of the sound device.
  void setOutputFile(const std::string& path);

  // Adds a listener; it is called after those added earlier. It outlives the speech. To be called
  // before start().
  void addListener(Listener& listener);

  // Starts to speak and returns. `text` is copied.
  void start(const tool::SpokenText& text);

  // Waits until the speech has ended or has been stopped. Throws the first exception of a listener;
  // the speech has been stopped then. Calls `onTick` four times a second, unless it is empty; an
  // exception of `onTick` counts like one of a listener.
  void waitForEnd(const std::function<void()>& onTick) EXCLUDES(m_lock);

  // Makes waitForEnd() stop the speech. Does not wait.  [any]
  void stop() EXCLUDES(m_lock);

  // Pauses immediately, and continues.  [any]
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
  base::Condition m_changed;  // with m_lock: m_done or m_stop became true
  bool m_done GUARDED_BY(m_lock) = false;
  bool m_stop GUARDED_BY(m_lock) = false;
  std::exception_ptr m_error GUARDED_BY(m_lock);  // the first exception of a listener
};

}  // namespace say

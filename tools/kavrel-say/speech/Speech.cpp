// SPDX-License-Identifier: Apache-2.0
#include "speech/Speech.h"

#include <chrono>

#include "Failure.h"
#include "base/threads/Clock.h"

namespace say {
namespace {

// How long a speech that was stopped is waited for.
constexpr std::chrono::seconds kEndLimit{5};
constexpr std::chrono::milliseconds kTick{250};

std::string meaning(OSErr result) {
  switch (result) {
    case memFullErr:
      return "memory is out";
    case noSynthFound:
      return "the synthesizer cannot be loaded";
    case synthOpenFailed:
      return "the synthesizer cannot be opened";
    case voiceNotFound:
      return "there is no voice";
    case incompatibleVoice:
      return "the voice belongs to another synthesizer";
    case synthNotReady:
      return "the synthesizer cannot speak now";
    case badInputText:
      return "a speech command in it has no place there, or a phoneme is not known; kavrel-ssml "
             "shows where, and --plain carries out no command";
    default:
      return "error " + std::to_string(result);
  }
}

void check(OSErr result, const char* what) {
  if (result != noErr) throw tool::Failure(what + (": " + meaning(result)));
}

template <typename Function>
const void* asValue(Function* function) {
  return reinterpret_cast<const void*>(function);
}

}  // namespace

Speech::Speech(std::optional<VoiceSpec> voice) {
  check(NewSpeechChannel(voice ? &*voice : nullptr, &m_channel), "cannot speak");
  SetSpeechInfo(m_channel, soRefCon, this);
  SetSpeechInfo(m_channel, soSpeechDoneCallBack, asValue(speechIsDone));
}

Speech::~Speech() {
  DisposeSpeechChannel(m_channel);
}

void Speech::setRate(int wordsPerMinute) {
  check(SetSpeechRate(m_channel, wordsPerMinute * 65536), "cannot set the rate");
}

void Speech::setOutputFile(const std::string& path) {
  const CFURLRef url =
      CFURLCreateFromFileSystemRepresentation(nullptr, reinterpret_cast<const UInt8*>(path.data()),
                                              static_cast<CFIndex>(path.size()), false);
  const OSErr result =
      url == nullptr ? OSErr{paramErr} : SetSpeechInfo(m_channel, soOutputToFileWithCFURL, url);
  if (url != nullptr) CFRelease(url);
  if (result != noErr) throw tool::Failure("cannot write " + path);
}

void Speech::addListener(Listener& listener) {
  m_listeners.push_back(&listener);
  SetSpeechInfo(m_channel, soWordCallBack, asValue(wordBegins));
  SetSpeechInfo(m_channel, soPhonemeCallBack, asValue(phonemeBegins));
  SetSpeechInfo(m_channel, soSyncCallBack, asValue(syncReached));
}

void Speech::start(const tool::SpokenText& text) {
  // An empty text would speak nothing and never be done.
  const std::string& bytes = text.macRoman();
  const std::string_view spoken = bytes.empty() ? std::string_view(" ") : bytes;
  check(SpeakBuffer(m_channel, spoken.data(), spoken.size(), 0), "the text cannot be spoken");
}

void Speech::waitForEnd(const std::function<void()>& onTick) {
  const base::ScopedLock held(m_lock);
  if (onTick) tickUntilOver(onTick);
  while (!isOver()) m_changed.wait(m_lock);
  if (!m_done) {
    {
      const base::ScopedUnlock released(m_lock);
      StopSpeech(m_channel);
    }
    const base::Clock::time_point limit = base::Clock::now() + kEndLimit;
    while (!m_done && m_changed.waitUntil(m_lock, limit)) {
    }
  }
  if (m_error) std::rethrow_exception(m_error);
}

// Returns when the speech is over. Ticks run without the lock, since they may stop the speech.
void Speech::tickUntilOver(const std::function<void()>& onTick) {
  while (true) {
    const base::Clock::time_point tick = base::Clock::now() + kTick;
    while (!isOver() && m_changed.waitUntil(m_lock, tick)) {
    }
    if (isOver()) return;
    const base::ScopedUnlock released(m_lock);
    try {
      onTick();
    } catch (...) {
      fail();
    }
  }
}

void Speech::stop() {
  const base::ScopedLock held(m_lock);
  m_stop = true;
  m_changed.notifyAll();
}

void Speech::pause() {
  PauseSpeechAt(m_channel, kImmediate);
}

void Speech::resume() {
  ContinueSpeech(m_channel);
}

void Speech::wordBegins(SpeechChannel /*channel*/, SRefCon self, unsigned long position,
                        UInt16 length) {
  static_cast<Speech*>(self)->report([=](Listener& to) { to.word(position, length); });
}

void Speech::phonemeBegins(SpeechChannel /*channel*/, SRefCon self, SInt16 code) {
  static_cast<Speech*>(self)->report([=](Listener& to) { to.phoneme(code); });
}

void Speech::syncReached(SpeechChannel /*channel*/, SRefCon self, OSType message) {
  static_cast<Speech*>(self)->report([=](Listener& to) { to.sync(message); });
}

void Speech::speechIsDone(SpeechChannel /*channel*/, SRefCon self) {
  auto& speech = *static_cast<Speech*>(self);
  speech.report([](Listener& to) { to.done(); });
  const base::ScopedLock held(speech.m_lock);
  speech.m_done = true;
  speech.m_changed.notifyAll();
}

// Nobody is told anything more after one has failed: the speech is to be stopped.
template <typename Tell>
void Speech::report(Tell tell) noexcept {
  {
    const base::ScopedLock held(m_lock);
    if (m_error) return;
  }
  try {
    for (Listener* const listener : m_listeners) tell(*listener);
  } catch (...) {
    fail();
  }
}

// To be called where an exception is being handled.
void Speech::fail() noexcept {
  const base::ScopedLock held(m_lock);
  if (!m_error) m_error = std::current_exception();
  m_stop = true;
  m_changed.notifyAll();
}

}  // namespace say

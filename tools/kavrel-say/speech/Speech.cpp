// SPDX-License-Identifier: Apache-2.0
#include "speech/Speech.h"

#include <chrono>

#include "Failure.h"
#include "base/threads/Clock.h"

namespace say {
namespace {

// How long waitForEnd() waits for the end of a stopped speech.
constexpr std::chrono::seconds kEndLimit{5};
constexpr std::chrono::milliseconds kTick{250};

// Returns the meaning of a Manager result for users; the number for an unexpected one.
std::string meaningOf(OSErr result) {
  switch (result) {
    case memFullErr:
      return "out of memory";
    case noSynthFound:
      return "the synthesizer cannot be loaded";
    case synthOpenFailed:
      return "the synthesizer cannot be opened";
    case voiceNotFound:
      return "the voice cannot be found";
    case incompatibleVoice:
      return "the voice belongs to another synthesizer";
    case synthNotReady:
      return "the synthesizer is not ready";
    case badInputText:
      return "a speech command is not allowed at its position, or a phoneme is unknown; "
             "kavrel-ssml "
             "shows the position, --plain ignores all commands";
    default:
      return "error " + std::to_string(result);
  }
}

void check(OSErr result, const char* what) {
  if (result != noErr) throw tool::Failure(what + (": " + meaningOf(result)));
}

template <typename Function>
const void* asValue(Function* function) {
  return reinterpret_cast<const void*>(function);
}

}  // namespace

Speech::Speech(std::optional<VoiceSpec> voice) {
  check(NewSpeechChannel(voice ? &*voice : nullptr, &m_channel), "cannot speak");
  // Callbacks receive this object as their reference constant.
  SetSpeechInfo(m_channel, soRefCon, this);
  SetSpeechInfo(m_channel, soSpeechDoneCallBack, asValue(speechIsDone));
  SetSpeechProperty(m_channel, kSpeechTextEncodingProperty, kSpeechTextEncodingUTF8);
}

Speech::~Speech() {
  DisposeSpeechChannel(m_channel);
}

void Speech::setRate(int wordsPerMinute) {
  constexpr int kFixedOne = 65536;
  check(SetSpeechRate(m_channel, wordsPerMinute * kFixedOne), "cannot set the rate");
}

void Speech::setStrict() {
  check(SetSpeechProperty(m_channel, kSpeechStrictTextProperty, kCFBooleanTrue),
        "cannot switch the adaptation of texts off");
}

void Speech::setOneVoice() {
  check(SetSpeechProperty(m_channel, kSpeechOneVoiceProperty, kCFBooleanTrue),
        "cannot keep other voices out");
}

// The Manager reports only that the file cannot be written; AudioTarget has found the usual reasons
// before.
void Speech::setOutputFile(const std::string& path) {
  const CFURLRef url =
      CFURLCreateFromFileSystemRepresentation(nullptr, reinterpret_cast<const UInt8*>(path.data()),
                                              static_cast<CFIndex>(path.size()), false);
  const OSErr result =
      url == nullptr ? OSErr{paramErr} : SetSpeechInfo(m_channel, soOutputToFileWithCFURL, url);
  if (url != nullptr) CFRelease(url);
  if (result != noErr) throw tool::Failure("cannot write " + path);
}

// The callbacks are set only if there is a listener: without them the Manager does less work.
void Speech::addListener(Listener& listener) {
  m_listeners.push_back(&listener);
  SetSpeechInfo(m_channel, soWordCallBack, asValue(wordBegins));
  SetSpeechInfo(m_channel, soPhonemeCallBack, asValue(phonemeBegins));
  SetSpeechInfo(m_channel, soSyncCallBack, asValue(syncReached));
}

void Speech::start(const tool::SpokenText& text) {
  // The Manager never reports the end of an empty text.
  const std::string& bytes = text.spoken();
  const std::string_view spoken = bytes.empty() ? std::string_view(" ") : bytes;
  check(SpeakBuffer(m_channel, spoken.data(), spoken.size(), 0), "cannot speak the text");
}

// The speech is stopped here rather than in stop() or fail(): these run on signal and callback
// threads, where a call that waits for the engine could deadlock. The wait for the end after a stop
// is bounded, so that a stuck engine does not keep the program.
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

// The last callback. Listeners come first: waitForEnd() must not return before they are done.
void Speech::speechIsDone(SpeechChannel /*channel*/, SRefCon self) {
  auto& speech = *static_cast<Speech*>(self);
  speech.report([](Listener& to) { to.done(); });
  const base::ScopedLock held(speech.m_lock);
  speech.m_done = true;
  speech.m_changed.notifyAll();
}

// Passes an event to the listeners. After a failure none is called: the speech is about to be
// stopped. No exception may reach the Manager.
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

// Keeps the current exception for waitForEnd(). To be called inside a catch block.
void Speech::fail() noexcept {
  const base::ScopedLock held(m_lock);
  if (!m_error) m_error = std::current_exception();
  m_stop = true;
  m_changed.notifyAll();
}

}  // namespace say

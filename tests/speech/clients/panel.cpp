// SPDX-License-Identifier: Apache-2.0
//
// The usual panel of speaking programs, with "Speak", "Pause", "Continue" and "Stop", pressed in
// every order. Speaks in real time, in silence without a sound device.
#include <ApplicationServices/ApplicationServices.h>

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>

namespace {

void check(OSErr result, const char* what) {
  if (result == noErr) return;
  std::fprintf(stderr, "%s: %d\n", what, result);
  std::exit(1);
}

class Panel {
 public:
  Panel() {
    check(NewSpeechChannel(nullptr, &m_channel), "new channel");
    check(SetSpeechInfo(m_channel, soRefCon, this), "refcon");
    install(soWordCallBack, onWord);
    install(soSpeechDoneCallBack, onDone);
    check(SetSpeechRate(m_channel, Long2Fix(400)), "rate");
  }
  ~Panel() { check(DisposeSpeechChannel(m_channel), "dispose"); }
  Panel(const Panel&) = delete;
  Panel& operator=(const Panel&) = delete;

  void speak(const std::string& text, SInt32 flags = 0) {
    check(SpeakBuffer(m_channel, text.data(), text.size(), flags), "speak");
    show("speak");
  }
  void pause(SInt32 where) {
    check(PauseSpeechAt(m_channel, where), "pause");
    show("pause");
  }
  void resume() {
    check(ContinueSpeech(m_channel), "continue");
    show("continue");
  }
  void stop(SInt32 where) {
    check(StopSpeechAt(m_channel, where), "stop");
    show("stop");
  }
  void waitForWords(int count) {
    std::unique_lock held(m_lock);
    m_changed.wait(held, [&] { return m_words >= count; });
  }
  void waitForEnd() {
    {
      std::unique_lock held(m_lock);
      m_changed.wait(held, [&] { return m_done > 0; });
      std::printf("done %d\n", m_done);
      m_done = 0;
      m_words = 0;
    }
    show("then");
  }

 private:
  template <typename Function>
  void install(OSType selector, Function* function) {
    check(SetSpeechInfo(m_channel, selector, reinterpret_cast<void*>(function)), "callback");
  }

  // The state of the buttons.
  void show(const char* pressed) const {
    SpeechStatusInfo status{};
    check(GetSpeechInfo(m_channel, soStatus, &status), "status");
    std::printf("%-8s busy %d paused %d%s\n", pressed, status.outputBusy, status.outputPaused,
                status.inputBytesLeft > 0 ? ", text left" : "");
  }

  static void onWord(SpeechChannel /*channel*/, SRefCon self, unsigned long /*position*/,
                     UInt16 /*length*/) {
    auto& panel = *static_cast<Panel*>(self);
    const std::lock_guard held(panel.m_lock);
    ++panel.m_words;
    panel.m_changed.notify_all();
  }
  static void onDone(SpeechChannel /*channel*/, SRefCon self) {
    auto& panel = *static_cast<Panel*>(self);
    const std::lock_guard held(panel.m_lock);
    ++panel.m_done;
    panel.m_changed.notify_all();
  }

  SpeechChannel m_channel = nullptr;
  std::mutex m_lock;
  std::condition_variable m_changed;
  int m_words = 0;
  int m_done = 0;
};

}  // namespace

int main() {
  const std::string text =
      "These are a few words in a sentence. This is another one, and it is there to be stopped.";
  Panel panel;
  panel.pause(kImmediate);  // nothing to pause
  panel.resume();
  panel.stop(kImmediate);

  panel.speak(text);
  panel.waitForWords(2);
  panel.pause(kEndOfWord);
  panel.pause(kImmediate);
  panel.resume();
  panel.waitForWords(3);
  panel.stop(kEndOfWord);
  panel.waitForEnd();

  panel.speak(text, kPreflightThenPause);
  panel.resume();
  panel.waitForWords(1);
  panel.pause(kImmediate);
  panel.stop(kEndOfSentence);
  panel.waitForEnd();

  panel.speak("And this is the end.");
  panel.waitForEnd();
  return 0;
}

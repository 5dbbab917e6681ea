// SPDX-License-Identifier: Apache-2.0
//
// What clients rely on: one test for each behaviour that the Manager adds to a synthesizer's.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <set>
#include <thread>

#include <gmock/gmock.h>

#include "ManagerFixture.h"

namespace {

using namespace manager;
using testing::Each;
using testing::ElementsAre;

// A latch at which a callback waits until the test opens it.
class Door {
 public:
  void pass() {
    std::unique_lock held(m_lock);
    m_reached = true;
    m_changed.notify_all();
    m_changed.wait(held, [this] { return m_open; });
  }
  void waitUntilReached() {
    std::unique_lock held(m_lock);
    m_changed.wait(held, [this] { return m_reached; });
  }
  void open() {
    const std::lock_guard held(m_lock);
    m_open = true;
    m_changed.notify_all();
  }

 private:
  std::mutex m_lock;
  std::condition_variable m_changed;
  bool m_reached = false;
  bool m_open = false;
};

using ManagerBehaviour = Manager;

TEST_F(ManagerBehaviour, NewTextStopsTheOldAtOnceUnlessForbidden) {
  installAll();
  ASSERT_EQ(speak("one"), noErr);
  EXPECT_EQ(speak("two", kNoSpeechInterrupt), synthNotReady);
  EXPECT_EQ(record().text, "one");
  EXPECT_EQ(speak("two"), noErr);
  EXPECT_THAT(record().stops, ElementsAre(kImmediate));
  EXPECT_EQ(record().text, "two");
  EXPECT_EQ(SpeakText(m_channel, "three", 5), noErr);
  EXPECT_EQ(record().text, "three");
  letCallbacksPass();
  EXPECT_THAT(m_reports.lines(), ElementsAre("done", "done"));
}

TEST_F(ManagerBehaviour, NullOrEmptyTextStopsTheChannel) {
  installAll();
  for (const bool isNull : {true, false}) {
    ASSERT_EQ(speak("one"), noErr);
    EXPECT_EQ(SpeakText(m_channel, isNull ? nullptr : "two", isNull ? 3 : 0), noErr);
    EXPECT_EQ(SpeechBusy(), 0);
    letCallbacksPass();
  }
  EXPECT_EQ(SpeakText(m_channel, nullptr, 0), noErr);
  EXPECT_EQ(record().text, "one");
  EXPECT_THAT(m_reports.lines(), ElementsAre("done", "done"));
}

TEST_F(ManagerBehaviour, TextMayBeFreedWhenTheCallReturns) {
  auto text = std::make_unique<char[]>(3);
  std::memcpy(text.get(), "one", 3);
  ASSERT_EQ(SpeakBuffer(m_channel, text.get(), 3, kPreflightThenPause), noErr);
  std::memcpy(text.get(), "!!!", 3);
  text.reset();
  ASSERT_EQ(ContinueSpeech(m_channel), noErr);
  EXPECT_EQ(record().text, "one");
}

TEST_F(ManagerBehaviour, WordPositionsAreInOrderAndInsideTheCallersBuffer) {
  installAll();
  const std::string text("one\0two three", 13);
  ASSERT_EQ(speak(text), noErr);
  EXPECT_EQ(record().text, "one two three");
  synthesizer().sendWord(m_identifier, 4, 3);
  synthesizer().sendWord(m_identifier, 2, 2);
  synthesizer().sendWord(m_identifier, 8, 60'000);
  synthesizer().sendWord(m_identifier, 5'000'000'000, 3);
  ASSERT_TRUE(m_reports.wait(4));
  ASSERT_EQ(speak("four"), noErr);
  synthesizer().sendWord(m_identifier, 0, 4);
  ASSERT_TRUE(m_reports.wait(6));
  EXPECT_THAT(m_reports.lines(),
              ElementsAre("word 4+3", "word 4+2", "word 8+5", "word 13+0", "done", "word 0+4"));
}

TEST_F(ManagerBehaviour, CallbacksRunOnOneThreadOfTheManagerUnderNoLock) {
  installAll();
  ASSERT_EQ(speak("one two"), noErr);
  std::vector<std::string> said;
  m_reports.inside = [&](const std::string& line) {
    // Any call is allowed here; none of these blocks.
    EXPECT_NE(status(), "");
    EXPECT_EQ(SetSpeechRate(m_channel, Long2Fix(200)), noErr);
    EXPECT_EQ(PauseSpeechAt(m_channel, kEndOfWord), noErr);
    EXPECT_EQ(ContinueSpeech(m_channel), noErr);
    SpeechChannel other = nullptr;
    EXPECT_EQ(NewSpeechChannel(nullptr, &other), noErr);
    EXPECT_EQ(DisposeSpeechChannel(other), noErr);
    said.push_back(line);
  };
  synthesizer().sendWord(m_identifier, 0, 3);
  synthesizer().sendPhoneme(m_identifier, 18);
  synthesizer().sendSync(m_identifier, 1);
  synthesizer().sendError(m_identifier, badInputText, 5);
  synthesizer().finish(m_identifier);
  ASSERT_TRUE(m_reports.wait(5));
  EXPECT_THAT(m_reports.lines(),
              ElementsAre("word 0+3", "phoneme 18", "sync 1", "error -247 at 5", "done"));
  const std::vector<std::thread::id> threads = m_reports.threads();
  EXPECT_EQ(std::set<std::thread::id>(threads.begin(), threads.end()).size(), 1U);
  EXPECT_THAT(threads, Each(testing::Ne(std::this_thread::get_id())));
}

TEST_F(ManagerBehaviour, ASlowCallbackDoesNotDelaySpeech) {
  installAll();
  Door door;
  m_reports.inside = [&](const std::string& line) {
    if (line == "word 0+3") door.pass();
  };
  ASSERT_EQ(speak("one two"), noErr);
  synthesizer().sendWord(m_identifier, 0, 3);
  door.waitUntilReached();
  synthesizer().sendWord(m_identifier, 4, 3);
  synthesizer().finish(m_identifier);
  synthesizer().join();
  EXPECT_EQ(SpeechBusy(), 0);
  EXPECT_EQ(speak("next"), noErr);
  door.open();
  ASSERT_TRUE(m_reports.wait(3));
  EXPECT_THAT(m_reports.lines(), ElementsAre("word 0+3", "word 4+3", "done"));
}

TEST_F(ManagerBehaviour, AStopReportsSpeechDoneOncePerJobAndDropsQueuedEvents) {
  installAll();
  Door door;
  m_reports.inside = [&](const std::string& line) {
    if (line == "word 0+3") door.pass();
  };
  ASSERT_EQ(speak("one two"), noErr);
  synthesizer().sendWord(m_identifier, 0, 3);
  door.waitUntilReached();
  synthesizer().sendWord(m_identifier, 4, 3);
  synthesizer().sendSync(m_identifier, 5);
  EXPECT_EQ(StopSpeech(m_channel), noErr);
  EXPECT_EQ(StopSpeech(m_channel), noErr);
  door.open();
  ASSERT_TRUE(m_reports.wait(2));
  letCallbacksPass();
  EXPECT_THAT(m_reports.lines(), ElementsAre("word 0+3", "done"));
}

TEST_F(ManagerBehaviour, ALateSpeechDoneIsNotAttributedToTheNextJob) {
  installAll();
  ASSERT_EQ(speak("one"), noErr);
  synthesizer().holdEndsOfJobs(true);
  ASSERT_EQ(StopSpeech(m_channel), noErr);
  EXPECT_EQ(status(), "idle, 0 left");
  std::jthread speaking([&] { EXPECT_EQ(speak("two"), noErr); });
  synthesizer().holdEndsOfJobs(false);
  speaking.join();
  letCallbacksPass();
  EXPECT_EQ(status(), "busy, 3 left");
  EXPECT_THAT(m_reports.lines(), ElementsAre("done"));
}

TEST_F(ManagerBehaviour, NoCallbackRunsAfterDisposeHasReturned) {
  installAll();
  Door door;
  m_reports.inside = [&](const std::string& /*line*/) { door.pass(); };
  ASSERT_EQ(speak("one two"), noErr);
  synthesizer().sendWord(m_identifier, 0, 3);
  door.waitUntilReached();
  synthesizer().sendWord(m_identifier, 4, 3);
  std::atomic<bool> isDisposed = false;
  std::jthread disposing([&] {
    EXPECT_EQ(DisposeSpeechChannel(m_channel), noErr);
    isDisposed = true;
    // The callback that was running has returned.
    EXPECT_THAT(m_reports.lines(), ElementsAre("word 0+3"));
  });
  // For all other threads the channel is closed at once.
  while (StopSpeech(m_channel) != invalidComponentID) std::this_thread::yield();
  EXPECT_FALSE(isDisposed);
  door.open();
  disposing.join();
  m_channel = nullptr;
  letCallbacksPass();
  EXPECT_THAT(m_reports.lines(), ElementsAre("word 0+3"));
}

TEST_F(ManagerBehaviour, NoCallbackRunsAfterTheCallbackThatDisposed) {
  installAll();
  m_reports.inside = [&](const std::string& /*line*/) {
    EXPECT_EQ(DisposeSpeechChannel(m_channel), noErr);
  };
  Door door;
  ASSERT_EQ(speak("one two"), noErr);
  synthesizer().sendWord(m_identifier, 0, 3);
  synthesizer().sendWord(m_identifier, 4, 3);
  ASSERT_TRUE(m_reports.wait(1));
  letCallbacksPass();
  m_channel = nullptr;
  EXPECT_THAT(m_reports.lines(), ElementsAre("word 0+3"));
}

TEST_F(ManagerBehaviour, AChannelMayBeDisposedInsideItsSpeechDone) {
  installAll();
  m_reports.inside = [&](const std::string& line) {
    EXPECT_EQ(line, "done");
    EXPECT_EQ(DisposeSpeechChannel(m_channel), noErr);
  };
  ASSERT_EQ(speak("one"), noErr);
  synthesizer().finish(m_identifier);
  ASSERT_TRUE(m_reports.wait(1));
  EXPECT_EQ(StopSpeech(m_channel), invalidComponentID);
  m_channel = nullptr;
}

TEST_F(ManagerBehaviour, APausedChannelKeepsItsBytesLeftAndCountsAsBusy) {
  EXPECT_EQ(status(), "idle, 0 left");
  ASSERT_EQ(speak("one two three"), noErr);
  EXPECT_EQ(status(), "busy, 13 left");
  synthesizer().sendWord(m_identifier, 4, 3);
  EXPECT_EQ(status(), "busy, 9 left");
  ASSERT_EQ(PauseSpeechAt(m_channel, kImmediate), noErr);
  EXPECT_EQ(status(), "paused, 9 left");
  EXPECT_EQ(SpeechBusy(), 1);
  EXPECT_EQ(SpeechBusySystemWide(), 1);
  ASSERT_EQ(ContinueSpeech(m_channel), noErr);
  EXPECT_EQ(status(), "busy, 9 left");
  ASSERT_EQ(StopSpeech(m_channel), noErr);
  EXPECT_EQ(status(), "idle, 0 left");
  EXPECT_EQ(SpeechBusy(), 0);
}

TEST_F(ManagerBehaviour, ErrorsAndRecentSyncFillTheirRecords) {
  SpeechErrorInfo errors = {1, 2, 3, 4, 5};
  EXPECT_EQ(GetSpeechInfo(m_channel, soErrors, &errors), noErr);
  const SpeechErrorInfo none{};
  EXPECT_EQ(std::memcmp(&errors, &none, sizeof none), 0);
  OSType last = 5;
  EXPECT_EQ(GetSpeechInfo(m_channel, soRecentSync, &last), noErr);
  EXPECT_EQ(last, 0U);

  ASSERT_EQ(speak("one two"), noErr);
  synthesizer().sendSync(m_identifier, 0x41424344);
  synthesizer().sendError(m_identifier, badInputText, 3);
  synthesizer().sendError(m_identifier, paramErr, 5);
  EXPECT_EQ(GetSpeechInfo(m_channel, soRecentSync, &last), noErr);
  EXPECT_EQ(last, 0x41424344U);
  EXPECT_EQ(GetSpeechInfo(m_channel, soErrors, &errors), noErr);
  const SpeechErrorInfo both = {2, badInputText, 3, paramErr, 5};
  EXPECT_EQ(std::memcmp(&errors, &both, sizeof both), 0);
  EXPECT_EQ(GetSpeechInfo(m_channel, soErrors, &errors), noErr);
  EXPECT_EQ(std::memcmp(&errors, &none, sizeof none), 0);
}

TEST_F(ManagerBehaviour, AStopAtABoundaryReturnsAtOnce) {
  installAll();
  ASSERT_EQ(speak("one two three"), noErr);
  synthesizer().holdStopsAtBoundaries(true);
  EXPECT_EQ(StopSpeechAt(m_channel, kEndOfSentence), noErr);
  EXPECT_EQ(SpeechBusy(), 1);
  // Words up to the boundary are still reported.
  synthesizer().sendWord(m_identifier, 4, 3);
  ASSERT_TRUE(m_reports.wait(1));
  EXPECT_EQ(status(), "busy, 9 left");
  synthesizer().holdStopsAtBoundaries(false);
  ASSERT_TRUE(m_reports.wait(2));
  EXPECT_THAT(m_reports.lines(), ElementsAre("word 4+3", "done"));
  EXPECT_EQ(SpeechBusy(), 0);
}

TEST_F(ManagerBehaviour, CurrentVoiceSwitchesTheVoiceOfTheSameSynthesizer) {
  EXPECT_EQ(SetSpeechInfo(m_channel, soCurrentVoice, &kMaren), noErr);
  EXPECT_EQ(record().voicePath, VOICES_DIR "/Maren.SpeechVoice");
  VoiceSpec current{};
  EXPECT_EQ(GetSpeechInfo(m_channel, soCurrentVoice, &current), noErr);
  EXPECT_EQ(OSType{current.id}, kMaren.id);
  const VoiceSpec unknown = {kCreator, 9999};
  EXPECT_EQ(SetSpeechInfo(m_channel, soCurrentVoice, &unknown), voiceNotFound);
  const VoiceSpec foreign = {0x4F544852, 7};
  EXPECT_EQ(GetVoiceDescription(&foreign, nullptr, 0), noErr);
  EXPECT_EQ(SetSpeechInfo(m_channel, soCurrentVoice, &foreign), incompatibleVoice);
  EXPECT_EQ(OSType{record().voice.id}, kMaren.id);
}

TEST_F(ManagerBehaviour, VoiceDescriptionsAreCutToTheLengthAndZeroAfterTheirStrings) {
  VoiceDescription whole;
  std::memset(&whole, 0xEE, sizeof whole);
  ASSERT_EQ(GetVoiceDescription(nullptr, &whole, 5000), noErr);
  EXPECT_EQ(SInt32{whole.length}, 362);
  EXPECT_EQ(OSType{whole.voice.id}, kCorin.id);
  for (std::size_t i = whole.name[0] + 1U; i < sizeof whole.name; ++i) {
    EXPECT_EQ(whole.name[i], 0) << i;
  }
  for (std::size_t i = whole.comment[0] + 1U; i < sizeof whole.comment; ++i) {
    EXPECT_EQ(whole.comment[i], 0) << i;
  }
  VoiceDescription part;
  std::memset(&part, 0xEE, sizeof part);
  ASSERT_EQ(GetVoiceDescription(&kMaren, &part, 20), noErr);
  EXPECT_EQ(SInt32{part.length}, 20);
  EXPECT_EQ(part.name[4], 0xEE);
  EXPECT_EQ(GetVoiceDescription(&kMaren, nullptr, 0), noErr);
}

TEST_F(ManagerBehaviour, VoicesCountFromOneAndInvalidNumbersLeaveTheSpecUnchanged) {
  SInt16 count = 0;
  ASSERT_EQ(CountVoices(&count), noErr);
  VoiceSpec voice = {1, 2};
  for (const int index : {0, -1, count + 1, 32767}) {
    EXPECT_EQ(GetIndVoice(static_cast<SInt16>(index), &voice), voiceNotFound) << index;
    EXPECT_EQ(OSType{voice.creator}, 1U);
    EXPECT_EQ(OSType{voice.id}, 2U);
  }
  EXPECT_EQ(GetIndVoice(1, &voice), noErr);
}

TEST_F(ManagerBehaviour, BytesLeftCountTheCallersBytes) {
  // The synthesizer reports 7 bytes of its own text.
  ASSERT_EQ(speak("[[rate 200]]Q&A one"), noErr);
  EXPECT_EQ(status(), "busy, 19 left");
  synthesizer().sendWord(m_identifier, 16, 3);
  EXPECT_EQ(status(), "busy, 3 left");
}

TEST_F(ManagerBehaviour, StringsAreSpokenInMacRomanAndRangesAreTheStrings) {
  installAll();
  // An em dash, an ellipsis, a letter that Mac OS Roman lacks, a character above U+FFFF.
  CFStringRef string = CFStringCreateWithCString(
      nullptr, "caf\xC3\xA9 \xE2\x80\x94 \xC5\xBC\xC3\xB3\xC5\x82w \xF0\x9F\x98\x80 end",
      kCFStringEncodingUTF8);
  ASSERT_EQ(SpeakCFString(m_channel, string, nullptr), noErr);
  EXPECT_EQ(record().text, "caf\x8E \xD1 z\x97lw   end");
  synthesizer().sendWord(m_identifier, 0, 4);
  synthesizer().sendWord(m_identifier, 7, 4);
  synthesizer().sendWord(m_identifier, 14, 3);
  ASSERT_TRUE(m_reports.wait(3));
  EXPECT_THAT(m_reports.lines(), ElementsAre("word 0+4", "word 7+4", "word 15+3"));
  EXPECT_EQ(status(), "busy, 3 left");
  CFRelease(string);
}

TEST_F(ManagerBehaviour, AnInvalidChannelIsRejectedAndHarmless) {
  SpeechChannel disposed = nullptr;
  ASSERT_EQ(NewSpeechChannel(nullptr, &disposed), noErr);
  ASSERT_EQ(DisposeSpeechChannel(disposed), noErr);
  // NOLINTNEXTLINE(performance-no-int-to-ptr): any value may come in
  auto* const random = reinterpret_cast<SpeechChannel>(std::uintptr_t{0x1234567});
  for (SpeechChannel const channel : {SpeechChannel{nullptr}, disposed, random}) {
    EXPECT_EQ(SpeakText(channel, "one", 3), invalidComponentID);
    EXPECT_EQ(DisposeSpeechChannel(channel), invalidComponentID);
  }
  EXPECT_EQ(NewSpeechChannel(nullptr, nullptr), paramErr);
}

TEST_F(ManagerBehaviour, CallsAddLittleToTheTimeToTheFirstWord) {
  // The time to the first sample depends on the synthesizer. The Manager's part: a word event
  // reaches the client directly from the synthesizer's thread, and no later event is needed for it.
  installAll();
  ASSERT_EQ(speak("one two"), noErr);
  synthesizer().sendWord(m_identifier, 0, 3);
  ASSERT_TRUE(m_reports.wait(1));
  EXPECT_EQ(record().status, Status::Busy);
  EXPECT_THAT(m_reports.lines(), ElementsAre("word 0+3"));
}

}  // namespace

// SPDX-License-Identifier: Apache-2.0
//
// Synthesiser processes that stand still (SIGSTOP) in the middle of a call: no call of the engine,
// the plug-in or the Manager waits for them, and jobs end with all their words.
//
// The limits that are documented are tighter than the one here, which tells a call that waits for a
// process from one that does not, on any machine. The time that was needed is recorded as a
// property of the test.
#include <ApplicationServices/ApplicationServices.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "KavrelSpeechEngine.h"
#include "speakers/ChannelSpeaker.h"
#include "speakers/PortSpeaker.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kAtOnce(1000);
// After this time the engine gives a process up.
constexpr milliseconds kSilence(5000);

// A second sentence is begun while the first is heard, so a process is always needed again.
constexpr const char* kText = "One. Two three four five. Six. Seven eight.";

milliseconds timeOf(const std::function<void()>& action) {
  const auto began = Clock::now();
  action();
  const auto time = std::chrono::duration_cast<milliseconds>(Clock::now() - began);
  testing::Test::RecordProperty("milliseconds", static_cast<int>(time.count()));
  return time;
}

// Sends a signal to all processes that run this build's kavrel-synth. Returns how many there are.
int signalAll(int signal) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string name = entry.path().filename().string();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    std::ifstream file(entry.path() / "cmdline");
    std::string program;
    std::getline(file, program, '\0');
    if (!program.ends_with("/kavrel-synth")) continue;
    // The engine's path has a "..".
    std::error_code failure;
    const bool isOurs = std::filesystem::equivalent(program, KAVREL_SYNTH, failure);
    if (isOurs && ::kill(std::stoi(name), signal) == 0) ++count;
  }
  return count;
}

// The job is in the middle of a call when this returns.
void suspendAll() {
  EXPECT_GT(signalAll(SIGSTOP), 0);
  std::this_thread::sleep_for(milliseconds(400));
}

class StoppedSynth : public testing::Test {
 protected:
  ~StoppedSynth() override { signalAll(SIGCONT); }

  void speakUntilItStops(test::Speaker& speaker) {
    ASSERT_EQ(speaker.speak(kText), KAVREL_SUCCESS);
    speaker.waitFor(KAVREL_EVENT_WORD);
    suspendAll();
  }
  void speakUntilItStops(speech::Speaker& speaker) {
    ASSERT_EQ(speaker.speak(kText), noErr);
    ASSERT_TRUE(speaker.waitForWords(1));
    suspendAll();
  }
};

void stopAndWait(test::Speaker& speaker) {
  kavrel_port_stop(speaker.port(), nullptr, KAVREL_EVENT_NOW);
  EXPECT_EQ(kavrel_port_wait(speaker.port(), nullptr), KAVREL_SUCCESS);
}

}  // namespace

// ---- Engine

TEST_F(StoppedSynth, AJobEndsWithAllItsWords) {
  test::Speaker speaker;
  speakUntilItStops(speaker);
  EXPECT_LT(timeOf([&] { kavrel_port_wait(speaker.port(), nullptr); }), 3 * kSilence);
  EXPECT_EQ(speaker.events(KAVREL_EVENT_WORD).size(), 8U);
  EXPECT_TRUE(speaker.events(KAVREL_EVENT_ERROR).empty());
}

TEST_F(StoppedSynth, APortStopsAtOnce) {
  test::Speaker speaker;
  speakUntilItStops(speaker);
  EXPECT_LT(timeOf([&] { stopAndWait(speaker); }), kAtOnce);
}

TEST_F(StoppedSynth, AJobForAFileStopsAtOnce) {
  const test::Folder folder;
  test::Speaker speaker(folder.path("speech.aiff"), KAVREL_EVENT_WORD);
  std::string text;
  for (int count = 0; count < 2000; ++count) text += kText;
  ASSERT_EQ(speaker.speak(text), KAVREL_SUCCESS);
  speaker.waitFor(KAVREL_EVENT_WORD);
  suspendAll();
  EXPECT_LT(timeOf([&] { stopAndWait(speaker); }), kAtOnce);
}

TEST_F(StoppedSynth, APortPausesAndClosesAtOnce) {
  test::Speaker speaker;
  speakUntilItStops(speaker);
  EXPECT_LT(timeOf([&] { kavrel_port_pause(speaker.port(), nullptr, KAVREL_EVENT_NOW); }), kAtOnce);
  EXPECT_LT(timeOf([&] { kavrel_port_close(speaker.release()); }), kAtOnce);
}

// The process that a stop has left in the middle of a call is given up by the next job.
TEST_F(StoppedSynth, TheNextJobDoesNotWaitForIt) {
  test::Speaker speaker;
  speakUntilItStops(speaker);
  stopAndWait(speaker);
  EXPECT_LT(timeOf([&] {
              ASSERT_EQ(speaker.speak("One."), KAVREL_SUCCESS);
              speaker.waitFor(KAVREL_EVENT_WORD, 2);
            }),
            kAtOnce);
}

// ---- Plug-in

TEST_F(StoppedSynth, AChannelStopsPausesAndClosesAtOnce) {
  speech::Speaker speaker;
  speakUntilItStops(speaker);
  SpeechStatusInfo status{};
  EXPECT_LT(timeOf([&] { SESpeechStatus(speaker.id(), &status); }), kAtOnce);
  EXPECT_LT(timeOf([&] { SEPauseSpeechAt(speaker.id(), kImmediate); }), kAtOnce);
  EXPECT_LT(timeOf([&] { SEContinueSpeech(speaker.id()); }), kAtOnce);
  EXPECT_LT(timeOf([&] { SEStopSpeechAt(speaker.id(), kImmediate); }), kAtOnce);
  EXPECT_TRUE(speaker.waitForDone());
}

TEST_F(StoppedSynth, AChannelThatSpeaksClosesAtOnce) {
  speech::Speaker speaker;
  speakUntilItStops(speaker);
  EXPECT_LT(timeOf([&] { speaker.close(); }), kAtOnce);
}

// ---- Manager

TEST_F(StoppedSynth, AClientsCallsReturnAtOnce) {
  SpeechChannel channel = nullptr;
  ASSERT_EQ(NewSpeechChannel(nullptr, &channel), noErr);
  const std::string text = kText;
  ASSERT_EQ(SpeakBuffer(channel, text.data(), text.size(), 0), noErr);
  std::this_thread::sleep_for(milliseconds(300));
  suspendAll();
  EXPECT_LT(timeOf([] { SpeechBusy(); }), kAtOnce);
  EXPECT_LT(timeOf([&] { PauseSpeechAt(channel, kImmediate); }), kAtOnce);
  EXPECT_LT(timeOf([&] { ContinueSpeech(channel); }), kAtOnce);
  EXPECT_LT(timeOf([&] { StopSpeech(channel); }), kAtOnce);
  ASSERT_EQ(SpeakBuffer(channel, text.data(), text.size(), 0), noErr);
  std::this_thread::sleep_for(milliseconds(300));
  suspendAll();
  EXPECT_LT(timeOf([&] { DisposeSpeechChannel(channel); }), kAtOnce);
}

// ---- The process

TEST(StoppedSynthProcess, AProcessMayExitWhileItSpeaks) {
  const pid_t child = fork();
  if (child == 0) {
    auto* const speaker = new test::Speaker;
    speaker->speak(kText);
    speaker->waitFor(KAVREL_EVENT_WORD);
    suspendAll();
    alarm(1);
    std::exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  signalAll(SIGCONT);
}

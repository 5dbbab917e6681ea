// SPDX-License-Identifier: Apache-2.0
//
// The Manager during exit and fork in the middle of speech. Each case runs in a child process with
// a time limit.
#include <chrono>
#include <csignal>
#include <cstdlib>

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include "ManagerFixture.h"
#include "processes/LeakCheck.h"

namespace {

using namespace manager;

// Runs `work` in a child. Returns its exit status, or 1000 plus the signal that killed it (SIGALRM
// when it hangs).
template <typename Work>
int inChild(Work work) {
  const pid_t child = fork();
  if (child == 0) {
    alarm(60);
    processes::turnOffLeakCheck();
    work();
    _exit(99);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

// A speaking channel that reports to `reports`.
SpeechChannel speaking(Reports& reports) {
  SpeechChannel channel = nullptr;
  NewSpeechChannel(nullptr, &channel);
  reports.expected = channel;
  SetSpeechInfo(channel, soRefCon, &reports);
  SetSpeechInfo(channel, soWordCallBack, reinterpret_cast<const void*>(onWord));
  SetSpeechInfo(channel, soSpeechDoneCallBack, reinterpret_cast<const void*>(onDone));
  SpeakText(channel, "one two", 7);
  return channel;
}

SpeechChannelIdentifier newest() {
  return synthesizer().channels().rbegin()->first;
}

TEST(ManagerProcess, ExitsCleanlyWhileItSpeaks) {
  EXPECT_EQ(inChild([] {
              Reports reports;
              speaking(reports);
              synthesizer().sendWord(newest(), 0, 3);
              if (reports.wait(1)) std::exit(7);
            }),
            7);
}

TEST(ManagerProcess, ExitsInsideACallback) {
  EXPECT_EQ(inChild([] {
              Reports reports;
              reports.inside = [](const std::string&) { std::exit(8); };
              speaking(reports);
              synthesizer().sendWord(newest(), 0, 3);
              pause();
            }),
            8);
}

TEST(ManagerProcess, ExitsWhileACallbackHangs) {
  EXPECT_EQ(inChild([] {
              Reports reports;
              reports.inside = [](const std::string&) { pause(); };
              speaking(reports);
              synthesizer().sendWord(newest(), 0, 3);
              std::exit(9);
            }),
            9);
}

TEST_F(Manager, GivesAForkedChildNoChannelsAndItsOwnCallbackThread) {
  installAll();
  ASSERT_EQ(speak("one"), noErr);
  synthesizer().finish(m_identifier);
  ASSERT_TRUE(m_reports.wait(1));
  synthesizer().join();
  EXPECT_EQ(inChild([&] {
              if (StopSpeech(m_channel) != invalidComponentID) _exit(1);
              Reports reports;
              SpeechChannel const own = speaking(reports);
              if (own == nullptr || own == m_channel) _exit(2);
              synthesizer().finish(newest());
              if (!reports.wait(1)) _exit(3);
              DisposeSpeechChannel(own);
              std::exit(10);
            }),
            10);
  EXPECT_EQ(speak("two"), noErr);
}

TEST_F(Manager, BlocksSignalsOnItsThread) {
  installAll();
  sigset_t seen;
  sigemptyset(&seen);
  m_reports.inside = [&](const std::string&) { pthread_sigmask(SIG_BLOCK, nullptr, &seen); };
  ASSERT_EQ(speak("one"), noErr);
  synthesizer().sendWord(m_identifier, 0, 3);
  ASSERT_TRUE(m_reports.wait(1));
  EXPECT_TRUE(sigismember(&seen, SIGINT));
  EXPECT_TRUE(sigismember(&seen, SIGALRM));
}

TEST(SpeakString, SpeaksOnAChannelThatIsDisposedAutomatically) {
  synthesizer().reset();
  ASSERT_EQ(SpeakString(reinterpret_cast<ConstStringPtr>("\5Hello and more")), noErr);
  ASSERT_EQ(synthesizer().channels().size(), 1U);
  EXPECT_EQ(synthesizer().channels().begin()->second.text, "Hello");
  ASSERT_EQ(SpeakString(reinterpret_cast<ConstStringPtr>("\3one")), noErr);
  ASSERT_EQ(synthesizer().channels().size(), 1U);
  EXPECT_EQ(synthesizer().channels().begin()->second.text, "one");
  synthesizer().finish(newest());
  while (!synthesizer().channels().empty()) std::this_thread::yield();
  EXPECT_EQ(SpeakString(nullptr), noErr);
  ASSERT_EQ(SpeakString(reinterpret_cast<ConstStringPtr>("\3two")), noErr);
  EXPECT_EQ(SpeakString(reinterpret_cast<ConstStringPtr>("")), noErr);
  EXPECT_TRUE(synthesizer().channels().empty());
  synthesizer().setSpeakOutcome(SpeakOutcome::RefusesText);
  EXPECT_EQ(SpeakString(reinterpret_cast<ConstStringPtr>("\3two")), badInputText);
  EXPECT_TRUE(synthesizer().channels().empty());
  synthesizer().reset();
  synthesizer().join();
}

}  // namespace

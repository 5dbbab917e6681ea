// SPDX-License-Identifier: Apache-2.0
//
// One synthesiser process: the real one speaks, and the scripted one does everything wrong.
#include "synth/synth_process.h"

#include <csignal>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/threads/Clock.h"
#include "synth/synth_program.h"

namespace {

using base::Clock;
using kavrel::SynthProcess;
using std::chrono::milliseconds;
using Result = SynthProcess::Result;
using Started = SynthProcess::Started;

constexpr const char* kText =
    "\x01"
    "1M one \x01"
    "2M two ";

SynthProcess::Limits shortLimits() {
  SynthProcess::Limits limits;
  limits.start = milliseconds(3000);
  limits.silence = milliseconds(1000);
  return limits;
}

kavrel::synth_protocol::Speak call(std::string text) {
  return {180, 50, 50, 0, std::move(text)};
}

// What a call to a fresh scripted process comes to.
Result resultOf(const std::string& text) {
  SynthProcess process(KAVREL_SCRIPTED_SYNTH, shortLimits());
  std::string why;
  EXPECT_EQ(process.start("any", {}, why), Started::Ready) << why;
  SynthProcess::Speech speech;
  const Clock::time_point begin = Clock::now();
  const Result result = process.speak(call(text), {}, speech, why);
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(10));
  EXPECT_EQ(process.isUsable(), result == Result::Done);
  EXPECT_EQ(why.empty(), result == Result::Done);
  return result;
}

Started startOf(const std::string& voice, const std::string& program = KAVREL_SCRIPTED_SYNTH) {
  SynthProcess::Limits limits = shortLimits();
  limits.start = milliseconds(voice == "no-ready" ? 300 : 3000);
  SynthProcess process(program, limits);
  std::string why;
  const Started started = process.start(voice, {}, why);
  EXPECT_FALSE(why.empty());
  EXPECT_FALSE(process.isUsable());
  return started;
}

}  // namespace

TEST(SynthProcess, SpeaksASentenceWithTheRealProgram) {
  SynthProcess process(kavrel::synthProgram(), {});
  std::string why;
  ASSERT_EQ(process.start("en-us", {}, why), Started::Ready) << why;
  SynthProcess::Speech first;
  SynthProcess::Speech second;
  ASSERT_EQ(process.speak(call(kText), {}, first, why), Result::Done) << why;
  EXPECT_GT(first.samples.size(), 5000u);
  std::vector<int> marks;
  for (const auto& event : first.events) {
    if (event.mark > 0) marks.push_back(event.mark);
  }
  EXPECT_EQ(marks, (std::vector<int>{1, 2}));
  // The same call gives the same samples, whatever was spoken before.
  ASSERT_EQ(process.speak(call("something else"), {}, second, why), Result::Done) << why;
  ASSERT_EQ(process.speak(call(kText), {}, second, why), Result::Done) << why;
  EXPECT_EQ(first.samples, second.samples);
  EXPECT_TRUE(process.isUsable());
}

TEST(SynthProcess, OfTheRealProgramIsProtected) {
  SynthProcess process(kavrel::synthProgram(), {});
  std::string why;
  ASSERT_EQ(process.start("en-us", {}, why), Started::Ready) << why;
  using Ready = kavrel::synth_protocol::Ready;
  // Landlock is not in every kernel, and sanitizers need other system calls.
  std::uint32_t optional = Ready::kLandlock;
  if (KAVREL_SANITIZED) optional |= Ready::kSystemCalls;
  EXPECT_EQ(process.missingProtections() & ~optional, 0u);
}

TEST(SynthProcess, KnowsNoVoiceThatTheProgramDoesNotKnow) {
  EXPECT_EQ(startOf("xx-none", kavrel::synthProgram()), Started::NoVoice);
  EXPECT_EQ(startOf("en-us+none", kavrel::synthProgram()), Started::NoVoice);
  EXPECT_EQ(startOf("no-language"), Started::NoVoice);
}

TEST(SynthProcess, DoesNotStartWithoutReady) {
  EXPECT_EQ(startOf("no-ready"), Started::Failed);
  EXPECT_EQ(startOf("bad-ready"), Started::Failed);
  EXPECT_EQ(startOf("give-up"), Started::Failed);
  EXPECT_EQ(startOf("any", "/nowhere/kavrel-synth"), Started::Failed);
}

TEST(SynthProcess, KnowsAStartThatWasEndedFromOutside) {
  EXPECT_EQ(startOf("kill"), Started::Killed);
  EXPECT_EQ(startOf("exit"), Started::Killed);
  // What was started ends before it detaches.
  EXPECT_EQ(startOf("any", "/bin/false"), Started::Failed);
}

TEST(SynthProcess, SpeaksWithTheScriptedProgram) {
  EXPECT_EQ(resultOf(kText), Result::Done);
}

TEST(SynthProcess, TellsHowAProcessFailed) {
  EXPECT_EQ(resultOf("a CRASH"), Result::Crashed);
  EXPECT_EQ(resultOf("a QUIT"), Result::Crashed);
  EXPECT_EQ(resultOf("a HALF"), Result::Crashed);
  EXPECT_EQ(resultOf("a TERM"), Result::Killed);
  EXPECT_EQ(resultOf("a GARBAGE"), Result::Garbage);
  EXPECT_EQ(resultOf("a COUNTS"), Result::Garbage);
  EXPECT_EQ(resultOf("a CALL"), Result::Garbage);
  EXPECT_EQ(resultOf("a NOEND"), Result::Silent);
  EXPECT_EQ(resultOf("a STOP"), Result::Silent);
  EXPECT_EQ(resultOf("a SPIN"), Result::Silent);
}

TEST(SynthProcess, TakesNoMoreSoundThanItsLimit) {
  SynthProcess::Limits limits = shortLimits();
  limits.samples = 150;
  SynthProcess process(KAVREL_SCRIPTED_SYNTH, limits);
  std::string why;
  ASSERT_EQ(process.start("any", {}, why), Started::Ready) << why;
  SynthProcess::Speech speech;
  EXPECT_EQ(process.speak(call("one"), {}, speech, why), Result::Done) << why;
  EXPECT_EQ(process.speak(call("one two"), {}, speech, why), Result::Garbage);
}

// The next call waits for the end of the cancelled one; a process that does not end it is left.
TEST(SynthProcess, LeavesACancelledCallAtOnce) {
  for (const bool deaf : {false, true}) {
    SynthProcess::Limits limits = shortLimits();
    limits.cancel = milliseconds(1200);
    SynthProcess process(KAVREL_SCRIPTED_SYNTH, limits);
    std::string why;
    ASSERT_EQ(process.start("any", {}, why), Started::Ready) << why;
    const Clock::time_point begin = Clock::now();
    const auto cancelled = [begin] { return Clock::now() - begin > milliseconds(100); };
    SynthProcess::Speech speech;
    EXPECT_EQ(process.speak(call(deaf ? "DEAF" : "SLOW"), cancelled, speech, why),
              Result::Cancelled);
    EXPECT_LT(Clock::now() - begin, milliseconds(900));
    EXPECT_TRUE(process.isUsable());
    EXPECT_EQ(process.speak(call(kText), {}, speech, why), deaf ? Result::Killed : Result::Done)
        << why;
    EXPECT_EQ(process.isUsable(), !deaf);
    EXPECT_EQ(speech.samples.size(), deaf ? 0U : 200U);
  }
}

TEST(SynthProcess, GivesUpAStartThatIsCancelled) {
  SynthProcess process(KAVREL_SCRIPTED_SYNTH, {});
  std::string why;
  const Clock::time_point begin = Clock::now();
  const auto cancelled = [begin] { return Clock::now() - begin > milliseconds(50); };
  EXPECT_EQ(process.start("no-ready", cancelled, why), Started::Cancelled);
  EXPECT_LT(Clock::now() - begin, milliseconds(1500));
}

TEST(SynthProcess, IsNoChildOfTheHost) {
  SynthProcess process(kavrel::synthProgram(), {});
  std::string why;
  ASSERT_EQ(process.start("en-us", {}, why), Started::Ready) << why;
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

TEST(SynthProcess, StartsInAHostThatIgnoresItsChildren) {
  const auto old = std::signal(SIGCHLD, SIG_IGN);
  SynthProcess process(kavrel::synthProgram(), {});
  std::string why;
  EXPECT_EQ(process.start("en-us", {}, why), Started::Ready) << why;
  std::signal(SIGCHLD, old);
}

TEST(SynthProcess, NoticesThatTheHostHasClosedEverything) {
  // In a child, since the test needs its own descriptors.
  const pid_t child = ::fork();
  if (child == 0) {
    bool good = false;
    {
      SynthProcess process(KAVREL_SCRIPTED_SYNTH, shortLimits());
      std::string why;
      good = process.start("any", {}, why) == Started::Ready && process.isUsable();
      for (int file = 3; file < 256; ++file) ::close(file);
      // The host opens files of its own under the same numbers.
      int pipes[2];
      for (int i = 0; i < 20; ++i) good = ::pipe(pipes) == 0 && good;
      good = good && !process.isUsable();
    }
    int pipes[2];
    // All are still open: the lowest free number is above them.
    good = ::pipe(pipes) == 0 && pipes[0] == 43 && good;
    ::_exit(good ? 0 : 1);
  }
  int status = 1;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

// A worker that has been taken over must not get the texts of later calls.
TEST(SynthProcess, SendsNoCallWhileTheWorkerOfTheLastOneRuns) {
  SynthProcess process(KAVREL_SCRIPTED_SYNTH, shortLimits());
  std::string why;
  ASSERT_EQ(process.start("any", {}, why), Started::Ready) << why;
  SynthProcess::Speech speech;
  ASSERT_EQ(process.speak(call("STAY"), {}, speech, why), Result::Done) << why;
  EXPECT_EQ(process.speak(call("one"), {}, speech, why), Result::Killed);
  EXPECT_EQ(why, "the synthesiser did not end its last call");
  EXPECT_FALSE(process.isUsable());
}

TEST(SynthProcess, EndsACallThatSendsALittleForever) {
  SynthProcess::Limits limits = shortLimits();
  limits.call = milliseconds(400);
  SynthProcess process(KAVREL_SCRIPTED_SYNTH, limits);
  std::string why;
  ASSERT_EQ(process.start("any", {}, why), Started::Ready) << why;
  SynthProcess::Speech speech;
  EXPECT_EQ(process.speak(call("TRICKLE"), {}, speech, why), Result::Silent);
}

// SPDX-License-Identifier: Apache-2.0
//
// A sound server that stands still (SIGSTOP): no call hangs, jobs continue in silence, and nothing
// is left when the server continues.
//
// The limits that are documented are tighter than those here, which tell a call that waits for the
// server from one that does not, on any machine. The time that was needed is recorded as a property
// of the test.
#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <random>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "HeardMeasures.h"
#include "ReferenceAudio.h"

using namespace test;
using std::chrono::milliseconds;

namespace {

constexpr const char* kText = "One two three. Four five, six! Seven?";

// In milliseconds: what counts as at once, and how long a server may be waited for.
constexpr double kAtOnce = 1000;
constexpr double kServerLimit = 2000;

double timeOf(const std::function<void()>& action) {
  const auto began = Clock::now();
  action();
  const double time = inMilliseconds(Clock::now() - began);
  testing::Test::RecordProperty("milliseconds", std::to_string(time));
  return time;
}

int deviceCount() {
  return kavrel_audio_devices([](const char*, const char*, int, void*) {}, nullptr);
}

// Whether they are found again within ten seconds: a search that hangs must end first.
bool devicesAreFound() {
  const auto limit = Clock::now() + std::chrono::seconds(10);
  while (deviceCount() != 2) {
    if (Clock::now() >= limit) return false;
    std::this_thread::sleep_for(milliseconds(10));
  }
  return true;
}

std::size_t threadCount() {
  std::ifstream status("/proc/self/status");
  for (std::string key; status >> key;) {
    std::size_t count = 0;
    if (key == "Threads:" && status >> count) return count;
  }
  return 0;
}

// How long the audio of all jobs so far lasts, in milliseconds.
double lengthOf(const Observer& observer) {
  double length = 0;
  for (const TimedEvent& event : observer.events()) {
    if (event.type == KAVREL_EVENT_END) length += static_cast<double>(event.sample) * 1000 / kRate;
  }
  return length;
}

// A server and a speaker. The server is suspended in the word "two".
class StoppedServer : public testing::Test {
 protected:
  void speakUntilItStops() {
    m_speaker.onEvent = [this](const Event& event) {
      if (event.text == "two") m_server.suspend();
    };
    ASSERT_EQ(m_speaker.speak(kText), KAVREL_SUCCESS);
    m_speaker.waitFor(KAVREL_EVENT_WORD, 2);
  }

  void expectWholeJob() {
    const std::vector<Event> events = m_speaker.events();
    EXPECT_EQ(ofType(events, KAVREL_EVENT_WORD).size(), 7U);
    EXPECT_TRUE(ofType(events, KAVREL_EVENT_ERROR).empty());
    EXPECT_EQ(ofType(events, KAVREL_EVENT_END).size(), 1U);
  }

  void expectLine(const std::string& message) {
    const std::vector<std::string> lines = m_diagnostics.lines();
    ASSERT_EQ(lines.size(), 1U) << testing::PrintToString(lines);
    EXPECT_NE(lines[0].find(message), std::string::npos) << lines[0];
  }

  SoundServer m_server;
  const Diagnostics m_diagnostics;
  Speaker m_speaker;
};

}  // namespace

// ---- Jobs

TEST_F(StoppedServer, AJobContinuesInRealTime) {
  const Observer observer;
  const double time = timeOf([&] {
    speakUntilItStops();
    ASSERT_EQ(kavrel_port_wait(m_speaker.port(), nullptr), KAVREL_SUCCESS);
  });
  expectWholeJob();
  EXPECT_GT(time, 0.9 * lengthOf(observer));
  EXPECT_LT(time, lengthOf(observer) + kServerLimit + kAtOnce);
  expectLine("lost");
}

TEST_F(StoppedServer, AJobThatFindsItStoppedSpeaksInSilence) {
  const Observer observer;
  m_server.suspend();
  const double time = timeOf([&] { m_speaker.speakAll(kText); });
  expectWholeJob();
  EXPECT_GT(time, 0.9 * lengthOf(observer));
  EXPECT_LT(time, lengthOf(observer) + kServerLimit + kAtOnce);
  expectLine("the sound server does not respond");
}

// The first job waits for the server; the others know that it does not respond.
TEST_F(StoppedServer, LaterJobsDoNotWaitForIt) {
  m_server.suspend();
  const std::size_t threads = threadCount();
  m_speaker.speakAll("One.");
  constexpr int kJobs = 20;
  const double time = timeOf([&] {
    for (int job = 1; job <= kJobs; ++job) {
      ASSERT_EQ(m_speaker.speak("One."), KAVREL_SUCCESS);
      m_speaker.waitFor(KAVREL_EVENT_WORD, static_cast<std::size_t>(job) + 1);
      kavrel_port_stop(m_speaker.port(), nullptr, KAVREL_EVENT_NOW);
      ASSERT_EQ(kavrel_port_wait(m_speaker.port(), nullptr), KAVREL_SUCCESS);
    }
  });
  EXPECT_LT(time, kServerLimit + kJobs * kAtOnce / 4);
  // The thread that hangs, and those that the client library has for it.
  EXPECT_TRUE(threadsFallTo(threads + 4));
}

TEST_F(StoppedServer, IsUsedAgainWhenItContinues) {
  const std::size_t threads = idleThreads();
  speakUntilItStops();
  ASSERT_EQ(kavrel_port_wait(m_speaker.port(), nullptr), KAVREL_SUCCESS);
  m_server.resume();
  EXPECT_TRUE(threadsFallTo(threads));
  Recorder recorder;
  m_speaker.onEvent = {};
  m_speaker.speakAll("One.");
  EXPECT_GT(recorder.whenSilentFor(kQuiet).lastSound(), 0U);
}

// The server plays what it had been given, 0.1 s, not what the job has written for it.
TEST_F(StoppedServer, DoesNotPlayTheRestOfAJobThatIsOver) {
  const Reference reference = referenceFor(kText);
  Recorder recorder;
  speakUntilItStops();
  kavrel_port_stop(m_speaker.port(), nullptr, KAVREL_EVENT_NOW);
  ASSERT_EQ(kavrel_port_wait(m_speaker.port(), nullptr), KAVREL_SUCCESS);
  m_server.resume();
  const Comparison found = compare(recorder.whenSilentFor(kQuiet), reference);
  EXPECT_LT(found.same, reference.sampleOf("two") + static_cast<std::uint64_t>(kRate) / 4);
}

// ---- Calls

TEST_F(StoppedServer, AStopTakesEffectAtOnce) {
  speakUntilItStops();
  EXPECT_LT(timeOf([&] {
              kavrel_port_stop(m_speaker.port(), nullptr, KAVREL_EVENT_NOW);
              EXPECT_EQ(kavrel_port_wait(m_speaker.port(), nullptr), KAVREL_SUCCESS);
            }),
            kAtOnce);
}

TEST_F(StoppedServer, AStopOfAJobThatIsBeingOpenedTakesEffectAtOnce) {
  m_server.suspend();
  ASSERT_EQ(m_speaker.speak(kText), KAVREL_SUCCESS);
  m_speaker.waitFor(KAVREL_EVENT_START);
  std::this_thread::sleep_for(milliseconds(200));
  EXPECT_LT(timeOf([&] {
              kavrel_port_stop(m_speaker.port(), nullptr, KAVREL_EVENT_NOW);
              EXPECT_EQ(kavrel_port_wait(m_speaker.port(), nullptr), KAVREL_SUCCESS);
            }),
            kAtOnce);
}

TEST_F(StoppedServer, PauseAndResumeReturnAtOnce) {
  speakUntilItStops();
  const auto toggle = [&] {
    EXPECT_EQ(kavrel_port_pause(m_speaker.port(), nullptr, KAVREL_EVENT_NOW), KAVREL_SUCCESS);
  };
  EXPECT_LT(timeOf(toggle), kAtOnce);
  EXPECT_LT(timeOf(toggle), kAtOnce);
  ASSERT_EQ(kavrel_port_wait(m_speaker.port(), nullptr), KAVREL_SUCCESS);
  expectWholeJob();
}

TEST_F(StoppedServer, APortClosesAtOnce) {
  speakUntilItStops();
  EXPECT_LT(timeOf([&] { kavrel_port_close(m_speaker.release()); }), kAtOnce);
}

TEST_F(StoppedServer, TheListOfDevicesIsEmptySoon) {
  EXPECT_EQ(deviceCount(), 2);
  m_server.suspend();
  EXPECT_LT(timeOf([&] { EXPECT_EQ(deviceCount(), 0); }), kServerLimit + kAtOnce);
  m_server.resume();
  EXPECT_TRUE(devicesAreFound());
}

// As above, but with a connection that a job uses.
TEST_F(StoppedServer, TheListOfDevicesIsEmptySoonWhileAJobSpeaks) {
  speakUntilItStops();
  EXPECT_LT(timeOf([&] { EXPECT_EQ(deviceCount(), 0); }), kServerLimit + kAtOnce);
  m_server.resume();
  EXPECT_TRUE(devicesAreFound());
}

// ---- The process

TEST(StoppedServerProcess, AProcessMayExitWhileItSpeaks) {
  const SoundServer server;
  const pid_t child = fork();
  if (child == 0) {
    auto* const speaker = new Speaker({}, KAVREL_EVENT_WORD);
    speaker->speak(kText);
    speaker->waitFor(KAVREL_EVENT_WORD);
    server.suspend();
    std::this_thread::sleep_for(milliseconds(100));
    alarm(1);
    std::exit(0);
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

// The server stands still and is killed while a stream continues after a pause, at all moments of
// that. A stream that is started without a server makes its library abort the process.
TEST(StoppedServerProcess, SurvivesALossWhileAStreamStarts) {
  constexpr int kRuns = 30;
  constexpr unsigned kMicroseconds = 600;
  std::minstd_rand random(7);
  SoundServer server;
  for (int run = 0; run < kRuns; ++run) {
    Speaker speaker({}, KAVREL_EVENT_WORD | KAVREL_EVENT_END);
    ASSERT_EQ(speaker.speak(kText), KAVREL_SUCCESS);
    speaker.waitFor(KAVREL_EVENT_WORD);
    kavrel_port_pause(speaker.port(), nullptr, KAVREL_EVENT_NOW);
    std::this_thread::sleep_for(milliseconds(20));
    kavrel_port_pause(speaker.port(), nullptr, KAVREL_EVENT_NOW);
    const auto moment = Clock::now() + std::chrono::microseconds(random() % kMicroseconds);
    while (Clock::now() < moment) std::this_thread::yield();
    server.suspend();
    std::this_thread::sleep_for(milliseconds(20));
    server.kill();
    std::this_thread::sleep_for(milliseconds(20));
    kavrel_port_stop(speaker.port(), nullptr, KAVREL_EVENT_NOW);
    EXPECT_EQ(kavrel_port_wait(speaker.port(), nullptr), KAVREL_SUCCESS);
    server.start();
  }
}

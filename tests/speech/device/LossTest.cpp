// SPDX-License-Identifier: Apache-2.0
//
// Jobs without a device, and jobs whose device is lost: the job continues in silence, the next one
// tries the device again. Also exit and fork of a speaking process.
#include <algorithm>
#include <cstdlib>
#include <functional>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "HeardMeasures.h"
#include "ReferenceAudio.h"

using namespace test;

namespace {

constexpr const char* kText = "One two three. Four five, six! Seven?";

void expectWholeJob(const std::vector<Event>& events) {
  EXPECT_EQ(ofType(events, KAVREL_EVENT_WORD).size(), 7u);
  EXPECT_TRUE(ofType(events, KAVREL_EVENT_ERROR).empty());
  EXPECT_EQ(ofType(events, KAVREL_EVENT_END).size(), 1u);
  EXPECT_EQ(events.back().type, KAVREL_EVENT_END);
}

void expectOneLine(const Diagnostics& diagnostics, const std::string& message) {
  const std::vector<std::string> lines = diagnostics.lines();
  ASSERT_EQ(lines.size(), 1u) << testing::PrintToString(lines);
  EXPECT_NE(lines[0].find(message), std::string::npos) << lines[0];
}

// Whether the speaker's next speech is heard.
bool isHeard(Speaker& speaker) {
  Recorder recorder;
  speaker.speakAll("One.");
  return recorder.whenSilentFor(kQuiet).lastSound() > 0;
}

// Runs `action` in a child process that exits normally; returns its exit status.
int exitStatusOf(const std::function<void()>& action) {
  const pid_t child = fork();
  if (child == 0) {
    alarm(30);
    action();
    std::exit(0);
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return status;
}

}  // namespace

TEST(Lost, AJobWhoseServerIsKilledContinuesInRealTime) {
  SoundServer server;
  const Diagnostics diagnostics;
  const Observer observer;
  Speaker speaker;
  speaker.onEvent = [&](const Event& event) {
    if (event.text == "two") server.kill();
  };
  const auto began = Clock::now();
  expectWholeJob(speaker.speakAll(kText));
  const double sound = static_cast<double>(observer.events().back().sample) * 1000 / kRate;
  EXPECT_GT(inMilliseconds(Clock::now() - began), 0.9 * sound);
  expectOneLine(diagnostics, "lost");
}

TEST(Lost, AJobWhoseServerIsKilledInAPauseContinuesInRealTime) {
  SoundServer server;
  const Diagnostics diagnostics;
  Speaker speaker;
  std::atomic<bool> paused = false;
  speaker.onEvent = [&](const Event& event) {
    if (event.text != "two") return;
    kavrel_port_pause(speaker.port(), nullptr, KAVREL_EVENT_NOW);
    paused = true;
  };
  ASSERT_EQ(speaker.speak(kText), KAVREL_SUCCESS);
  while (!paused) std::this_thread::yield();
  server.kill();
  ASSERT_EQ(kavrel_port_pause(speaker.port(), nullptr, KAVREL_EVENT_NOW), KAVREL_SUCCESS);
  ASSERT_EQ(kavrel_port_wait(speaker.port(), nullptr), KAVREL_SUCCESS);
  expectWholeJob(speaker.events());
  expectOneLine(diagnostics, "lost");
}

TEST(Lost, AStopEndsAJobWhoseServerIsKilled) {
  SoundServer server;
  Speaker speaker({}, KAVREL_EVENT_WORD | KAVREL_EVENT_END);
  speaker.onEvent = [&](const Event& event) {
    if (event.text != "two") return;
    server.kill();
    kavrel_port_stop(speaker.port(), nullptr, KAVREL_EVENT_WORD);
  };
  const std::vector<Event> events = speaker.speakAll(kText);
  EXPECT_EQ(texts(events), (std::vector<std::string>{"One", "two", ""}));
}

TEST(Lost, ARestartedServerIsUsedByTheNextJob) {
  SoundServer server;
  Speaker speaker;
  EXPECT_TRUE(isHeard(speaker));
  server.kill();
  speaker.speakAll("One.");
  server.start();
  EXPECT_TRUE(isHeard(speaker));
}

TEST(Lost, JobsWithoutAServerRunInRealTime) {
  SoundServer server{SoundServer::Stopped()};
  const Diagnostics diagnostics;
  EXPECT_EQ(kavrel_audio_devices([](const char*, const char*, int, void*) {}, nullptr), 0);
  Speaker speaker;
  expectWholeJob(speaker.speakAll(kText));
  speaker.speakAll("One.");
  expectOneLine(diagnostics, "no sound output");
}

TEST(Lost, JobsWithoutTheSelectedDeviceRunInRealTime) {
  const SoundServer server;
  Recorder recorder;
  const Diagnostics diagnostics;
  Speaker speaker;
  kavrel_params* const params = kavrel_params_new(nullptr);
  kavrel_params_set_val(params, KAVREL_KEY_AUDIO_DEVICE, kavrel_val_string("missing"));
  kavrel_background_t job = nullptr;
  ASSERT_EQ(kavrel_port_speak_text(speaker.port(), "One.", 4, nullptr, &job, params),
            KAVREL_SUCCESS);
  kavrel_params_delete(params);
  ASSERT_EQ(kavrel_port_wait(speaker.port(), job), KAVREL_SUCCESS);
  EXPECT_EQ(recorder.soFar().lastSound(), 0u);
  expectOneLine(diagnostics, "no sound device is called \"missing\"");
}

TEST(Lost, NothingIsHeardOrReportedWhenOutputIsDisabled) {
  const SoundServer server;
  setenv("KAVREL_AUDIO", "none", 1);
  Recorder recorder;
  const Diagnostics diagnostics;
  EXPECT_EQ(kavrel_audio_devices([](const char*, const char*, int, void*) {}, nullptr), 0);
  Speaker speaker;
  expectWholeJob(speaker.speakAll(kText));
  EXPECT_EQ(recorder.soFar().lastSound(), 0u);
  EXPECT_EQ(diagnostics.lines(), std::vector<std::string>());
}

TEST(Lost, AProcessMayExitWhileItSpeaks) {
  const SoundServer server;
  for (int run = 0; run < 10; ++run) {
    EXPECT_EQ(exitStatusOf([] {
                auto* const speaker = new Speaker({}, KAVREL_EVENT_WORD);
                speaker->speak(kText);
                speaker->waitFor(KAVREL_EVENT_WORD);
              }),
              0);
  }
}

TEST(Lost, AProcessMayForkWhileItSpeaks) {
  const SoundServer server;
  Speaker speaker;
  ASSERT_EQ(speaker.speak(kText), KAVREL_SUCCESS);
  speaker.waitFor(KAVREL_EVENT_WORD);
  EXPECT_EQ(exitStatusOf([] {}), 0);
  ASSERT_EQ(kavrel_port_wait(speaker.port(), nullptr), KAVREL_SUCCESS);
  expectWholeJob(speaker.events());
}

// SPDX-License-Identifier: Apache-2.0
//
// The audio heard for a text equals a file of it, and events are reported with their audio.
#include <algorithm>
#include <atomic>
#include <map>
#include <memory>

#include <gtest/gtest.h>

#include "HeardMeasures.h"
#include "ReferenceAudio.h"

using namespace test;
using std::chrono::milliseconds;

namespace {

constexpr const char* kText = "One two three. Four five, six! Seven?";
void actAtWord(Speaker& speaker, const std::string& word, std::function<void()> action) {
  speaker.onEvent = [word, action](const Event& event) {
    if (event.type == KAVREL_EVENT_WORD && event.text == word) action();
  };
}

std::vector<std::string> namesOfDevices() {
  std::vector<std::string> names;
  const int count = kavrel_audio_devices(
      [](const char* name, const char* description, int isDefault, void* user) {
        EXPECT_STRNE(description, "");
        auto& found = *static_cast<std::vector<std::string>*>(user);
        found.push_back((isDefault != 0 ? "*" : "") + std::string(name));
      },
      &names);
  EXPECT_EQ(count, static_cast<int>(names.size()));
  return names;
}

}  // namespace

TEST(Heard, EqualsAFileToTheSample) {
  const SoundServer server;
  const Reference reference = referenceFor(kText);
  Recorder recorder;
  Speaker speaker;
  speaker.speakAll(kText);
  const Comparison found = compare(recorder.whenSilentFor(kQuiet), reference);
  EXPECT_EQ(found.same, reference.samples.size());
}

TEST(Heard, EventsAreReportedWithTheirAudio) {
  const SoundServer server;
  const Reference reference = referenceFor(kText);
  const Lateness lateness;
  const Observer observer;
  Recorder recorder;
  Speaker speaker;
  speaker.speakAll(kText);
  const Recording heard = recorder.whenSilentFor(kQuiet);
  const Comparison found = compare(heard, reference);
  ASSERT_EQ(found.positions.size(), reference.samples.size());
  const std::vector<TimedEvent> events = observer.events();
  ASSERT_EQ(events.size(), reference.events.size());
  std::vector<double> late;
  for (const TimedEvent& event : events) {
    if (event.type == KAVREL_EVENT_START || event.type == KAVREL_EVENT_END) continue;
    // The position of the last event is after the last sample.
    const auto due = heard.timeOf(
        found.positions.at(std::min<std::size_t>(event.sample, found.positions.size() - 1)));
    late.push_back(inMilliseconds(event.when - due));
    // The engine's thread and the recorder's thread are each scheduled with a delay.
    EXPECT_NEAR(late.back(), 0, 30 + kResolution + 2 * lateness.worst())
        << event.type << ' ' << event.text << " at " << event.sample;
  }
  std::sort(late.begin(), late.end());
  EXPECT_NEAR(late[late.size() / 2], 0, 30 + kResolution + lateness.worst());
}

TEST(Heard, StopAtOnceIsSilence) {
  const SoundServer server;
  const Reference reference = referenceFor(kText);
  const Lateness lateness;
  const Observer observer;
  Recorder recorder;
  Speaker speaker;
  Clock::time_point asked;
  Clock::time_point answered;
  actAtWord(speaker, "three", [&] {
    asked = Clock::now();
    kavrel_port_stop(speaker.port(), nullptr, KAVREL_EVENT_NOW);
    answered = Clock::now();
  });
  speaker.speakAll(kText);
  const Recording heard = recorder.whenSilentFor(kQuiet);
  EXPECT_LT(inMilliseconds(heard.timeOf(heard.lastSound()) - asked),
            20 + kResolution + lateness.worst());
  EXPECT_LT(inMilliseconds(answered - asked), 20 + lateness.worst());
  // The samples that were reported as spoken were heard, and hardly more.
  const Comparison found = compare(heard, reference);
  const auto spoken = static_cast<double>(observer.events().back().sample);
  const double allowed = (20 + kResolution + lateness.worst()) * kRate / 1000;
  EXPECT_NEAR(static_cast<double>(found.same), spoken, allowed);
}

TEST(Heard, PauseLosesAndRepeatsNothing) {
  const SoundServer server;
  const Reference reference = referenceFor(kText);
  Recorder recorder;
  Speaker speaker;
  std::atomic<bool> paused = false;
  actAtWord(speaker, "two", [&] {
    kavrel_port_pause(speaker.port(), nullptr, KAVREL_EVENT_NOW);
    paused = true;
  });
  ASSERT_EQ(speaker.speak(kText), KAVREL_SUCCESS);
  speaker.waitFor(KAVREL_EVENT_WORD, 2);
  while (!paused) std::this_thread::yield();
  recorder.whenSilentFor(kQuiet);
  ASSERT_EQ(kavrel_port_pause(speaker.port(), nullptr, KAVREL_EVENT_NOW), KAVREL_SUCCESS);
  ASSERT_EQ(kavrel_port_wait(speaker.port(), nullptr), KAVREL_SUCCESS);
  const Comparison found = compare(recorder.whenSilentFor(kQuiet), reference);
  EXPECT_GT(found.pause, static_cast<std::size_t>(kRate) / 5);
  EXPECT_EQ(found.same, reference.samples.size());
}

// In milliseconds.
constexpr double kServersShare = 200;

struct BoundaryCase {
  const char* name;
  kavrel_event_t boundary;
  const char* during;  // requested in this word
  const char* next;    // the first word that must not be heard
};

class HeardUpTo : public testing::TestWithParam<BoundaryCase> {
 protected:
  // Checks that all audio before the next word was heard, and nothing else.
  void expectWholeWords(std::size_t end) {
    const std::vector<std::int16_t>& samples = m_reference.samples;
    const auto next = static_cast<std::ptrdiff_t>(m_reference.sampleOf(GetParam().next));
    const auto sounds = [](int sample) { return sample != 0; };
    const auto after = std::find_if(samples.begin() + next, samples.end(), sounds);
    const auto before = std::find_if(samples.rend() - next, samples.rend(), sounds).base();
    EXPECT_GE(end, static_cast<std::size_t>(before - samples.begin()));
    EXPECT_LE(end, static_cast<std::size_t>(after - samples.begin()));
  }

  const SoundServer m_server;
  const Reference m_reference = referenceFor(kText);
  Recorder m_recorder;
  Speaker m_speaker;
};

INSTANTIATE_TEST_SUITE_P(
    Boundaries, HeardUpTo,
    testing::Values(BoundaryCase{"Word", KAVREL_EVENT_WORD, "two", "three"},
                    BoundaryCase{"LastWordOfASentence", KAVREL_EVENT_WORD, "three", "Four"},
                    BoundaryCase{"Sentence", KAVREL_EVENT_SENTENCE, "two", "Four"},
                    BoundaryCase{"LaterSentence", KAVREL_EVENT_SENTENCE, "Four", "Seven"}),
    [](const testing::TestParamInfo<BoundaryCase>& row) { return row.param.name; });

TEST_P(HeardUpTo, AStopThere) {
  actAtWord(m_speaker, GetParam().during,
            [&] { kavrel_port_stop(m_speaker.port(), nullptr, GetParam().boundary); });
  m_speaker.speakAll(kText);
  const Comparison found = compare(m_recorder.whenSilentFor(kQuiet), m_reference);
  expectWholeWords(found.same);
}

TEST_P(HeardUpTo, APauseThereAndThenTheRest) {
  actAtWord(m_speaker, GetParam().during,
            [&] { kavrel_port_pause(m_speaker.port(), nullptr, GetParam().boundary); });
  ASSERT_EQ(m_speaker.speak(kText), KAVREL_SUCCESS);
  m_recorder.whenSilentFor(milliseconds(1000));
  ASSERT_EQ(kavrel_port_pause(m_speaker.port(), nullptr, KAVREL_EVENT_NOW), KAVREL_SUCCESS);
  ASSERT_EQ(kavrel_port_wait(m_speaker.port(), nullptr), KAVREL_SUCCESS);
  const Comparison found = compare(m_recorder.whenSilentFor(kQuiet), m_reference);
  expectWholeWords(found.pauseAt);
  EXPECT_EQ(found.same, m_reference.samples.size());
}

TEST(Heard, OnTheSelectedDevice) {
  const SoundServer server;
  EXPECT_EQ(namesOfDevices(), (std::vector<std::string>{"*" + std::string(kDevice), kOtherDevice}));
  Recorder recorder;
  Recorder other(kOtherDevice);
  Speaker speaker;
  kavrel_params* const params = kavrel_params_new(nullptr);
  kavrel_params_set_val(params, KAVREL_KEY_AUDIO_DEVICE, kavrel_val_string(kOtherDevice));
  kavrel_background_t job = nullptr;
  ASSERT_EQ(kavrel_port_speak_text(speaker.port(), "One.", 4, nullptr, &job, params),
            KAVREL_SUCCESS);
  kavrel_params_delete(params);
  ASSERT_EQ(kavrel_port_wait(speaker.port(), job), KAVREL_SUCCESS);
  EXPECT_GT(other.whenSilentFor(kQuiet).lastSound(), 0u);
  EXPECT_EQ(recorder.soFar().lastSound(), 0u);
}

// A gap in a port's audio delays all its later events. The engine reports its own gaps in a
// diagnostic line, so none is allowed; an overloaded machine makes the server leave gaps, too.
TEST(Heard, ThirtyTwoPortsAtOnceWithoutAGap) {
  const SoundServer server;
  const Recorder recorder;  // makes the device render often
  const Diagnostics diagnostics;
  const Lateness lateness;
  const Observer observer;
  std::vector<std::unique_ptr<Speaker>> speakers;
  for (int port = 0; port < 32; ++port) speakers.push_back(std::make_unique<Speaker>());
  for (const auto& speaker : speakers) ASSERT_EQ(speaker->speak(kText), KAVREL_SUCCESS);
  for (const auto& speaker : speakers) {
    EXPECT_EQ(kavrel_port_wait(speaker->port(), nullptr), KAVREL_SUCCESS);
  }
  std::map<const void*, std::vector<double>> delays;
  for (const TimedEvent& event : observer.events()) {
    if (event.type == KAVREL_EVENT_START) continue;
    delays[event.job].push_back(inMilliseconds(event.when.time_since_epoch()) -
                                static_cast<double>(event.sample) * 1000 / kRate);
  }
  ASSERT_EQ(delays.size(), speakers.size());
  for (const auto& [job, ofJob] : delays) {
    const auto [least, most] = std::minmax_element(ofJob.begin(), ofJob.end());
    EXPECT_LT(*most - *least, kServersShare + lateness.worst());
  }
  EXPECT_EQ(diagnostics.lines(), std::vector<std::string>());
}

// SPDX-License-Identifier: Apache-2.0
//
// Tests of the job queue of a port and of several ports at once: order, handles, waits, closing.
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "speakers/PortSpeaker.h"

using test::Event;
using test::Folder;
using test::kProse;
using test::ofType;
using test::Speaker;
using test::texts;

TEST(PortQueue, StartsAJobWhenTheOneBeforeHasEnded) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"),
                  KAVREL_EVENT_START | KAVREL_EVENT_END | KAVREL_EVENT_WORD);
  ASSERT_EQ(speaker.speak("One."), KAVREL_SUCCESS);
  const kavrel_background_t first = speaker.job();
  ASSERT_EQ(speaker.speak("Two."), KAVREL_SUCCESS);
  EXPECT_NE(first, speaker.job());
  ASSERT_EQ(kavrel_port_wait(speaker.port(), nullptr), KAVREL_SUCCESS);
  std::vector<kavrel_event_t> types;
  for (const Event& event : speaker.events()) types.push_back(event.type);
  EXPECT_EQ(types,
            (std::vector<kavrel_event_t>{KAVREL_EVENT_START, KAVREL_EVENT_WORD, KAVREL_EVENT_END,
                                         KAVREL_EVENT_START, KAVREL_EVENT_WORD, KAVREL_EVENT_END}));
  EXPECT_EQ(texts(speaker.events(KAVREL_EVENT_WORD)), (std::vector<std::string>{"One", "Two"}));
}

TEST(PortQueue, AcceptsAJobThatACallbackStarts) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"), KAVREL_EVENT_END);
  kavrel_background_t next = nullptr;
  speaker.onEvent = [&](const Event&) {
    if (next == nullptr) {
      EXPECT_EQ(kavrel_port_speak_text(speaker.port(), "two", 3, nullptr, &next, nullptr),
                KAVREL_SUCCESS);
    }
  };
  ASSERT_EQ(speaker.speak("One."), KAVREL_SUCCESS);
  speaker.waitFor(KAVREL_EVENT_END, 2);
  EXPECT_EQ(kavrel_port_wait(speaker.port(), nullptr), KAVREL_SUCCESS);
  EXPECT_EQ(speaker.events().size(), 2u);
}

TEST(PortQueue, SendsEndToAJobThatIsStoppedBeforeItBegins) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"), KAVREL_EVENT_START | KAVREL_EVENT_END);
  std::promise<void> goOn;
  speaker.onEvent = [&, waited = false](const Event& event) mutable {
    if (event.type != KAVREL_EVENT_START || std::exchange(waited, true)) return;
    goOn.get_future().wait();
  };
  ASSERT_EQ(speaker.speak("One."), KAVREL_SUCCESS);
  const kavrel_background_t first = speaker.job();
  ASSERT_EQ(speaker.speak("Two."), KAVREL_SUCCESS);
  EXPECT_EQ(kavrel_port_stop(speaker.port(), speaker.job(), KAVREL_EVENT_WORD), KAVREL_SUCCESS);
  goOn.set_value();
  EXPECT_EQ(kavrel_port_wait(speaker.port(), first), KAVREL_SUCCESS);
  EXPECT_EQ(kavrel_port_wait(speaker.port(), speaker.job()), KAVREL_SUCCESS);
  const std::vector<Event> events = speaker.events();
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events[1].type, KAVREL_EVENT_END);
  EXPECT_EQ(events[2], (Event{KAVREL_EVENT_END, 0, 0, ""}));
}

TEST(PortQueue, ReturnsAtOnceForAJobThatIsOver) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"));
  speaker.speakAll("One.");
  const kavrel_background_t over = speaker.job();
  ASSERT_EQ(speaker.speak("Two."), KAVREL_SUCCESS);
  EXPECT_EQ(kavrel_port_pause(speaker.port(), over, KAVREL_EVENT_NOW), KAVREL_OBJECT_NOT_FOUND);
  EXPECT_EQ(kavrel_port_stop(speaker.port(), over, KAVREL_EVENT_NOW), KAVREL_SUCCESS);
  EXPECT_EQ(kavrel_port_wait(speaker.port(), over), KAVREL_SUCCESS);
  EXPECT_EQ(kavrel_port_wait(speaker.port(), nullptr), KAVREL_SUCCESS);
  EXPECT_EQ(texts(speaker.events(KAVREL_EVENT_WORD)), (std::vector<std::string>{"One", "Two"}));
}

TEST(PortQueue, StoresTheHandleBeforeTheFirstEvent) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"), KAVREL_EVENT_START);
  kavrel_background_t job = nullptr;
  std::atomic<bool> known = false;
  speaker.onEvent = [&](const Event&) { known = job != nullptr; };
  ASSERT_EQ(kavrel_port_speak_text(speaker.port(), "One", 3, nullptr, &job, nullptr),
            KAVREL_SUCCESS);
  ASSERT_EQ(kavrel_port_wait(speaker.port(), nullptr), KAVREL_SUCCESS);
  EXPECT_TRUE(known);
}

TEST(PortQueue, StopsAllJobsForANullHandle) {
  Speaker speaker({}, KAVREL_EVENT_WORD | KAVREL_EVENT_END);
  for (int job = 0; job < 3; ++job) ASSERT_EQ(speaker.speak(kProse), KAVREL_SUCCESS);
  speaker.waitFor(KAVREL_EVENT_WORD);
  EXPECT_EQ(kavrel_port_stop(speaker.port(), nullptr, KAVREL_EVENT_NOW), KAVREL_SUCCESS);
  EXPECT_EQ(kavrel_port_wait(speaker.port(), nullptr), KAVREL_SUCCESS);
  EXPECT_EQ(speaker.events(KAVREL_EVENT_END).size(), 3u);
  EXPECT_LT(speaker.events(KAVREL_EVENT_WORD).size(), 10u);
}

TEST(PortQueue, ReturnsAtOnceFromAWaitInItsOwnCallback) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"), KAVREL_EVENT_WORD | KAVREL_EVENT_END);
  std::vector<kavrel_result_t> results;
  speaker.onEvent = [&](const Event&) {
    results.push_back(kavrel_port_wait(speaker.port(), nullptr));
    results.push_back(kavrel_port_wait(speaker.port(), speaker.job()));
  };
  speaker.speakAll("One.");
  EXPECT_EQ(results, std::vector<kavrel_result_t>(4, KAVREL_ENGINE_INUSE));
}

TEST(PortQueue, WaitsForAnotherPortInACallback) {
  const Folder folder;
  Speaker other(folder.path("other.aiff"));
  Speaker speaker(folder.path("out.aiff"), KAVREL_EVENT_START);
  speaker.onEvent = [&](const Event&) {
    EXPECT_EQ(other.speak("Two."), KAVREL_SUCCESS);
    EXPECT_EQ(kavrel_port_wait(other.port(), other.job()), KAVREL_SUCCESS);
    EXPECT_EQ(other.events(KAVREL_EVENT_END).size(), 1u);
  };
  speaker.speakAll("One.");
}

TEST(PortQueue, GivesUpAWaitForACallbackThatHangs) {
  Speaker speaker({}, KAVREL_EVENT_WORD | KAVREL_EVENT_END);
  std::promise<void> goOn;
  speaker.onEvent = [&, waited = false](const Event&) mutable {
    if (!std::exchange(waited, true)) goOn.get_future().wait();
  };
  ASSERT_EQ(speaker.speak("One."), KAVREL_SUCCESS);
  speaker.waitFor(KAVREL_EVENT_WORD);
  EXPECT_EQ(kavrel_port_stop(speaker.port(), nullptr, KAVREL_EVENT_NOW), KAVREL_SUCCESS);
  EXPECT_EQ(kavrel_port_wait(speaker.port(), speaker.job()), KAVREL_ENGINE_INUSE);
  goOn.set_value();
  speaker.waitFor(KAVREL_EVENT_END);
  EXPECT_EQ(kavrel_port_wait(speaker.port(), speaker.job()), KAVREL_SUCCESS);
}

TEST(PortQueue, ClosesFromItsOwnCallbackAndStillSendsEnd) {
  const Folder folder;
  // The callback of END is the last one to use these objects.
  std::promise<void> ended;
  Speaker speaker(folder.path("out.aiff"), KAVREL_EVENT_WORD | KAVREL_EVENT_END);
  speaker.onEvent = [&](const Event& event) {
    if (event.type == KAVREL_EVENT_WORD) {
      EXPECT_EQ(kavrel_port_close(speaker.release()), KAVREL_SUCCESS);
    } else {
      ended.set_value();
    }
  };
  ASSERT_EQ(speaker.speak(kProse), KAVREL_SUCCESS);
  ended.get_future().wait();
  EXPECT_EQ(speaker.events(KAVREL_EVENT_WORD).size(), 1u);
}

TEST(PortQueue, ClosesWhileAJobSpeaks) {
  Speaker speaker({}, KAVREL_EVENT_WORD | KAVREL_EVENT_END);
  ASSERT_EQ(speaker.speak(kProse), KAVREL_SUCCESS);
  speaker.waitFor(KAVREL_EVENT_WORD);
  EXPECT_EQ(kavrel_port_close(speaker.release()), KAVREL_SUCCESS);
  EXPECT_EQ(speaker.events(KAVREL_EVENT_END).size(), 1u);
}

TEST(PortQueue, LeavesNoThreadAfterTwoHundredJobs) {
  const std::size_t threads = test::idleThreads();
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"), KAVREL_EVENT_END);
  speaker.speakAll("One.");
  for (int job = 1; job < 200; ++job) speaker.speakAll("One.");
  EXPECT_EQ(speaker.events().size(), 200u);
  EXPECT_TRUE(test::threadsFallTo(threads));
}

TEST(PortQueue, SpeaksOnTwoPortsAtOnceAsOnOne) {
  const Folder folder;
  const std::string slow = "<prosody rate=\"120\">" + std::string(kProse) + "</prosody>";
  const auto speakTo = [&folder](const std::string& file, const std::string& text) {
    Speaker speaker(folder.path(file), KAVREL_EVENT_PHONEME);
    return texts(speaker.speakAll(text));
  };
  const auto aloneOne = speakTo("alone-one.aiff", kProse);
  const auto aloneTwo = speakTo("alone-two.aiff", slow);
  auto besides = std::async(std::launch::async, [&] { return speakTo("one.aiff", kProse); });
  EXPECT_EQ(speakTo("two.aiff", slow), aloneTwo);
  EXPECT_EQ(besides.get(), aloneOne);
  for (const std::string name : {"one.aiff", "two.aiff"}) {
    const auto alone = static_cast<double>(test::readSamples(folder.path("alone-" + name)).size());
    const auto together = static_cast<double>(test::readSamples(folder.path(name)).size());
    EXPECT_NEAR(together / alone, 1.0, 0.02) << name;
  }
}

TEST(PortQueue, SpeaksOnAfterMoreMarksThanItKeeps) {
  std::string marks;
  for (int i = 0; i < 10'000; ++i) marks += "<mark name=\"m\"/>";
  Speaker speaker;
  speaker.speakAll(marks + " One " + marks + " two.");
  EXPECT_EQ(speaker.events(KAVREL_EVENT_BOOKMARK).size(), 20'000u);
  EXPECT_EQ(texts(speaker.events(KAVREL_EVENT_WORD)), (std::vector<std::string>{"One", "two"}));
}

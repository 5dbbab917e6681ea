// SPDX-License-Identifier: Apache-2.0
//
// The observer of the process: which events it receives and the times at which they are due.
#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "kavrel_observer.h"
#include "speakers/PortSpeaker.h"

using test::Event;
using test::Folder;
using test::kProse;
using test::readSamples;
using test::Speaker;

namespace {

struct Observed {
  Event event;
  kavrel_background_t job = nullptr;
  std::uint64_t sample = 0;
  std::uint32_t rate = 0;
  double time = 0;
};

using Observations = std::vector<Observed>;

// Observes the process during its lifetime.
class Observer {
 public:
  // `onEvent` is called with every observation after it is recorded.
  explicit Observer(std::function<void(const Observed&)> onEvent = {})
      : m_onEvent(std::move(onEvent)) {
    EXPECT_EQ(kavrel_set_observer(&Observer::onObservation, this), KAVREL_SUCCESS);
  }
  ~Observer() { kavrel_set_observer(nullptr, nullptr); }
  Observer(const Observer&) = delete;
  Observer& operator=(const Observer&) = delete;

  Observations all() const {
    const std::lock_guard held(m_lock);
    return m_observed;
  }

  Observations ofJob(kavrel_background_t job) const {
    Observations found = all();
    std::erase_if(found, [job](const Observed& each) { return each.job != job; });
    return found;
  }

 private:
  static void onObservation(const kavrel_observation* seen, void* user) {
    auto& self = *static_cast<Observer*>(user);
    const Observed observed{
        {seen->type, static_cast<int>(seen->position), static_cast<int>(seen->length), seen->text},
        seen->job,
        seen->sample,
        seen->rate,
        seen->time};
    {
      const std::lock_guard held(self.m_lock);
      self.m_observed.push_back(observed);
    }
    if (self.m_onEvent) self.m_onEvent(observed);
  }

  const std::function<void(const Observed&)> m_onEvent;
  mutable std::mutex m_lock;
  Observations m_observed;
};

Observations ofType(const Observations& observations, kavrel_event_t type) {
  Observations found = observations;
  std::erase_if(found, [type](const Observed& each) { return each.event.type != type; });
  return found;
}

std::vector<Event> eventsOf(const Observations& observations) {
  std::vector<Event> found;
  for (const Observed& each : observations) found.push_back(each.event);
  return found;
}

bool isEarlier(const Observed& one, const Observed& other) {
  return one.sample < other.sample;
}

bool isSilent(std::span<const std::int16_t> samples) {
  return std::all_of(samples.begin(), samples.end(), [](int sample) { return sample == 0; });
}

}  // namespace

TEST(Observer, ReceivesTheEventsOfTheCallbackBeforeIt) {
  const Folder folder;
  std::vector<char> order;
  const Observer observer([&](const Observed&) { order.push_back('o'); });
  Speaker speaker(folder.path("out.aiff"));
  speaker.onEvent = [&](const Event&) { order.push_back('c'); };
  const std::vector<Event> events = speaker.speakAll("One <mark name=\"m\"/>two. &amp; three!");
  EXPECT_EQ(eventsOf(observer.all()), events);
  EXPECT_EQ(observer.ofJob(speaker.job()).size(), events.size());
  ASSERT_EQ(order.size(), 2 * events.size());
  for (std::size_t i = 0; i < order.size(); ++i) EXPECT_EQ(order[i], i % 2 == 0 ? 'o' : 'c');
}

TEST(Observer, ReceivesEveryEventWhateverTheMaskOfThePort) {
  const Folder folder;
  const char* const text = "One <mark name=\"m\"/>two. Three!";
  const std::vector<Event> events = Speaker(folder.path("all.aiff")).speakAll(text);
  const Observer observer;
  Speaker speaker(folder.path("out.aiff"), KAVREL_EVENT_WORD);
  speaker.speakAll(text);
  EXPECT_EQ(eventsOf(observer.all()), events);
  kavrel_port_set_callback(speaker.port(), nullptr, KAVREL_EVENT_NONE, nullptr);
  speaker.speakAll(text);
  EXPECT_EQ(observer.all().size(), 2 * events.size());
}

TEST(Observer, ReceivesTimesThatNeverDecrease) {
  const Folder folder;
  const Observer observer;
  Speaker speaker(folder.path("out.aiff"));
  speaker.speakAll(kProse);
  const Observations seen = observer.all();
  for (const Observed& each : seen) {
    EXPECT_EQ(each.rate, 22050u);
    EXPECT_DOUBLE_EQ(each.time, static_cast<double>(each.sample) / 22050);
  }
  EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end(), isEarlier));
  EXPECT_EQ(seen.front().sample, 0u);
  EXPECT_EQ(seen.back().sample, readSamples(folder.path("out.aiff")).size());
}

TEST(Observer, ReceivesTheSampleOfAMark) {
  const Folder folder;
  const Observer observer;
  Speaker speaker(folder.path("out.aiff"));
  speaker.speakAll(
      "<break time=\"1s\"/><mark name=\"a\"/><break time=\"500ms\"/><mark name=\"b\"/> One.");
  const Observations marks = ofType(observer.all(), KAVREL_EVENT_BOOKMARK);
  ASSERT_EQ(marks.size(), 2u);
  EXPECT_EQ(marks[0].sample, 22050u);
  EXPECT_EQ(marks[1].sample, 33075u);
}

TEST(Observer, ReceivesTheExactSampleWhereAWordBegins) {
  constexpr std::size_t kBreak = 22050;
  const Folder folder;
  const Observer observer;
  Speaker(folder.path("out.aiff")).speakAll("One <break time=\"1s\"/> zoo.");
  const Observations words = ofType(observer.all(), KAVREL_EVENT_WORD);
  ASSERT_EQ(words.size(), 2u);
  const std::vector<std::int16_t> samples = readSamples(folder.path("out.aiff"));
  const std::span all(samples);
  const std::size_t begin = words[1].sample;
  ASSERT_GT(begin, kBreak);
  ASSERT_LT(begin, all.size());
  EXPECT_TRUE(isSilent(all.subspan(begin - kBreak, kBreak)));
  // The synthesiser begins a word with a short silence.
  EXPECT_FALSE(isSilent(all.subspan(begin, 22050 / 50)));
}

TEST(Observer, ReceivesTheSampleWhereAStopCutsAFile) {
  const Folder folder;
  const Observer observer;
  Speaker speaker(folder.path("cut.aiff"));
  speaker.onEvent = [&](const Event& event) {
    if (event.text == "two") kavrel_port_stop(speaker.port(), nullptr, KAVREL_EVENT_WORD);
  };
  speaker.speakAll("One two three four.");
  const Observations seen = observer.all();
  EXPECT_EQ(seen.back().event.type, KAVREL_EVENT_END);
  EXPECT_EQ(seen.back().sample, readSamples(folder.path("cut.aiff")).size());
  EXPECT_GT(seen.back().sample, ofType(seen, KAVREL_EVENT_WORD).back().sample);
}

TEST(Observer, ReceivesTheSameForSoundOutputAsForAFile) {
  const Folder folder;
  const Observer observer;
  const char* const text = "<break time=\"100ms\"/><mark name=\"m\"/>One two.";
  Speaker inFile(folder.path("out.aiff"));
  inFile.speakAll(text);
  Speaker aloud;
  aloud.speakAll(text);
  const Observations fromFile = observer.ofJob(inFile.job());
  const Observations fromOutput = observer.ofJob(aloud.job());
  EXPECT_EQ(eventsOf(fromOutput), eventsOf(fromFile));
  for (const Observations& each : {fromFile, fromOutput}) {
    EXPECT_EQ(ofType(each, KAVREL_EVENT_BOOKMARK).at(0).sample, 2205u);
    EXPECT_EQ(ofType(each, KAVREL_EVENT_WORD).at(0).sample, 2205u);
  }
}

TEST(Observer, ReceivesHowFarAStoppedJobGot) {
  const Observer observer;
  Speaker speaker;
  speaker.speak("<break time=\"20ms\"/><mark name=\"m\"/><break time=\"1000s\"/>");
  speaker.waitFor(KAVREL_EVENT_BOOKMARK);
  kavrel_port_stop(speaker.port(), nullptr, KAVREL_EVENT_NOW);
  kavrel_port_wait(speaker.port(), nullptr);
  const Observed end = observer.all().back();
  EXPECT_EQ(end.event.type, KAVREL_EVENT_END);
  EXPECT_GE(end.time, 0.02);
  EXPECT_LT(end.time, 100);
}

TEST(Observer, ReceivesTheEndOfAJobThatNeverBegan) {
  const Observer observer;
  Speaker speaker;
  speaker.speak("<break time=\"1000s\"/>");
  speaker.speak("One.");
  const kavrel_background_t second = speaker.job();
  kavrel_port_stop(speaker.port(), nullptr, KAVREL_EVENT_NOW);
  kavrel_port_wait(speaker.port(), nullptr);
  const Observations seen = observer.ofJob(second);
  ASSERT_EQ(seen.size(), 1u);
  EXPECT_EQ(seen[0].event.type, KAVREL_EVENT_END);
  EXPECT_EQ(seen[0].sample, 0u);
}

TEST(Observer, ReceivesAnErrorThatTheMaskExcludes) {
  const Observer observer;
  Speaker speaker("/dev/full", KAVREL_EVENT_END);
  speaker.speakAll(kProse);
  const Observations errors = ofType(observer.all(), KAVREL_EVENT_ERROR);
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_FALSE(errors[0].event.text.empty());
  EXPECT_EQ(observer.all().back().event.type, KAVREL_EVENT_END);
  EXPECT_GE(observer.all().back().sample, errors[0].sample);
}

TEST(Observer, FollowsPortsThatSpeakAtTheSameTime) {
  constexpr std::size_t kPorts = 4;
  const Folder folder;
  const Observer observer;
  const std::vector<Event> expected = Speaker(folder.path("alone.aiff")).speakAll(kProse);
  std::vector<std::unique_ptr<Speaker>> speakers;
  for (std::size_t i = 0; i < kPorts; ++i) {
    const std::string file = folder.path(std::to_string(i) + ".aiff");
    speakers.push_back(std::make_unique<Speaker>(file, KAVREL_EVENT_END));
    ASSERT_EQ(speakers.back()->speak(kProse), KAVREL_SUCCESS);
  }
  for (const auto& speaker : speakers) {
    kavrel_port_wait(speaker->port(), nullptr);
    const Observations seen = observer.ofJob(speaker->job());
    EXPECT_EQ(eventsOf(seen), expected);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end(), isEarlier));
  }
}

TEST(Observer, IsNotCalledAfterItIsReplaced) {
  const Folder folder;
  Speaker speaker(folder.path("out.aiff"), KAVREL_EVENT_END);
  std::string text;
  for (int i = 0; i < 20; ++i) text += kProse;
  ASSERT_EQ(speaker.speak(text), KAVREL_SUCCESS);
  // Each observer is destroyed right after it is replaced: a late call would use freed memory.
  while (speaker.events(KAVREL_EVENT_END).empty()) {
    const Observer observer;
    std::this_thread::yield();
  }
  kavrel_port_wait(speaker.port(), nullptr);
  const Observer observer;
  EXPECT_TRUE(observer.all().empty());
}

TEST(Observer, MayBeRemovedInsideItself) {
  const Folder folder;
  std::atomic<int> calls = 0;
  const Observer observer([&](const Observed&) {
    ++calls;
    kavrel_set_observer(nullptr, nullptr);
  });
  Speaker speaker(folder.path("out.aiff"));
  EXPECT_GT(speaker.speakAll("One two.").size(), 3u);
  EXPECT_EQ(calls, 1);
}

TEST(Observer, MayBeInstalledDuringAJob) {
  const Folder folder;
  std::unique_ptr<Observer> observer;
  Speaker speaker(folder.path("out.aiff"));
  speaker.onEvent = [&](const Event& event) {
    if (event.text == "two") observer = std::make_unique<Observer>();
  };
  speaker.speakAll("One two three.");
  const Observations words = ofType(observer->all(), KAVREL_EVENT_WORD);
  ASSERT_EQ(words.size(), 1u);
  EXPECT_EQ(words[0].event.text, "three");
  EXPECT_EQ(observer->all().back().event.type, KAVREL_EVENT_END);
}

TEST(Observer, DoesNotDisturbAJobByThrowing) {
  const Folder folder;
  const std::vector<Event> events = Speaker(folder.path("plain.aiff")).speakAll("One two.");
  const Observer observer([](const Observed&) { throw std::runtime_error("no"); });
  Speaker speaker(folder.path("out.aiff"));
  EXPECT_EQ(speaker.speakAll("One two."), events);
  EXPECT_EQ(eventsOf(observer.all()), events);
}

TEST(Observer, CountsAsPartOfTheCallback) {
  Speaker speaker({}, KAVREL_EVENT_NONE);
  kavrel_result_t waited = KAVREL_SUCCESS;
  const Observer observer([&](const Observed& each) {
    if (each.event.type != KAVREL_EVENT_START) return;
    waited = kavrel_port_wait(speaker.port(), nullptr);
    kavrel_port_stop(speaker.port(), nullptr, KAVREL_EVENT_NOW);
  });
  speaker.speakAll("<break time=\"1000s\"/>");
  EXPECT_EQ(waited, KAVREL_ENGINE_INUSE);
}

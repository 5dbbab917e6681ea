// SPDX-License-Identifier: Apache-2.0
#include "Reference.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "kavrel_observer.h"

namespace test {

namespace {

// In the child process, whose only result are the files.
void speakInto(const Folder& folder, std::string_view text) {
  const Observer observer;
  Speaker speaker(folder.path("reference.aiff"));
  speaker.speakAll(text);
  std::ofstream events(folder.path("events"));
  for (const TimedEvent& event : observer.events()) {
    events << event.type << ' ' << event.sample << ' ' << event.text << '\n';
  }
}

std::vector<TimedEvent> readEvents(const std::string& file) {
  std::vector<TimedEvent> events;
  std::ifstream input(file);
  for (std::string line; std::getline(input, line);) {
    std::istringstream fields(line);
    TimedEvent event;
    fields >> event.type >> event.sample >> event.text;
    events.push_back(event);
  }
  return events;
}

}  // namespace

std::uint64_t Reference::sampleOf(const std::string& word) const {
  const auto found = std::find_if(events.begin(), events.end(), [&](const TimedEvent& event) {
    return event.type == KAVREL_EVENT_WORD && event.text == word;
  });
  EXPECT_NE(found, events.end()) << word;
  return found != events.end() ? found->sample : 0;
}

Reference referenceFor(std::string_view text) {
  const Folder folder;
  const pid_t child = fork();
  if (child == 0) {
    speakInto(folder, text);
    _exit(0);
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  return {readSamples(folder.path("reference.aiff")), readEvents(folder.path("events"))};
}

Observer::Observer() {
  kavrel_set_observer(
      [](const kavrel_observation* observation, void* user) {
        auto& self = *static_cast<Observer*>(user);
        const std::lock_guard held(self.m_lock);
        self.m_events.push_back({observation->type, observation->sample, observation->text,
                                 Clock::now(), observation->job});
      },
      this);
}

Observer::~Observer() {
  kavrel_set_observer(nullptr, nullptr);
}

std::vector<TimedEvent> Observer::events() const {
  const std::lock_guard held(m_lock);
  return m_events;
}

Comparison compare(const Recording& heard, const Reference& reference) {
  const std::vector<std::int16_t>& expected = reference.samples;
  const auto first =
      std::find_if(expected.begin(), expected.end(), [](int sample) { return sample != 0; });
  const auto lead = static_cast<std::size_t>(first - expected.begin());
  const std::size_t sound = heard.firstSound();
  Comparison result;
  result.offset = static_cast<std::int64_t>(sound) - static_cast<std::int64_t>(lead);
  result.same = lead;
  std::size_t at = sound;
  const auto matches = [&](std::size_t place, std::size_t index) {
    return place < heard.samples.size() && heard.samples[place] == expected[index];
  };
  while (result.same < expected.size() && matches(at, result.same)) ++result.same, ++at;
  // Of silences that meet, the pause is the later part.
  while (at < heard.samples.size() && heard.samples[at] == 0) ++result.pause, ++at;
  if (at == heard.samples.size()) return result;
  // The reference goes on with as much silence as was taken for the pause.
  std::size_t silent = 0;
  while (result.same + silent < expected.size() && expected[result.same + silent] == 0) ++silent;
  silent = std::min(silent, result.pause);
  result.pause -= silent;
  result.sameAfter = silent;
  while (result.same + result.sameAfter < expected.size() &&
         matches(at, result.same + result.sameAfter)) {
    ++result.sameAfter, ++at;
  }
  return result;
}

}  // namespace test

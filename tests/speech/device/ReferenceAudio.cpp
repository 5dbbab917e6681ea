// SPDX-License-Identifier: Apache-2.0
#include "ReferenceAudio.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "kavrel_observer.h"

namespace test {

namespace {

// Runs in the child process, whose only results are the files.
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
  Comparison result;
  // The silence at the start of the reference is a part of the recording's silence.
  const auto lead = static_cast<std::size_t>(first - expected.begin());
  EXPECT_GE(heard.firstSound(), lead);
  while (result.same < lead) {
    result.positions.push_back(heard.firstSound() + result.same - lead);
    ++result.same;
  }
  std::size_t added = 0;  // silence, here
  const std::size_t end = heard.lastSound() + 1;
  for (std::size_t at = heard.firstSound(); at < end && result.same < expected.size(); ++at) {
    if (heard.samples[at] == expected[result.same]) {
      result.positions.push_back(at);
      ++result.same;
      added = 0;
    } else if (heard.samples[at] == 0) {
      if (++added > result.pause) {
        result.pause = added;
        result.pauseAt = result.same;
      }
    } else {
      return result;
    }
  }
  // The silence at the end of the recording stands for that of the reference.
  while (result.same < expected.size() && expected[result.same] == 0) {
    result.positions.push_back(result.positions.back() + 1);
    ++result.same;
  }
  return result;
}

}  // namespace test

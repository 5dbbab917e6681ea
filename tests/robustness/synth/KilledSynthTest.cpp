// SPDX-License-Identifier: Apache-2.0
//
// The synthesiser's processes are killed and stopped at random moments, while they start, speak or
// wait: the audio and the events are the same to the byte, and every job ends.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <iostream>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Disturber.h"
#include "workloads/Prose.h"

namespace {

using namespace hosts;

constexpr unsigned kSeed = 11;

// Prose with a mark before each tenth word, and what it has.
struct MarkedProse {
  std::string text;
  std::vector<std::string> words;
  int marks = 0;
};

MarkedProse markedProse(std::size_t bytes) {
  constexpr std::size_t kEvery = 10;
  MarkedProse prose;
  std::istringstream in(workloads::prose(bytes));
  for (std::string word; in >> word;) {
    if (prose.words.size() % kEvery == 0) {
      prose.text += "<mark name=\"" + std::to_string(++prose.marks) + "\"/>";
    }
    prose.text += word + ' ';
    word.erase(word.find_last_not_of(".,?") + 1);
    prose.words.push_back(word);
  }
  return prose;
}

struct Spoken {
  std::string events;
  std::string audio;
  bool operator==(const Spoken&) const = default;
};

// A text that is spoken to a file, again and again.
class DisturbedText {
 public:
  explicit DisturbedText(std::size_t bytes) : m_prose(markedProse(bytes)) {
    m_folder.write("text", m_prose.text);
    const Clock::time_point begin = Clock::now();
    RunningHost host(m_folder, {"file=" + m_folder.file("audio"), "text=One.", "speak"});
    host.finish();
    m_start = std::chrono::ceil<milliseconds>(Clock::now() - begin);
    RunningHost undisturbed(m_folder, steps());
    m_spoken = {undisturbed.finish().out, program::contentsOf(m_folder.file("audio"))};
  }

  const HostFolder& folder() const { return m_folder; }
  std::vector<std::string> steps() const {
    return {"text-file=" + m_folder.file("text"), "file=" + m_folder.file("audio"), "speak"};
  }
  // The time that a process takes to start and to speak a little.
  milliseconds start() const { return m_start; }

  // Every word and every mark comes once and in order.
  void expectComplete() const {
    std::vector<std::string> words;
    int marks = 0;
    for (const std::string& line : linesOf(m_spoken.events)) {
      const std::string content = line.substr(line.rfind(' ') + 1);
      if (line.starts_with("32 ")) words.push_back(content);
      if (line.starts_with("64 ")) {
        EXPECT_EQ(content, std::to_string(++marks));
      }
    }
    EXPECT_TRUE(words == m_prose.words);
    EXPECT_EQ(marks, m_prose.marks);
    EXPECT_GT(m_spoken.audio.size(), m_prose.text.size() * 500);
  }

  // Ends `host`, which speaks the text.
  void expectSame(RunningHost& host) const {
    const program::Result result = host.finish();
    const Spoken spoken{result.out, program::contentsOf(m_folder.file("audio"))};
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(spoken == m_spoken) << firstDifference(spoken) << '\n' << result.err;
  }

 private:
  // The first event that is not as expected, or the sizes of the audio.
  std::string firstDifference(const Spoken& spoken) const {
    const std::vector<std::string> expected = linesOf(m_spoken.events);
    const std::vector<std::string> actual = linesOf(spoken.events);
    const auto [wanted, found] = std::ranges::mismatch(expected, actual);
    if (wanted != expected.end() || found != actual.end()) {
      return "expected " + (wanted != expected.end() ? *wanted : "no event") + ", found " +
             (found != actual.end() ? *found : "no event");
    }
    return std::to_string(spoken.audio.size()) + " bytes of audio instead of " +
           std::to_string(m_spoken.audio.size());
  }

  HostFolder m_folder;
  const MarkedProse m_prose;
  milliseconds m_start{0};
  Spoken m_spoken;
};

void expectSameUnderKills(std::size_t bytes, int kills) {
  const DisturbedText text(bytes);
  text.expectComplete();
  std::mt19937 random(kSeed);
  int killed = 0;
  int runs = 0;
  // A run may end before the first kill.
  for (; killed < kills && runs < kills && !testing::Test::HasFailure(); ++runs) {
    RunningHost host(text.folder(), text.steps());
    killed += killWhileRunning(text.folder(), host, 2 * text.start(), kills - killed, random);
    text.expectSame(host);
  }
  EXPECT_GT(killed, kills / 2);
  EXPECT_TRUE(text.folder().processesEnd());
  std::cout << killed << " kills in " << runs << " runs, seed " << kSeed << '\n';
}

// Each thread has a folder of its own, so it knows which processes are its host's. They mostly wait
// for the engine's time limit.
void expectSameUnderStops(std::size_t bytes, int threads, int stopsEach) {
  std::vector<std::jthread> disturbers;
  disturbers.reserve(static_cast<std::size_t>(threads));
  std::atomic<int> total{0};
  for (int number = 0; number < threads; ++number) {
    disturbers.emplace_back([&, number] {
      const DisturbedText text(bytes);
      std::mt19937 random(kSeed + static_cast<unsigned>(number));
      for (int stopped = 0; stopped < stopsEach && !testing::Test::HasFailure();) {
        RunningHost host(text.folder(), text.steps());
        const int more =
            stopWhileRunning(text.folder(), host, text.start(), stopsEach - stopped, random);
        text.expectSame(host);
        stopped += more;
        total += more;
      }
      EXPECT_TRUE(text.folder().processesEnd());
    });
  }
  disturbers.clear();
  std::cout << total << " stops, seeds from " << kSeed << '\n';
}

void expectAllJobsUnderKills(int jobs, int kills) {
  const HostFolder folder;
  std::mt19937 random(kSeed);
  RunningHost host(folder, {"file=" + folder.file("audio"), "jobs=" + std::to_string(jobs)});
  const int killed = killWhileRunning(folder, host, milliseconds(250), kills, random);
  const program::Result result = host.finish();
  const std::string number = std::to_string(jobs);
  EXPECT_EQ(linesOf(result.out), std::vector{"jobs " + number + " 0 " + std::to_string(3 * jobs)})
      << result.err;
  EXPECT_GT(killed, 0);
  EXPECT_TRUE(folder.processesEnd());
  std::cout << killed << " kills, seed " << kSeed << '\n';
}

}  // namespace

TEST(KilledSynth, GivesTheSameFileAndEventsAsAnUndisturbedOne) {
  expectSameUnderKills(3000, 15);
}

TEST(KilledSynth, EndsEveryJobOfManyPorts) {
  expectAllJobsUnderKills(200, 1000);
}

TEST(StoppedSynth, GivesTheSameFileAndEventsAsAnUndisturbedOne) {
  expectSameUnderStops(1000, 4, 1);
}

TEST(FullKilledSynth, GivesTheSameFileAndEventsAfterAThousandKills) {
  expectSameUnderKills(100'000, 1000);
}

TEST(FullKilledSynth, EndsTenThousandJobsOfManyPorts) {
  expectAllJobsUnderKills(10'000, 10'000);
}

TEST(FullStoppedSynth, GivesTheSameFileAndEventsAfterThreeHundredStops) {
  expectSameUnderStops(3000, 20, 15);
}

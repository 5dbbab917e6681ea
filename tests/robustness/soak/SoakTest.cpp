// SPDX-License-Identifier: Apache-2.0
//
// Many jobs on the real engine: several channels at the same time, each with one job after the
// other, with output to files.
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "KavrelSpeechEngine.h"
#include "speakers/ChannelSpeaker.h"

namespace {

using speech::Speaker;
using speech::TemporaryFolder;

constexpr int kChannels = 4;

const char* const kTexts[] = {
    "The kettle is on.",
    "The [[rate 260]]post has [[emph +]]come; [[slnc 50]]twelve letters.",
    "[[volm 0.4; pbas +4]]Nobody had lit the lamps[[rset 0]], and it rained.",
    "[[inpt PHON]]hEH1lOW[[inpt TEXT]] again & again, [[nmbr LTRL]]42 times.",
    "",
};

long threads() {
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return std::distance(begin(tasks), end(tasks));
}

// Returns the first failure of one channel; empty if there is none.
std::string speakJobs(int channel, int jobs, const TemporaryFolder& folder) {
  Speaker speaker;
  for (int job = 1; job <= jobs; ++job) {
    const std::string name = std::to_string(channel) + "-" + std::to_string(job) + ".aiff";
    const std::string text = kTexts[static_cast<std::size_t>(channel + job) % std::size(kTexts)];
    // Settings change before every job, as clients change them.
    speaker.setRate(180 + 10 * ((channel + job) % 8));
    speaker.writeTo(folder / name);
    if (speaker.speak(text) != noErr) return name + " is refused";
    if (!speaker.waitForDone(static_cast<std::size_t>(job))) return name + " does not end";
    if (speaker.doneCount() != static_cast<std::size_t>(job)) return name + " ends twice";
    const double seconds = speech::soundIn(folder / name).seconds();
    if (!text.empty() && (seconds < 0.3 || seconds > 20)) return name + " has a strange length";
    std::filesystem::remove(folder / name);
  }
  return speaker.close() == noErr ? "" : "a channel does not close";
}

void soak(int jobs) {
  const TemporaryFolder folder;
  {
    // The first job starts the engine's own threads.
    Speaker first;
    first.writeTo(folder / "first.aiff");
    ASSERT_EQ(first.speak("One."), noErr);
    ASSERT_TRUE(first.waitForDone());
  }
  const long threadsBefore = threads();
  std::vector<std::string> failures(kChannels);
  std::vector<std::thread> clients;
  for (int channel = 0; channel < kChannels; ++channel) {
    clients.emplace_back([&, channel] {
      failures[static_cast<std::size_t>(channel)] = speakJobs(channel, jobs, folder);
    });
  }
  for (std::thread& client : clients) client.join();
  for (const std::string& failure : failures) EXPECT_EQ(failure, "");
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (threads() > threadsBefore && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::yield();
  }
  EXPECT_LE(threads(), threadsBefore) << "a thread is still running";
}

TEST(Soak, FourChannelsSpeakFiftyJobsEachIntoFiles) {
  soak(50);
}

TEST(FullSoak, FourChannelsSpeakTwoThousandJobsEachIntoFiles) {
  soak(2000);
}

}  // namespace

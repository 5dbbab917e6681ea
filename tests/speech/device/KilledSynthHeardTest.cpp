// SPDX-License-Identifier: Apache-2.0
//
// The synthesiser's processes are killed while a device plays: no gap is heard.
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "HeardMeasures.h"
#include "ReferenceAudio.h"

using namespace test;

namespace {

namespace fs = std::filesystem;

// The synthesiser's processes of this process, which has a descriptor of each.
std::vector<pid_t> synthesisers() {
  std::vector<pid_t> found;
  for (const auto& entry : fs::directory_iterator("/proc/self/fdinfo")) {
    std::ifstream info(entry.path());
    for (std::string line; std::getline(info, line);) {
      const pid_t process = line.starts_with("Pid:") ? std::stoi(line.substr(4)) : 0;
      std::ifstream command("/proc/" + std::to_string(process) + "/cmdline");
      std::string program;
      std::getline(command, program, '\0');
      if (process > 0 && program.ends_with("/kavrel-synth")) found.push_back(process);
    }
  }
  return found;
}

// Kills all of them once a second while it exists, and their workers with them.
class Killer {
 public:
  Killer() : m_thread([this](const std::stop_token& stop) { run(stop); }) {}
  // Ends the thread and returns how many were killed.
  int stop() {
    m_thread.request_stop();
    m_thread.join();
    return m_killed;
  }

 private:
  void run(const std::stop_token& stop) {
    constexpr std::chrono::milliseconds kSlice(10);
    constexpr int kSlices = 100;
    for (int slice = 1; !stop.stop_requested(); ++slice) {
      std::this_thread::sleep_for(kSlice);
      if (slice % kSlices != 0) continue;
      for (const pid_t process : synthesisers()) {
        if (::kill(process, SIGKILL) == 0) ++m_killed;
      }
    }
  }

  int m_killed = 0;
  std::jthread m_thread;
};

}  // namespace

// The engine reports its own gaps in a diagnostic line. The recording has others, too, up to a
// tenth of a second, when the machine does other work.
TEST(HeardUnderKills, HasNoGapAndLosesNothing) {
  std::string text;
  for (int number = 0; number < 5; ++number) text += "One two three four five. ";
  const SoundServer server;
  const Reference reference = referenceFor(text);
  const Diagnostics diagnostics;
  const Lateness lateness;
  Recorder recorder;
  Speaker speaker;
  Killer killer;
  const std::vector<Event> events = speaker.speakAll(text);
  const int killed = killer.stop();
  const Comparison found = compare(recorder.whenSilentFor(kQuiet), reference);
  EXPECT_EQ(found.same, reference.samples.size());
  EXPECT_LT(static_cast<double>(found.pause) * 1000 / kRate, 200 + lateness.worst());
  EXPECT_EQ(ofType(events, KAVREL_EVENT_WORD).size(), 25u);
  EXPECT_TRUE(ofType(events, KAVREL_EVENT_ERROR).empty());
  EXPECT_EQ(diagnostics.lines(), std::vector<std::string>());
  EXPECT_GE(killed, 3);
  std::cout << killed << " kills; longest silence inserted " << found.pause * 1000 / kRate
            << " ms\n";
}

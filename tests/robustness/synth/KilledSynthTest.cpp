// SPDX-License-Identifier: Apache-2.0
//
// The real synthesiser is killed at random moments: every call gives what it gives when
// nothing happens.
#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "synth/synth_pool.h"
#include "synth/synth_program.h"
#include "synth/synthesiser.h"
#include "synth/voice.h"

namespace {

using kavrel::SynthAudio;
using kavrel::Synthesiser;
using kavrel::SynthPool;
using std::chrono::milliseconds;

// A copy of the program under a name of its own, so that only processes of this test are hit.
class ProgramCopy {
 public:
  ProgramCopy()
      : m_path(std::filesystem::temp_directory_path() /
               ("kavrel-synth-" + std::to_string(::getpid()))) {
    std::filesystem::copy_file(kavrel::synthProgram(), m_path,
                               std::filesystem::copy_options::overwrite_existing);
  }
  ~ProgramCopy() { std::filesystem::remove(m_path); }
  ProgramCopy(const ProgramCopy&) = delete;
  ProgramCopy& operator=(const ProgramCopy&) = delete;

  std::string path() const { return m_path.string(); }

  // The processes that run it.
  std::vector<pid_t> processes() const {
    std::vector<pid_t> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
      const std::string name = entry.path().filename().string();
      if (name.find_first_not_of("0123456789") != std::string::npos) continue;
      std::ifstream file(entry.path() / "cmdline");
      std::string program;
      std::getline(file, program, '\0');
      if (program == path()) found.push_back(std::stoi(name));
    }
    return found;
  }

 private:
  const std::filesystem::path m_path;
};

Synthesiser::Input sentence(int number) {
  Synthesiser::Input input;
  const std::wstring mark = L"\x01";
  int count = 0;
  for (const std::wstring word : {L"this", L"is", L"sentence", L"number"}) {
    input.text += mark + std::to_wstring(++count) + L"M " + word + L" ";
  }
  input.text += mark + std::to_wstring(++count) + L"M " + std::to_wstring(number) + L" ";
  return input;
}

SynthAudio spoken(int number) {
  SynthAudio audio;
  std::string why;
  EXPECT_TRUE(Synthesiser::shared().speak(sentence(number), kavrel::Voice(), {}, audio, why))
      << why;
  return audio;
}

constexpr int kSentences = 20;

// Speaks on two threads while random processes are killed, and compares. A process must have time
// to start between two kills, else the engine rightly gives up.
void expectSameUnderKills(milliseconds start, const ProgramCopy& program,
                          const std::vector<SynthAudio>& undisturbed) {
  constexpr unsigned kSeed = 11;
  constexpr int kKills = 8;
  std::mt19937 random(kSeed);
  std::atomic<int> sent{0};
  std::vector<std::jthread> threads;
  for (int thread = 0; thread < 2; ++thread) {
    threads.emplace_back([&, thread] {
      for (int turn = thread; sent < kKills; ++turn) {
        const SynthAudio audio = spoken(turn % kSentences);
        const SynthAudio& before = undisturbed[static_cast<std::size_t>(turn % kSentences)];
        EXPECT_TRUE(audio.events() == before.events());
        EXPECT_TRUE(audio.samples() == before.samples());
      }
    });
  }
  while (sent < kKills) {
    std::this_thread::sleep_for(start * (100 + random() % 300) / 50);
    const std::vector<pid_t> processes = program.processes();
    if (processes.empty()) continue;
    if (::kill(processes[random() % processes.size()], SIGKILL) == 0) ++sent;
  }
  threads.clear();
  std::cout << sent << " kills, seed " << kSeed << '\n';
}

}  // namespace

TEST(KilledSynth, GivesTheSameSpeechAsAnUndisturbedOne) {
  const ProgramCopy program;
  kavrel::SynthProcess::Limits limits;
  limits.start = milliseconds(5000);
  SynthPool::shared().useProgram(program.path(), limits);
  std::vector<SynthAudio> undisturbed;
  const auto begin = base::Clock::now();
  spoken(0);
  const auto start = std::chrono::ceil<milliseconds>(base::Clock::now() - begin);
  for (int number = 0; number < kSentences; ++number) undisturbed.push_back(spoken(number));
  EXPECT_FALSE(undisturbed[1].events() == undisturbed[2].events());
  expectSameUnderKills(start, program, undisturbed);
  SynthPool::shared().useProgram(kavrel::synthProgram(), {});
  // Nobody is left, killed or not.
  const auto limit = base::Clock::now() + std::chrono::seconds(10);
  while (!program.processes().empty() && base::Clock::now() < limit) {
    std::this_thread::sleep_for(milliseconds(10));
  }
  EXPECT_TRUE(program.processes().empty());
}

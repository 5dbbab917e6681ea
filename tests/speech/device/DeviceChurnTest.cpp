// SPDX-License-Identifier: Apache-2.0
//
// Many jobs, stopped at random times: no thread, descriptor or memory is leaked.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>

#include <gtest/gtest.h>

#include "HeardMeasures.h"

using namespace test;

namespace {

std::size_t entriesIn(const char* folder) {
  const std::filesystem::directory_iterator entries(folder);
  return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

// In bytes.
std::size_t residentMemory() {
  std::ifstream status("/proc/self/statm");
  std::size_t pages = 0;
  status >> pages >> pages;
  return pages * 4096;
}

void speakAndStop(Speaker& speaker, std::minstd_rand& random, int jobs) {
  for (int job = 0; job < jobs; ++job) {
    ASSERT_EQ(speaker.speak(kProse), KAVREL_SUCCESS);
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 30'000));
    if (random() % 3 == 0) kavrel_port_pause(speaker.port(), nullptr, KAVREL_EVENT_NOW);
    ASSERT_EQ(kavrel_port_stop(speaker.port(), nullptr, KAVREL_EVENT_NOW), KAVREL_SUCCESS);
    ASSERT_EQ(kavrel_port_wait(speaker.port(), nullptr), KAVREL_SUCCESS);
  }
}

void expectNothingStays(int jobs) {
  const SoundServer server;
  const unsigned seed = std::random_device()();
  SCOPED_TRACE(seed);
  std::minstd_rand random(seed);
  Speaker speaker({}, KAVREL_EVENT_END);
  const std::size_t threads = idleThreads();
  // The C library's memory for threads grows to its usual size first.
  constexpr int kFirst = 100;
  speakAndStop(speaker, random, kFirst);
  ASSERT_TRUE(threadsFallTo(threads));
  const std::size_t descriptors = entriesIn("/proc/self/fd");
  const std::size_t memory = residentMemory();
  speakAndStop(speaker, random, jobs);
  EXPECT_EQ(speaker.events().size(), static_cast<std::size_t>(jobs + kFirst));
  EXPECT_TRUE(threadsFallTo(threads));
  // Idle synthesiser processes have three each.
  constexpr std::size_t kSynthesisers = std::size_t{3} * 4;
  EXPECT_LT(entriesIn("/proc/self/fd"), descriptors + kSynthesisers);
#if !defined(__SANITIZE_ADDRESS__)  // which keeps freed memory
  EXPECT_LT(residentMemory(), memory + 2'000'000);
#else
  static_cast<void>(memory);
#endif
}

}  // namespace

TEST(Churn, AHundredJobsLeakNothing) {
  expectNothingStays(100);
}

TEST(Churn, AThousandJobsLeakNothing) {
  expectNothingStays(1000);
}

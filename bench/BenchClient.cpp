// SPDX-License-Identifier: Apache-2.0
//
// kavrel-bench-client: a client of the plug-in, for what has to be measured in a process of its
// own.
//
//   kavrel-bench-client first-sound        the nanoseconds from the first call of the interface to
//                                          the first audio that is passed to the output, a file
//   kavrel-bench-client memory TEXT [FILE] speaks the file TEXT to the sound output, or into FILE;
//                                          prints this process's memory meanwhile, the median of
//                                          several moments: bytes resident, and private bytes
//   kavrel-bench-client stop               speaks to the sound device; prints the nanoseconds from
//                                          an immediate stop to speech-done, the median of several
//                                          stops
//
// Exit status: 0; 1 on failure; 3 if there is no sound device.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "BenchUtterance.h"
#include "ProcessMemory.h"
#include "SpeakingChannel.h"
#include "WallClock.h"
#include "workloads/Prose.h"

namespace {

using bench::Clock;
using bench::SpeakingChannel;

constexpr int kNoDevice = 3;

template <typename Value>
Value median(std::vector<Value> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

void printNanoseconds(double seconds) {
  std::printf("%.0f\n", seconds * 1e9);
}

int measureFirstSound() {
  const Clock::time_point begun = Clock::now();
  SpeakingChannel channel("/dev/null");
  if (!channel.speak(bench::kUtterance)) return 1;
  printNanoseconds(bench::secondsBetween(begun, channel.waitForSound()));
  channel.waitUntilDone();
  return 0;
}

// Begins some time after the first audio, when the job has as much audio in memory as it will have.
int measureMemory(const char* textFile, const char* audioFile) {
  constexpr int kMoments = 5;
  constexpr std::chrono::milliseconds kSettle{300};
  constexpr std::chrono::milliseconds kBetween{30};
  std::ifstream stream(textFile);
  const std::string text{std::istreambuf_iterator<char>(stream), {}};
  SpeakingChannel channel(audioFile);
  if (text.empty() || !channel.speak(text)) return 1;
  channel.waitForSound();
  std::this_thread::sleep_for(kSettle);
  std::vector<std::size_t> resident;
  std::vector<std::size_t> own;
  for (int moment = 0; moment < kMoments; ++moment) {
    std::this_thread::sleep_for(kBetween);
    const auto memory = bench::ownMemory();
    if (!memory.has_value()) return 1;
    resident.push_back(memory->resident);
    own.push_back(memory->own);
  }
  channel.stop();
  channel.waitUntilDone();
  std::printf("%zu %zu\n", median(resident), median(own));
  return 0;
}

int measureStop() {
  constexpr int kStops = 7;
  const kavrel_device_callback_t ignore = [](const char*, const char*, int, void*) {};
  if (kavrel_audio_devices(ignore, nullptr) < 1) return kNoDevice;
  SpeakingChannel channel(nullptr);
  const std::string text = workloads::prose(10'000);
  std::vector<double> seconds;
  for (int stop = 0; stop < kStops; ++stop) {
    if (!channel.speak(text)) return 1;
    channel.waitForSound();
    const Clock::time_point asked = Clock::now();
    channel.stop();
    seconds.push_back(bench::secondsBetween(asked, channel.waitUntilDone()));
  }
  printNanoseconds(median(seconds));
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  const auto is = [&](const char* mode) {
    return count >= 2 && std::strcmp(arguments[1], mode) == 0;
  };
  if (count == 2 && is("first-sound")) return measureFirstSound();
  if ((count == 3 || count == 4) && is("memory")) {
    return measureMemory(arguments[2], count == 4 ? arguments[3] : nullptr);
  }
  if (count == 2 && is("stop")) return measureStop();
  return 1;
}

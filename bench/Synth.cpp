// SPDX-License-Identifier: Apache-2.0
//
// kavrel-bench-synth: prints the nanoseconds from a call of espeak-ng to its first block of
// samples, the minimum of several calls. A separate program, because the library's state is global
// to the process. Exit status: 0; 1 if the library or the voice cannot be used.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <limits>
#include <string_view>

#include <espeak-ng/speak_lib.h>

namespace {

using Clock = std::chrono::steady_clock;

Clock::time_point firstSound;
bool isFirst = false;

int onSound(short* /*samples*/, int count, espeak_EVENT* /*events*/) {
  if (isFirst && count > 0) {
    firstSound = Clock::now();
    isFirst = false;
  }
  return 0;
}

// The time from the call to the first samples, in nanoseconds.
double timeToSound() {
  constexpr std::string_view kText = "Hello world again now.";
  isFirst = true;
  const Clock::time_point asked = Clock::now();
  espeak_Synth(kText.data(), kText.size() + 1, 0, POS_CHARACTER, 0, espeakCHARS_UTF8, nullptr,
               nullptr);
  return std::chrono::duration<double, std::nano>(firstSound - asked).count();
}

}  // namespace

int main() {
  constexpr int kBlockMilliseconds = 500;
  constexpr int kRounds = 20;
  if (espeak_Initialize(AUDIO_OUTPUT_SYNCHRONOUS, kBlockMilliseconds, nullptr, 0) < 0) return 1;
  espeak_SetSynthCallback(&onSound);
  if (espeak_SetVoiceByName("en-us") != EE_OK) return 1;
  double least = std::numeric_limits<double>::max();
  for (int round = 0; round < kRounds; ++round) least = std::min(least, timeToSound());
  std::printf("%f\n", least);
  return 0;
}

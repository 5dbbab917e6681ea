// SPDX-License-Identifier: GPL-3.0-or-later
//
// kavrel-bench-anchor: measures espeak-ng alone, used as a library inside one process. A separate
// program, because the library's state is global to the process.
//
//   kavrel-bench-anchor first-sound   the nanoseconds from a call to its first samples, the minimum
//                                     of several calls
//   kavrel-bench-anchor memory TEXT   speaks the file TEXT; prints this process's memory after a
//                                     minute of audio: bytes resident, and private bytes
//
// Exit status: 0; 1 if the library, the voice or the text cannot be used.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include <espeak-ng/speak_lib.h>

#include "ProcessMemory.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kSampleRate = 22050;

// ---- Time to the first samples

Clock::time_point firstSound;
bool isFirst = false;

int noteFirst(short* /*samples*/, int count, espeak_EVENT* /*events*/) {
  if (isFirst && count > 0) {
    firstSound = Clock::now();
    isFirst = false;
  }
  return 0;
}

void speak(std::string_view text) {
  espeak_Synth(text.data(), text.size() + 1, 0, POS_CHARACTER, 0, espeakCHARS_UTF8, nullptr,
               nullptr);
}

// In nanoseconds.
double timeToSound() {
  isFirst = true;
  const Clock::time_point asked = Clock::now();
  speak("Hello world again now.");
  return std::chrono::duration<double, std::nano>(firstSound - asked).count();
}

void measureFirstSound() {
  constexpr int kRounds = 20;
  espeak_SetSynthCallback(&noteFirst);
  double least = std::numeric_limits<double>::max();
  for (int round = 0; round < kRounds; ++round) least = std::min(least, timeToSound());
  std::printf("%f\n", least);
}

// ---- Memory

std::optional<bench::ProcessMemory> memory;
int samplesSoFar = 0;

// Ends the call once it has measured.
int noteMemory(short* /*samples*/, int count, espeak_EVENT* /*events*/) {
  samplesSoFar += count;
  if (samplesSoFar >= 60 * kSampleRate) memory = bench::ownMemory();
  return memory.has_value() ? 1 : 0;
}

bool measureMemory(const char* file) {
  std::ifstream stream(file);
  const std::string text{std::istreambuf_iterator<char>(stream), {}};
  espeak_SetSynthCallback(&noteMemory);
  speak(text);
  if (!memory.has_value()) return false;
  std::printf("%zu %zu\n", memory->resident, memory->own);
  return true;
}

}  // namespace

int main(int count, char** arguments) {
  constexpr int kBlockMilliseconds = 500;
  if (espeak_Initialize(AUDIO_OUTPUT_SYNCHRONOUS, kBlockMilliseconds, nullptr, 0) < 0) return 1;
  if (espeak_SetVoiceByName("en-us") != EE_OK) return 1;
  if (count == 3 && std::strcmp(arguments[1], "memory") == 0) {
    return measureMemory(arguments[2]) ? 0 : 1;
  }
  if (count != 2 || std::strcmp(arguments[1], "first-sound") != 0) return 1;
  measureFirstSound();
  return 0;
}

// SPDX-License-Identifier: Apache-2.0
//
// Speech: measures the plug-in on the real engine, in this process. All times are wall-clock times,
// since several threads and processes do the work. The sound output is the clock: main() has
// switched devices off.
#include <string>

#include "ClockTimes.h"
#include "SpeakingChannel.h"
#include "Workloads.h"
#include "workloads/Prose.h"

namespace bench {

namespace {

void stopNow(benchmark::State& state, const char* file) {
  ClockTimes times(state);
  SpeakingChannel channel(file);
  const std::string text = workloads::prose(100'000);
  while (state.KeepRunning()) {
    if (!channel.speak(text)) {
      state.SkipWithError("the channel does not speak");
      break;
    }
    channel.waitForSound();
    const Clock::time_point asked = Clock::now();
    channel.stop();
    times.add(secondsBetween(asked, channel.waitUntilDone()));
  }
}

// The first utterance makes the channel and the synthesiser warm. On the clock, each is stopped
// once it is heard.
void speakToSound(benchmark::State& state, const char* file) {
  ClockTimes times(state);
  SpeakingChannel channel(file);
  channel.speak("Hello.");
  channel.waitUntilDone();
  while (state.KeepRunning()) {
    const Clock::time_point asked = Clock::now();
    if (!channel.speak(kUtterance)) {
      state.SkipWithError("the channel does not speak");
      break;
    }
    if (file != nullptr) {
      times.add(secondsBetween(asked, channel.waitForSound()));
    } else {
      times.add(secondsBetween(asked, channel.waitForAudio()));
      channel.waitForSound();
      channel.stop();
    }
    channel.waitUntilDone();
  }
}

}  // namespace

void registerSpeech() {
  const auto add = [](const char* name, std::int64_t iterations, auto workload, auto... arguments) {
    benchmark::RegisterBenchmark(name, workload, arguments...)
        ->UseManualTime()
        ->Iterations(iterations);
  };
  constexpr const char* kClock = nullptr;
  constexpr const char* kFile = "/dev/null";
  add("P12/stop-now", 15, stopNow, kClock);
  add("P12/stop-now-in-file", 20, stopNow, kFile);
  add("P13/speak-to-sound/56B", 50, speakToSound, kFile);
  add("P13/speak-to-sound-on-clock/56B", 15, speakToSound, kClock);
}

}  // namespace bench

// SPDX-License-Identifier: Apache-2.0
//
// Speech, as whole processes: kavrel-say, kavrel-bench-client, espeak-ng's own program and
// kavrel-bench-anchor. What is compared runs in turn within each iteration, so that a change of the
// machine's load concerns both. All times are wall-clock times.
#include <algorithm>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "ClockTimes.h"
#include "Processes.h"
#include "Workloads.h"
#include "workloads/Prose.h"

namespace bench {

namespace {

constexpr const char* kClient = KAVREL_BENCH_CLIENT;
constexpr const char* kAnchor = KAVREL_BENCH_ANCHOR;
constexpr const char* kSay = KAVREL_BENCH_SAY;

// P6's utterance without its commands, which espeak-ng's program would speak.
constexpr const char* kPlainUtterance = "Hello world again now.";

// A folder with a text of `bytes` bytes, and the name of a file for its audio.
struct TextFolder {
  explicit TextFolder(std::size_t bytes) { std::ofstream(text) << workloads::prose(bytes); }

  const ScratchFolder folder;
  const std::string text = folder / "text";
  const std::string audio = folder / "audio";
};

void renderFile(benchmark::State& state) {
  const TextFolder files(100'000);
  while (state.KeepRunning()) {
    const auto theirs = run({"espeak-ng", "-v", "en-us", "-f", files.text, "-w", files.audio});
    const auto ours = run({kSay, "-f", files.text, "-o", files.audio});
    if (!theirs.has_value() || !ours.has_value()) {
      state.SkipWithError("kavrel-say or espeak-ng failed");
      break;
    }
    state.SetIterationTime(*ours);
    state.counters[kAnchorSeconds] = *theirs;
    state.counters[kRatio] = *ours / *theirs;
  }
}

// Rationale: no option limits the number of synthesiser processes, so the processors are limited.
// On one of them the processes work in turn, and share it with the client; the client's part is
// small.
void renderOnProcessors(benchmark::State& state) {
  if (Processors::available() < 2) {
    state.SkipWithError("not measured: it needs two processors");
    return;
  }
  const TextFolder files(25'000);
  const Command command = {kSay, "-f", files.text, "-o", files.audio};
  const auto runOn = [&](int count) {
    const Processors processors(count);
    return run(command);
  };
  while (state.KeepRunning()) {
    const auto one = runOn(1);
    const auto two = runOn(2);
    if (!one.has_value() || !two.has_value()) {
      state.SkipWithError("kavrel-say failed");
      break;
    }
    state.SetIterationTime(*two);
    state.counters[kAnchorSeconds] = *one;
    state.counters[kSpeedUp] = *one / *two;
  }
}

void speakFirst(benchmark::State& state) {
  ClockTimes times(state);
  std::vector<double> theirs;
  while (state.KeepRunning()) {
    const auto theirRun = run({"espeak-ng", "-v", "en-us", "-w", "/dev/null", kPlainUtterance});
    const std::vector<double> nanoseconds = runForNumbers({kClient, "first-sound"});
    if (!theirRun.has_value() || nanoseconds.size() != 1) {
      state.SkipWithError("kavrel-bench-client or espeak-ng failed");
      break;
    }
    times.add(nanoseconds[0] / 1e9);
    theirs.push_back(*theirRun);
  }
  if (theirs.empty()) return;
  std::sort(theirs.begin(), theirs.end());
  state.counters[kAnchorSeconds] = theirs[theirs.size() / 2];
}

void stopOnDevice(benchmark::State& state) {
  const SoundServer server;
  constexpr int kNoDevice = 3;
  while (state.KeepRunning()) {
    int status = kNoDevice;
    std::vector<double> nanoseconds;
    if (server.isRunning()) {
      nanoseconds = runForNumbers(server.reach({kClient, "stop"}), &status);
    }
    if (nanoseconds.size() != 1) {
      state.SkipWithError(status == kNoDevice ? "not measured: no sound server can be started"
                                              : "kavrel-bench-client failed");
      break;
    }
    state.SetIterationTime(nanoseconds[0] / 1e9);
  }
}

enum class Memory { Resident, Own };

void measureMemory(benchmark::State& state, Memory memory, bool intoFile) {
  const TextFolder files(100'000);
  Command client = {kClient, "memory", files.text};
  if (intoFile) client.push_back(files.audio);
  const std::size_t which = memory == Memory::Resident ? 0 : 1;
  while (state.KeepRunning()) {
    const Clock::time_point begun = Clock::now();
    const std::vector<double> theirs = runForNumbers({kAnchor, "memory", files.text});
    const std::vector<double> ours = runForNumbers(client);
    if (theirs.size() != 2 || ours.size() != 2) {
      state.SkipWithError("kavrel-bench-client or kavrel-bench-anchor failed");
      break;
    }
    state.SetIterationTime(secondsBetween(begun, Clock::now()));
    state.counters[kBytes] = ours[which];
    state.counters[kAnchorBytes] = theirs[which];
  }
}

// The synthesiser in a process of its own, without ours.
void measureSynthesiser(benchmark::State& state) {
  while (state.KeepRunning()) {
    const std::vector<double> nanoseconds = runForNumbers({kAnchor, "first-sound"});
    if (nanoseconds.size() != 1) {
      state.SkipWithError("kavrel-bench-anchor failed");
      break;
    }
    state.SetIterationTime(nanoseconds[0] / 1e9);
  }
}

}  // namespace

void registerProcesses() {
  const auto add = [](const char* name, std::int64_t iterations, auto workload, auto... arguments) {
    benchmark::RegisterBenchmark(name, workload, arguments...)
        ->UseManualTime()
        ->Iterations(iterations);
  };
  add("P12/stop-now-on-device", 1, stopOnDevice);
  add("P15/file/100kB", 1, renderFile);
  add("P18/two-processors/25kB", 1, renderOnProcessors);
  add("P19/first-sound/56B", 5, speakFirst);
  add("P21/client-memory", 1, measureMemory, Memory::Resident, false);
  add("P21/client-memory-in-file", 1, measureMemory, Memory::Resident, true);
  add("P21/client-own-memory", 1, measureMemory, Memory::Own, false);
  add("P21/client-own-memory-in-file", 1, measureMemory, Memory::Own, true);
  add("anchor/synthesiser/56B", 10, measureSynthesiser);
}

}  // namespace bench

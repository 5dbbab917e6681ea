// SPDX-License-Identifier: Apache-2.0
//
// Speech: measures the plug-in on the real engine, and kavrel-say compared with espeak-ng's command
// line. All times are wall-clock times, since several threads and processes do the work.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <vector>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "KavrelSpeechEngine.h"
#include "Workloads.h"
#include "workloads/Prose.h"

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

double secondsBetween(Clock::time_point from, Clock::time_point to) {
  return std::chrono::duration<double>(to - from).count();
}

// Counts events and records the time of the last one.
class Tally {
 public:
  void add() {
    const std::lock_guard held(m_lock);
    m_last = Clock::now();
    ++m_count;
    m_changed.notify_all();
  }
  // Waits for `count` events; returns the time of the last one and starts at 0 again.
  Clock::time_point take(int count) {
    std::unique_lock held(m_lock);
    m_changed.wait(held, [&] { return m_count >= count; });
    m_count = 0;
    return m_last;
  }

 private:
  std::mutex m_lock;
  std::condition_variable m_changed;
  Clock::time_point m_last;
  int m_count = 0;
};

// A channel that speaks to the sound output, or to `file` if it is not null.
class SpeakingChannel {
 public:
  explicit SpeakingChannel(const char* file) {
    SEOpenSpeechChannel(&m_id);
    set(soRefCon, this);
    const SpeechDoneProcPtr done = [](SpeechChannel, SRefCon self) {
      static_cast<SpeakingChannel*>(self)->m_done.add();
    };
    set(soSpeechDoneCallBack, reinterpret_cast<void*>(done));
    const SpeechPhonemeProcPtr phoneme = [](SpeechChannel, SRefCon self, SInt16) {
      auto& channel = *static_cast<SpeakingChannel*>(self);
      if (++channel.m_phonemes == kPhonemeAfterSound) channel.m_sound.add();
    };
    set(soPhonemeCallBack, reinterpret_cast<void*>(phoneme));
    if (file != nullptr) setOutputFile(file);
  }
  ~SpeakingChannel() { SECloseSpeechChannel(m_id); }
  SpeakingChannel(const SpeakingChannel&) = delete;
  SpeakingChannel& operator=(const SpeakingChannel&) = delete;

  bool speak(std::string text) {
    m_phonemes = 0;
    return SESpeakBuffer(m_id, text.data(), static_cast<long>(text.size()), 0) == noErr;
  }
  void stop() { SEStopSpeechAt(m_id, kImmediate); }

  // Wait for, and return, the time at which the first samples were passed to the output, and the
  // time of speech-done.
  Clock::time_point waitForSound() { return m_sound.take(1); }
  Clock::time_point waitUntilDone() { return m_done.take(1); }

 private:
  // The first phoneme is reported before its samples are passed on, the second one afterwards.
  static constexpr int kPhonemeAfterSound = 2;

  void set(unsigned long selector, void* value) { SESetSpeechInfo(m_id, selector, value); }

  void setOutputFile(const std::string& path) {
    const CFURLRef url = CFURLCreateFromFileSystemRepresentation(
        nullptr, reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()),
        false);
    set(soOutputToFileWithCFURL, const_cast<void*>(static_cast<const void*>(url)));
    CFRelease(url);
  }

  SpeechChannelIdentifier m_id = 0;
  std::atomic<int> m_phonemes = 0;
  Tally m_sound;
  Tally m_done;
};

void stopNow(benchmark::State& state, const char* file) {
  SpeakingChannel channel(file);
  const std::string text = workloads::prose(100'000);
  while (state.KeepRunning()) {
    if (!channel.speak(text)) state.SkipWithError("the channel does not speak");
    channel.waitForSound();
    const Clock::time_point asked = Clock::now();
    channel.stop();
    state.SetIterationTime(secondsBetween(asked, channel.waitUntilDone()));
  }
}

void speakToSound(benchmark::State& state) {
  SpeakingChannel channel("/dev/null");
  channel.speak("Hello.");
  channel.waitForSound();
  channel.waitUntilDone();
  while (state.KeepRunning()) {
    const Clock::time_point asked = Clock::now();
    if (!channel.speak(kUtterance)) state.SkipWithError("the channel does not speak");
    state.SetIterationTime(secondsBetween(asked, channel.waitForSound()));
    channel.waitUntilDone();
  }
}

// Runs a program. Returns its wall-clock time in seconds, or a negative number if it fails.
double run(std::vector<std::string> command) {
  std::vector<char*> arguments;
  for (std::string& argument : command) arguments.push_back(argument.data());
  arguments.push_back(nullptr);
  const Clock::time_point begun = Clock::now();
  pid_t child = 0;
  if (posix_spawnp(&child, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0) {
    return -1;
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child || status != 0) return -1;
  return secondsBetween(begun, Clock::now());
}

// Both programs speak the same text into a file, one after the other.
void renderFile(benchmark::State& state) {
  std::string folder = (std::filesystem::temp_directory_path() / "kavrel-bench-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) {
    state.SkipWithError("cannot create a temporary folder");
    return;
  }
  const std::string text = folder + "/text";
  const std::string sound = folder + "/sound";
  std::ofstream(text) << workloads::prose(100'000);
  while (state.KeepRunning()) {
    const double theirs = run({"espeak-ng", "-v", "en-us", "-f", text, "-w", sound});
    const double ours = run({KAVREL_BENCH_SAY, "-f", text, "-o", sound});
    if (theirs < 0 || ours < 0) {
      state.SkipWithError("kavrel-say or espeak-ng failed");
      break;
    }
    state.SetIterationTime(ours);
    state.counters["ratio"] = ours / theirs;
  }
  std::filesystem::remove_all(folder);
}

// Runs kavrel-bench-synth, which measures the synthesiser in a process of its own.
void measureSynthesiser(benchmark::State& state) {
  while (state.KeepRunning()) {
    FILE* const output = popen("'" KAVREL_BENCH_SYNTH "'", "r");
    double nanoseconds = 0;
    const bool read = output != nullptr && std::fscanf(output, "%lf", &nanoseconds) == 1;
    if (output == nullptr || pclose(output) != 0 || !read) {
      state.SkipWithError("kavrel-bench-synth failed");
      break;
    }
    state.SetIterationTime(nanoseconds / 1e9);
  }
}

}  // namespace

void registerSpeech() {
  const auto add = [](const char* name, std::int64_t iterations, auto workload, auto... arguments) {
    benchmark::RegisterBenchmark(name, workload, arguments...)
        ->UseManualTime()
        ->Iterations(iterations);
  };
  add("P12/stop-now", 20, stopNow, static_cast<const char*>(nullptr));
  add("P12/stop-now-in-file", 20, stopNow, "/dev/null");
  add("P13/speak-to-sound/56B", 50, speakToSound);
  add("P15/file/100kB", 1, renderFile);
  add("anchor/synthesiser/56B", 10, measureSynthesiser);
}

}  // namespace bench

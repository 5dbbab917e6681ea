// SPDX-License-Identifier: Apache-2.0
//
// Channels: measures the plug-in's own time between its client and the engine. It runs on the
// scripted engine, whose time is negligible. This file is part of a library that contains the
// plug-in and the scripted engine and exports neither, so the program can also link the real ones.
//
// Times that span threads, or begin inside a call, are wall-clock times.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include <pthread.h>

#include "ClockTimes.h"
#include "KavrelSpeechEngine.h"
#include "ScriptedEngine.h"
#include "SpeechChannel.h"
#include "Workloads.h"
#include "workloads/Prose.h"

namespace bench {

namespace {

// A point in time that one thread records and another one waits for; one at a time.
class Moment {
 public:
  void note() {
    m_time = Clock::now();
    m_noted.store(true, std::memory_order_release);
    m_noted.notify_one();
  }
  // Waits for the time, returns it, and gets ready for the next one.
  Clock::time_point take() {
    m_noted.wait(false, std::memory_order_acquire);
    m_noted = false;
    return m_time;
  }

 private:
  Clock::time_point m_time;
  std::atomic<bool> m_noted = false;
};

// An open channel on a freshly reset scripted engine, closed by the destructor.
class OpenChannel {
 public:
  OpenChannel() {
    scripted::engine().reset();
    scripted::engine().recordCalls(false);
    SEOpenSpeechChannel(&m_id);
    const SpeechDoneProcPtr note = [](SpeechChannel, SRefCon refCon) {
      static_cast<Moment*>(refCon)->note();
    };
    set(soRefCon, &m_done);
    set(soSpeechDoneCallBack, reinterpret_cast<void*>(note));
  }
  ~OpenChannel() { SECloseSpeechChannel(m_id); }
  OpenChannel(const OpenChannel&) = delete;
  OpenChannel& operator=(const OpenChannel&) = delete;

  SpeechChannelIdentifier id() const { return m_id; }
  void set(unsigned long selector, void* value) { SESetSpeechInfo(m_id, selector, value); }
  bool speak(std::string text) {
    return SESpeakBuffer(m_id, text.data(), static_cast<long>(text.size()), 0) == noErr;
  }
  // Waits for speech-done; returns the time of its call.
  Clock::time_point waitUntilDone() { return m_done.take(); }

 private:
  SpeechChannelIdentifier m_id = 0;
  Moment m_done;
};

void speakToEngine(benchmark::State& state) {
  ClockTimes times(state);
  OpenChannel channel;
  Moment started;
  scripted::engine().during(scripted::Op::Speak, [&] { started.note(); });
  while (state.KeepRunning()) {
    const Clock::time_point asked = Clock::now();
    if (!channel.speak(kUtterance)) state.SkipWithError("the channel does not speak");
    times.add(secondsBetween(asked, started.take()));
    SEStopSpeechAt(channel.id(), kImmediate);
    channel.waitUntilDone();
  }
  scripted::engine().reset();
}

void endToSpeechDone(benchmark::State& state) {
  ClockTimes times(state);
  OpenChannel channel;
  while (state.KeepRunning()) {
    if (!channel.speak("Hello")) state.SkipWithError("the channel does not speak");
    const Clock::time_point ended = Clock::now();
    scripted::engine().port(1).end();
    times.add(secondsBetween(ended, channel.waitUntilDone()));
  }
}

void startDetached(void* (*routine)(void*)) {
  pthread_t thread;
  if (pthread_create(&thread, nullptr, routine, nullptr) == 0) pthread_detach(thread);
}

// The anchor for END to speech-done: a thread that starts a thread, with no work in either.
void chainTwoThreads(benchmark::State& state) {
  ClockTimes times(state);
  static Moment reached;
  const auto last = [](void*) -> void* {
    reached.note();
    return nullptr;
  };
  static void* (*const kLast)(void*) = last;
  const auto first = [](void*) -> void* {
    startDetached(kLast);
    return nullptr;
  };
  while (state.KeepRunning()) {
    const Clock::time_point begun = Clock::now();
    startDetached(first);
    times.add(secondsBetween(begun, reached.take()));
  }
}

void openAndClose(benchmark::State& state) {
  scripted::engine().reset();
  scripted::engine().recordCalls(false);
  while (state.KeepRunning()) {
    SpeechChannelIdentifier id = 0;
    if (SEOpenSpeechChannel(&id) != noErr) state.SkipWithError("no channel opens");
    SECloseSpeechChannel(id);
  }
  scripted::engine().reset();
}

// Measures the plug-in's handling of a word event, minus the time of the scripted engine's
// kavrel_event_get_textpos.
class WordReports {
 public:
  explicit WordReports(speech_channel* channel) : m_channel(channel) {
    kavrel_engine_struct* const engine = kavrel_engine_open(nullptr);
    m_port = kavrel_port_open(engine, nullptr);
    kavrel_port_set_callback(m_port, measureEvent, KAVREL_EVENT_WORD, this);
    m_number = scripted::engine().ports();
  }
  ~WordReports() { kavrel_port_close(m_port); }
  WordReports(const WordReports&) = delete;
  WordReports& operator=(const WordReports&) = delete;

  // Seconds for one event at that position of the channel's text.
  double at(int position) {
    scripted::engine().port(m_number).word(position, 5);
    return m_seconds;
  }

 private:
  static constexpr int kBatch = 500;
  static constexpr int kRounds = 20;

  template <typename Work>
  static double timeOf(Work work) {
    const Clock::time_point begun = Clock::now();
    for (int i = 0; i < kBatch; ++i) work();
    return secondsBetween(begun, Clock::now()) / kBatch;
  }

  // Runs inside a callback, since an event exists only there.
  static kavrel_result_t measureEvent(kavrel_event_struct* event, kavrel_event_t type, void* user) {
    auto& self = *static_cast<WordReports*>(user);
    // The minimum of several rounds each: the difference is small, and other programs disturb it.
    double all = std::numeric_limits<double>::max();
    double asking = all;
    for (int round = 0; round < kRounds; ++round) {
      all = std::min(all, timeOf([&] { channel_stream_callback(event, type, self.m_channel); }));
      asking = std::min(asking, timeOf([&] {
                          int start = 0;
                          int length = 0;
                          kavrel_event_get_textpos(event, &start, &length);
                          benchmark::DoNotOptimize(start);
                        }));
    }
    self.m_seconds = all - asking;
    return KAVREL_SUCCESS;
  }

  speech_channel* m_channel;
  kavrel_port_struct* m_port;
  int m_number = 0;
  double m_seconds = 0;
};

// Positions change between iterations, so that the cost of looking up a position is an average.
void reportWords(benchmark::State& state) {
  ClockTimes times(state);
  constexpr int kLength = 10'000;
  OpenChannel channel;
  static std::atomic<std::int64_t> calls;
  calls = 0;
  const SpeechWordProcPtr note = [](SpeechChannel, SRefCon, unsigned long, UInt16) {
    calls.store(calls.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  };
  channel.set(soWordCallBack, reinterpret_cast<void*>(note));
  if (!channel.speak(workloads::proseWithCommands(kLength, 40))) {
    state.SkipWithError("the channel does not speak");
  }
  WordReports reports(find_channel(channel.id()));
  int position = 0;
  while (state.KeepRunning()) {
    times.add(reports.at(position));
    position = (position + 7) % kLength;
  }
  if (calls == 0) state.SkipWithError("the client receives no word callback");
}

// Runs kavrel-bench-load, so that each load is the first one of a process. Returns seconds, or a
// negative number if the program fails.
double loadInFreshProcess(const std::string& arguments) {
  FILE* const output = popen(("'" KAVREL_BENCH_LOAD "' " + arguments).c_str(), "r");
  if (output == nullptr) return -1;
  double nanoseconds = 0;
  const bool read = std::fscanf(output, "%lf", &nanoseconds) == 1;
  return pclose(output) == 0 && read ? nanoseconds / 1e9 : -1;
}

void load(benchmark::State& state, const std::string& arguments) {
  ClockTimes times(state);
  while (state.KeepRunning()) {
    const double seconds = loadInFreshProcess(arguments);
    if (seconds < 0) {
      state.SkipWithError("kavrel-bench-load failed");
      break;
    }
    times.add(seconds);
  }
}

}  // namespace

void registerChannels() {
  // A fixed number of iterations, since the measured time is a small part of an iteration's time.
  const auto add = [](const char* name, std::int64_t iterations, auto workload, auto... arguments) {
    benchmark::RegisterBenchmark(name, workload, arguments...)
        ->UseManualTime()
        ->Iterations(iterations);
  };
  add("P9/speak-to-engine/56B", 500, speakToEngine);
  add("P10/end-to-done", 500, endToSpeechDone);
  benchmark::RegisterBenchmark("P11/open-close", openAndClose);
  add("P14/load", 20, load, "'" KAVREL_BENCH_PLUGIN "'");
  add("P17/word-event", 20, reportWords);
  add("anchor/two-threads", 500, chainTwoThreads);
  add("anchor/load-libraries", 20, load, "");
}

}  // namespace bench

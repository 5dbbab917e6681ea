// SPDX-License-Identifier: Apache-2.0
//
// kavrel-bench: measures the plug-in against its marks.
//
//   kavrel-bench                                 all workloads, seven times each, and the table
//   kavrel-bench --json                          the table as JSON
//   kavrel-bench --fresh-memory                  see below
//   kavrel-bench --benchmark_filter='P[34]/'     some of them; Google Benchmark's other flags work
//                                                too
//
// Workloads, with the file of this folder that measures them; Marks.cpp holds the marks themselves.
// Texts come from a generator with a fixed seed; a megabyte is a million bytes. The figure is the
// median of the repetitions, in processor time, which other programs disturb little. P9, P10, P12
// to P15 and P17 to P19 are wall-clock time, since threads and processes work together.
//
//   Conversions.cpp
//   P1/preparation             escapes and encoding of Mac prose (curly quotes, accents); with
//                              positions, as needed by channels that report exact positions
//   P2/no-commands             conversion of plain prose: text and offsets, ready for queries
//   P3/command-per-200         conversion with a channel's settings, all kinds of commands but
//                              phoneme input, all passes, offsets; and with exact positions
//   P4/command-per-40          the same with more commands
//   P5/<name>/1MB              preparation and conversion of each hard text (HardTexts.cpp says
//                              what they are)
//      <name>/doubled          how much longer a text of twice the length takes; the shorter one
//      has
//                              at least 1 MB and takes at least 5 ms, if 16 MB do
//      <name>-as-given         conversion only, without a channel's settings
//   P6/utterance               conversion of a short utterance with three commands
//   P16/peak                   the most heap that P2, P3 and P4 hold, divided by the length of the
//                              text, the text itself not counted
//       peak-with-copies       the same with the copies of the results that a caller takes
//
//   Offsets.cpp
//   P7/offset-ascending,       a query of an offset map with 1 000 ranges of each kind
//      offset-random
//   P8/derived-lists           the lists of an offset map with 100 000 records
//
//   Channels.cpp, on the scripted engine
//   P9/speak-to-engine         from the call of SESpeakBuffer with P6's text to the engine's start
//   P10/end-to-done            from the engine's END to the client's speech-done: two threads
//   P11/open-close             a channel that never speaks
//   P14/load                   the plug-in into a fresh process: load, twelve look-ups, unload
//                              (Load.c is that process)
//   P17/word-event             what the plug-in does between an engine's word event and the client
//
//   SpeechWorkloads.cpp, on the real engine, in this process; the sound output is the clock, so
//   that figures do not depend on a device
//   P12/stop-now               from an immediate stop to speech-done, while it speaks to the clock
//       stop-now-in-file       the same while it writes to a file as fast as it can
//   P13/speak-to-sound         from SESpeakBuffer to the first audio passed to the output, a file
//       speak-to-sound-on-clock  the same to the clock
//
//   ProcessWorkloads.cpp, with programs that are started for the measurement; those that a row
//   compares run in turn
//   P12/stop-now-on-device     as P12/stop-now, while it plays on a null device of a sound server
//                              (PulseAudio) of its own; not measured if none can be started
//   P15/file                   kavrel-say speaks 100 kB into a file; and the ratio to espeak-ng's
//                              own command line
//   P18/two-processors         kavrel-say speaks 25 kB into a file on two processors; and the
//                              speed-up against the same on one: the processes that speak, and all
//                              others of the run, are bound to one or two processors
//                              (sched_setaffinity). Not measured on a machine with one processor
//   P19/first-sound            the first speech of a fresh process (BenchClient.cpp): from its
//                              first call to the first audio passed to the output, a file; its
//                              anchor is a whole run of espeak-ng's program with the same words
//   P21/client-memory          the bytes that a process has in memory (resident) while it speaks to
//                              the clock; its anchor is a process that has only espeak-ng, as a
//                              library, and speaks with that
//       client-memory-in-file  the same while it writes to a file as fast as it can
//       client-own-memory, client-own-memory-in-file
//                              the same, without the bytes that it shares with other processes
//
// Anchors are measured in the same run, because absolute figures drift with the machine: memcpy and
// memchr of the same amount, glibc's iconv on P1's bytes, expat with handlers on SSML, a walk over
// ranges from the start, std::sort of 100 000 numbers (Anchors.cpp), a thread that starts a thread,
// the loading of the libraries that the engine needs (Channels.cpp), and espeak-ng alone, as its
// own program or as a library in kavrel-bench-anchor (anchor_synth/). "ratio" is the median divided
// by the anchor's, both in the row's unit.
//
// Memory. Pages that the system hands out for the first time cost more than the conversion of a
// plain text. The program keeps memory that it has had, as a program that speaks all day does, so
// that figures do not depend on which workload ran before. With --fresh-memory it returns large
// blocks at once and pays for them every time.
//
// Results: 0; 1 for an unknown flag or a failed workload. A missed mark is not a failure: it is a
// figure of this machine. Nor is a workload that is not measured, which is reported.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <limits>
#include <vector>

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>
#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include "Marks.h"
#include "Workloads.h"

namespace {

// Removes the flag from the arguments. Returns whether it was among them.
bool takeFlag(std::vector<char*>& arguments, const char* flag) {
  return std::erase_if(arguments, [&](const char* each) { return std::strcmp(each, flag) == 0; }) >
         0;
}

void setMemoryPolicy([[maybe_unused]] bool fresh) {
#if defined(__GLIBC__)
  constexpr int kNever = std::numeric_limits<int>::max();
  constexpr int kLargeBlock = 128 * 1024;
  mallopt(M_MMAP_THRESHOLD, fresh ? kLargeBlock : kNever);
  mallopt(M_TRIM_THRESHOLD, fresh ? kLargeBlock : kNever);
#endif
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<char*> arguments(argv, argv + argc);
  const bool asJson = takeFlag(arguments, "--json");
  setMemoryPolicy(takeFlag(arguments, "--fresh-memory"));
  // Before the caller's own flags, so that those win.
  char repetitions[] = "--benchmark_repetitions=7";
  char minTime[] = "--benchmark_min_time=0.05";
  arguments.insert(arguments.begin() + 1, {repetitions, minTime});

  int count = static_cast<int>(arguments.size());
  arguments.push_back(nullptr);
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;

  bench::registerConversions();
  bench::registerOffsets();
  bench::registerChannels();
#ifdef KAVREL_BENCH_SPEECH
  // Read once by the engine.
  setenv("KAVREL_AUDIO", "none", 1);
  bench::registerSpeech();
  bench::registerProcesses();
#endif
  bench::registerAnchors();
  bench::Collector collector;
  collector.SetErrorStream(&std::cerr);
  benchmark::RunSpecifiedBenchmarks(&collector);
  benchmark::Shutdown();

  if (asJson) {
    std::printf("%s\n", bench::tableAsJson(collector).dump(2).c_str());
  } else {
    bench::printTable(collector);
  }
  for (const std::string& workload : collector.notMeasured()) std::cerr << workload << '\n';
  for (const std::string& failure : collector.failures()) std::cerr << failure << '\n';
  return collector.failures().empty() ? 0 : 1;
}

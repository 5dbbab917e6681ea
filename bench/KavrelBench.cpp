// SPDX-License-Identifier: Apache-2.0
//
// kavrel-bench: holds the plug-in's work against its marks.
//
//   kavrel-bench                                 all workloads, seven times each, and the table
//   kavrel-bench --json                          the table as JSON
//   kavrel-bench --fresh-memory                  see below
//   kavrel-bench --benchmark_filter='P[34]/'     some; Google Benchmark's other flags work, too
//
// Workloads. Texts come from a generator with a fixed seed; megabytes are millions of bytes. The
// figure is the median of the repetitions, in processor time, so that other programs disturb it
// little; P9, P10, P14 and P17 are taken by the clock, since threads and processes work together.
//   P1/preparation             escapes and encoding of Mac prose (curly quotes, accents); with
//                              positions, as channels ask for that report exact places
//   P2/no-commands             conversion of plain prose: text and offsets, ready for queries
//   P3/command-per-200         conversion with a channel's settings, all kinds of commands but
//                              phoneme input, all passes, offsets; and with exact positions
//   P4/command-per-40          the same with more commands
//   P5/<name>                  preparation and conversion of each hard text (HardTexts.cpp says
//                              what they are), and how much longer twice the text takes;
//      <name>-as-given         conversion alone, without a channel's settings
//   P6/utterance               conversion of a short utterance with three commands
//   P7/offset-ascending,       a query of an offset map with 1 000 ranges of each kind
//      offset-random
//   P8/derived-lists           the lists of an offset map with 100 000 records
//   P9/speak-to-engine         from the call of SESpeakBuffer with P6's text to the engine's start,
//                              on the scripted engine
//   P10/end-to-done            from the engine's END to the client's speech-done: two threads
//   P11/open-close             a channel that never speaks
//   P14/load                   the plug-in into a fresh process: load, twelve look-ups, unload
//   P12/stop-now               from a stop at once to speech-done, with the real engine; -in-file:
//                              while it writes to a file as fast as it can
//   P13/speak-to-sound         from SESpeakBuffer to the first sound that is given to the output
//   P15/file                   kavrel-say speaks 100 kB into a file, by the clock; and how much
//                              longer it takes than espeak-ng's own command line, one after the
//                              other
//   P16/peak                   the most heap that P2, P3 and P4 hold, divided by the text's length,
//                              the text itself not counted; peak-with-copies: and the copies
//                              of the results that a caller takes
//   P17/word-event             what the plug-in does between an engine's word event and the client
// Anchors, measured in the same run because absolute figures drift with the machine: memcpy and
// memchr of the same amount, glibc's iconv on P1's bytes, expat with handlers on SSML, a walk over
// ranges from the front, std::sort of 100 000 numbers, a thread that starts a thread, the loading
// of the libraries that the engine needs. "ratio" is the median divided by the anchor's, both in
// the row's unit.
//
// Memory. Pages that the system hands out anew cost more than the conversion of a plain text. The
// program keeps what it has had, as one that speaks all day does, so that figures do not depend on
// which workload came before; with --fresh-memory it gives large blocks back at once and pays for
// them every time.
//
// Results: 0; 1 for a flag that nobody knows or a workload that failed. A missed mark is no
// failure: it is a figure of this machine.
#include <cstdio>
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

// Removes the flag from the arguments; returns whether it was present.
bool takeFlag(std::vector<char*>& arguments, const char* flag) {
  return std::erase_if(arguments, [&](const char* each) { return std::strcmp(each, flag) == 0; }) >
         0;
}

// With `fresh`, large blocks return to the system as soon as they are freed; otherwise never.
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
  // First, so that the caller's own flags override them.
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
  bench::registerSpeech();
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
  for (const std::string& failure : collector.failures()) std::cerr << failure << '\n';
  return collector.failures().empty() ? 0 : 1;
}

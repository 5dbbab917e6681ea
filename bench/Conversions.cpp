// SPDX-License-Identifier: Apache-2.0
//
// Measures the preparation and conversion of texts, and the memory that a conversion holds.
#include <ctime>
#include <memory>
#include <stdexcept>

#include "AppleMarkupConverter.h"
#include "AppleSynthesisError.h"
#include "SpeechMgrUtils.h"
#include "Workloads.h"
#include "workloads/HardTexts.h"
#include "workloads/HeapMeter.h"
#include "workloads/Prose.h"

namespace bench {

namespace {

// The settings of a fresh channel with a voice whose base pitch is 43.
SpeechMgrEnv freshSettings() {
  SpeechMgrEnv settings;
  settings.pitchBase = 43;
  settings.pitchAssumedBase = 43;
  return settings;
}

// Does what speaking does with a prepared text: converts it and gets the offsets ready for queries.
void convert(AppleMarkupConverter& converter) {
  const std::string converted = converter.getConvertedText();
  benchmark::DoNotOptimize(converted.data());
  const std::unique_ptr<OffsetMap> offsets(converter.getOffsets());
  benchmark::DoNotOptimize(offsets->offset(0));
}

void convertWithSettings(const std::string& text) {
  AppleMarkupConverter converter(text, AppleMarkupConverter::SSML, freshSettings());
  convert(converter);
}

void convertWithoutSettings(const std::string& text) {
  AppleMarkupConverter converter(text, AppleMarkupConverter::SSML);
  convert(converter);
}

void prepare(benchmark::State& state, bool withPositions) {
  BuildPhoneTranslationTables();
  std::string text = workloads::macProse(kLarge);
  while (state.KeepRunning()) {
    PositionMap positions;
    const std::string prepared = PreprocessText(reinterpret_cast<unsigned char*>(text.data()),
                                                withPositions ? &positions : nullptr);
    benchmark::DoNotOptimize(prepared.data());
  }
  countBytes(state, text.size());
}

// Without settings, since they would add commands to the text.
void convertPlain(benchmark::State& state) {
  const std::string text = workloads::prose(kLarge);
  while (state.KeepRunning()) convertWithoutSettings(text);
  countBytes(state, text.size());
}

void convertCommands(benchmark::State& state, std::size_t bytes, std::size_t every) {
  const std::string text = workloads::proseWithCommands(bytes, every);
  while (state.KeepRunning()) convertWithSettings(text);
  countBytes(state, text.size());
}

void convertWithPositions(benchmark::State& state) {
  const std::string text = workloads::proseWithCommands(kLarge, 200);
  while (state.KeepRunning()) {
    AppleMarkupConverter converter(text, AppleMarkupConverter::SSML, freshSettings());
    benchmark::DoNotOptimize(converter.getConvertedText().data());
    benchmark::DoNotOptimize(converter.getPositions().length());
    const std::unique_ptr<OffsetMap> offsets(converter.getOffsets());
    benchmark::DoNotOptimize(offsets->offset(0));
  }
  countBytes(state, text.size());
}

void convertUtterance(benchmark::State& state) {
  const std::string text = kUtterance;
  while (state.KeepRunning()) convertWithSettings(text);
}

// Prepares and converts a hard text as speaking does, or converts it unchanged and without
// settings. The conversion may fail; that is not an error of the benchmark.
void convertHardTextOnce(std::string& text, bool spoken) {
  try {
    if (spoken) {
      convertWithSettings(PreprocessText(reinterpret_cast<unsigned char*>(text.data())));
    } else {
      convertWithoutSettings(text);
    }
  } catch (const AppleSynthesisError&) {
  } catch (const std::out_of_range&) {
  }
}

void convertHardText(benchmark::State& state, const workloads::HardText& hard, bool spoken) {
  BuildPhoneTranslationTables();
  std::string text = hard.make(kMegabyte);
  while (state.KeepRunning()) convertHardTextOnce(text, spoken);
}

double processorSeconds() {
  return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

// Returns the processor time of one conversion.
double timeOf(std::string& text, bool spoken) {
  const double begun = processorSeconds();
  convertHardTextOnce(text, spoken);
  return processorSeconds() - begun;
}

// Compares a text with one of twice the length, in turn. Texts that take less than some
// milliseconds are made longer: they would fit into the processor's caches and their doubles would
// not, so that the ratio would be that of the caches.
void doubleHardText(benchmark::State& state, const workloads::HardText& hard, bool spoken) {
  constexpr double kLeastSeconds = 0.005;
  constexpr std::size_t kMostBytes = 16 * kMegabyte;
  BuildPhoneTranslationTables();
  std::size_t bytes = kMegabyte;
  std::string once = hard.make(bytes);
  timeOf(once, spoken);
  while (bytes < kMostBytes && timeOf(once, spoken) < kLeastSeconds) {
    bytes *= 2;
    once = hard.make(bytes);
  }
  std::string twice = hard.make(2 * bytes);
  double onceSeconds = 0;
  double twiceSeconds = 0;
  while (state.KeepRunning()) {
    onceSeconds += timeOf(once, spoken);
    twiceSeconds += timeOf(twice, spoken);
  }
  state.counters[kRatio] = twiceSeconds / onceSeconds;
}

// Measures the peak memory of `work`, in bytes per byte of the text.
template <typename Work>
void measurePeak(benchmark::State& state, const std::string& text, Work work) {
  if (!workloads::HeapMeter::works()) state.SkipWithError("memory cannot be counted here");
  std::size_t peak = 0;
  while (state.KeepRunning()) {
    AppleMarkupConverter converter(text, AppleMarkupConverter::SSML, freshSettings());
    const workloads::HeapMeter meter;
    work(converter);
    peak = meter.peak();
  }
  state.counters[kRatio] = static_cast<double>(peak) / static_cast<double>(text.size());
}

// Registers the conversion itself, and the conversion with the copies of its results for the
// caller.
void registerPeaks() {
  struct Text {
    std::string name;
    std::string (*make)();
  };
  const Text texts[] = {
      {"no-commands/16MB", [] { return workloads::prose(kLarge); }},
      {"command-per-200/16MB", [] { return workloads::proseWithCommands(kLarge, 200); }},
      {"command-per-40/1MB", [] { return workloads::proseWithCommands(kMegabyte, 40); }}};
  for (const Text& text : texts) {
    const auto make = text.make;
    benchmark::RegisterBenchmark(("P16/peak/" + text.name).c_str(), [make](
                                                                        benchmark::State& state) {
      measurePeak(state, make(), [](AppleMarkupConverter& converter) { converter.convert(); });
    })->Iterations(1);
    benchmark::RegisterBenchmark(
        ("P16/peak-with-copies/" + text.name).c_str(),
        [make](benchmark::State& state) {
          measurePeak(state, make(), [](AppleMarkupConverter& converter) { convert(converter); });
        })
        ->Iterations(1);
  }
}

}  // namespace

void registerConversions() {
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("P1/preparation/16MB", prepare, false);
  RegisterBenchmark("P1/preparation-with-positions/16MB", prepare, true);
  RegisterBenchmark("P2/no-commands/16MB", convertPlain);
  RegisterBenchmark("P3/command-per-200/16MB", convertCommands, kLarge, std::size_t{200});
  RegisterBenchmark("P3/command-per-200-with-positions/16MB", convertWithPositions);
  RegisterBenchmark("P4/command-per-40/1MB", convertCommands, kMegabyte, std::size_t{40});
  RegisterBenchmark("P6/utterance/56B", convertUtterance);
  registerPeaks();
  for (const workloads::HardText& text : workloads::hardTexts()) {
    for (const bool spoken : {true, false}) {
      const std::string name = "P5/" + text.name + (spoken ? "" : "-as-given");
      RegisterBenchmark((name + "/1MB").c_str(), convertHardText, text, spoken);
      RegisterBenchmark((name + "/doubled").c_str(), doubleHardText, text, spoken);
    }
  }
}

}  // namespace bench

// SPDX-License-Identifier: Apache-2.0
//
// Speaks random texts with real synthesiser processes, voice by voice, and counts the processes
// that are lost to them. It goes as a job does, from marked-up text to the synthesiser's calls
// (text/sentence.h, synth/plan.h, synth/synth_pool.h), but a lost call is neither repeated nor
// spoken word by word.
//
//   fuzz_synth [option ...]
//     --seed NUMBER      of the random texts (default: 1)
//     --minutes NUMBER   how long (default: 1)
//     --texts NUMBER     stop after so many texts
//     --voice NAME       a voice in the synthesiser's notation, such as da+f3; may be repeated
//     --all-languages    all languages that espeak-ng has, besides the voices of the project
//     --corpus FOLDER    files with one text on each line (default: corpus/synth)
//     --found FOLDER     where to write the texts that lost a process (default: found)
//     --replay FILE      speaks the text of a file that was written; may be repeated
//
// A text that lost a process is spoken again, made smaller by leaving out parts of it, and written
// (synth_texts/SynthText.h), unless the voice has lost one to a text of the same shape before.
// Coverage is of no use as a guide here: the code under test is in another process.
//
// Exit status: 0; 1 if a process was lost; 2 for wrong usage, or if no process can be started.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "TextMutator.h"
#include "base/text/Utf8.h"
#include "base/threads/Clock.h"
#include "synth/plan.h"
#include "synth/synth_pool.h"
#include "synth/synth_program.h"
#include "synth/synth_protocol.h"
#include "synth_texts/SynthText.h"
#include "text/sentence.h"

namespace {

using base::Clock;
using kavrel::SynthPool;
using synth_texts::SynthText;

struct Options {
  std::uint64_t seed = 1;
  double minutes = 1;
  std::uint64_t texts = UINT64_MAX;
  std::vector<std::string> voices;
  bool allLanguages = false;
  std::filesystem::path corpus = KAVREL_FUZZ_CORPUS;
  std::filesystem::path found = "found";
  std::vector<std::filesystem::path> replays;
};

// Throws std::invalid_argument or std::out_of_range for a value that is not a number.
bool readOption(const std::string& name, const std::string& value, Options& options) {
  if (name == "--seed") {
    options.seed = std::stoull(value);
  } else if (name == "--minutes") {
    options.minutes = std::stod(value);
  } else if (name == "--texts") {
    options.texts = std::stoull(value);
  } else if (name == "--voice") {
    options.voices.push_back(value);
  } else if (name == "--corpus") {
    options.corpus = value;
  } else if (name == "--found") {
    options.found = value;
  } else if (name == "--replay") {
    options.replays.emplace_back(value);
  } else {
    return false;
  }
  return true;
}

bool readOptions(int argc, char** argv, Options& options) {
  try {
    for (int i = 1; i < argc; ++i) {
      const std::string name = argv[i];
      if (name == "--all-languages") {
        options.allLanguages = true;
      } else if (i + 1 >= argc || !readOption(name, argv[++i], options)) {
        return false;
      }
    }
  } catch (const std::exception&) {
    return false;
  }
  return true;
}

// ---- Texts and voices

std::u32string wideOf(std::string_view text) {
  std::u32string wide;
  while (!text.empty()) {
    const base::Utf8Character character = base::firstCharacter(text);
    wide += character.length > 0 ? character.code : U'?';
    text.remove_prefix(base::firstCharacterLength(text));
  }
  return wide;
}

std::string utf8Of(std::u32string_view text) {
  std::string bytes;
  for (const char32_t c : text) base::appendUtf8(bytes, c);
  return bytes;
}

std::vector<std::u32string> linesIn(const std::filesystem::path& folder) {
  std::set<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) files.insert(entry);
  std::vector<std::u32string> lines;
  for (const auto& file : files) {
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);) {
      if (!line.empty()) lines.push_back(wideOf(line));
    }
  }
  return lines;
}

// The voices of the project.
void addVoices(std::set<std::string>& names) {
  for (const auto& entry : std::filesystem::directory_iterator(KAVREL_VOICES_DIR)) {
    std::ifstream stream(entry.path() / "kavrel.voice");
    const std::string data{std::istreambuf_iterator<char>(stream), {}};
    kavrel::Voice voice;
    std::string why;
    if (voice.parse(data, why)) names.insert(voice.synthesiserName());
  }
}

// The first name of each language of espeak-ng.
void addLanguages(std::set<std::string>& names) {
  const std::filesystem::path data = KAVREL_SPEECH_DATA_DIR "/espeak-ng-data/lang";
  for (const auto& entry : std::filesystem::recursive_directory_iterator(data)) {
    if (!entry.is_regular_file()) continue;
    std::ifstream stream(entry.path());
    for (std::string word; stream >> word;) {
      if (word != "language" || !(stream >> word)) continue;
      if (synth_texts::voiceNamed(word).has_value()) names.insert(word);
      break;
    }
  }
}

std::vector<std::string> voicesOf(const Options& options) {
  std::set<std::string> names(options.voices.begin(), options.voices.end());
  if (options.voices.empty()) addVoices(names);
  if (options.allLanguages) addLanguages(names);
  return {names.begin(), names.end()};
}

// ---- Speaking

struct Outcome {
  SynthPool::Result result = SynthPool::Result::Done;
  std::string why;
  std::size_t calls = 0;

  bool isLost() const { return result == SynthPool::Result::Unspeakable; }
};

// No process is lost because the machine is busy: an endless loop ends by its limit of CPU time.
std::unique_ptr<SynthPool> newPool() {
  kavrel::SynthProcess::Limits limits;
  limits.start = limits.silence = limits.call = std::chrono::minutes(1);
  return std::make_unique<SynthPool>(kavrel::synthProgram(), limits);
}

std::unique_ptr<SynthPool>& pool() {
  static std::unique_ptr<SynthPool> current = newPool();
  return current;
}

void useNewProcesses() {
  pool() = newPool();
}

// Speaks until a call fails.
Outcome speak(const SynthText& text) {
  Outcome outcome;
  const auto voice = synth_texts::voiceNamed(text.voice);
  if (!voice.has_value()) return {SynthPool::Result::NoVoice, "invalid name of a voice"};
  kavrel::SentenceReader reader(text.text, kavrel::Encoding::Utf8, voice->language());
  kavrel::Sentence sentence;
  kavrel::SynthProcess::Speech speech;
  while (reader.next(sentence)) {
    kavrel::Plan plan(sentence, *voice);
    kavrel::SynthCall call;
    while (plan.next(call)) {
      if (call.isBreak || !call.audible) continue;
      ++outcome.calls;
      outcome.result = pool()->speak(text.voice, call.input.frame(), 0, {}, speech, outcome.why);
      if (outcome.result != SynthPool::Result::Done) return outcome;
    }
  }
  return outcome;
}

// Speaks a text up to `tries` times, each time with a new process, until one is lost: some crashes
// depend on where memory is. Returns how often it was spoken until then; 0 if none was lost.
int triesToLose(const SynthText& text, int tries) {
  for (int count = 1; count <= tries; ++count) {
    useNewProcesses();
    if (speak(text).isLost()) return count;
  }
  return 0;
}

// Leaves out parts of the text, halves first, as long as it still loses a process.
std::u32string smallest(const std::string& voice, std::u32string text, int tries) {
  constexpr std::chrono::seconds kMostTime{120};
  const auto limit = Clock::now() + kMostTime;
  for (std::size_t part = std::max<std::size_t>(text.size() / 2, 1);; part = (part + 1) / 2) {
    bool smaller = false;
    for (std::size_t at = 0; at < text.size() && Clock::now() < limit;) {
      std::u32string rest = text;
      rest.erase(at, part);
      if (triesToLose({voice, utf8Of(rest)}, tries) > 0) {
        text = std::move(rest);
        smaller = true;
      } else {
        at += part;
      }
    }
    if (part == 1 && (!smaller || Clock::now() >= limit)) break;
  }
  return text;
}

// Texts of the same shape have the same cause, most likely: runs of letters and of digits count as
// one.
std::u32string shapeOf(std::u32string_view text) {
  std::u32string shape;
  for (const char32_t c : text) {
    const bool isDigit = c >= U'0' && c <= U'9';
    const bool isLetter = (c >= U'a' && c <= U'z') || (c >= U'A' && c <= U'Z') || c >= 0xC0;
    const char32_t kind = isDigit ? U'0' : isLetter ? U'a' : c;
    if (shape.empty() || shape.back() != kind) shape += kind;
  }
  return shape;
}

// ---- Fuzzing

struct VoiceFigures {
  std::uint64_t texts = 0;
  std::uint64_t lost = 0;
  std::uint64_t unrepeated = 0;  // lost once, but not when spoken again
  std::set<std::string> causes;
  std::set<std::u32string> shapes;
};

class Fuzzer {
 public:
  explicit Fuzzer(const Options& options)
      : m_options(options),
        m_voices(voicesOf(options)),
        m_mutator(linesIn(options.corpus), options.seed) {}

  // Returns false if no process can be started.
  bool run() {
    constexpr std::uint64_t kTurn = 25;  // texts for one voice before the next one
    const auto limit =
        m_begin + std::chrono::duration_cast<Clock::duration>(
                      std::chrono::duration<double, std::ratio<60>>(m_options.minutes));
    std::filesystem::create_directories(m_options.found);
    while (!m_voices.empty() && m_texts < m_options.texts && Clock::now() < limit) {
      const std::string voice = m_voices[(m_texts / kTurn) % m_voices.size()];
      if (!speakOne(voice)) return false;
    }
    return true;
  }

  void report() const {
    const double seconds = std::chrono::duration<double>(Clock::now() - m_begin).count();
    std::uint64_t lost = 0;
    for (const auto& [voice, figures] : m_figures) {
      lost += figures.lost;
      if (figures.lost == 0) continue;
      std::printf("%-24s %8llu texts %6llu lost %4llu not again %4zu shapes:", voice.c_str(),
                  static_cast<unsigned long long>(figures.texts),
                  static_cast<unsigned long long>(figures.lost),
                  static_cast<unsigned long long>(figures.unrepeated), figures.shapes.size());
      for (const std::string& cause : figures.causes) std::printf(" %s;", cause.c_str());
      std::printf("\n");
    }
    std::printf(
        "seed %llu: %llu texts, %llu calls in %zu voices, %.1f texts per second, %llu lost\n",
        static_cast<unsigned long long>(m_options.seed), static_cast<unsigned long long>(m_texts),
        static_cast<unsigned long long>(m_calls), m_voices.size(),
        static_cast<double>(m_texts) / seconds, static_cast<unsigned long long>(lost));
  }

  bool hasLost() const {
    return std::ranges::any_of(m_figures, [](const auto& one) { return one.second.lost > 0; });
  }

 private:
  bool speakOne(const std::string& voice) {
    const std::u32string text = m_mutator.next();
    const Outcome outcome = speak({voice, utf8Of(text)});
    ++m_texts;
    m_calls += outcome.calls;
    ++m_figures[voice].texts;
    switch (outcome.result) {
      case SynthPool::Result::Done:
      case SynthPool::Result::Cancelled:
        return true;
      case SynthPool::Result::Unspeakable:
        lose(voice, text, outcome.why);
        return true;
      case SynthPool::Result::NoVoice:
        std::printf("%s: %s\n", voice.c_str(), outcome.why.c_str());
        std::erase(m_voices, voice);
        return true;
      case SynthPool::Result::Failed:
        std::printf("%s: %s\n", voice.c_str(), outcome.why.c_str());
        return false;
    }
    return false;
  }

  void lose(const std::string& voice, const std::u32string& text, const std::string& why) {
    constexpr std::size_t kMostSmaller = 40;  // in each voice: the rest is counted only
    VoiceFigures& figures = m_figures[voice];
    figures.causes.insert(why);
    if (++figures.lost > kMostSmaller) return;
    constexpr int kMostTries = 8;
    const int tries = triesToLose({voice, utf8Of(text)}, kMostTries);
    if (tries == 0) {
      ++figures.unrepeated;
      write(voice + "-once-" + std::to_string(figures.unrepeated), {voice, utf8Of(text)});
      return;
    }
    const std::u32string small = smallest(voice, text, tries > 1 ? kMostTries : 1);
    if (!figures.shapes.insert(shapeOf(small)).second) return;
    const SynthText found{voice, utf8Of(small)};
    write(voice + "-" + std::to_string(figures.shapes.size()), found);
    std::printf("%s: %s: %s\n", voice.c_str(), why.c_str(), found.text.c_str());
    std::fflush(stdout);
  }

  void write(const std::string& name, const SynthText& text) const {
    if (!synth_texts::writeFile(m_options.found / name, text)) {
      std::fprintf(stderr, "cannot write %s\n", (m_options.found / name).c_str());
    }
  }

  const Options m_options;
  std::vector<std::string> m_voices;
  fuzz::TextMutator m_mutator;
  const Clock::time_point m_begin = Clock::now();
  std::uint64_t m_texts = 0;
  std::uint64_t m_calls = 0;
  std::map<std::string, VoiceFigures> m_figures;
};

int replay(const std::vector<std::filesystem::path>& files) {
  int status = EXIT_SUCCESS;
  for (const auto& file : files) {
    const auto text = synth_texts::readFile(file);
    if (!text.has_value()) return 2;
    constexpr int kTries = 8;
    const int tries = triesToLose(*text, kTries);
    std::printf("%s: %s\n", file.c_str(), tries > 0 ? "lost a process" : "spoken");
    if (tries > 0) status = EXIT_FAILURE;
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  constexpr int kWrongUsage = 2;
  Options options;
  if (!readOptions(argc, argv, options)) {
    std::fprintf(stderr,
                 "usage: fuzz_synth [--seed N] [--minutes N] [--texts N] [--voice NAME]\n"
                 "  [--all-languages] [--corpus FOLDER] [--found FOLDER] [--replay FILE]\n");
    return kWrongUsage;
  }
  useNewProcesses();
  if (!options.replays.empty()) return replay(options.replays);
  Fuzzer fuzzer(options);
  const bool started = fuzzer.run();
  fuzzer.report();
  if (!started) return kWrongUsage;
  return fuzzer.hasLost() ? EXIT_FAILURE : EXIT_SUCCESS;
}

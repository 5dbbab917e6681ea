// SPDX-License-Identifier: Apache-2.0
//
// life_host SCENARIO PLUGIN [ARGUMENT]: a host that loads, uses and unloads the plug-in and exits
// in the ways that hosts do. Each process runs one scenario, limited by an alarm. Exit status: 0,
// or 1 with one line that names the condition that failed.
#include <atomic>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include <malloc.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "LoadedPlugIn.h"
#include "processes/LeakCheck.h"

namespace {

using binary::LoadedPlugIn;
namespace fs = std::filesystem;

constexpr unsigned kPatience = 120;  // seconds

void require(bool holds, const std::string& what) {
  if (holds) return;
  std::fprintf(stderr, "failed: %s\n", what.c_str());
  std::_Exit(1);
}

std::string prose(std::size_t bytes) {
  std::string text;
  while (text.size() < bytes) {
    text += "The [[emph +]]harbour [[rate 210.5]]was quiet; nobody [[volm 0.5]]had lit the lamps. ";
  }
  return text;
}

// A channel and the events that its client received.
class Channel {
 public:
  explicit Channel(const LoadedPlugIn& plugIn) : m_plugIn(plugIn) {
    require(plugIn.open(&m_id) == noErr, "a channel opens");
    const SpeechDoneProcPtr done = [](SpeechChannel, SRefCon self) {
      auto& channel = *static_cast<Channel*>(self);
      channel.m_done = true;
      channel.m_done.notify_all();
    };
    const SpeechWordProcPtr word = [](SpeechChannel, SRefCon self, unsigned long, UInt16) {
      auto& channel = *static_cast<Channel*>(self);
      ++channel.m_words;
      channel.m_words.notify_all();
      if (channel.onWord) channel.onWord();
    };
    set(soRefCon, this);
    set(soSpeechDoneCallBack, reinterpret_cast<void*>(done));
    set(soWordCallBack, reinterpret_cast<void*>(word));
  }
  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;

  void set(unsigned long selector, void* value) { m_plugIn.set(m_id, selector, value); }
  void writeTo(const fs::path& file) {
    const CFURLRef url =
        m_plugIn.makeUrl(nullptr, reinterpret_cast<const UInt8*>(file.c_str()),
                         static_cast<CFIndex>(file.native().size()), static_cast<Boolean>(false));
    set(soOutputToFileWithCFURL, const_cast<void*>(static_cast<const void*>(url)));
    m_plugIn.release(url);
  }
  void speak(std::string text) {
    m_done = false;
    require(m_plugIn.speak(m_id, text.data(), static_cast<long>(text.size()), 0) == noErr,
            "the channel speaks");
  }
  void waitForDone() { m_done.wait(false); }
  void waitForWord() { m_words.wait(0); }
  void close() { require(m_plugIn.close(m_id) == noErr, "the channel closes"); }

  std::function<void()> onWord;

 private:
  const LoadedPlugIn& m_plugIn;
  SpeechChannelIdentifier m_id = 0;
  std::atomic<bool> m_done = false;
  std::atomic<int> m_words = 0;
};

class TemporaryFolder {
 public:
  TemporaryFolder() : m_path((fs::temp_directory_path() / "life-XXXXXX").string()) {
    require(mkdtemp(m_path.data()) != nullptr, "a temporary folder is created");
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  fs::path operator/(const char* name) const { return fs::path(m_path) / name; }

 private:
  std::string m_path;
};

// Approximate measures of an AIFF file: its header counts as audio.
struct Sound {
  double length = 0;
  double loudness = 0;

  // Two renderings of a text never have identical samples.
  bool isAlike(const Sound& other) const {
    return std::abs(length - other.length) < 0.03 * length &&
           std::abs(loudness - other.loudness) < 0.1 * loudness;
  }
};

Sound soundIn(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
  Sound sound;
  sound.length = static_cast<double>(bytes.size());
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    sound.loudness += std::abs(static_cast<signed char>(bytes[i]) * 256.0);
  }
  sound.loudness /= sound.length;
  return sound;
}

Sound speakToFile(const LoadedPlugIn& plugIn, const std::string& text) {
  const TemporaryFolder folder;
  Channel channel(plugIn);
  channel.writeTo(folder / "sound.aiff");
  channel.speak(text);
  channel.waitForDone();
  channel.close();
  return soundIn(folder / "sound.aiff");
}

// ---- Loading and unloading

struct Footprint {
  long threads = 0;
  long descriptors = 0;
  long mappings = 0;
  long heap = 0;  // bytes

  static Footprint now() {
    Footprint footprint;
    footprint.threads = entriesOf("/proc/self/task");
    footprint.descriptors = entriesOf("/proc/self/fd");
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) ++footprint.mappings;
    footprint.heap = static_cast<long>(mallinfo2().uordblks);
    return footprint;
  }

 private:
  static long entriesOf(const char* folder) {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
  }
};

// ARGUMENT: the libraries that the plug-in needs, separated by ":". They are loaded first, since
// loading them may take memory.
void load(const char* plugIn, const std::string& libraries) {
  constexpr long kConstantsAndEmptyMaps = 4096;
  for (std::size_t at = 0; at < libraries.size();) {
    const std::size_t end = std::min(libraries.find(':', at), libraries.size());
    require(dlopen(libraries.substr(at, end - at).c_str(), RTLD_NOW | RTLD_LOCAL) != nullptr,
            "its libraries load");
    at = end + 1;
  }
  const Footprint before = Footprint::now();
  void* const handle = dlopen(plugIn, RTLD_NOW | RTLD_LOCAL);
  const Footprint after = Footprint::now();
  require(handle != nullptr, "the plug-in loads");
  require(after.threads == before.threads, "loading starts no thread");
  require(after.descriptors == before.descriptors, "loading opens nothing");
  const long taken = after.heap - before.heap;
  require(taken <= kConstantsAndEmptyMaps, "loading takes " + std::to_string(taken) + " bytes");
}

void loadAgain(const char* plugIn, const std::string& /*argument*/) {
  constexpr int kTimes = 1000;
  constexpr long kNoise = 4096;
  std::optional<Footprint> before;
  for (int i = 0; i < kTimes; ++i) {
    const LoadedPlugIn loaded(plugIn);
    SpeechChannelIdentifier unused = 0;
    require(loaded.close(unused) != noErr, "nothing is open");
    // The system keeps some memory for the first load.
    if (!before) before = Footprint::now();
  }
  const Footprint after = Footprint::now();
  require(after.threads == before->threads, "no thread is left");
  require(after.descriptors == before->descriptors, "no descriptor is left");
  require(after.mappings <= before->mappings + 2, "no mapping is left");
  const long kept = after.heap - before->heap;
  require(kept <= kNoise, "loading again keeps " + std::to_string(kept) + " bytes");
}

// The threads of the plug-in and of the engine continue to run in the unloaded libraries.
void unloadWhileSpeaking(const char* plugIn, const std::string& /*argument*/) {
  const TemporaryFolder folder;
  auto loaded = std::make_unique<LoadedPlugIn>(plugIn);
  Channel channel(*loaded);
  channel.writeTo(folder / "sound.aiff");
  channel.speak(prose(20'000));
  channel.waitForWord();
  loaded.reset();
  channel.waitForDone();
  require(fs::file_size(folder / "sound.aiff") > 100'000, "the audio is written to its end");
}

// ---- The end of the process

// ARGUMENT: when and how, see kEnds.
void endWhileSpeaking(const char* plugIn, const std::string& end) {
  // Neither is destroyed: the process exits while they exist.
  auto& loaded = *new LoadedPlugIn(plugIn);
  auto& channel = *new Channel(loaded);
  const TemporaryFolder& folder = *new TemporaryFolder;
  if (end.find("file") != std::string::npos) channel.writeTo(folder / "sound.aiff");
  const auto leave = [&] {
    std::error_code ignored;
    fs::remove_all((folder / "").parent_path(), ignored);
    std::exit(0);
  };
  static std::atomic<bool> leaving = false;
  if (end.find("inside") != std::string::npos) {
    channel.onWord = [&] {
      if (!leaving.exchange(true)) leave();
    };
  }
  channel.speak(prose(50'000));
  if (end.find("after") != std::string::npos) channel.waitForWord();
  if (end.find("inside") != std::string::npos) pause();
  leave();
}

const char* const kEnds[] = {"at once",       "after a word",       "inside a word",
                             "at once, file", "after a word, file", "inside a word, file"};

// ARGUMENT: how many processes.
void endManyTimes(const char* plugIn, const std::string& times) {
  const int count = std::stoi(times);
  for (int i = 0; i < count; ++i) {
    const char* const end = kEnds[static_cast<std::size_t>(i) % std::size(kEnds)];
    const pid_t child = fork();
    if (child == 0) {
      execl("/proc/self/exe", "life_host", "end", plugIn, end, nullptr);
      std::_Exit(127);
    }
    int status = -1;
    require(child > 0 && waitpid(child, &status, 0) == child, "a process runs");
    require(WIFEXITED(status) && WEXITSTATUS(status) == 0, "run " + std::to_string(i) + ", " + end +
                                                               ", ends cleanly (wait status " +
                                                               std::to_string(status) + ")");
  }
}

void forkWhileSpeaking(const char* plugIn, const std::string& /*argument*/) {
  const TemporaryFolder folder;
  const LoadedPlugIn loaded(plugIn);
  const std::string text = prose(20'000);
  const Sound alone = speakToFile(loaded, text);
  Channel channel(loaded);
  channel.writeTo(folder / "sound.aiff");
  channel.speak(text);
  channel.waitForWord();
  for (const bool byReturn : {false, true}) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(kPatience);
      processes::turnOffLeakCheck();
      // The child has none of the parent's threads; it may exit either way.
      if (byReturn) std::exit(0);
      std::_Exit(0);
    }
    int status = -1;
    require(child > 0 && waitpid(child, &status, 0) == child, "the child ends");
    require(WIFEXITED(status) && WEXITSTATUS(status) == 0, "the child ends cleanly");
  }
  channel.waitForDone();
  channel.close();
  require(soundIn(folder / "sound.aiff").isAlike(alone),
          "forking does not affect the speech of the parent");
}

// ---- Surroundings

// ARGUMENT: a locale whose decimal point is a comma.
void speakWithComma(const char* plugIn, const std::string& locale) {
  const LoadedPlugIn loaded(plugIn);
  const std::string text = "[[volm 0.25; rate 140.5]]One two three four [[volm +0.5]] five.";
  const Sound before = speakToFile(loaded, text);
  require(std::setlocale(LC_ALL, locale.c_str()) != nullptr, "the locale is installed");
  require(*std::localeconv()->decimal_point == ',', "its decimal point is a comma");
  require(speakToFile(loaded, text).isAlike(before), "numbers are read as before");
  require(*std::localeconv()->decimal_point == ',', "the locale stays");
}

struct Work {
  const char* plugIn;
  std::string text;
};

// All threads except the first have 256 KB, and one of them makes the calls.
void speakOnSmallStacks(const char* plugIn, const std::string& /*argument*/) {
  constexpr std::size_t kStack = 256 * 1024;
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  require(pthread_attr_setstacksize(&attributes, kStack) == 0, "stacks may be small");
  require(pthread_setattr_default_np(&attributes) == 0, "all stacks may be small");
  Work work{plugIn, prose(20'000)};
  for (int i = 0; i < 2'000; ++i) work.text += "[[char LTRL]]<[[cmnt ";
  work.text += "]]";
  for (int i = 0; i < 2'000; ++i) work.text += "<b>\"(";
  pthread_t thread;
  const auto speak = [](void* given) -> void* {
    const Work& asked = *static_cast<Work*>(given);
    const LoadedPlugIn loaded(asked.plugIn);
    speakToFile(loaded, asked.text);
    return nullptr;
  };
  require(pthread_create(&thread, &attributes, speak, &work) == 0, "a thread starts");
  pthread_join(thread, nullptr);
}

using Scenario = void (*)(const char* plugIn, const std::string& argument);

const std::map<std::string, Scenario> kScenarios = {
    {"load", load},
    {"load-again", loadAgain},
    {"unload", unloadWhileSpeaking},
    {"end", endWhileSpeaking},
    {"end-many-times", endManyTimes},
    {"fork", forkWhileSpeaking},
    {"comma", speakWithComma},
    {"small-stacks", speakOnSmallStacks},
};

}  // namespace

int main(int argc, char** argv) {
  const auto scenario = argc >= 3 ? kScenarios.find(argv[1]) : kScenarios.end();
  if (scenario == kScenarios.end()) {
    std::fprintf(stderr, "usage: life_host SCENARIO PLUGIN [ARGUMENT]\n");
    return 2;
  }
  alarm(kPatience);
  try {
    scenario->second(argv[2], argc > 3 ? argv[3] : "");
  } catch (const std::exception& error) {
    require(false, error.what());
  }
  return 0;
}

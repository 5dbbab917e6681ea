// SPDX-License-Identifier: Apache-2.0
//
// The Manager when memory or threads run out: at every request in turn, once and for good. Whatever
// fails, a call returns a result of its list, each accepted text has one speech-done, and a fresh
// channel speaks when there is memory again. A separate program, since it replaces the allocator
// and pthread_create().
//
// Each run is a child process, so that it can fail the first use of the Manager too. A child
// reports through a pipe; gtest's own memory is the parent's.
#include <ApplicationServices/ApplicationServices.h>
#include <CoreFoundation/CoreFoundation.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <utility>

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include "allocation/FailingAllocator.h"

// ---- Faults

namespace {

using allocation::Times;

// The synthesizer and the client are not a subject of the test.
thread_local bool t_insideSynthesizer = false;

std::atomic<int> g_threadCalls = 0;
std::atomic<int> g_firstFailing = 0;  // number of a call; 0: none
std::atomic<int> g_lastFailing = 0;
std::atomic<int> g_threadFaults = 0;

void failThreads(int n, Times times) {
  g_threadFaults = 0;
  g_threadCalls = 0;
  g_lastFailing = times == Times::Once ? n : 1'000'000;
  g_firstFailing = n;
}

bool threadFails() {
  if (t_insideSynthesizer) return false;
  const int call = ++g_threadCalls;
  if (g_firstFailing == 0 || call < g_firstFailing || call > g_lastFailing) return false;
  ++g_threadFaults;
  return true;
}

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {

bool beepSynthesizerRuns(bool runs);
__attribute__((visibility("default"))) bool beepSynthesizerRuns(bool runs) {
  return std::exchange(t_insideSynthesizer, runs);
}

// The dynamic linker is exempt: it loses its own state when it has no memory.
__attribute__((visibility("default"))) void* dlopen(const char* file, int mode) noexcept {
  static const auto load = reinterpret_cast<decltype(&dlopen)>(dlsym(RTLD_NEXT, "dlopen"));
  const bool before = beepSynthesizerRuns(true);
  void* const library = load(file, mode);
  beepSynthesizerRuns(before);
  return library;
}

// The sanitizer's wrapper, in a build with a sanitizer; it must see every thread.
__attribute__((weak)) int __interceptor_pthread_create(pthread_t*, const pthread_attr_t*,
                                                       void* (*)(void*), void*);

__attribute__((visibility("default"))) int pthread_create(pthread_t* thread,
                                                          const pthread_attr_t* attributes,
                                                          void* (*routine)(void*), void* argument) {
  if (threadFails()) return EAGAIN;
  static const auto create =
      &__interceptor_pthread_create != nullptr
          ? &__interceptor_pthread_create
          : reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
  return create(thread, attributes, routine, argument);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

namespace {

// ---- A child's report

int g_report = -1;
std::atomic<bool> g_failed = false;

// Writes a problem to the parent, without the heap.
void problem(const char* what, long number) {
  g_failed = true;
  char line[200];
  const int length = std::snprintf(line, sizeof line, "%s (%ld)\n", what, number);
  if (write(g_report, line, static_cast<std::size_t>(std::min<int>(length, sizeof line))) < 0) {
    std::abort();
  }
}

// Runs `work` in a child process. Returns what it has reported, with the signal that ended it.
template <typename Work>
std::string reportOf(Work work) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return "no pipe";
  const pid_t child = fork();
  if (child == 0) {
    g_report = ends[1];
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDERR_FILENO);
    alarm(120);
    work();
    _exit(0);
  }
  close(ends[1]);
  std::string report;
  char piece[4096];
  for (ssize_t count = 0; (count = read(ends[0], piece, sizeof piece)) > 0;) {
    report.append(piece, static_cast<std::size_t>(count));
  }
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (WIFSIGNALED(status)) report += "ended by signal " + std::to_string(WTERMSIG(status));
  return report;
}

// ---- A client

constexpr VoiceSpec kBeep = {0x42454550, 1};
constexpr std::chrono::seconds kPatience{20};

// Counts the texts that are accepted, and the ends that are reported.
struct Client {
  SpeechChannel channel = nullptr;
  int accepted = 0;
  std::atomic<int> ends = 0;
  std::atomic<int> pieces = 0;
};

template <typename Function>
const void* asValue(Function* function) {
  return reinterpret_cast<const void*>(function);
}

Client& clientOf(SRefCon refCon) {
  return *static_cast<Client*>(refCon);
}
void onDone(SpeechChannel /*channel*/, SRefCon refCon) {
  ++clientOf(refCon).ends;
}
void onWord(SpeechChannel /*channel*/, SRefCon /*refCon*/, unsigned long /*at*/, UInt16 /*bytes*/) {
}
void onWordCF(SpeechChannel /*channel*/, SRefCon /*refCon*/, CFStringRef string, CFRange range) {
  if (string == nullptr || range.location + range.length > CFStringGetLength(string)) {
    problem("a word outside of its string", range.location);
  }
}
void onError(SpeechChannel /*channel*/, SRefCon /*refCon*/, OSErr /*error*/, long /*position*/) {}
void onErrorCF(SpeechChannel /*channel*/, SRefCon /*refCon*/, CFErrorRef error) {
  if (error == nullptr) problem("an error callback without an error", 0);
}
void onTextDone(SpeechChannel /*channel*/, SRefCon refCon, const void** next, unsigned long* bytes,
                SInt32* /*flags*/) {
  const bool hasMore = ++clientOf(refCon).pieces <= 2;
  *next = hasMore ? "more " : nullptr;
  *bytes = hasMore ? 5 : 0;
}

// Checks a result, which may be a failure only while something fails.
bool isNoErr(OSErr result, const char* call) {
  if (result == noErr) return true;
  const bool isListed =
      result == memFullErr || result == synthOpenFailed || result == synthNotReady;
  if (!isListed) problem(call, result);
  return false;
}

void countText(Client& client, OSErr result, const char* call) {
  if (isNoErr(result, call)) ++client.accepted;
}

// Waits for the ends of all accepted texts.
void waitForEnds(const Client& client) {
  const auto limit = std::chrono::steady_clock::now() + kPatience;
  while (client.ends < client.accepted) {
    if (std::chrono::steady_clock::now() > limit) {
      problem("a text without speech-done", client.accepted - client.ends);
      return;
    }
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
}

// The objects of the client, made while there is memory.
struct Objects {
  CFStringRef text = CFSTR("Caf\u00E9 [[rate 200]]two [[oops]]three.");
  CFNumberRef number = [] {
    const double value = 150;
    return CFNumberCreate(nullptr, kCFNumberDoubleType, &value);
  }();
};

void setUp(Client& client) {
  const struct {
    OSType selector;
    const void* value;
  } settings[] = {{soRefCon, &client},
                  {soSpeechDoneCallBack, asValue(onDone)},
                  {soWordCallBack, asValue(onWord)},
                  {soErrorCallBack, asValue(onError)}};
  for (const auto& setting : settings) {
    isNoErr(SetSpeechInfo(client.channel, setting.selector, setting.value), "SetSpeechInfo");
  }
}

// The callbacks whose value is a number, which may need memory.
void setCallback(Client& client, CFStringRef property, const void* function) {
  const auto address = reinterpret_cast<std::intptr_t>(function);
  CFNumberRef const value = CFNumberCreate(nullptr, kCFNumberLongType, &address);
  if (value == nullptr) return;
  isNoErr(SetSpeechProperty(client.channel, property, value), "SetSpeechProperty");
  CFRelease(value);
}

void useProperties(Client& client, const Objects& objects) {
  for (CFStringRef const property :
       {kSpeechStatusProperty, kSpeechErrorsProperty, kSpeechSynthesizerInfoProperty,
        kSpeechRecentSyncProperty, kSpeechCurrentVoiceProperty, kSpeechPhonemeSymbolsProperty}) {
    CFTypeRef value = nullptr;
    if (isNoErr(CopySpeechProperty(client.channel, property, &value), "CopySpeechProperty")) {
      CFRelease(value);
    }
  }
  isNoErr(SetSpeechProperty(client.channel, kSpeechRateProperty, objects.number), "rate");
  isNoErr(SetSpeechInfo(client.channel, soCurrentVoice, &kBeep), "soCurrentVoice");
}

// What a client does with a channel, from its opening to its end. `use` is what it does between.
template <typename Use>
void live(Use use) {
  Client client;
  VoiceSpec voice = kBeep;
  if (!isNoErr(NewSpeechChannel(&voice, &client.channel), "NewSpeechChannel")) {
    if (client.channel != nullptr) problem("a channel of a failed call", 0);
    return;
  }
  setUp(client);
  use(client);
  waitForEnds(client);
  const OSErr closed = DisposeSpeechChannel(client.channel);
  if (closed != noErr) problem("DisposeSpeechChannel", closed);
  if (client.ends != client.accepted) problem("speech-done came too often", client.ends);
}

void speakOnce(const Objects& /*objects*/) {
  live([](Client& client) { countText(client, SpeakText(client.channel, "one", 3), "SpeakText"); });
}

void liveWithProperties(const Objects& objects) {
  live([&](Client& client) { useProperties(client, objects); });
}

// Bytes, a string with problems, and pieces, one after the other.
void liveWithTexts(const Objects& objects) {
  live([&](Client& client) {
    SpeechChannel const channel = client.channel;
    setCallback(client, kSpeechWordCFCallBack, asValue(onWordCF));
    setCallback(client, kSpeechErrorCFCallBack, asValue(onErrorCF));
    countText(client, SpeakText(channel, "one two", 7), "SpeakText");
    waitForEnds(client);
    countText(client, SpeakCFString(channel, objects.text, nullptr), "SpeakCFString");
    waitForEnds(client);
    isNoErr(SetSpeechInfo(channel, soTextDoneCallBack, asValue(onTextDone)), "SetSpeechInfo");
    countText(client, SpeakBuffer(channel, "pieces ", 7, kNoEndingProsody), "SpeakBuffer");
  });
}

// A text that is paused and replaced, a stop at a boundary with a text after it, and a stop.
void liveWithStops(const Objects& /*objects*/) {
  live([](Client& client) {
    SpeechChannel const channel = client.channel;
    constexpr const char* kLong = "a b c d e f g h i j k l m n o p";
    countText(client, SpeakText(channel, kLong, 31), "SpeakText");
    isNoErr(PauseSpeechAt(channel, kEndOfWord), "PauseSpeechAt");
    isNoErr(ContinueSpeech(channel), "ContinueSpeech");
    countText(client, SpeakText(channel, kLong, 31), "SpeakText");
    isNoErr(StopSpeechAt(channel, kEndOfSentence), "StopSpeechAt");
    countText(client, SpeakText(channel, kLong, 31), "SpeakText");
    SpeechBusy();
    isNoErr(StopSpeech(channel), "StopSpeech");
  });
}

// A life in which nothing fails.
void expectSpeaks(const Objects& objects) {
  Client client;
  VoiceSpec voice = kBeep;
  const OSErr result = NewSpeechChannel(&voice, &client.channel);
  if (result != noErr) return problem("a fresh channel does not open", result);
  setUp(client);
  countText(client, SpeakCFString(client.channel, objects.text, nullptr), "SpeakCFString");
  if (client.accepted != 1) problem("a fresh channel does not speak", 0);
  waitForEnds(client);
  DisposeSpeechChannel(client.channel);
}

// ---- The tests

class ManagerFaults : public testing::TestWithParam<Times> {
 protected:
  void SetUp() override {
    ASSERT_EQ(setenv("SPEECH_VOICE_PATH", BEEP_VOICES_DIR, 1), 0);
    ASSERT_EQ(setenv("SPEECH_SYNTHESIZER_PATH", BEEP_SYNTHESIZER_DIR, 1), 0);
    ASSERT_EQ(setenv("XDG_DATA_HOME", "/nowhere", 1), 0);
    allocation::spareWhere([] { return t_insideSynthesizer; });
  }
  void TearDown() override { allocation::spareWhere(nullptr); }

  // Fails request n in one use of the Manager. Returns whether it was met.
  using Life = void (*)(const Objects&);
  static bool failMemory(long n, Life life, const Objects& objects) {
    const allocation::Failures failures(n, GetParam());
    {
      const allocation::Exposed exposed;
      life(objects);
    }
    return failures.met() > 0;
  }
  static bool failThread(long n, Life life, const Objects& objects) {
    failThreads(static_cast<int>(n), GetParam());
    life(objects);
    const bool met = g_threadFaults > 0;
    failThreads(0, Times::Once);
    return met;
  }

  using Fault = bool (*)(long n, Life life, const Objects& objects);

  // Fails every request of the first use of the Manager in a process of its own. The list of the
  // voices has a test of its own, since it takes thousands of requests.
  static void sweepFirstUse(Fault fault, Life life) {
    SInt16 count = 0;
    ASSERT_EQ(CountVoices(&count), noErr);
    long n = 1;
    for (bool met = true; met; ++n) {
      met = false;
      const std::string report = reportOf([&] {
        const Objects objects;
        const bool isMet = fault(n, life, objects);
        expectSpeaks(objects);
        if (isMet && !g_failed) (void)!write(g_report, "met", 3);
      });
      met = report == "met";
      ASSERT_TRUE(met || report.empty()) << "request " << n << ": " << report;
    }
    EXPECT_GT(n, 2);
  }

  // Fails every request of a client's life, after the first use, in one process.
  static void sweepLife(Fault fault, Life life) {
    const std::string report = reportOf([&] {
      const Objects objects;
      life(objects);
      for (long n = 1; !g_failed; ++n) {
        const bool met = fault(n, life, objects);
        if (g_failed) problem("request", n);
        if (!met && n == 1) problem("no request", n);
        if (!met) break;
        expectSpeaks(objects);
      }
    });
    EXPECT_EQ(report, "");
  }
};

// No voice may be missing for the rest of the process.
TEST_P(ManagerFaults, OfMemoryInTheListOfVoices) {
  const auto writeCount = [](SInt16 count) {
    const std::string line = std::to_string(count) + " voices";
    if (write(g_report, line.data(), line.size()) < 0) std::abort();
  };
  const std::string usual = reportOf([&] {
    SInt16 count = 0;
    CountVoices(&count);
    writeCount(count);
  });
  ASSERT_NE(usual, "0 voices");
  // A list that could not be made is made anew by the next call. So a process goes on until the
  // call succeeds although a request has failed, or until no request fails.
  long next = 1;
  for (bool met = true; met;) {
    met = false;
    const std::string report = reportOf([&] {
      OSErr result = memFullErr;
      SInt16 count = 0;
      for (long n = next; result != noErr; ++n) {
        const allocation::Failures failures(n, GetParam());
        {
          const allocation::Exposed exposed;
          result = CountVoices(&count);
        }
        if (result == noErr && failures.met() > 0) problem("next", n + 1);
        if (result != noErr && result != memFullErr) return problem("CountVoices", result);
      }
      writeCount(count);
    });
    long reached = 0;
    if (std::sscanf(report.c_str(), "next (%ld)", &reached) == 1) {
      met = true;
      next = reached;
      EXPECT_EQ(report.substr(report.find('\n') + 1), usual);
    } else {
      EXPECT_EQ(report, usual);
    }
    ASSERT_LT(next, 100'000);
  }
}

TEST_P(ManagerFaults, OfMemoryAtTheFirstUse) {
  sweepFirstUse(failMemory, speakOnce);
}

// The Manager has one thread of its own, which it starts for the first text.
TEST_P(ManagerFaults, OfThreadsAtTheFirstUse) {
  for (const Life life : {speakOnce, liveWithTexts, liveWithStops}) {
    sweepFirstUse(failThread, life);
  }
}

TEST_P(ManagerFaults, OfMemoryWhileSettingsAreUsed) {
  sweepLife(failMemory, liveWithProperties);
}

TEST_P(ManagerFaults, OfMemoryWhileTextsAreSpoken) {
  sweepLife(failMemory, liveWithTexts);
}

TEST_P(ManagerFaults, OfMemoryWhileTextsAreStopped) {
  sweepLife(failMemory, liveWithStops);
}

std::string testName(const testing::TestParamInfo<Times>& info) {
  return info.param == Times::Once ? "once" : "forGood";
}

INSTANTIATE_TEST_SUITE_P(Every, ManagerFaults, testing::Values(Times::Once, Times::ForGood),
                         testName);

}  // namespace

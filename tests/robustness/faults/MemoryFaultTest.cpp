// SPDX-License-Identifier: Apache-2.0
//
// Channels when the process is out of memory: at every request in turn, once and for good. A
// separate program, since it replaces the allocator.
#include "FaultFixture.h"
#include "allocation/FailingAllocator.h"

namespace faults {
namespace {

using allocation::Exposed;
using allocation::Failures;
using allocation::Spared;
using allocation::Times;
using channels::asPointer;
using channels::Client;
using scripted::engine;

// The client's callbacks, exempt from the failures.
void done(SpeechChannel channel, SRefCon refCon) {
  const Spared spared;
  Client::done(channel, refCon);
}

void word(SpeechChannel channel, SRefCon refCon, unsigned long position, UInt16 length) {
  const Spared spared;
  Client::word(channel, refCon, position, length);
}

void sync(SpeechChannel channel, SRefCon refCon, OSType message) {
  const Spared spared;
  Client::sync(channel, refCon, message);
}

void phoneme(SpeechChannel channel, SRefCon refCon, SInt16 code) {
  const Spared spared;
  Client::phoneme(channel, refCon, code);
}

int g_pieces = 0;

void textDone(SpeechChannel, SRefCon, const void** next, unsigned long*, SInt32*) {
  static const char* const kPieces[] = {"one [[rate +20]]piece ", "and a longer [[emph +]]piece. "};
  *next = g_pieces < 2 ? kPieces[g_pieces++] : nullptr;
}

// A valid value for every selector.
struct Values {
  OSType mode = channels::code("LTRL");
  OSType input = channels::code("TEXT");
  Fixed number = 0x0001'8000;
  DelimiterInfo delimiters{};

  // Returns the value for the selector, or null if it takes none.
  void* of(OSType selector) {
    switch (selector) {
      case soRate:
      case soPitchBase:
      case soPitchMod:
      case soVolume:
        return &number;
      case soInputMode:
        return &input;
      case soCharacterMode:
      case soNumberMode:
        return &mode;
      case soCommandDelimiter:
        return &delimiters;
      default:
        return nullptr;
    }
  }
};

constexpr OSType kSelectors[] = {soStatus,
                                 soErrors,
                                 soInputMode,
                                 soCharacterMode,
                                 soNumberMode,
                                 soRate,
                                 soPitchBase,
                                 soPitchMod,
                                 soVolume,
                                 soSynthType,
                                 soRecentSync,
                                 soPhonemeSymbols,
                                 soCurrentVoice,
                                 soCommandDelimiter,
                                 soReset,
                                 soTextDoneCallBack,
                                 soErrorCallBack,
                                 soSynthExtension,
                                 soOutputToFileWithCFURL};

class MemoryFaults : public FaultTest, public testing::WithParamInterface<Times> {
 protected:
  MemoryFaults() {
    allocation::spareWhere(scripted::insideEngine);
    engine().recordCalls(false);
    // The record of the voices belongs to the test and must not allocate.
    channels::voices().asked.reserve(100'000);
    // If no thread starts, the job is finished on the engine's thread, and a stop may time out
    // there.
    engine().setCallbackPatience(std::chrono::milliseconds(20));
  }
  ~MemoryFaults() override { allocation::spareWhere(nullptr); }

  // Calls an entry point whose allocations may fail. It must not throw; only SESpeakBuffer may.
  template <typename Call>
  static long exposed(Call call) {
    try {
      const Exposed scope;
      return call();
    } catch (...) {
      const Spared scope;
      ADD_FAILURE() << "an entry point throws an exception";
      return 1;
    }
  }

  static void expectResult(long result, std::initializer_list<long> allowed, const char* call) {
    EXPECT_THAT(std::vector<long>(allowed), testing::Contains(result)) << call;
  }

  // The objects that a run needs, created while memory is available.
  struct Scene {
    Client& client = channels::newClient();
    CFURLRef url = CFURLCreateFromFileSystemRepresentation(
        nullptr, reinterpret_cast<const UInt8*>("/tmp"), 4, true);
    CFBundleRef bundle = CFBundleCreate(nullptr, url);
    VoiceSpec voice{channels::code("BRVD"), 1};
    Values values;
    std::string text =
        "A [[rate 200]]text [[emph +]]with [[slnc 50; sync 7]]commands [[inpt PHON]]hEHlOW"
        "[[inpt TEXT]], [[nmbr LTRL]]42[[char LTRL]]abc & <b> OS X [[volm +0.1; pbas -2; pmod 3]]"
        "and [[ctxt WSKP]]skipped[[ctxt NORM]] a word that is much longer than all others: "
        "[[xtndabcdefghijklmnopqrstuvwxyzabcdefghijklmnopqrstuvwxyzabcdefghijklmnopqrstuvwxyz]] "
        "end.";

    Scene() = default;
    ~Scene() {
      CFRelease(bundle);
      CFRelease(url);
    }
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;
  };

  // Opens a channel and uses it as a client does; returns the open channel, or 0 if it did not
  // open.
  static SpeechChannelIdentifier use(Scene& scene, bool exact);
  static bool speakOn(SpeechChannelIdentifier id, Scene& scene);
  void expectSpeaks(SpeechChannelIdentifier id, Scene& scene);
  void sweep(const std::function<void()>& run, const std::function<void()>& check);
  void useEverywhere(bool exact);
};

bool MemoryFaults::speakOn(SpeechChannelIdentifier id, Scene& scene) {
  g_pieces = 0;
  try {
    const Exposed scope;
    const long result =
        SESpeakBuffer(id, scene.text.data(), static_cast<long>(scene.text.size()), 0);
    const Spared spared;
    expectResult(result, {noErr, synthNotReady}, "SESpeakBuffer");
    return result == noErr;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

SpeechChannelIdentifier MemoryFaults::use(Scene& scene, bool exact) {
  SpeechChannelIdentifier id = 0;
  const long opened = exposed([&] { return SEOpenSpeechChannel(&id); });
  expectResult(opened, {noErr, synthOpenFailed}, "SEOpenSpeechChannel");
  const auto give = [&](OSType selector, void* value) {
    const long result = exposed([&] { return SESetSpeechInfo(id, selector, value); });
    expectResult(result, {noErr, paramErr, noSynthFound}, "SESetSpeechInfo");
  };
  give(soRefCon, &scene.client);
  give(soSpeechDoneCallBack, asPointer(done));
  give(soWordCallBack, asPointer(word));
  give(soSyncCallBack, asPointer(sync));
  give(soPhonemeCallBack, asPointer(phoneme));
  if (exact) give(kCallerPositions, &scene);
  for (const OSType selector : kSelectors) {
    give(selector, scene.values.of(selector));
    char room[512] = {};
    const long result = exposed([&] { return SEGetSpeechInfo(id, selector, room); });
    expectResult(result, {noErr, siUnknownInfoType, noSynthFound}, "SEGetSpeechInfo");
  }
  give(soTextDoneCallBack, asPointer(textDone));
  expectResult(exposed([&] { return SEUseVoice(id, &scene.voice, scene.bundle); }),
               {noErr, noSynthFound}, "SEUseVoice");
  give(soOutputToFileWithCFURL, const_cast<void*>(static_cast<const void*>(scene.url)));
  if (opened != noErr) return 0;
  if (speakOn(id, scene)) {
    const Exposed scope;
    lastPort().word(0, 1).word(5, 4).phoneme("ae", 0).phoneme("new", 0).bookmark("7");
  }
  expectResult(exposed([&] { return SEPauseSpeechAt(id, kImmediate); }), {noErr, -1}, "pause");
  expectResult(exposed([&] { return SEContinueSpeech(id); }), {noErr, -1}, "continue");
  expectResult(exposed([&] { return SEStopSpeechAt(id, kImmediate); }), {noErr, -1}, "stop");
  EXPECT_TRUE(becomesIdle(id));
  // This job ends without a stop.
  if (speakOn(id, scene)) {
    const Exposed scope;
    lastPort().word(0, 1).end();
  }
  EXPECT_TRUE(becomesIdle(id));
  return id;
}

// Checks that a channel whose allocations failed speaks again when memory is available.
void MemoryFaults::expectSpeaks(SpeechChannelIdentifier id, Scene& scene) {
  set(id, soOutputToFileWithCFURL, nullptr);
  set(id, soTextDoneCallBack, nullptr);
  EXPECT_EQ(SEUseVoice(id, &scene.voice, scene.bundle), noErr);
  const int done = scene.client.count("done");
  ASSERT_EQ(speak(id, scene.text), noErr);
  lastPort().end();
  ASSERT_TRUE(scene.client.waitForDone(done + 1));
  closeAndWait(id);
}

// Runs `run` with every request failing in turn, and `check` after each, with memory available.
void MemoryFaults::sweep(const std::function<void()>& run, const std::function<void()>& check) {
  long n = 1;
  for (bool met = true; met && !HasFailure(); ++n) {
    SCOPED_TRACE(testing::Message() << "request " << n);
    ASSERT_LT(n, 100'000);
    const long blocks = engine().live().blocks;
    {
      const Failures failures(n, GetParam());
      run();
      met = failures.met() > 0;
    }
    check();
    expectNothingIsLeft(blocks);
    EXPECT_EQ(faulty::liveConverters(), 0);
  }
  RecordProperty("requests", static_cast<int>(n - 2));
  expectAFreshChannelSpeaks();
}

void MemoryFaults::useEverywhere(bool exact) {
  Scene scene;
  SpeechChannelIdentifier id = 0;
  sweep([&] { id = use(scene, exact); },
        [&] {
          if (id != 0) expectSpeaks(id, scene);
        });
}

TEST_P(MemoryFaults, AtAnyRequestGiveAllowedResultsAndLeaveAChannelThatSpeaks) {
  useEverywhere(false);
}

TEST_P(MemoryFaults, AtAnyRequestDoTheSameWithExactPositions) {
  useEverywhere(true);
}

TEST_P(MemoryFaults, AtAnyRequestLetAChannelBeClosedWhileItSpeaks) {
  SpeechChannelIdentifier id = 0;
  Client& own = channels::newClient();
  int closed = 0;
  const auto prepare = [&] {
    ASSERT_EQ(SEOpenSpeechChannel(&id), noErr);
    set(id, soRefCon, &own);
    set(id, soSpeechDoneCallBack, asPointer(done));
    ASSERT_EQ(speak(id, "Hello"), noErr);
  };
  sweep(
      [&] {
        prepare();
        EXPECT_EQ(exposed([&] { return SECloseSpeechChannel(id); }), noErr);
        EXPECT_TRUE(own.waitForDone(++closed));
      },
      [&] {
        EXPECT_EQ(find_channel(id), nullptr);
        EXPECT_EQ(own.count("done"), closed);
      });
}

// An identifier whose channel could not be opened is stored and not used again.
TEST_P(MemoryFaults, AtOpeningUseTheIdentifierUp) {
  SpeechChannelIdentifier last = 0;
  ASSERT_EQ(SEOpenSpeechChannel(&last), noErr);
  ASSERT_EQ(SECloseSpeechChannel(last), noErr);
  SpeechChannelIdentifier id = 0;
  long result = noErr;
  int failed = 0;
  sweep(
      [&] {
        id = 0;
        result = exposed([&] { return SEOpenSpeechChannel(&id); });
      },
      [&] {
        EXPECT_EQ(id, ++last);
        expectResult(result, {noErr, synthOpenFailed}, "SEOpenSpeechChannel");
        if (result == synthOpenFailed) ++failed;
        EXPECT_EQ(SECloseSpeechChannel(id), result == noErr ? long{noErr} : long{noSynthFound});
      });
  EXPECT_GT(failed, 0);
}

std::string testName(const testing::TestParamInfo<Times>& info) {
  return info.param == Times::Once ? "once" : "forGood";
}

INSTANTIATE_TEST_SUITE_P(Every, MemoryFaults, testing::Values(Times::Once, Times::ForGood),
                         testName);

}  // namespace
}  // namespace faults

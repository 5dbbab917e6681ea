// SPDX-License-Identifier: Apache-2.0
//
// Channels when something fails: any call of the engine, the start of a thread, the conversion;
// when the client calls back into the channel from text-done; and when everything happens in any
// order.

#include <atomic>
#include <cerrno>
#include <random>
#include <utility>

#include <dlfcn.h>

#include "ChannelTest.h"

namespace channels {
namespace {

using scripted::engine;
using scripted::OnStop;
using scripted::Op;
using scripted::Times;
using testing::AnyOf;

// How many calls of pthread_create fail from now on.
std::atomic<int> g_threadsToRefuse{0};

class Faults : public ChannelTest {
 protected:
  Faults() { g_threadsToRefuse = 0; }
  ~Faults() override { g_threadsToRefuse = 0; }

  // A fresh channel speaks a job from beginning to end.
  void expectAFreshChannelSpeaks() {
    Client& own = newClient();
    const SpeechChannelIdentifier id = open(own);
    ASSERT_EQ(speak(id, "Hello"), noErr);
    engine().port(engine().ports()).end();
    ASSERT_TRUE(own.waitForDone());
    EXPECT_EQ(close(id), noErr);
  }
};

// ---- The engine
// ----------------------------------------------------------------------------------

// A client's whole life with a channel; every result has to be one that the calls may answer.
void useAChannel() {
  Client& client = newClient();
  SpeechChannelIdentifier id = 0;
  const auto expect = [](long result, std::initializer_list<long> allowed) {
    EXPECT_THAT(std::vector<long>(allowed), testing::Contains(result));
  };
  expect(SEOpenSpeechChannel(&id), {noErr, synthOpenFailed});
  SESetSpeechInfo(id, soRefCon, &client);
  SESetSpeechInfo(id, soSpeechDoneCallBack, asPointer(Client::done));
  SESetSpeechInfo(id, soWordCallBack, asPointer(Client::word));
  SESetSpeechInfo(id, soPhonemeCallBack, asPointer(Client::phoneme));
  SESetSpeechInfo(id, soSyncCallBack, asPointer(Client::sync));
  const CFURLRef folder = CFURLCreateFromFileSystemRepresentation(
      nullptr, reinterpret_cast<const UInt8*>("/tmp"), 4, true);
  const CFBundleRef bundle = CFBundleCreate(nullptr, folder);
  VoiceSpec voice{code("BRVD"), 1};
  expect(SEUseVoice(id, &voice, bundle), {noErr});
  std::string text = "a [[rate 200]] b";
  for (int job = 0; job < 2; ++job) {
    const long spoken = SESpeakBuffer(id, text.data(), static_cast<long>(text.size()), 0);
    expect(spoken, {noErr, synthNotReady});
    if (spoken == noErr) engine().port(engine().ports()).word(0, 1).phoneme("ae", 0).bookmark("1");
    expect(SEPauseSpeechAt(id, kImmediate), {noErr, -1});
    expect(SEContinueSpeech(id), {noErr, -1});
    expect(SEStopSpeechAt(id, kImmediate), {noErr, -1});
    if (spoken == noErr) engine().port(engine().ports()).end();
    EXPECT_TRUE(eventually([&] {
      SpeechStatusInfo info{};
      SESpeechStatus(id, &info);
      return !info.outputBusy && !info.outputPaused;
    }));
    SESetSpeechInfo(id, soOutputToFileWithCFURL,
                    const_cast<void*>(static_cast<const void*>(folder)));
  }
  expect(SECloseSpeechChannel(id), {noErr});
  CFRelease(bundle);
  CFRelease(folder);
}

TEST_F(Faults, EveryEngineCallMayFail) {
  testing::internal::CaptureStderr();  // stops that fail say so
  for (const Times times : {Times::Once, Times::ForGood}) {
    for (const Op op : {Op::ParamsNew, Op::ValString, Op::ValInt, Op::ParamsSetVal, Op::PortOpen,
                        Op::PortClose, Op::SetCallback, Op::SetVoice, Op::Speak, Op::Pause,
                        Op::Stop, Op::EventText, Op::EventTextpos}) {
      for (int k = 1;; ++k) {
        SCOPED_TRACE(testing::Message() << "op " << static_cast<int>(op) << " call " << k);
        ASSERT_LT(k, 100);
        const int before = engine().faultsMet();
        const long blocks = engine().live().blocks;
        engine().fail(op, k, times);
        useAChannel();
        engine().answerAsUsual();
        expectAFreshChannelSpeaks();
        EXPECT_TRUE(eventually([] { return engine().heldLocks() == 0; }));
        EXPECT_TRUE(eventually([&] { return engine().live().blocks == blocks; }))
            << "memory is left";
        if (engine().faultsMet() == before) break;
      }
    }
  }
  testing::internal::GetCapturedStderr();
}

TEST_F(Faults, EveryWaitMayFail) {
  for (const kavrel_result_t result :
       {KAVREL_INTERNAL_ERROR, KAVREL_ENGINE_INUSE, KAVREL_OBJECT_NOT_FOUND}) {
    engine().answer(Op::Wait, result);
    useAChannel();
    engine().answerAsUsual();
    expectAFreshChannelSpeaks();
  }
}

// ---- Threads
// -------------------------------------------------------------------------------------

TEST_F(Faults, WithoutAFinishingThreadTheJobIsFinishedAndSignalledOnce) {
  for (int refused = 1; refused <= 2; ++refused) {
    SCOPED_TRACE(refused);
    Client& own = newClient();
    const SpeechChannelIdentifier id = open(own);
    ASSERT_EQ(speak(id, "Hello"), noErr);
    g_threadsToRefuse = refused;
    engine().port(engine().ports()).end();
    ASSERT_TRUE(own.waitForDone());
    EXPECT_EQ(g_threadsToRefuse, 0);
    EXPECT_EQ(status(id), STATUS_IDLE);
    EXPECT_EQ(speak(id, "Hello"), noErr);
    EXPECT_EQ(own.count("done"), 1);
  }
}

TEST_F(Faults, WithoutASignallingThreadAStopSignalsOnce) {
  const SpeechChannelIdentifier id = open();
  engine().onStop(OnStop::EndsSilently);
  ASSERT_EQ(speak(id, "Hello"), noErr);
  g_threadsToRefuse = 1;
  EXPECT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  ASSERT_TRUE(client().waitForDone());
  EXPECT_EQ(g_threadsToRefuse, 0);
  EXPECT_EQ(status(id), STATUS_IDLE);
  EXPECT_EQ(client().count("done"), 1);
}

TEST_F(Faults, WithoutASignallingThreadTheChannelMayBeClosedInsideSpeechDone) {
  const SpeechChannelIdentifier id = open();
  client().onDone = [&](auto channel) { EXPECT_EQ(SECloseSpeechChannel(channel), noErr); };
  engine().onStop(OnStop::EndsSilently);
  ASSERT_EQ(speak(id, "Hello"), noErr);
  g_threadsToRefuse = 1;
  EXPECT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
  ASSERT_TRUE(client().waitForDone());
  EXPECT_EQ(find_channel(id), nullptr);
}

TEST_F(Faults, WithoutASignallingThreadACloseStillSignalsOnce) {
  const SpeechChannelIdentifier id = open();
  engine().onStop(OnStop::EndsSilently);
  ASSERT_EQ(speak(id, "Hello"), noErr);
  g_threadsToRefuse = 1;
  EXPECT_EQ(close(id), noErr);
  EXPECT_EQ(client().count("done"), 1);
}

// ---- The conversion
// ------------------------------------------------------------------------------

// Errors of other kinds than the converter's own leave the entry point, and nothing behind.
TEST_F(Faults, MemoryErrorsOfTheConversionLeaveTheChannelIdleAndEmpty) {
  const SpeechChannelIdentifier id = open();
  engine().fail(Op::Alloc, 1, Times::ForGood);
  EXPECT_THROW(speak(id, "a [[rate 200]] b"), std::bad_alloc);
  engine().answerAsUsual();
  EXPECT_EQ(engine().heldLocks(), 0);
  EXPECT_EQ(status(id), STATUS_IDLE);
  EXPECT_EQ(read(id, [](const speech_channel& c) { return c.text; }), nullptr);
  EXPECT_EQ(read(id, [](const speech_channel& c) { return c.text_offsets; }), nullptr);
  EXPECT_EQ(speak(id, "Hello"), noErr);
}

// ---- Text-done
// -----------------------------------------------------------------------------------

class InsideTextDone : public Faults {
 protected:
  // Speaks on a channel that runs `action` once inside text-done; the result.
  long speakDoing(SpeechChannelIdentifier id, const std::function<void()>& action) {
    bool done = false;
    client().onTextDone = [&](auto, const void** next, unsigned long*, SInt32*) {
      *next = nullptr;
      if (!std::exchange(done, true)) action();
    };
    set(id, soTextDoneCallBack, asPointer(Client::textDone));
    const long result = speak(id, "outer");
    set(id, soTextDoneCallBack, nullptr);
    return result;
  }
};

TEST_F(InsideTextDone, SettingsMayBeChangedAndHoldForThisText) {
  const SpeechChannelIdentifier id = open();
  EXPECT_EQ(speakDoing(id,
                       [&] {
                         Fixed volume = 0x8000;
                         set(id, soVolume, &volume);
                       }),
            noErr);
  EXPECT_THAT(engine().port(1).text(), testing::HasSubstr("volume='50'"));
}

TEST_F(InsideTextDone, ACloseKeepsTheTextFromBeingSpoken) {
  const SpeechChannelIdentifier id = open();
  long closed = -1;
  const long result = speakDoing(id, [&] { closed = close(id); });
  EXPECT_EQ(closed, noErr);
  EXPECT_EQ(find_channel(id), nullptr);
  // A job on a channel that is gone could be neither stopped nor heard of.
  EXPECT_THAT(result, AnyOf(noSynthFound, synthNotReady));
  EXPECT_EQ(engine().count(Op::Speak), 0);
}

TEST_F(InsideTextDone, AnotherSpeakOnTheChannelDoesNoHarm) {
  const SpeechChannelIdentifier id = open();
  long inner = -1;
  const long outer = speakDoing(id, [&] { inner = speak(id, "inner"); });
  EXPECT_THAT(inner, AnyOf(noErr, synthNotReady));
  EXPECT_THAT(outer, AnyOf(noErr, synthNotReady));
  // One job at a time.
  EXPECT_EQ((inner == noErr) + (outer == noErr), 1);
  EXPECT_EQ(engine().count(Op::Speak), 1);
  engine().port(1).end();
  ASSERT_TRUE(client().waitForDone());
  EXPECT_EQ(client().count("done"), 1);
}

TEST_F(InsideTextDone, PauseStopAndContinueDoNoHarm) {
  for (int which = 0; which < 3; ++which) {
    const SpeechChannelIdentifier id = open();
    const long result = speakDoing(id, [&] {
      if (which == 0) SEPauseSpeechAt(id, kImmediate);
      if (which == 1) SEStopSpeechAt(id, kImmediate);
      if (which == 2) SEContinueSpeech(id);
    });
    EXPECT_EQ(result, noErr);
    EXPECT_EQ(status(id), STATUS_BUSY);
    close(id);
  }
}

TEST_F(InsideTextDone, AnotherChannelMaySpeak) {
  const SpeechChannelIdentifier id = open();
  const SpeechChannelIdentifier other = open();
  EXPECT_EQ(speakDoing(id, [&] { EXPECT_EQ(speak(other, "other"), noErr); }), noErr);
  EXPECT_EQ(engine().count(Op::Speak), 2);
}

// ---- Everything in any order
// ---------------------------------------------------------------------

// The state table, with the steps that it knows. Jobs end when the test says so or by a stop.
class Model {
 public:
  long speak() {
    if (m_status != STATUS_IDLE) return synthNotReady;
    m_status = STATUS_BUSY;
    m_job = true;
    return noErr;
  }
  long pause() {
    if (m_status == STATUS_PAUSED) return noErr;
    m_status = STATUS_PAUSED;
    return m_job ? noErr : -1;
  }
  long unpause() {
    if (m_status != STATUS_PAUSED) return noErr;
    m_status = STATUS_BUSY;
    return m_job ? noErr : -1;
  }
  // Of the job, or of none: a channel that was paused while idle counts as having one.
  bool finish() {
    const bool finished = m_status == STATUS_BUSY || m_status == STATUS_PAUSED;
    m_status = STATUS_IDLE;
    m_job = false;
    return finished;
  }
  bool hasJob() const { return m_job; }
  channel_status_t status() const { return m_status; }

 private:
  channel_status_t m_status = STATUS_IDLE;
  bool m_job = false;
};

TEST_F(Faults, RandomStepsFollowTheStateTable) {
  const unsigned int seed = std::random_device()();
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::mt19937 random(seed);
  const SpeechChannelIdentifier id = open();
  engine().recordCalls(false);
  Model model;
  int signalled = 0;
  for (int step = 0; step < 3000 && !HasFailure(); ++step) {
    switch (random() % 6) {
      case 0:
      case 1:
        EXPECT_EQ(speak(id, "Hello"), model.speak());
        break;
      case 2:
        EXPECT_EQ(SEPauseSpeechAt(id, random() % 4), model.pause());
        break;
      case 3:
        EXPECT_EQ(SEContinueSpeech(id), model.unpause());
        break;
      case 4:
        EXPECT_EQ(SEStopSpeechAt(id, random() % 4), noErr);
        if (model.finish()) ++signalled;
        break;
      case 5:
        if (!model.hasJob()) break;
        engine().port(1).end();
        model.finish();
        ++signalled;
        break;
    }
    ASSERT_TRUE(client().waitForDone(signalled)) << "step " << step;
    ASSERT_EQ(status(id), model.status()) << "step " << step;
  }
  EXPECT_EQ(client().count("done"), signalled);
}

TEST_F(Faults, OpeningAndClosingManyTimesKeepsOnlyWhatIsMeantToBeKept) {
  engine().recordCalls(false);
  for (int i = 0; i < 5000; ++i) close(openBare());
  EXPECT_EQ(engine().live().parameterSets, 5000);
  EXPECT_EQ(engine().live().blocks, 0);
  EXPECT_EQ(engine().live().ports, 0);
}

}  // namespace

bool refuseThread() {
  int left = g_threadsToRefuse;
  while (left > 0) {
    if (g_threadsToRefuse.compare_exchange_weak(left, left - 1)) return true;
  }
  return false;
}

}  // namespace channels

// Stands in front of the system's own: the program's symbol is found before the library's.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*routine)(void*), void* argument) {
  if (channels::refuseThread()) return EAGAIN;
  static const auto create =
      reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
  return create(thread, attributes, routine, argument);
}

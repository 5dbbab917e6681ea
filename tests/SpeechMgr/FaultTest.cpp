// SPDX-License-Identifier: Apache-2.0
//
// Channels when the conversion fails, when the client calls back into the channel from text-done,
// and when everything happens in any order. tests/faults has faults of all other kinds.

#include <random>
#include <utility>

#include "ChannelTest.h"

namespace channels {
namespace {

using scripted::engine;
using scripted::Op;
using scripted::Times;
using testing::AnyOf;

class Faults : public ChannelTest {};

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
}  // namespace channels

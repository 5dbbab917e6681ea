// SPDX-License-Identifier: Apache-2.0
//
// Failures of the conversion, and clients that call into the channel from text-done.
// tests/robustness/faults tests all other kinds of faults.

#include <utility>

#include "channels/ChannelTest.h"

namespace channels {
namespace {

using scripted::engine;
using scripted::Op;
using scripted::Times;
using testing::AnyOf;

class Faults : public ChannelTest {};

// ---- The conversion

// Errors other than the converter's own leave the entry point as exceptions and keep nothing
// allocated.
TEST_F(Faults, MemoryErrorsOfTheConversionLeaveTheChannelIdleAndEmpty) {
  const SpeechChannelIdentifier id = open();
  engine().fail(Op::Alloc, 1, Times::ForGood);
  EXPECT_THROW(speak(id, "a [[rate 200]] b"), std::bad_alloc);
  engine().useDefaultResults();
  EXPECT_EQ(engine().heldLocks(), 0);
  EXPECT_EQ(status(id), STATUS_IDLE);
  EXPECT_EQ(read(id, [](const speech_channel& c) { return c.text; }), nullptr);
  EXPECT_EQ(read(id, [](const speech_channel& c) { return c.text_offsets; }), nullptr);
  EXPECT_EQ(speak(id, "Hello"), noErr);
}

// ---- Text-done

class InsideTextDone : public Faults {
 protected:
  // Speaks on a channel that runs `action` once inside text-done; returns the result of the call.
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

TEST_F(InsideTextDone, SettingsMayBeChangedAndApplyToThisText) {
  const SpeechChannelIdentifier id = open();
  EXPECT_EQ(speakDoing(id,
                       [&] {
                         Fixed volume = 0x8000;
                         set(id, soVolume, &volume);
                       }),
            noErr);
  EXPECT_THAT(engine().port(1).text(), testing::HasSubstr("volume='50'"));
}

TEST_F(InsideTextDone, ACloseDiscardsTheText) {
  const SpeechChannelIdentifier id = open();
  long closed = -1;
  const long result = speakDoing(id, [&] { closed = close(id); });
  EXPECT_EQ(closed, noErr);
  EXPECT_EQ(find_channel(id), nullptr);
  // Nobody could stop a job on a closed channel or receive its events.
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

// The text is not on the channel while it is gathered, so that a stop cannot free it.
TEST_F(InsideTextDone, AStopOfThePausedChannelLeavesTheTextAlone) {
  for (const bool secondPiece : {false, true}) {
    for (const bool continued : {false, true}) {
      Client& own = newClient();
      const SpeechChannelIdentifier id = open(own);
      int asked = 0;
      own.onTextDone = [&](auto channel, const void** next, unsigned long*, SInt32*) {
        if (asked == (secondPiece ? 1 : 0)) {
          EXPECT_EQ(SEPauseSpeechAt(channel, kImmediate), -1);
          if (continued) {
            EXPECT_EQ(SEContinueSpeech(channel), -1);
          }
          EXPECT_EQ(SEStopSpeechAt(channel, kImmediate), noErr);
        }
        *next = asked++ < 2 ? " piece" : nullptr;
      };
      set(id, soTextDoneCallBack, asPointer(Client::textDone));
      EXPECT_EQ(speak(id, "outer"), noErr);
      const scripted::Port port = engine().port(engine().ports());
      EXPECT_EQ(port.text(), converted("outer piece piece"));
      settle();
      EXPECT_EQ(own.count("done"), 1);
      EXPECT_EQ(status(id), STATUS_BUSY);
      engine().port(engine().ports()).end();
      EXPECT_TRUE(own.waitForDone(2));
    }
  }
}

TEST_F(InsideTextDone, ACloseOfThePausedChannelDiscardsTheText) {
  Client& own = newClient();
  const SpeechChannelIdentifier id = open(own);
  own.onTextDone = [&](auto channel, const void** next, unsigned long*, SInt32*) {
    EXPECT_EQ(SEPauseSpeechAt(channel, kImmediate), -1);
    EXPECT_EQ(close(channel), noErr);
    *next = nullptr;
  };
  set(id, soTextDoneCallBack, asPointer(Client::textDone));
  EXPECT_EQ(speak(id, "outer"), noSynthFound);
  EXPECT_EQ(engine().count(Op::Speak), 0);
  settle();
  EXPECT_EQ(own.count("done"), 1);
}

TEST_F(InsideTextDone, AnotherChannelMaySpeak) {
  const SpeechChannelIdentifier id = open();
  const SpeechChannelIdentifier other = open();
  EXPECT_EQ(speakDoing(id, [&] { EXPECT_EQ(speak(other, "other"), noErr); }), noErr);
  EXPECT_EQ(engine().count(Op::Speak), 2);
}

}  // namespace
}  // namespace channels

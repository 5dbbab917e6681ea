// SPDX-License-Identifier: Apache-2.0
//
// The lifetime of a channel's record: the last user frees it, and it is freed only once. Freeing a
// record destroys its mutex, which the scripted engine counts.

#include <chrono>

#include "channels/ChannelTest.h"

namespace channels {
namespace {

using scripted::engine;
using scripted::OnStop;
using scripted::Op;
using scripted::Script;
using scripted::When;

class Record : public ChannelTest {};

TEST_F(Record, IsFreedByTheCloseOfAnIdleChannel) {
  const SpeechChannelIdentifier id = open();
  EXPECT_EQ(freed(), 0);
  close(id);
  EXPECT_EQ(freed(), 1);
}

TEST_F(Record, IsFreedByTheCloseOfASpeakingChannelAfterItsThreadsHaveExited) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  close(id);
  settle();
  EXPECT_EQ(freed(), 1);
}

TEST_F(Record, IsKeptByAJobThatTheEngineWillNotStopUntilItsEnd) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().setResult(Op::Stop, KAVREL_INTERNAL_ERROR);
  testing::internal::CaptureStderr();
  close(id);
  testing::internal::GetCapturedStderr();
  settle();
  EXPECT_EQ(freed(), 0);
  engine().port(1).word(0, 5).end();
  settle();
  EXPECT_EQ(freed(), 1);
  EXPECT_EQ(client().count("done"), 0);
}

TEST_F(Record, IsKeptByAJobThatEndsAfterTheCloseUntilItsEnd) {
  m_violationsExpected = true;
  engine().onStop(OnStop::TestEnds);
  engine().setWaitLimit(std::chrono::milliseconds(1));
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  close(id);
  settle();
  EXPECT_EQ(freed(), 0);
  engine().port(1).end();
  settle();
  EXPECT_EQ(freed(), 1);
  EXPECT_EQ(client().count("done"), 1);
}

TEST_F(Record, OfAJobThatEndsTwiceIsFreedOnce) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().port(1).end().end();
  close(id);
  engine().port(1).end();
  settle();
  EXPECT_EQ(freed(), 1);
}

TEST_F(Record, OfAJobThatEndsWithoutAnEndIsFreedByTheClose) {
  engine().onStop(OnStop::EndsSilently);
  const SpeechChannelIdentifier id = open();
  for (int job = 1; job <= 3; ++job) {
    ASSERT_EQ(speak(id, "Hello"), noErr);
    ASSERT_EQ(SEStopSpeechAt(id, kImmediate), noErr);
    ASSERT_TRUE(client().waitForDone(job));
  }
  close(id);
  settle();
  EXPECT_EQ(freed(), 1);
}

TEST_F(Record, OfAJobThatEndsBeforeSpeakReturnsIsFreedByTheClose) {
  const SpeechChannelIdentifier id = open();
  engine().queueJob(Script().word(0, 5).end(), When::InsideSpeak);
  ASSERT_EQ(speak(id, "Hello"), noErr);
  close(id);
  settle();
  EXPECT_EQ(freed(), 1);
  EXPECT_EQ(client().count("done"), 1);
}

TEST_F(Record, IsKeptByASignallingThreadInsideSpeechDone) {
  const SpeechChannelIdentifier id = open();
  int freedInside = -1;
  client().onDone = [&](auto channel) {
    EXPECT_EQ(SECloseSpeechChannel(channel), noErr);
    freedInside = freed();
  };
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().port(1).end();
  ASSERT_TRUE(client().waitForDone());
  settle();
  EXPECT_EQ(freedInside, 0);
  EXPECT_EQ(freed(), 1);
}

TEST_F(Record, IsKeptByAFinishingThreadThatRunsLate) {
  const SpeechChannelIdentifier id = open();
  HeldUp thread;
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().port(1).end();
  ASSERT_TRUE(thread.arrived());
  close(id);
  EXPECT_EQ(freed(), 0);
  thread.release();
  settle();
  EXPECT_EQ(freed(), 1);
  EXPECT_EQ(client().count("done"), 1);
}

TEST_F(Record, IsKeptByAnEntryPointInProgress) {
  const SpeechChannelIdentifier id = open();
  int freedInside = -1;
  client().onTextDone = [&](auto channel, const void** next, unsigned long*, SInt32*) {
    *next = nullptr;
    EXPECT_EQ(SECloseSpeechChannel(channel), noErr);
    freedInside = freed();
  };
  set(id, soTextDoneCallBack, asPointer(Client::textDone));
  EXPECT_EQ(speak(id, "Hello"), noSynthFound);
  EXPECT_EQ(freedInside, 0);
  EXPECT_EQ(freed(), 1);
}

// The lock is held twice during this close, so the thread that makes the channel idle must wait.
TEST_F(Record, OfAChannelPausedAndClosedInsideTextDoneIsFreed) {
  const SpeechChannelIdentifier id = open();
  client().onTextDone = [&](auto channel, const void** next, unsigned long*, SInt32*) {
    *next = nullptr;
    SEPauseSpeechAt(channel, kImmediate);
    EXPECT_EQ(SECloseSpeechChannel(channel), noErr);
  };
  set(id, soTextDoneCallBack, asPointer(Client::textDone));
  EXPECT_EQ(speak(id, "Hello"), noSynthFound);
  settle();
  EXPECT_EQ(freed(), 1);
  EXPECT_EQ(engine().count(Op::Speak), 0);
}

TEST_F(Record, ClosedASecondTimeWhileItIsBeingClosedIsUnknownAtOnce) {
  engine().onStop(OnStop::TestEnds);
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  std::thread closer([&] { EXPECT_EQ(close(id), noErr); });
  ASSERT_TRUE(engine().waitForCall(Op::Stop));
  EXPECT_EQ(SECloseSpeechChannel(id), noSynthFound);
  SpeechStatusInfo info{};
  EXPECT_EQ(SESpeechStatus(id, &info), noSynthFound);
  EXPECT_EQ(speak(id, "again"), noSynthFound);
  engine().port(1).end();
  closer.join();
  settle();
  EXPECT_EQ(freed(), 1);
  EXPECT_EQ(client().count("done"), 1);
}

// A pause and a stop inside text-done start a signalling thread before the job begins.
TEST_F(Record, SignalledFromBeforeTheJobDoesNotAffectTheJob) {
  const SpeechChannelIdentifier id = open();
  client().onTextDone = [](auto channel, const void** next, unsigned long*, SInt32*) {
    *next = nullptr;
    SEPauseSpeechAt(channel, kImmediate);
    SEStopSpeechAt(channel, kImmediate);
  };
  set(id, soTextDoneCallBack, asPointer(Client::textDone));
  HeldUp late;
  ASSERT_EQ(speak(id, "first"), noErr);
  ASSERT_TRUE(late.arrived());
  late.release();
  ASSERT_TRUE(client().waitForDone(1));
  EXPECT_EQ(status(id), STATUS_BUSY);
  EXPECT_EQ(speak(id, "second"), synthNotReady);
  engine().port(1).end();
  EXPECT_TRUE(client().waitForDone(2));
}

}  // namespace
}  // namespace channels

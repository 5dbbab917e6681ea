// SPDX-License-Identifier: Apache-2.0
//
// A stop on one thread while a client callback on the engine's thread calls into the same channel:
// both return in time, and every job is signalled once.

#include <chrono>

#include "channels/ChannelTest.h"

namespace channels {
namespace {

using scripted::engine;
using scripted::OnStop;
using scripted::Op;
using scripted::Script;
using scripted::When;
using Clock = std::chrono::steady_clock;

class Crossing : public ChannelTest {
 protected:
  // Speaks and calls `ending` on this thread. The word callback waits until `ending` has called the
  // engine's stop, with the channel's lock held, and then calls `inside`.
  void cross(SpeechChannelIdentifier id, const std::function<long(SpeechChannelIdentifier)>& ending,
             const std::function<void(SpeechChannelIdentifier)>& inside) {
    const int stops = engine().count(Op::Stop);
    const int words = client().count("word 0 5");
    const int dones = client().count("done");
    std::atomic<bool> returned = false;
    client().onWord = [&](auto channel) {
      EXPECT_TRUE(engine().waitForCall(Op::Stop, stops + 1));
      inside(channel);
      returned = true;
    };
    engine().queueJob(Script().word(22, 5), When::OnEngineThread);
    ASSERT_EQ(speak(id, "Hello"), noErr);
    ASSERT_TRUE(client().waitFor("word 0 5", words + 1));
    EXPECT_EQ(ending(id), noErr);
    EXPECT_TRUE(client().waitForDone(dones + 1));
    EXPECT_TRUE(eventually([&] { return returned.load(); }));
    settle();
    EXPECT_EQ(client().count("done"), dones + 1);
    client().onWord = nullptr;
  }

  static long stop(SpeechChannelIdentifier id) { return SEStopSpeechAt(id, kImmediate); }
};

TEST_F(Crossing, AStopAndACallBackIntoItsChannelFinishWithinTwoSeconds) {
  const auto begin = Clock::now();
  cross(open(), stop, [](auto channel) {
    SpeechStatusInfo info{};
    EXPECT_EQ(SESpeechStatus(channel, &info), noErr);
  });
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(2));
}

TEST_F(Crossing, TheCallbackMayWaitInEveryEntryPoint) {
  engine().setCallbackPatience(std::chrono::milliseconds(20));
  Fixed rate = Long2Fix(200);
  const std::vector<std::function<void(SpeechChannelIdentifier)>> calls = {
      [](auto id) { SEStopSpeechAt(id, kImmediate); },
      [](auto id) { SEPauseSpeechAt(id, kImmediate); },
      [](auto id) { SEContinueSpeech(id); },
      [](auto id) { SETextToPhonemes(id, nullptr, 0, nullptr, nullptr); },
      [](auto id) { SEUseDictionary(id, nullptr, 0); },
      [&](auto id) { SEGetSpeechInfo(id, soRate, &rate); },
      [&](auto id) { SESetSpeechInfo(id, soRate, &rate); },
  };
  for (std::size_t call = 0; call < calls.size(); ++call) {
    SCOPED_TRACE(call);
    const SpeechChannelIdentifier id = open();
    cross(id, stop, calls[call]);
    close(id);
  }
}

TEST_F(Crossing, ASpeakInTheCallbackWaitsForTheStopAndIsSignalledOnce) {
  engine().setCallbackPatience(std::chrono::milliseconds(20));
  const SpeechChannelIdentifier id = open();
  // The channel is closing, or already idle, when the callback speaks.
  long spoken = -1;
  std::atomic<bool> stopped = false;
  client().onWord = [&](auto channel) {
    EXPECT_TRUE(engine().waitForCall(Op::Stop));
    spoken = speak(channel, "again");
    stopped = true;
  };
  engine().queueJob(Script().word(22, 5), When::OnEngineThread);
  ASSERT_EQ(speak(id, "Hello"), noErr);
  ASSERT_TRUE(client().waitFor("word 0 5", 1));
  EXPECT_EQ(stop(id), noErr);
  ASSERT_TRUE(eventually([&] { return stopped.load(); }));
  EXPECT_THAT(spoken, testing::AnyOf(noErr, synthNotReady));
  settle();
  const int expected = spoken == noErr ? 2 : 1;
  if (spoken == noErr) {
    EXPECT_EQ(status(id), STATUS_BUSY);
    engine().port(1).end();
  }
  ASSERT_TRUE(client().waitForDone(expected));
  settle();
  EXPECT_EQ(client().count("done"), expected);
}

TEST_F(Crossing, AStopInTheCallbackDuringAStopSignalsOnce) {
  engine().setCallbackPatience(std::chrono::milliseconds(20));
  const SpeechChannelIdentifier id = open();
  for (int round = 0; round < 5; ++round) {
    cross(id, stop, [](auto channel) { SEStopSpeechAt(channel, kImmediate); });
  }
}

TEST_F(Crossing, ACloseDuringACallbackThatCallsIntoTheChannelFinishes) {
  engine().setCallbackPatience(std::chrono::milliseconds(20));
  cross(
      open(), [&](auto id) { return close(id); },
      [](auto channel) {
        SpeechStatusInfo info{};
        EXPECT_EQ(SESpeechStatus(channel, &info), noSynthFound);
      });
  EXPECT_EQ(freed(), 1);
}

TEST_F(Crossing, ACloseInTheCallbackDuringAStopFinishes) {
  engine().setCallbackPatience(std::chrono::milliseconds(20));
  const SpeechChannelIdentifier id = open();
  cross(id, stop, [&](auto channel) { EXPECT_EQ(SECloseSpeechChannel(channel), noErr); });
  settle();
  EXPECT_EQ(find_channel(id), nullptr);
  EXPECT_EQ(freed(), 1);
}

}  // namespace
}  // namespace channels

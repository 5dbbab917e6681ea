// SPDX-License-Identifier: Apache-2.0
//
// The registry of open channels, and how channels are created and closed.

#include <array>
#include <atomic>
#include <cerrno>

#include "channels/ChannelTest.h"

namespace channels {
namespace {

using scripted::engine;
using scripted::OnStop;
using scripted::Op;
using testing::ElementsAre;
using testing::IsEmpty;

class Registry : public ChannelTest {};

TEST_F(Registry, ANewChannelHasItsDefaults) {
  const SpeechChannelIdentifier id = openBare();
  const speech_channel* const channel = find_channel(id);
  ASSERT_NE(channel, nullptr);
  EXPECT_EQ(channel->id, id);
  EXPECT_EQ(channel->status, STATUS_IDLE);
  EXPECT_EQ(channel->port, nullptr);
  EXPECT_EQ(channel->job, nullptr);
  EXPECT_EQ(channel->outfile, nullptr);
  EXPECT_EQ(channel->output_is_file, 0);
  EXPECT_EQ(channel->voice, nullptr);
  EXPECT_EQ(channel->voxdir, nullptr);
  EXPECT_EQ(channel->voice_changed, 0);
  EXPECT_EQ(channel->text, nullptr);
  EXPECT_EQ(channel->text_offsets, nullptr);
  EXPECT_EQ(channel->curr_pos, 0);
  EXPECT_EQ(channel->curr_phoneme, 0);
  EXPECT_EQ(channel->refcon, 0);
  EXPECT_EQ(channel->environment.wpm, 180.0);
}

TEST_F(Registry, TheNewestChannelIsTheHead) {
  const SpeechChannelIdentifier one = openBare();
  const SpeechChannelIdentifier two = openBare();
  const SpeechChannelIdentifier three = openBare();
  speech_channel* const first = find_channel(one);
  speech_channel* const second = find_channel(two);
  speech_channel* const third = find_channel(three);
  EXPECT_EQ(third->prev, nullptr);
  EXPECT_EQ(third->next, second);
  EXPECT_EQ(second->prev, third);
  EXPECT_EQ(second->next, first);
  EXPECT_EQ(first->prev, second);
  EXPECT_EQ(first->next, nullptr);
}

TEST_F(Registry, DeletingAMiddleChannelLinksItsNeighbours) {
  const SpeechChannelIdentifier one = openBare();
  const SpeechChannelIdentifier two = openBare();
  const SpeechChannelIdentifier three = openBare();
  close(two);
  EXPECT_EQ(find_channel(two), nullptr);
  EXPECT_EQ(find_channel(three)->next, find_channel(one));
  EXPECT_EQ(find_channel(one)->prev, find_channel(three));
}

TEST_F(Registry, DeletingTheHeadMakesTheNextChannelTheHead) {
  const SpeechChannelIdentifier one = openBare();
  const SpeechChannelIdentifier two = openBare();
  close(two);
  EXPECT_EQ(find_channel(one)->prev, nullptr);
  const SpeechChannelIdentifier three = openBare();
  EXPECT_EQ(find_channel(three)->next, find_channel(one));
}

TEST_F(Registry, DeletingTheOldestChannelEndsTheListAtTheNext) {
  const SpeechChannelIdentifier one = openBare();
  const SpeechChannelIdentifier two = openBare();
  close(one);
  EXPECT_EQ(find_channel(two)->next, nullptr);
}

TEST_F(Registry, DeletingTheOnlyChannelLeavesAnEmptyList) {
  const SpeechChannelIdentifier one = openBare();
  EXPECT_EQ(find_channel(one)->next, nullptr);
  close(one);
  EXPECT_EQ(find_channel(one), nullptr);
  EXPECT_EQ(find_channel(openBare())->next, nullptr);
}

TEST_F(Registry, AnUnknownIdentifierFindsNothing) {
  EXPECT_EQ(find_channel(INT32_MAX), nullptr);
  openBare();
  EXPECT_EQ(find_channel(INT32_MAX), nullptr);
  EXPECT_EQ(find_channel(0), nullptr);
  EXPECT_EQ(find_channel(-1), nullptr);
}

TEST_F(Registry, TheLockOfAChannelIsRecursive) {
  speech_channel* const channel = find_channel(openBare());
  EXPECT_EQ(mutex_lock(&channel->mtx), 0);
  EXPECT_EQ(mutex_lock(&channel->mtx), 0);
  int other = 0;
  std::thread([&] { other = pthread_mutex_trylock(&channel->mtx); }).join();
  EXPECT_EQ(other, EBUSY);
  mutex_unlock(&channel->mtx);
  mutex_unlock(&channel->mtx);
}

TEST_F(Registry, ClosingAnIdleChannelDoesNotCallTheEngine) {
  const SpeechChannelIdentifier id = openBare();
  engine().forgetCalls();
  EXPECT_EQ(close(id), noErr);
  EXPECT_THAT(engine().calls(), IsEmpty());
}

TEST_F(Registry, ClosingASpeakingChannelStopsItAtOnceAndSignals) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().forgetCalls();
  EXPECT_EQ(close(id), noErr);
  ASSERT_THAT(engine().calls(Op::Stop), ElementsAre("kavrel_port_stop(port 1, job 1, NOW) = 0"));
  EXPECT_THAT(client().texts(), ElementsAre("done"));
  EXPECT_EQ(engine().live().blocks, 0);
}

TEST_F(Registry, ClosingAPausedChannelStopsItAtOnceAndSignals) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  ASSERT_EQ(SEPauseSpeechAt(id, kImmediate), noErr);
  EXPECT_EQ(close(id), noErr);
  EXPECT_EQ(engine().count(Op::Stop), 1);
  EXPECT_THAT(client().texts(), ElementsAre("done"));
}

TEST_F(Registry, ClosingReturnsOnlyWhenTheJobIsFinished) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().onStop(OnStop::TestEnds);
  std::atomic<bool> closed = false;
  std::thread closer([&] {
    close(id);
    closed = true;
  });
  ASSERT_TRUE(engine().waitForCall(Op::Stop));
  EXPECT_FALSE(closed);
  engine().port(1).end();
  closer.join();
  EXPECT_EQ(client().count("done"), 1);
}

TEST_F(Registry, ClosingLeavesThePortAndTheEngineOpen) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  close(id);
  EXPECT_EQ(engine().count(Op::PortClose), 0);
  EXPECT_TRUE(engine().port(1).open());
  EXPECT_EQ(engine().live().engines, 1);
}

TEST_F(Registry, ClosingReleasesVoiceFileAndText) {
  const SpeechChannelIdentifier id = open();
  VoiceSpec voice{code("BRVD"), 1};
  speech_channel* const channel = find_channel(id);
  {
    const ChannelLock held(channel);
    channel_set_voice(channel, &voice, cst_strdup("/v"));
  }
  const CFURLRef url = CFURLCreateFromFileSystemRepresentation(
      nullptr, reinterpret_cast<const UInt8*>("/tmp/f"), 6, false);
  set(id, soOutputToFileWithCFURL, const_cast<void*>(static_cast<const void*>(url)));
  CFRelease(url);
  ASSERT_EQ(speak(id, "Hello"), noErr);
  EXPECT_GE(engine().live().blocks, 4);
  close(id);
  EXPECT_TRUE(eventually([] { return engine().live().blocks == 0; }));
}

TEST_F(Registry, AChannelThatTheEngineDoesNotStopIsStillClosed) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  engine().setResult(Op::Stop, KAVREL_INTERNAL_ERROR);
  testing::internal::CaptureStderr();
  EXPECT_EQ(close(id), noErr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Stopping channel failed (internal error)\n");
  EXPECT_EQ(find_channel(id), nullptr);
  // Events of the job that is still speaking find no channel and are ignored.
  engine().port(1).word(0, 1).phoneme("ae", 0).bookmark("1").end();
}

TEST_F(Registry, EventsAfterACloseAreIgnored) {
  const SpeechChannelIdentifier id = open();
  ASSERT_EQ(speak(id, "Hello"), noErr);
  close(id);
  engine().port(1).word(0, 1).phoneme("ae", 0).bookmark("1").end().end();
  EXPECT_THAT(client().texts(), ElementsAre("done"));
}

TEST_F(Registry, TwoThreadsMayCloseTheSameChannel) {
  for (int round = 0; round < 50; ++round) {
    const SpeechChannelIdentifier id = open();
    ASSERT_EQ(speak(id, "Hello"), noErr);
    std::array<long, 2> results{};
    std::thread other([&] { results[1] = SECloseSpeechChannel(id); });
    results[0] = close(id);
    other.join();
    EXPECT_TRUE(results[0] == noErr || results[1] == noErr);
    for (const long result : results) EXPECT_TRUE(result == noErr || result == noSynthFound);
  }
  EXPECT_TRUE(client().waitForDone(50));
  EXPECT_EQ(client().count("done"), 50);
}

TEST_F(Registry, AThousandChannelsAreFoundAndClosedInAnyOrder) {
  std::vector<SpeechChannelIdentifier> ids;
  for (int i = 0; i < 1000; ++i) ids.push_back(openBare());
  for (std::size_t i = 0; i < ids.size(); i += 2) EXPECT_EQ(close(ids[i]), noErr);
  for (std::size_t i = 0; i < ids.size(); ++i) {
    EXPECT_EQ(find_channel(ids[i]) != nullptr, i % 2 == 1);
  }
  for (std::size_t i = 1; i < ids.size(); i += 2) EXPECT_EQ(close(ids[i]), noErr);
}

}  // namespace
}  // namespace channels

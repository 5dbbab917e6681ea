// SPDX-License-Identifier: Apache-2.0
//
// Objects that are kept on purpose, counted by kind: the engine, a parameter set for every open and
// for every job, and the ports of closed channels. Everything else is released.

#include <string>

#include "channels/ChannelTest.h"
#include "workloads/HeapMeter.h"

namespace channels {
namespace {

using scripted::engine;
using scripted::Live;
using scripted::Op;
using scripted::Script;
using scripted::When;

class Kept : public ChannelTest {
 protected:
  // Speaks a job to its end.
  void speakOne(SpeechChannelIdentifier id) {
    const int before = client().count("done");
    ASSERT_EQ(speak(id, "a [[rate 200]] b"), noErr);
    ASSERT_TRUE(client().waitForDone(before + 1));
  }

  // Checks the kept objects, after all channels are closed and all threads have exited.
  void expectKept(long sets, long ports) {
    settle();
    const Live live = engine().live();
    EXPECT_EQ(live.parameterSets, sets);
    EXPECT_EQ(live.ports, ports);
    EXPECT_EQ(live.values, 0);
    EXPECT_EQ(live.blocks, 0);
    EXPECT_EQ(live.engines, 1);
    EXPECT_EQ(engine().count(Op::ParamsDelete), 0);
  }
};

TEST_F(Kept, ForAChannelThatNeverSpokeOneParameterSet) {
  close(open());
  expectKept(1, 0);
}

TEST_F(Kept, ForAChannelThatSpokeItsPortAndAParameterSetAJob) {
  engine().everyJob(Script().end());
  const SpeechChannelIdentifier id = open();
  for (int job = 0; job < 3; ++job) speakOne(id);
  close(id);
  expectKept(1 + 3, 1);
}

TEST_F(Kept, OfFileJobsNoPort) {
  engine().everyJob(Script().end());
  const SpeechChannelIdentifier id = open();
  setFile(id, "/tmp/a.aiff");
  for (int job = 0; job < 3; ++job) speakOne(id);
  close(id);
  expectKept(1 + 3, 0);
}

TEST_F(Kept, OfAFileJobThatIsStoppedByTheCloseNoPort) {
  const SpeechChannelIdentifier id = open();
  setFile(id, "/tmp/a.aiff");
  ASSERT_EQ(speak(id, "Hello"), noErr);
  close(id);
  expectKept(1 + 1, 0);
}

TEST_F(Kept, OfJobsThatCouldNotStartTheParameterSetAndNoPort) {
  const SpeechChannelIdentifier id = open();
  for (const Op op : {Op::PortOpen, Op::Speak}) {
    engine().fail(op, 1);
    EXPECT_EQ(speak(id, "Hello"), synthNotReady);
  }
  close(id);
  expectKept(1 + 2, 0);
}

TEST_F(Kept, OfTextsThatAreRefusedNothing) {
  const SpeechChannelIdentifier id = open();
  EXPECT_EQ(speak(id, "[[inpt PHON]]???[[inpt TEXT]]"), badInputText);
  close(id);
  expectKept(1, 0);
}

// Each round uses all features of a channel; the heap does not grow from round to round.
TEST_F(Kept, NothingElseIsHeldAfterAnyNumberOfRounds) {
  if (!workloads::HeapMeter::works()) GTEST_SKIP() << "memory cannot be counted here";
  engine().everyJob(Script().word(22, 5).phoneme("ae", 22).bookmark("1").end(),
                    When::OnEngineThread);
  engine().recordCalls(false);
  const auto round = [&] {
    const SpeechChannelIdentifier id = openBare();
    for (int job = 0; job < 3; ++job) {
      setVoice(id, "/v");
      if (job == 1) setFile(id, "/tmp/a.aiff");
      EXPECT_EQ(speak(id, "a [[rate 200]] b"), noErr);
      if (job == 2) SEStopSpeechAt(id, kImmediate);
      settle();
    }
    close(id);
    settle();
    engine().forgetKept();
  };
  for (int warm = 0; warm < 20; ++warm) round();
  const workloads::HeapMeter meter;
  for (int measured = 0; measured < 100; ++measured) round();
  EXPECT_GT(meter.peak(), 0u) << "the meter counts nothing";
  EXPECT_LT(meter.growth(), 4096);
}

}  // namespace
}  // namespace channels

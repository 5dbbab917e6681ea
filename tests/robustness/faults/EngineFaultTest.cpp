// SPDX-License-Identifier: Apache-2.0
//
// Channels on an engine whose calls fail: each call in turn, once and for good.
#include "FaultFixture.h"

namespace faults {
namespace {

using scripted::engine;
using scripted::Op;

class EngineFaults : public FaultTest, public testing::WithParamInterface<faulty::Fault> {};

TEST_P(EngineFaults, AtAnyCallGiveAllowedResultsAndLeaveAFreshChannelThatSpeaks) {
  const long blocks = engine().live().blocks;
  const int met = faulty::sweep(GetParam(), useAChannel, [&](int k) {
    SCOPED_TRACE(testing::Message() << "call " << k);
    expectAFreshChannelSpeaks();
    expectNothingIsLeft(blocks);
  });
  EXPECT_GT(met, 0) << "the plug-in never makes the call";
}

std::string testName(const testing::TestParamInfo<faulty::Fault>& info) {
  std::string name;
  for (const char c : info.param.name()) {
    if (std::isalnum(static_cast<unsigned char>(c)) != 0) name += c;
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Every, EngineFaults, testing::ValuesIn(faulty::allFaults()), testName);

class WaitFaults : public FaultTest {};

TEST_F(WaitFaults, OfAnyKindLeaveAFreshChannelThatSpeaks) {
  for (int result = -1; result >= KAVREL_QUEUE_FULL; --result) {
    SCOPED_TRACE(result);
    engine().setResult(Op::Wait, static_cast<kavrel_result_t>(result));
    useAChannel();
    engine().useDefaultResults();
    expectAFreshChannelSpeaks();
  }
}

TEST_F(WaitFaults, DoNotDelaySpeechDone) {
  for (int result = -1; result >= KAVREL_QUEUE_FULL; --result) {
    SCOPED_TRACE(result);
    channels::Client& own = channels::newClient();
    const SpeechChannelIdentifier id = open(own);
    engine().setResult(Op::Wait, static_cast<kavrel_result_t>(result));
    ASSERT_EQ(speak(id, "Hello"), noErr);
    lastPort().end();
    EXPECT_TRUE(own.waitForDone());
    EXPECT_TRUE(becomesIdle(id));
    engine().useDefaultResults();
    EXPECT_EQ(close(id), noErr);
    EXPECT_EQ(own.count("done"), 1);
  }
}

}  // namespace
}  // namespace faults

// SPDX-License-Identifier: Apache-2.0
//
// The pipeline produces segments ahead of its consumer.
#include "job/pipeline.h"

#include <atomic>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "synth/voice_cache.h"

using kavrel::Pipeline;
using kavrel::Producer;
using kavrel::SpeechSegment;
using kavrel::TimedEvent;

namespace {

const std::string kText = "One. Two <mark name=\"m\"/>three. <break time=\"1s\"/> Four, five; six!";

// The kinds and texts of all events, to the end.
std::vector<std::string> eventsOf(Pipeline& pipeline) {
  std::vector<std::string> events;
  SpeechSegment segment;
  while (pipeline.next(segment) == Producer::Result::Segment) {
    for (const TimedEvent& event : segment.events) {
      events.push_back(std::to_string(event.type) + event.text);
    }
  }
  return events;
}

}  // namespace

TEST(Pipeline, GivesTheSameSegmentsAheadAsOnDemand) {
  std::atomic<bool> cancel = false;
  Pipeline onDemand(kText, kavrel::defaultVoice(), cancel, false);
  Pipeline ahead(kText, kavrel::defaultVoice(), cancel, true);
  const std::vector<std::string> events = eventsOf(onDemand);
  EXPECT_GT(events.size(), 20u);
  EXPECT_EQ(eventsOf(ahead), events);
}

TEST(Pipeline, CanBeAbandonedAtAnyPoint) {
  for (int taken = 0; taken < 8; ++taken) {
    std::atomic<bool> cancel = false;
    {
      Pipeline pipeline(kText, kavrel::defaultVoice(), cancel, true);
      SpeechSegment segment;
      for (int i = 0; i < taken; ++i) {
        ASSERT_EQ(pipeline.next(segment), Producer::Result::Segment);
      }
    }
    EXPECT_TRUE(cancel);
  }
}

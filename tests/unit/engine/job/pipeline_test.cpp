// SPDX-License-Identifier: Apache-2.0
//
// The pipeline produces segments ahead of its consumer.
#include "job/pipeline.h"

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "synth/voice_cache.h"

using kavrel::Pipeline;
using kavrel::SpeechSegment;
using kavrel::TimedEvent;

namespace {

const std::string kText = "One. Two <mark name=\"m\"/>three. <break time=\"1s\"/> Four, five; six!";

std::string longText() {
  std::string text;
  for (int number = 0; number < 60; ++number) text += "Sentence " + std::to_string(number) + ". ";
  return text;
}

// All segments, to the end.
std::vector<SpeechSegment> segmentsOf(Pipeline& pipeline) {
  std::vector<SpeechSegment> segments;
  SpeechSegment segment;
  while (pipeline.next(segment) == Pipeline::Result::Segment) segments.push_back(segment);
  return segments;
}

}  // namespace

TEST(Pipeline, GivesTheSameSegmentsAheadAsOnDemand) {
  for (const std::string& text : {kText, longText(), std::string()}) {
    Pipeline onDemand(text, kavrel::Encoding::Latin9, kavrel::defaultVoice(), false);
    Pipeline ahead(text, kavrel::Encoding::Latin9, kavrel::defaultVoice(), true);
    const std::vector<SpeechSegment> expected = segmentsOf(onDemand);
    const std::vector<SpeechSegment> segments = segmentsOf(ahead);
    ASSERT_EQ(segments.size(), expected.size());
    for (std::size_t i = 0; i < segments.size(); ++i) EXPECT_TRUE(segments[i] == expected[i]) << i;
  }
}

TEST(Pipeline, CanBeAbandonedAtAnyPoint) {
  for (std::size_t taken = 0; taken < 8; ++taken) {
    Pipeline pipeline(kText, kavrel::Encoding::Latin9, kavrel::defaultVoice(), true);
    SpeechSegment segment;
    for (std::size_t i = 0; i < taken; ++i) {
      ASSERT_EQ(pipeline.next(segment), Pipeline::Result::Segment);
    }
  }
}

TEST(Pipeline, GivesNothingMoreOnceItIsCancelled) {
  for (const bool ahead : {false, true}) {
    Pipeline pipeline(kText, kavrel::Encoding::Latin9, kavrel::defaultVoice(), ahead);
    SpeechSegment segment;
    ASSERT_EQ(pipeline.next(segment), Pipeline::Result::Segment);
    pipeline.cancel();
    EXPECT_EQ(pipeline.next(segment), Pipeline::Result::Cancelled);
  }
}

TEST(Pipeline, IsCancelledOnAnyThread) {
  const std::string text = longText();
  for (const bool ahead : {false, true}) {
    Pipeline pipeline(text, kavrel::Encoding::Latin9, kavrel::defaultVoice(), ahead);
    SpeechSegment segment;
    ASSERT_EQ(pipeline.next(segment), Pipeline::Result::Segment);
    std::jthread other([&] { pipeline.cancel(); });
    Pipeline::Result result = Pipeline::Result::Segment;
    while (result == Pipeline::Result::Segment) result = pipeline.next(segment);
    EXPECT_EQ(result, Pipeline::Result::Cancelled);
  }
}

// The text is gone while calls of it are still spoken.
TEST(Pipeline, MayBeDestroyedWithItsTextWhileItProduces) {
  for (int round = 0; round < 20; ++round) {
    const auto text = std::make_unique<std::string>(longText());
    Pipeline pipeline(*text, kavrel::Encoding::Latin9, kavrel::defaultVoice(), true);
    SpeechSegment segment;
    ASSERT_EQ(pipeline.next(segment), Pipeline::Result::Segment);
  }
}

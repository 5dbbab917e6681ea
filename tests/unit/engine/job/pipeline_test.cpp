// SPDX-License-Identifier: Apache-2.0
//
// Producing ahead of whoever takes the pieces.
#include "job/pipeline.h"

#include <atomic>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "synth/voice.h"

using kavrel::Entry;
using kavrel::Piece;
using kavrel::Pipeline;
using kavrel::Producer;

namespace {

const std::string kText = "One. Two <mark name=\"m\"/>three. <break time=\"1s\"/> Four, five; six!";

// The kinds and texts of all that happens, to the end.
std::vector<std::string> eventsOf(Pipeline& pipeline) {
  std::vector<std::string> events;
  Piece piece;
  while (pipeline.next(piece) == Producer::Result::Piece) {
    for (const Entry& entry : piece.entries) {
      events.push_back(std::to_string(entry.type) + entry.text);
    }
  }
  return events;
}

}  // namespace

TEST(Pipeline, GivesTheSamePiecesAheadAsOnDemand) {
  std::atomic<bool> cancel = false;
  Pipeline onDemand(kText, kavrel::defaultVoice(), cancel, false);
  Pipeline ahead(kText, kavrel::defaultVoice(), cancel, true);
  const std::vector<std::string> events = eventsOf(onDemand);
  EXPECT_GT(events.size(), 20u);
  EXPECT_EQ(eventsOf(ahead), events);
}

TEST(Pipeline, IsGivenUpWhereverItStands) {
  for (int taken = 0; taken < 8; ++taken) {
    std::atomic<bool> cancel = false;
    {
      Pipeline pipeline(kText, kavrel::defaultVoice(), cancel, true);
      Piece piece;
      for (int i = 0; i < taken; ++i) {
        ASSERT_EQ(pipeline.next(piece), Producer::Result::Piece);
      }
    }
    EXPECT_TRUE(cancel);
  }
}

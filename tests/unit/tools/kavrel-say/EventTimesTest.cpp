// SPDX-License-Identifier: Apache-2.0
//
// Matching of the times that the engine reports with the Manager's callbacks.
#include <optional>

#include <gtest/gtest.h>

#include "events/EventTimes.h"

namespace {

using say::EventTimes;
using Kind = EventTimes::Kind;

constexpr EventTimes::SpeechNumber kFirst = 1;
constexpr EventTimes::SpeechNumber kSecond = 2;

TEST(EventTimes, AreUnknownBeforeTheFirstEvent) {
  EventTimes times;
  EXPECT_EQ(times.now(), std::nullopt);
  times.done();
  EXPECT_EQ(times.now(), std::nullopt);
}

TEST(EventTimes, AreMatchedWithCallbacksOfTheSameKind) {
  EventTimes times;
  times.observe(kFirst, Kind::Word, 1);
  times.observe(kFirst, Kind::Phoneme, 1.5);
  times.observe(kFirst, Kind::Sync, 2);
  times.observe(kFirst, Kind::Word, 3);
  times.observeEnd(kFirst, 4);
  times.sync(0);
  EXPECT_EQ(times.now(), 2);
  times.word(0, 1);
  EXPECT_EQ(times.now(), 1);
  times.word(2, 1);
  EXPECT_EQ(times.now(), 3);
  times.phoneme(7);
  EXPECT_EQ(times.now(), 1.5);
  times.done();
  EXPECT_EQ(times.now(), 4);
}

TEST(EventTimes, AreUnknownForEventsThatTheEngineHasNotReported) {
  EventTimes times;
  times.observe(kFirst, Kind::Word, 1);
  times.word(0, 1);
  times.word(2, 1);
  EXPECT_EQ(times.now(), std::nullopt);
}

TEST(EventTimes, OfMissingCallbacksAreDiscardedWithTheirSpeech) {
  EventTimes times;
  times.observe(kFirst, Kind::Word, 1);
  times.observe(kFirst, Kind::Word, 2);
  times.observeEnd(kFirst, 2.5);
  times.observe(kSecond, Kind::Word, 0.5);
  times.observeEnd(kSecond, 1);
  times.word(0, 1);
  EXPECT_EQ(times.now(), 1);
  times.done();
  EXPECT_EQ(times.now(), 2.5);
  times.word(0, 1);
  EXPECT_EQ(times.now(), 0.5);
  times.done();
  EXPECT_EQ(times.now(), 1);
}

TEST(EventTimes, CountASpeechThatNeverBegan) {
  EventTimes times;
  times.observeEnd(kFirst, 0);
  times.observe(kSecond, Kind::Word, 0.5);
  times.done();
  times.word(0, 1);
  EXPECT_EQ(times.now(), 0.5);
}

}  // namespace

// SPDX-License-Identifier: Apache-2.0
//
// The timeline of a job's segments, and the clock that replaces a sound device.
#include "job/timeline.h"

#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "output/clock_sink.h"
#include "sample_rate.h"

using base::Clock;
using kavrel::ClockSink;
using kavrel::SpeechSegment;
using kavrel::TimedEvent;
using kavrel::Timeline;

namespace {

TimedEvent wordAt(std::uint64_t sample) {
  TimedEvent event;
  event.sample = sample;
  event.type = KAVREL_EVENT_WORD;
  event.endsWord = true;
  return event;
}

TimedEvent sentenceEndAt(std::uint64_t sample) {
  TimedEvent event;
  event.sample = sample;
  event.endsWord = true;
  event.endsSentence = true;
  return event;
}

SpeechSegment segment(std::size_t samples, std::vector<TimedEvent> events = {}) {
  SpeechSegment result;
  result.samples.assign(samples, 7);
  result.events = std::move(events);
  return result;
}

std::optional<std::uint64_t> boundarySample(const Timeline& timeline, std::uint64_t heard,
                                            bool sentence) {
  const auto boundary = timeline.findBoundary(heard, sentence);
  return boundary.has_value() ? std::optional(boundary->sample) : std::nullopt;
}

}  // namespace

TEST(Timeline, CountsSamplesFromTheFirstSegment) {
  Timeline timeline;
  timeline.append(segment(100, {wordAt(10)}));
  timeline.append(segment(50, {wordAt(20)}));
  EXPECT_EQ(timeline.end(), 150u);
  EXPECT_EQ(timeline.takeEvent().sample, 10u);
  EXPECT_EQ(timeline.nextEvent()->sample, 120u);
}

TEST(Timeline, ReturnsSamplesUpToTheEndOfASegment) {
  Timeline timeline;
  timeline.append(segment(100));
  timeline.append(segment(50));
  EXPECT_EQ(timeline.samplesAt(90, 1000).size(), 10u);
  EXPECT_EQ(timeline.samplesAt(100, 20).size(), 20u);
}

TEST(Timeline, ReturnsSilenceWithoutStoringIt) {
  Timeline timeline;
  SpeechSegment silent = segment(2);
  silent.silence = std::uint64_t{1} << 40;
  timeline.append(std::move(silent));
  EXPECT_EQ(timeline.samplesAt(0, 10).size(), 2u);
  const auto silence = timeline.samplesAt(1'000'000, 1'000'000);
  ASSERT_FALSE(silence.empty());
  EXPECT_EQ(silence[0], 0);
  EXPECT_EQ(timeline.end(), (std::uint64_t{1} << 40) + 2);
}

TEST(Timeline, FindsTheEndOfTheCurrentWord) {
  Timeline timeline;
  timeline.append(segment(100, {wordAt(0), wordAt(40), sentenceEndAt(100)}));
  timeline.takeEvent();
  EXPECT_EQ(boundarySample(timeline, 0, false), 40u);
  EXPECT_EQ(boundarySample(timeline, 39, false), 40u);
  timeline.takeEvent();
  EXPECT_EQ(boundarySample(timeline, 40, false), 100u);
  EXPECT_EQ(boundarySample(timeline, 0, true), 100u);
}

TEST(Timeline, CutsAtTheCurrentSampleWhenNoWordHasBegun) {
  Timeline timeline;
  timeline.append(segment(100, {wordAt(0)}));
  EXPECT_EQ(boundarySample(timeline, 0, false), 0u);
}

TEST(Timeline, ReturnsNoBoundaryThatHasNotBeenProduced) {
  Timeline timeline;
  timeline.append(segment(100, {wordAt(0)}));
  timeline.takeEvent();
  EXPECT_EQ(boundarySample(timeline, 10, false), std::nullopt);
}

TEST(Timeline, DiscardsOnlyWhatHasBeenHeardAndTaken) {
  Timeline timeline;
  timeline.append(segment(100, {wordAt(0), wordAt(40)}));
  timeline.append(segment(100, {wordAt(0)}));
  timeline.takeEvent();
  timeline.discard(150);
  EXPECT_EQ(timeline.takenCount(), 1u);
  EXPECT_EQ(timeline.nextEvent()->sample, 40u);
  EXPECT_EQ(timeline.samplesAt(150, 1000).size(), 50u);
}

TEST(ClockSink, PlaysNoMoreThanWasWritten) {
  ClockSink sink;
  EXPECT_EQ(sink.heard(), 0u);
  sink.advance(1);
  while (Clock::now() <= sink.dueAt(1)) EXPECT_LE(sink.heard(), 1u);
  EXPECT_EQ(sink.heard(), 1u);
}

TEST(ClockSink, KeepsItsPositionWhilePaused) {
  ClockSink sink;
  sink.advance(std::uint64_t{kavrel::kSampleRate} * 3600);
  while (sink.heard() == 0) {
  }
  sink.pause();
  const std::uint64_t at = sink.heard();
  EXPECT_EQ(sink.dueAt(at + 1), Clock::time_point::max());
  const auto later = Clock::now() + std::chrono::milliseconds(2);
  while (Clock::now() < later) EXPECT_EQ(sink.heard(), at);
  const auto before = Clock::now();
  sink.resume();
  EXPECT_GE(sink.heard(), at);
  EXPECT_GE(sink.dueAt(at + kavrel::kSampleRate), before + std::chrono::seconds(1));
  EXPECT_LE(sink.dueAt(at + kavrel::kSampleRate), Clock::now() + std::chrono::seconds(1));
}

TEST(ClockSink, HasPlayedASampleWhenItIsDue) {
  ClockSink sink;
  sink.advance(1'000'000);
  for (const std::uint64_t sample : {1u, 2u, 3u, 7u, 100u}) {
    while (Clock::now() < sink.dueAt(sample)) {
    }
    EXPECT_GE(sink.heard(), sample);
  }
}

TEST(ClockSink, TakesBackSamplesThatHaveNotBeenPlayed) {
  ClockSink sink;
  sink.advance(std::uint64_t{kavrel::kSampleRate} * 3600);
  const std::uint64_t kept = sink.heard() + 2000;
  EXPECT_EQ(sink.takeBack(kept), kept);
  while (Clock::now() < sink.dueAt(kept)) {
  }
  EXPECT_EQ(sink.heard(), kept);
  EXPECT_EQ(sink.takeBack(1), kept);
}

// SPDX-License-Identifier: Apache-2.0
//
// What is done to the sound of a call: its pauses, its speed, its volume, and the places of events.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "synth/call_sound.h"
#include "synth/time_scale.h"

using kavrel::CallSound;
using kavrel::TimeScale;

namespace {

std::vector<std::int16_t> tone(std::size_t count, double level = 10000) {
  std::vector<std::int16_t> samples(count);
  for (std::size_t at = 0; at < count; ++at) {
    samples[at] = static_cast<std::int16_t>(level * std::sin(static_cast<double>(at) * 0.05));
  }
  return samples;
}

std::vector<std::uint64_t> places(const CallSound& sound) {
  std::vector<std::uint64_t> found;
  for (const CallSound::Event& event : sound.events()) found.push_back(event.sample);
  return found;
}

using Places = std::vector<std::uint64_t>;

}  // namespace

TEST(CallSound, KeepsEventsInOrderAndInsideTheSound) {
  CallSound sound;
  sound.addMark(1, -5);
  sound.addMark(2, 700);
  sound.addPhone("a", 300);
  sound.addMark(3, 5000);
  sound.addSamples(tone(1000));
  sound.finish({});
  EXPECT_EQ(places(sound), (Places{0, 700, 700, 1000}));
}

TEST(CallSound, MakesPausesLongerAndShorter) {
  for (const double factor : {0.5, 3.0}) {
    CallSound sound;
    sound.addMark(1, 0);
    sound.addPhone("a", 0);
    sound.addPhone("_:", 1000);
    sound.addPhone("_", 1200);
    sound.addMark(2, 1400);
    sound.addPhone("b", 1400);
    sound.addSamples(tone(2000));
    sound.finish(std::vector<CallSound::Finish>{{0, 100, factor, 1}});
    const auto pause = static_cast<std::uint64_t>(400 * factor);
    EXPECT_EQ(sound.samples().size(), 1600 + pause);
    EXPECT_EQ(places(sound), (Places{0, 0, 1000, 1000 + pause / 2, 1000 + pause, 1000 + pause}));
  }
}

TEST(CallSound, AppliesVolumesFromTheirMarksOn) {
  CallSound sound;
  sound.addMark(1, 0);
  sound.addMark(2, 5000);
  sound.addSamples(std::vector<std::int16_t>(10000, 1000));
  sound.finish(std::vector<CallSound::Finish>{{0, 50, 1, 1}, {2, 10, 1, 1}});
  EXPECT_EQ(sound.samples()[0], 500);
  EXPECT_EQ(sound.samples()[4900], 500);
  EXPECT_EQ(sound.samples()[5100], 100);
  EXPECT_EQ(sound.samples()[9999], 100);
}

TEST(CallSound, BendsWhatIsTooLoud) {
  CallSound sound;
  sound.addSamples(std::vector<std::int16_t>{1000, 15000, -32768, 32767});
  sound.finish(std::vector<CallSound::Finish>{{0, 300, 1, 1}});
  EXPECT_EQ(sound.samples()[0], 3000);
  EXPECT_GT(sound.samples()[1], 24000);
  EXPECT_LT(sound.samples()[1], 32767);
  EXPECT_GE(sound.samples()[2], -32767);
}

TEST(CallSound, PlacesInnerMarksBetweenTheirNeighbours) {
  CallSound sound;
  sound.addMark(1, 0);
  sound.addPhone("a", 100);
  sound.addMark(4, 1000);
  sound.addSamples(tone(2000));
  sound.finish({});
  sound.addInnerMarks(std::vector<CallSound::InnerMark>{{2, 0.25}, {3, 0.5}, {5, 0.5}});
  EXPECT_EQ(places(sound), (Places{0, 100, 250, 500, 1000, 1500}));
}

TEST(TimeScale, MakesSoundShorterByItsSpeed) {
  const std::vector<TimeScale::Pace> paces = {{0, 2}};
  const TimeScale scale(paces, 20000);
  EXPECT_FALSE(scale.isPlain());
  EXPECT_EQ(scale.apply(tone(20000)).size(), 10000u);
  EXPECT_EQ(scale.placeOf(5000), 2500u);
  EXPECT_EQ(scale.placeOf(20000), 10000u);
}

TEST(TimeScale, LeavesSoundAloneAtItsOwnSpeed) {
  const std::vector<TimeScale::Pace> paces = {{0, 1}, {500, 1}};
  EXPECT_TRUE(TimeScale(paces, 1000).isPlain());
  EXPECT_TRUE(TimeScale({}, 0).isPlain() || TimeScale({}, 0).apply({}).empty());
}

TEST(TimeScale, ChangesItsSpeedOnTheWay) {
  const std::vector<TimeScale::Pace> paces = {{10000, 2}, {20000, 1}};
  const TimeScale scale(paces, 30000);
  const auto samples = tone(30000);
  const auto made = scale.apply(samples);
  EXPECT_EQ(made.size(), 25000u);
  EXPECT_TRUE(std::equal(made.begin() + 220, made.begin() + 9000, samples.begin() + 220));
  EXPECT_EQ(scale.placeOf(20000), 15000u);
}

TEST(TimeScale, KeepsTheShapeOfATone) {
  const std::vector<TimeScale::Pace> paces = {{0, 1.7}};
  const auto made = TimeScale(paces, 40000).apply(tone(40000));
  // A tone that is torn somewhere has a step there.
  int steepest = 0;
  for (std::size_t at = 500; at + 500 < made.size(); ++at) {
    steepest = std::max(steepest, std::abs(made[at + 1] - made[at]));
  }
  EXPECT_LT(steepest, 650);
}

TEST(TimeScale, TakesSoundsOfEveryShortLength) {
  const std::vector<TimeScale::Pace> paces = {{0, 2.7}};
  for (std::size_t length = 0; length < 1000; ++length) {
    const TimeScale scale(paces, length);
    EXPECT_EQ(scale.apply(tone(length)).size(), scale.placeOf(length));
  }
}

// SPDX-License-Identifier: Apache-2.0
//
// What SynthAudio does to the audio of a call: its pauses, speed and volume, and the positions of
// events.
#include "synth/synth_audio.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "synth/time_scale.h"

using kavrel::SynthAudio;
using kavrel::TimeScale;

namespace {

std::vector<std::int16_t> tone(std::size_t count, double level = 10000) {
  std::vector<std::int16_t> samples(count);
  for (std::size_t at = 0; at < count; ++at) {
    samples[at] = static_cast<std::int16_t>(level * std::sin(static_cast<double>(at) * 0.05));
  }
  return samples;
}

std::vector<std::uint64_t> positions(const SynthAudio& audio) {
  std::vector<std::uint64_t> found;
  for (const SynthAudio::Event& event : audio.events()) found.push_back(event.sample);
  return found;
}

using Positions = std::vector<std::uint64_t>;

}  // namespace

TEST(SynthAudio, KeepsEventsInOrderAndInsideTheSound) {
  SynthAudio audio;
  audio.addMark(1, -5);
  audio.addMark(2, 700);
  audio.addPhone("a", 300);
  audio.addMark(3, 5000);
  audio.addSamples(tone(1000));
  audio.adjust({});
  EXPECT_EQ(positions(audio), (Positions{0, 700, 700, 1000}));
}

// The third phone has no name either, but sound.
TEST(SynthAudio, TellsSilencesFromSounds) {
  using Silence = SynthAudio::Silence;
  SynthAudio audio;
  audio.addPhone("", 0);
  audio.addPhone("a", 1000);
  audio.addPhone("", 3000);
  audio.addPhone("", 5000);
  audio.addMark(1, 5500);
  audio.addPhone("", 6101);
  audio.addPhone("b", 7202);
  audio.addPhone("", 8000);
  std::vector<std::int16_t> samples = tone(8000);
  for (std::size_t at = 0; at < 1000; ++at) samples[at] = 0;
  for (std::size_t at = 5000; at < 7202; ++at) samples[at] = 1800;
  audio.addSamples(std::move(samples));
  audio.adjust({});
  std::vector<Silence> found;
  for (const SynthAudio::Event& event : audio.events()) found.push_back(event.silence);
  EXPECT_EQ(found,
            (std::vector<Silence>{Silence::Short, Silence::None, Silence::None, Silence::Short,
                                  Silence::None, Silence::Short, Silence::None, Silence::Short}));
}

TEST(SynthAudio, TakesSilencesOfFiftyMillisecondsForPauses) {
  for (const int length : {1101, 1102, 1103}) {
    SynthAudio audio;
    audio.addPhone("", 0);
    audio.addPhone("a", length);
    audio.addSamples(std::vector<std::int16_t>(3000, 0));
    audio.adjust({});
    EXPECT_EQ(audio.events()[0].silence == SynthAudio::Silence::Pause, length >= 1102) << length;
  }
}

// A mark at the start of a pause belongs to the pause; a later one is the next word.
TEST(SynthAudio, EndsASilenceAtTheNextWord) {
  using Silence = SynthAudio::Silence;
  for (const auto& [mark, silence] : {std::pair{0, Silence::Pause},
                                      {1, Silence::Short},
                                      {1101, Silence::Short},
                                      {1102, Silence::Pause}}) {
    SynthAudio audio;
    audio.addPhone("", 0);
    audio.addMark(1, mark);
    audio.addPhone("k", 1500);
    audio.addSamples(std::vector<std::int16_t>(3000, 0));
    audio.adjust({});
    EXPECT_EQ(audio.events()[0].silence, silence) << mark;
  }
}

TEST(SynthAudio, MakesPausesLongerAndShorter) {
  for (const double factor : {0.5, 3.0}) {
    SynthAudio audio;
    audio.addMark(1, 0);
    audio.addPhone("a", 0);
    audio.addPhone("", 1000);
    audio.addPhone("", 1200);
    audio.addMark(2, 1400);
    audio.addPhone("b", 1400);
    std::vector<std::int16_t> samples = tone(2000);
    std::fill(samples.begin() + 1000, samples.begin() + 1400, std::int16_t{0});
    audio.addSamples(std::move(samples));
    audio.adjust(std::vector<SynthAudio::Adjustment>{{0, 100, factor, 1}});
    const auto pause = static_cast<std::uint64_t>(400 * factor);
    EXPECT_EQ(audio.samples().size(), 1600 + pause);
    EXPECT_EQ(positions(audio),
              (Positions{0, 0, 1000, 1000 + pause / 2, 1000 + pause, 1000 + pause}));
  }
}

TEST(SynthAudio, KeepsSoundsWithoutANameAsTheyAre) {
  SynthAudio audio;
  audio.addPhone("a", 0);
  audio.addPhone("", 1000);
  audio.addPhone("b", 1400);
  audio.addSamples(tone(2000));
  audio.adjust(std::vector<SynthAudio::Adjustment>{{0, 100, 3, 1}});
  EXPECT_EQ(audio.samples(), tone(2000));
}

TEST(SynthAudio, AppliesVolumesFromTheirMarksOn) {
  SynthAudio audio;
  audio.addMark(1, 0);
  audio.addMark(2, 5000);
  audio.addSamples(std::vector<std::int16_t>(10000, 1000));
  audio.adjust(std::vector<SynthAudio::Adjustment>{{0, 50, 1, 1}, {2, 10, 1, 1}});
  EXPECT_EQ(audio.samples()[0], 500);
  EXPECT_EQ(audio.samples()[4900], 500);
  EXPECT_EQ(audio.samples()[5100], 100);
  EXPECT_EQ(audio.samples()[9999], 100);
}

TEST(SynthAudio, LimitsLoudSamplesSmoothly) {
  SynthAudio audio;
  audio.addSamples(std::vector<std::int16_t>{1000, 15000, -32768, 32767});
  audio.adjust(std::vector<SynthAudio::Adjustment>{{0, 300, 1, 1}});
  EXPECT_EQ(audio.samples()[0], 3000);
  EXPECT_GT(audio.samples()[1], 24000);
  EXPECT_LT(audio.samples()[1], 32767);
  EXPECT_GE(audio.samples()[2], -32767);
}

TEST(SynthAudio, PutsInnerMarksBetweenTheirNeighbours) {
  SynthAudio audio;
  audio.addMark(1, 0);
  audio.addPhone("a", 100);
  audio.addMark(4, 1000);
  audio.addSamples(tone(2000));
  audio.adjust({});
  audio.addInnerMarks(std::vector<SynthAudio::InnerMark>{{2, 0.25}, {3, 0.5}, {5, 0.5}});
  EXPECT_EQ(positions(audio), (Positions{0, 100, 250, 500, 1000, 1500}));
}

TEST(SynthAudio, PutsLostMarksByTheLettersBeforeThem) {
  SynthAudio audio;
  audio.addPhone("a", 0);
  audio.addMark(3, 1000);
  audio.addPhone("b", 1500);
  audio.addSamples(tone(3000));
  audio.adjust({});
  // Of marks 1 to 6, mark 5 is in a word and is not lost, mark 6 is a sign after the last word.
  audio.addLostMarks(std::vector<SynthAudio::Marked>{{0}, {6}, {4}, {2}, {6}, {0}, {0}},
                     std::vector<SynthAudio::InnerMark>{{5, 0.5}});
  std::vector<std::pair<int, std::uint64_t>> events;
  for (const SynthAudio::Event& event : audio.events())
    events.emplace_back(event.mark, event.sample);
  EXPECT_EQ(events, (std::vector<std::pair<int, std::uint64_t>>{
                        {1, 0}, {0, 0}, {2, 600}, {3, 1000}, {4, 1500}, {0, 1500}, {6, 3000}}));
}

// ---- Late marks

namespace {

using Marks = std::vector<std::pair<int, std::uint64_t>>;
using Marked = SynthAudio::Marked;

Marked word(bool isJoined = false, bool endsClause = false) {
  return {2, true, endsClause, isJoined};
}

// Gives the marks after correction and completion. Marks 1, 2 ... are reported at `samples`.
Marks corrected(const std::vector<Marked>& marked, const std::vector<std::uint64_t>& samples) {
  SynthAudio audio;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    audio.addMark(static_cast<int>(i + 1), static_cast<std::int64_t>(samples[i]));
  }
  audio.addSamples(tone(5000));
  audio.correctLateMarks(marked);
  audio.adjust({});
  audio.addLostMarks(marked, {});
  Marks marks;
  for (const SynthAudio::Event& event : audio.events())
    marks.emplace_back(event.mark, event.sample);
  return marks;
}

}  // namespace

TEST(SynthAudio, GivesLateMarksToTheWordsThatBegin) {
  EXPECT_EQ(corrected({{}, word(), word(true), word(), word(true), word()}, {0, 1000, 2000}),
            (Marks{{1, 0}, {2, 500}, {3, 1000}, {4, 1500}, {5, 2000}}));
}

TEST(SynthAudio, GivesLateMarksToTheFirstWordThatBegins) {
  EXPECT_EQ(corrected({{}, word(true), word(true), word()}, {1000}),
            (Marks{{1, 0}, {2, 500}, {3, 1000}}));
}

TEST(SynthAudio, GivesLateMarksToBookmarksToo) {
  EXPECT_EQ(corrected({{}, word(), word(true), {}, word(), {}, word(), {}}, {0, 1000, 2000, 2000}),
            (Marks{{1, 0}, {2, 500}, {3, 1000}, {4, 1000}, {5, 2000}, {6, 2000}, {7, 5000}}));
}

TEST(SynthAudio, CorrectsLateMarksClauseByClause) {
  EXPECT_EQ(corrected({{}, word(), word(true, true), word(), word(true), word()}, {0}),
            (Marks{{1, 0}, {2, 1000}, {3, 2000}, {4, 3000}, {5, 4000}}));
}

TEST(SynthAudio, LeavesAClauseWithAnotherNumberOfMarksAsItIs) {
  EXPECT_EQ(corrected({{}, word(), word(true), word()}, {0, 1000, 2000}),
            (Marks{{1, 0}, {2, 1000}, {3, 2000}}));
}

// The first part of a word may be in the call before.
TEST(SynthAudio, PutsTheFirstLostMarkAfterTheLettersBeforeIt) {
  SynthAudio audio;
  audio.addSamples(tone(1000));
  audio.adjust({});
  audio.addLostMarks(std::vector<SynthAudio::Marked>{{3}, {1}, {0}}, {});
  EXPECT_EQ(positions(audio), (Positions{750, 1000}));
}

TEST(SynthAudio, StaysAsItIsIfNoMarkIsLost) {
  SynthAudio audio;
  audio.addMark(1, 0);
  audio.addMark(2, 600);
  audio.addSamples(tone(1000));
  audio.addLostMarks(std::vector<SynthAudio::Marked>{{0}, {1}, {1}}, {});
  EXPECT_EQ(positions(audio), (Positions{0, 600}));
}

TEST(TimeScale, ShortensAudioByItsSpeed) {
  const std::vector<TimeScale::SpeedChange> changes = {{0, 2}};
  const TimeScale scale(changes, 20000);
  EXPECT_FALSE(scale.isIdentity());
  EXPECT_EQ(scale.apply(tone(20000)).size(), 10000u);
  EXPECT_EQ(scale.positionOf(5000), 2500u);
  EXPECT_EQ(scale.positionOf(20000), 10000u);
}

TEST(TimeScale, DoesNotChangeAudioAtNormalSpeed) {
  const std::vector<TimeScale::SpeedChange> changes = {{0, 1}, {500, 1}};
  EXPECT_TRUE(TimeScale(changes, 1000).isIdentity());
  EXPECT_TRUE(TimeScale({}, 0).isIdentity() || TimeScale({}, 0).apply({}).empty());
}

TEST(TimeScale, ChangesItsSpeedDuringTheAudio) {
  const std::vector<TimeScale::SpeedChange> changes = {{10000, 2}, {20000, 1}};
  const TimeScale scale(changes, 30000);
  const auto samples = tone(30000);
  const auto made = scale.apply(samples);
  EXPECT_EQ(made.size(), 25000u);
  EXPECT_TRUE(std::equal(made.begin() + 220, made.begin() + 9000, samples.begin() + 220));
  EXPECT_EQ(scale.positionOf(20000), 15000u);
}

TEST(TimeScale, KeepsTheShapeOfATone) {
  const std::vector<TimeScale::SpeedChange> changes = {{0, 1.7}};
  const auto made = TimeScale(changes, 40000).apply(tone(40000));
  // A discontinuity in the tone would show as a step.
  int steepest = 0;
  for (std::size_t at = 500; at + 500 < made.size(); ++at) {
    steepest = std::max(steepest, std::abs(made[at + 1] - made[at]));
  }
  EXPECT_LT(steepest, 650);
}

TEST(TimeScale, AcceptsAudioOfEveryShortLength) {
  const std::vector<TimeScale::SpeedChange> changes = {{0, 2.7}};
  for (std::size_t length = 0; length < 1000; ++length) {
    const TimeScale scale(changes, length);
    EXPECT_EQ(scale.apply(tone(length)).size(), scale.positionOf(length));
  }
}

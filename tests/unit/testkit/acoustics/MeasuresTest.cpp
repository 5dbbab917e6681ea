// SPDX-License-Identifier: Apache-2.0
//
// The audio measures, on computed signals.
#include <cmath>
#include <numbers>
#include <vector>

#include <gtest/gtest.h>

#include "acoustics/Pitch.h"
#include "acoustics/Sound.h"

namespace {

constexpr double kRate = 22050;
using Samples = std::vector<std::int16_t>;

// A buzz: twelve harmonics of decreasing strength, as in a voice, gliding from one pitch to
// another.
Samples buzz(double from, double to, double seconds, double loudness = 8000) {
  Samples samples;
  double phase = 0;
  const auto count = static_cast<int>(seconds * kRate);
  for (int at = 0; at < count; ++at) {
    phase += (from + (to - from) * at / count) / kRate;
    double value = 0;
    for (int harmonic = 1; harmonic <= 12; ++harmonic) {
      value += std::sin(2 * std::numbers::pi * harmonic * phase) / harmonic;
    }
    samples.push_back(static_cast<std::int16_t>(loudness * value / 2));
  }
  return samples;
}

Samples noise(double seconds) {
  Samples samples;
  std::uint32_t state = 1;
  for (int at = 0; at < static_cast<int>(seconds * kRate); ++at) {
    state = state * 1664525u + 1013904223u;
    samples.push_back(static_cast<std::int16_t>(static_cast<int>(state >> 18) - 8192));
  }
  return samples;
}

Samples joined(std::initializer_list<Samples> parts) {
  Samples all;
  for (const Samples& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

Samples silent(double seconds) {
  return Samples(static_cast<std::size_t>(seconds * kRate));
}

}  // namespace

TEST(Pitch, OfASteadyVoiceIsMeasuredWithinHalfAPercent) {
  for (const double hertz : {66.0, 80.0, 102.5, 137.0, 169.0, 220.0, 261.6, 330.0, 440.0, 520.0}) {
    EXPECT_NEAR(acoustics::medianPitch({buzz(hertz, hertz, 0.5)}), hertz, 0.005 * hertz);
  }
}

TEST(Pitch, IsAsGoodForAQuietVoice) {
  EXPECT_NEAR(acoustics::medianPitch({buzz(120, 120, 0.5, 200)}), 120, 0.6);
}

TEST(Pitch, IsTrackedWhileItMoves) {
  const Samples glide = buzz(100, 200, 1);
  const auto track = acoustics::pitchTrack({glide});
  ASSERT_GT(track.size(), 80u);
  EXPECT_NEAR(track[20], 100 + 100 * 0.225, 3);
  EXPECT_NEAR(track[70], 100 + 100 * 0.725, 3);
  // The last window begins one window and one period before the end.
  EXPECT_NEAR(acoustics::pitchSpread({glide}), 0.9 * 95, 4);
}

TEST(Pitch, IsNotFoundInNoiseOrSilence) {
  EXPECT_EQ(acoustics::medianPitch({silent(0.5)}), 0);
  EXPECT_EQ(acoustics::medianPitch({{}}), 0);
  const auto track = acoustics::pitchTrack({noise(0.5)});
  EXPECT_LT(acoustics::voicedValues(track).size(), track.size() / 10);
}

TEST(Sound, HasTheLevelOfItsSamples) {
  const Samples square = {1000, -1000, 1000, -1000};
  EXPECT_DOUBLE_EQ(acoustics::level({square}), 1000);
  EXPECT_DOUBLE_EQ(acoustics::level({{}}), 0);
}

TEST(Sound, OfHalfTheLoudnessHasHalfTheLevel) {
  const Samples full = buzz(110, 110, 0.5, 10000);
  const Samples half = buzz(110, 110, 0.5, 5000);
  EXPECT_NEAR(acoustics::level({half}) / acoustics::level({full}), 0.5, 0.001);
  EXPECT_NEAR(acoustics::peakLevel({half}) / acoustics::peakLevel({full}), 0.5, 0.001);
}

TEST(Sound, ShowsInItsEnvelopeWhereItIsLouder) {
  const Samples sound = joined({buzz(110, 110, 0.3, 2000), buzz(110, 110, 0.3, 8000)});
  const auto envelope = acoustics::envelope({sound}, 0.1);
  ASSERT_EQ(envelope.size(), 6u);
  EXPECT_NEAR(envelope[4] / envelope[1], 4, 0.1);
}

TEST(Sound, IsTrimmedToItsAudiblePart) {
  const Samples voice = buzz(110, 110, 0.5);
  const Samples sound = joined({silent(0.2), voice, silent(0.1)});
  EXPECT_NEAR(acoustics::trimSilence({sound}).seconds(), 0.5, 0.001);
  EXPECT_EQ(acoustics::trimSilence({silent(0.2)}).samples.size(), 0u);
}

TEST(Sound, ReturnsItsSilences) {
  const Samples voice = buzz(110, 110, 0.2);
  const Samples sound = joined({silent(0.1), voice, silent(0.3), voice});
  const auto found = acoustics::silences({sound}, 0.05);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_NEAR(found[0].length(), 0.1, 0.001);
  EXPECT_NEAR(found[1].begin, 0.3, 0.001);
  EXPECT_NEAR(found[1].length(), 0.3, 0.001);
}

TEST(Sound, ClampsItsPartsToItsEnds) {
  const Samples samples(100);
  const acoustics::Sound sound{samples};
  EXPECT_EQ(sound.part(90, 200).samples.size(), 10u);
  EXPECT_EQ(sound.part(50, 20).samples.size(), 0u);
  EXPECT_EQ(sound.between(-1, 1000).samples.size(), 100u);
}

TEST(Sound, CountsClippedSamples) {
  const Samples samples = {0, 32767, -32768, -32767, 32766};
  EXPECT_EQ(acoustics::clippedCount({samples}), 2u);
}

TEST(Quantiles, AreValuesBelowWhichTheShareLies) {
  EXPECT_EQ(acoustics::median({5, 1, 3}), 3);
  EXPECT_EQ(acoustics::quantile({4, 3, 2, 1, 0}, 0), 0);
  EXPECT_EQ(acoustics::quantile({4, 3, 2, 1, 0}, 1), 4);
  EXPECT_EQ(acoustics::median({}), 0);
}

// SPDX-License-Identifier: Apache-2.0
//
// The ring buffer between a job and a sound device: no sample is lost or repeated, and the position
// of what was heard is correct.
#include "output/playback.h"

#include <atomic>
#include <numeric>
#include <random>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

using kavrel::Playback;

namespace {

using Samples = std::vector<std::int16_t>;

// `count` samples with ascending values from `first`. None of them is silence.
Samples counting(std::size_t count, int first = 1) {
  Samples samples(count);
  std::iota(samples.begin(), samples.end(), static_cast<std::int16_t>(first));
  return samples;
}

Samples take(Playback& playback, std::size_t count) {
  Samples samples(count, -1);
  playback.take(samples);
  return samples;
}

}  // namespace

TEST(Playback, ReturnsWrittenSamplesAndThenSilence) {
  Playback playback;
  playback.write(counting(5));
  EXPECT_EQ(take(playback, 3), (Samples{1, 2, 3}));
  EXPECT_EQ(take(playback, 4), (Samples{4, 5, 0, 0}));
  EXPECT_EQ(take(playback, 2), (Samples{0, 0}));
}

TEST(Playback, CountsSamplesBeyondItsCapacity) {
  Playback playback;
  for (int round = 0; round < 20; ++round) {
    playback.write(counting(10'000, round));
    ASSERT_EQ(take(playback, 10'000), counting(10'000, round)) << round;
  }
  EXPECT_EQ(playback.heardAt(200'000).position, 200'000u);
  EXPECT_EQ(playback.gapCount(), 0u);
}

TEST(Playback, TakesBackSamplesThatTheDeviceHasNotRead) {
  Playback playback;
  playback.write(counting(10));
  take(playback, 4);
  EXPECT_EQ(playback.takeBack(6), 6u);
  EXPECT_EQ(playback.takeBack(2), 4u);
  EXPECT_EQ(playback.takeBack(9), 4u);
  playback.write(counting(2, 50));
  EXPECT_EQ(take(playback, 3), (Samples{50, 51, 0}));
}

TEST(Playback, ExcludesSilenceFromTheHeardPosition) {
  Playback playback;
  playback.write(counting(10));
  take(playback, 25);
  playback.write(counting(10));
  take(playback, 20);
  EXPECT_EQ(playback.heardAt(9).position, 9u);
  EXPECT_EQ(playback.heardAt(12).position, 10u);
  EXPECT_EQ(playback.heardAt(12).silence, 2u);
  EXPECT_EQ(playback.heardAt(28).position, 13u);
  EXPECT_EQ(playback.heardAt(28).silence, 0u);
  EXPECT_EQ(playback.heardAt(45).position, 20u);
  EXPECT_EQ(playback.heardAt(45).silence, 10u);
}

TEST(Playback, NeverReportsMoreHeardThanTheDeviceHasRead) {
  Playback playback;
  playback.write(counting(10));
  take(playback, 4);
  EXPECT_EQ(playback.heardAt(6).position, 4u);
}

TEST(Playback, CountsUnintendedGaps) {
  Playback playback;
  take(playback, 5);  // before the first sample
  playback.write(counting(5));
  take(playback, 10);
  EXPECT_EQ(playback.gapCount(), 0u);  // this may be the end
  playback.write(counting(5));
  take(playback, 10);
  EXPECT_EQ(playback.gapCount(), 1u);
  playback.allowGap();
  playback.write(counting(5));
  take(playback, 10);
  EXPECT_EQ(playback.gapCount(), 1u);
  playback.write(counting(5));
  take(playback, 1);
  EXPECT_EQ(playback.gapCount(), 2u);
}

TEST(Playback, HoldsSamplesBackWhileGapsAreNotRead) {
  Playback playback;
  std::size_t taken = 0;
  for (int gap = 0; gap < 200; ++gap) {
    playback.write(counting(1));
    taken += static_cast<std::size_t>(take(playback, 2)[0]);
  }
  EXPECT_LT(taken, 100u);
  EXPECT_EQ(playback.heardAt(400).position, taken);
  Samples rest(200 - taken, 1);
  rest.resize(200, 0);
  EXPECT_EQ(take(playback, 200), rest);
  EXPECT_EQ(playback.heardAt(600).position, 200u);
}

// A job that writes and takes back, a device that reads, and a listener, all at random times.
TEST(Playback, LosesAndRepeatsNothingBetweenThreads) {
  Playback playback;
  constexpr std::uint64_t kTotal = 1'000'000;
  std::atomic<std::uint64_t> frames = 0;
  std::atomic<bool> done = false;
  Samples found;
  std::thread device([&] {
    std::minstd_rand random(7);
    while (found.size() < kTotal) {
      Samples block(1 + random() % 500);
      playback.take(block);
      for (const std::int16_t sample : block) {
        if (sample != 0) found.push_back(sample);
      }
      frames += block.size();
    }
    done = true;
  });
  const auto sampleAt = [](std::uint64_t position) {
    return static_cast<std::int16_t>(position % 30'000 + 1);
  };
  std::minstd_rand random(8);
  std::uint64_t written = 0;
  while (!done) {
    const std::uint64_t heard = playback.heardAt(frames).position;
    ASSERT_LE(heard, written);
    if (written < kTotal && written < heard + 10'000) {
      Samples block(std::min<std::uint64_t>(1 + random() % 2000, kTotal - written));
      for (std::size_t index = 0; index < block.size(); ++index) {
        block[index] = sampleAt(written + index);
      }
      playback.write(block);
      written += block.size();
    }
    if (random() % 4 == 0)
      written = playback.takeBack(written - std::min<std::uint64_t>(written, random() % 3000));
  }
  device.join();
  ASSERT_EQ(found.size(), kTotal);
  for (std::uint64_t position = 0; position < kTotal; ++position) {
    ASSERT_EQ(found[position], sampleAt(position)) << position;
  }
}

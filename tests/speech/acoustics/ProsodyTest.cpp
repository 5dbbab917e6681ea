// SPDX-License-Identifier: Apache-2.0
//
// Volume, rate, pitch and range, measured in the audio: alone, nested, and after the end of their
// element.
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Recording.h"
#include "acoustics/Pitch.h"

using acoustics::level;
using acoustics::medianPitch;
using acoustics::pitchSpread;
using acoustics::Sound;
using test::kProse;
using test::prosody;
using test::record;
using test::Recording;

namespace {

const std::string kSentence = "The harbour was quiet that morning.";

std::string attribute(const char* name, double value, const char* unit = "") {
  return std::string(name) + "='" + std::to_string(value) + unit + "'";
}

// The audio of each sentence, without the silence at its ends.
std::vector<Sound> sentences(const Recording& recording) {
  std::vector<Sound> found;
  const auto events = recording.events(KAVREL_EVENT_SENTENCE);
  for (std::size_t at = 0; at < events.size(); ++at) {
    const std::size_t end =
        at + 1 < events.size() ? events[at + 1].sample : recording.samples.size();
    found.push_back(acoustics::trimSilence(recording.sound().part(events[at].sample, end)));
  }
  return found;
}

// The same sentence five times: outside, in one element, in a nested element, and outside again.
std::string nested(const std::string& outer, const std::string& inner) {
  return kSentence + " <prosody " + outer + ">" + kSentence + " <prosody " + inner + ">" +
         kSentence + "</prosody> " + kSentence + "</prosody> " + kSentence;
}

// The result of `measure` for each sentence, as a ratio to the first.
template <typename Measure>
std::vector<double> ratios(const std::string& text, Measure measure) {
  const Recording recording = record(text);
  std::vector<double> found;
  for (const Sound& sentence : sentences(recording)) found.push_back(measure(sentence));
  for (double& value : found) value /= measure(sentences(recording).front());
  return found;
}

void expectRatios(const std::vector<double>& found, const std::vector<double>& expected,
                  double tolerance) {
  ASSERT_EQ(found.size(), expected.size());
  for (std::size_t at = 0; at < expected.size(); ++at) {
    EXPECT_NEAR(found[at], expected[at], tolerance * expected[at]) << "sentence " << at;
  }
}

double seconds(const Sound& sound) {
  return sound.seconds();
}

}  // namespace

TEST(Volume, IsAPercentageOfTheLevel) {
  const double plain = level(record(kSentence).heard());
  for (const double percent : {5.0, 10.0, 25.0, 50.0, 75.0, 100.0, 125.0, 150.0, 200.0}) {
    const Recording found = record(prosody(attribute("volume", percent), kSentence));
    EXPECT_NEAR(level(found.heard()) / plain, percent / 100, 0.1 * percent / 100) << percent;
  }
}

TEST(Volume, OfZeroIsSilenceOfTheSameLength) {
  for (const char* const nothing : {"volume='0'", "volume='-20'"}) {
    const Recording found = record(prosody(nothing, kSentence));
    EXPECT_EQ(level(found.sound()), 0);
    EXPECT_NEAR(found.sound().seconds(), record(kSentence).sound().seconds(), 0.05);
    EXPECT_EQ(found.events(KAVREL_EVENT_WORD).size(), 6u);
  }
}

TEST(Volume, ThatIsTooHighIsLimitedAndNotClipped) {
  const Recording loudest = record(prosody("volume='300'", kSentence));
  EXPECT_GT(level(loudest.heard()), 2.3 * level(record(kSentence).heard()));
  EXPECT_LT(acoustics::clippedCount(loudest.sound()), loudest.samples.size() / 1000);
  const Recording beyond = record(prosody("volume='1e30'", kSentence));
  EXPECT_NEAR(level(beyond.heard()) / level(loudest.heard()), 1, 0.05);
}

TEST(Volume, AppliesInsideItsElementOnly) {
  expectRatios(ratios(nested("volume='50'", "volume='20'"), level), {1, 0.5, 0.2, 0.5, 1}, 0.1);
}

TEST(Volume, OfOneWordDoesNotAffectItsNeighbours) {
  const Recording plain = record("A single green boat lay there.");
  const Recording found = record("A single <prosody volume='25'>green</prosody> boat lay there.");
  for (const char* const word : {"single", "boat", "lay", "there"}) {
    EXPECT_NEAR(level(found.word(word)) / level(plain.word(word)), 1, 0.05) << word;
  }
  EXPECT_NEAR(level(found.word("green")) / level(plain.word("green")), 0.25, 0.05);
}

TEST(Rate, IsInWordsPerMinute) {
  const double plain = seconds(record(kProse).heard());
  for (const double rate : {90.0, 120.0, 150.0, 200.0, 240.0, 300.0, 400.0, 500.0, 600.0}) {
    const double found = seconds(record(prosody(attribute("rate", rate), kProse)).heard());
    EXPECT_NEAR(found / plain, 180 / rate, 0.1 * 180 / rate) << rate;
  }
}

TEST(Rate, ChangesPausesAndWordsAlike) {
  const std::string text = "Stop. Who? Me, you, him; and her! So. Be it.";
  const double plain = seconds(record(text).heard());
  for (const double rate : {90.0, 135.0, 270.0, 360.0}) {
    const double found = seconds(record(prosody(attribute("rate", rate), text)).heard());
    EXPECT_NEAR(found / plain, 180 / rate, 0.1 * 180 / rate) << rate;
  }
}

TEST(Rate, IsClampedToItsLimits) {
  const auto length = [](const char* attributes) {
    return seconds(record(prosody(attributes, kSentence)).heard());
  };
  EXPECT_NEAR(length("rate='1'"), length("rate='80'"), 0.03);
  EXPECT_NEAR(length("rate='1e300'"), length("rate='600'"), 0.03);
}

TEST(Rate, ThatIsInvalidIsIgnored) {
  const double plain = seconds(record(kSentence).heard());
  for (const char* const none : {"rate='0'", "rate='-100'", "rate='nan'", "rate='inf'",
                                 "rate='1e999'", "rate=''", "rate='fast'", "rate='200%'"}) {
    EXPECT_NEAR(seconds(record(prosody(none, kSentence)).heard()), plain, 0.03) << none;
  }
}

TEST(Rate, DoesNotAffectPitchAndVolume) {
  const Recording plain = record(kProse);
  for (const char* const rate : {"rate='100'", "rate='300'", "rate='400'"}) {
    const Recording found = record(prosody(rate, kProse));
    EXPECT_NEAR(medianPitch(found.heard()) / medianPitch(plain.heard()), 1, 0.08) << rate;
    EXPECT_NEAR(level(found.heard()) / level(plain.heard()), 1, 0.12) << rate;
  }
}

TEST(Rate, AppliesInsideItsElementOnly) {
  expectRatios(ratios(nested("rate='120'", "rate='360'"), seconds), {1, 1.5, 0.5, 1.5, 1}, 0.1);
}

TEST(Pitch, IsInHertzWithinTheVoicesRange) {
  for (const double hertz : {75.0, 90.0, 110.0, 130.0, 150.0, 165.0}) {
    const Recording found = record(prosody(attribute("pitch", hertz, "Hz"), kProse));
    EXPECT_NEAR(medianPitch(found.heard()), hertz, 0.05 * hertz);
  }
}

TEST(Pitch, IsClampedToTheVoicesRange) {
  const auto pitch = [](const char* attributes) {
    return medianPitch(record(prosody(attributes, kSentence)).heard());
  };
  EXPECT_NEAR(pitch("pitch='1e9Hz'") / pitch("pitch='180Hz'"), 1, 0.03);
  EXPECT_NEAR(pitch("pitch='0.001Hz'") / pitch("pitch='50Hz'"), 1, 0.06);
}

TEST(Pitch, ThatIsInvalidIsIgnored) {
  const double plain = medianPitch(record(kSentence).heard());
  for (const char* const none :
       {"pitch='0Hz'", "pitch='-100Hz'", "pitch='high'", "pitch='nanHz'"}) {
    EXPECT_NEAR(medianPitch(record(prosody(none, kSentence)).heard()) / plain, 1, 0.03) << none;
  }
}

TEST(Pitch, AppliesInsideItsElementOnly) {
  const auto found = ratios(nested("pitch='130Hz'", "pitch='80Hz'"), medianPitch);
  const double own = medianPitch(record(kSentence).heard());
  expectRatios(found, {1, found[1], found[2], found[1], 1}, 0.05);
  EXPECT_NEAR(found[1] * own / (found[2] * own), 130.0 / 80, 0.05 * 130 / 80);
}

TEST(Range, InHertzIsHowFarThePitchMoves) {
  const auto spread = [](double hertz) {
    return pitchSpread(record(prosody(attribute("range", hertz, "Hz"), kProse)).heard());
  };
  EXPECT_LT(spread(0), 5);
  EXPECT_NEAR(spread(20), 20, 6);
  EXPECT_NEAR(spread(40), 40, 10);
  EXPECT_GT(spread(1000), spread(30));
}

TEST(Range, DoesNotAffectThePitch) {
  const double own = medianPitch(record(kProse).heard());
  for (const char* const range : {"range='0Hz'", "range='15Hz'", "range='45Hz'"}) {
    EXPECT_NEAR(medianPitch(record(prosody(range, kProse)).heard()) / own, 1, 0.05) << range;
  }
}

TEST(Range, AppliesInsideItsElementOnly) {
  const auto found = ratios(nested("range='0Hz'", "range='45Hz'"), pitchSpread);
  ASSERT_EQ(found.size(), 5u);
  EXPECT_LT(found[1], 0.3);
  EXPECT_GT(found[2], 1.1);
  EXPECT_LT(found[3], 0.3);
  EXPECT_NEAR(found[4], 1, 0.15);
}

TEST(Settings, OfAllKindsApplyTogether) {
  const Recording plain = record(kSentence);
  const Recording found = record(
      "<prosody range='10Hz'><prosody pitch='140Hz'><prosody rate='120'><prosody volume='40'>" +
      kSentence + "</prosody></prosody></prosody></prosody>");
  EXPECT_NEAR(medianPitch(found.heard()), 140, 7);
  EXPECT_NEAR(seconds(found.heard()) / seconds(plain.heard()), 1.5, 0.15);
  EXPECT_LT(pitchSpread(found.heard()), 20);
  // A higher voice is louder at the same volume.
  EXPECT_NEAR(level(found.heard()) / level(plain.heard()), 0.4 * 1.15, 0.06);
}

TEST(Settings, AreTheSameFromCallToCall) {
  const double plain = level(record(kSentence).heard());
  record(prosody("volume='10' rate='400' pitch='160Hz' range='60Hz'", kSentence));
  const Recording after = record(kSentence);
  EXPECT_NEAR(level(after.heard()) / plain, 1, 0.05);
  EXPECT_NEAR(seconds(after.heard()), seconds(record(kSentence).heard()), 0.03);
}

// SPDX-License-Identifier: Apache-2.0
//
// Markup inside a sentence does not split it: marks are inaudible, changed settings apply where
// they are set, and word events are reported when the words are heard.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Recording.h"
#include "acoustics/Pitch.h"

using acoustics::Sound;
using test::record;
using test::Recording;

namespace {

const std::string kPlain =
    "The harbour was quiet that morning, and a single boat lay near the wall.";

// The difference between the pitches of two sounds at the same time, as a ratio, ignoring the
// largest tenth.
double pitchDifference(const Sound& one, const Sound& other) {
  const auto first = acoustics::pitchTrack(one);
  const auto second = acoustics::pitchTrack(other);
  std::vector<double> differences;
  for (std::size_t at = 0; at < std::min(first.size(), second.size()); ++at) {
    if (first[at] > 0 && second[at] > 0)
      differences.push_back(std::abs(first[at] / second[at] - 1));
  }
  return acoustics::quantile(differences, 0.9);
}

// Words and the ratio of their lengths to those in the plain sentence.
struct Stretching {
  std::string word;
  double factor = 0;
};

std::vector<Stretching> stretching(const Recording& found, const Recording& plain) {
  std::vector<Stretching> all;
  for (const auto& word : plain.events(KAVREL_EVENT_WORD)) {
    all.push_back({word.text, found.word(word.text).seconds() / plain.word(word.text).seconds()});
  }
  return all;
}

// Checks that the silence before a word ends at the word's event.
void expectOnsetAt(const Recording& recording, const std::string& word, double tolerance) {
  const auto events = recording.events(KAVREL_EVENT_WORD);
  const auto event = std::ranges::find(events, word, &kavrel::TimedEvent::text);
  ASSERT_NE(event, events.end());
  const double time = static_cast<double>(event->sample) / 22050;
  double nearest = 1;
  for (const acoustics::Stretch& silence : acoustics::silences(recording.sound(), 0.02)) {
    if (std::abs(silence.end - time) < std::abs(nearest)) nearest = silence.end - time;
  }
  EXPECT_LE(std::abs(nearest), tolerance) << word;
}

}  // namespace

TEST(Melody, IsNotChangedByMarks) {
  const Recording plain = record(kPlain);
  for (const char* const marked :
       {"The harbour was quiet <mark name='1'/>that morning, and a single boat lay near the wall.",
        "<mark name='1'/>The harbour <mark name='1'/> was quiet that morning, <mark name='1'/>and "
        "a<mark name='1'/> single boat lay <mark name='1'/><mark name='1'/>near the wall.",
        "The har<mark name='1'/>bour was quiet that morn<mark name='1'/>ing, and a single boat "
        "lay near the wall<mark name='1'/>."}) {
    const Recording found = record(marked);
    EXPECT_NEAR(found.heard().seconds(), plain.heard().seconds(), 0.03) << marked;
    EXPECT_LT(pitchDifference(found.heard(), plain.heard()), 0.05) << marked;
    EXPECT_EQ(found.names(KAVREL_EVENT_PHONEME), plain.names(KAVREL_EVENT_PHONEME)) << marked;
  }
}

TEST(Melody, IsNotChangedByTagsThatSetNothing) {
  const Recording plain = record(kPlain);
  const Recording found = record(
      "The <b>harbour</b> was <prosody>qui</prosody>et that <!-- x -->morning, and a "
      "<prosody rate='180'>single</prosody> boat <prosody volume='100'>lay</prosody> near the "
      "wall.");
  EXPECT_NEAR(found.heard().seconds(), plain.heard().seconds(), 0.03);
  EXPECT_LT(pitchDifference(found.heard(), plain.heard()), 0.05);
}

TEST(Melody, ContinuesThroughAChangeOfVolume) {
  const Recording plain = record(kPlain);
  const Recording found = record(
      "The harbour was <prosody volume='50'>quiet that</prosody> morning, and a single boat lay "
      "near the wall.");
  EXPECT_NEAR(found.heard().seconds(), plain.heard().seconds(), 0.03);
  EXPECT_LT(pitchDifference(found.heard(), plain.heard()), 0.05);
}

TEST(Melody, ContinuesThroughAChangeOfPitch) {
  const Recording plain = record(kPlain);
  const Recording found = record(
      "The harbour was quiet that <prosody pitch='140Hz'>morning, and a single boat</prosody> lay "
      "near the wall.");
  EXPECT_NEAR(found.heard().seconds(), plain.heard().seconds(), 0.06);
  for (const char* const word : {"harbour", "near", "wall"}) {
    EXPECT_NEAR(acoustics::medianPitch(found.word(word)) / acoustics::medianPitch(plain.word(word)),
                1, 0.05)
        << word;
  }
  EXPECT_GT(acoustics::medianPitch(found.word("single")),
            1.2 * acoustics::medianPitch(plain.word("single")));
}

TEST(Melody, ContinuesThroughAChangeOfRate) {
  const Recording plain = record(kPlain);
  for (const double rate : {100.0, 250.0, 400.0, 600.0}) {
    SCOPED_TRACE(rate);
    const Recording found =
        record("The harbour was quiet that <prosody rate='" + std::to_string(rate) +
               "'>morning, and a single boat</prosody> lay near the wall.");
    for (const auto& [word, factor] : stretching(found, plain)) {
      const bool inside = word == "morning" || word == "and" || word == "single" || word == "boat";
      if (word == "a" || word == "that") continue;
      const double wanted = inside ? 180 / rate : 1;
      EXPECT_NEAR(factor, wanted, inside ? 0.25 * wanted : 0.12) << word;
    }
  }
}

TEST(Melody, ContinuesThroughEmphasis) {
  const Recording plain = record(kPlain);
  const Recording found = record(
      "The harbour was quiet that morning, and a single <emphasis strength='strong'>boat"
      "</emphasis> lay near the wall.");
  EXPECT_NEAR(found.heard().seconds(), plain.heard().seconds(), 0.15);
  EXPECT_LE(acoustics::silences(found.heard(), 0.1).size(),
            acoustics::silences(plain.heard(), 0.1).size());
}

TEST(Words, AreReportedWhenTheyAreHeardAtEveryRate) {
  for (const char* const rate : {"90", "180", "300", "450", "500", "600"}) {
    SCOPED_TRACE(rate);
    const Recording found =
        record(test::prosody("rate='" + std::string(rate) + "'",
                             "Dogs bark. <break time='300ms'/>Nine dogs, <break time='300ms'/>"
                             "big ones, <break time='300ms'/>go away. Boats go. Do tell."));
    for (const char* const word : {"Nine", "big", "go", "Boats", "Do"})
      expectOnsetAt(found, word, 0.03);
  }
}

TEST(Events, AreInOrderAndInsideTheAudioAtEveryRate) {
  for (const char* const rate : {"80", "200", "450", "500", "600"}) {
    const Recording found = record(test::prosody("rate='" + std::string(rate) + "'", test::kProse));
    std::uint64_t last = 0;
    for (const kavrel::TimedEvent& event : found.timedEvents) {
      EXPECT_GE(event.sample, last) << rate;
      last = event.sample;
    }
    EXPECT_LE(last, found.samples.size()) << rate;
    // The last word has a duration as any other.
    EXPECT_GT(found.word("night").seconds(), 0.05) << rate;
  }
}

TEST(Words, AreNotSplitByTagsInside) {
  const Recording plain = record("The brown fox jumps.");
  const Recording found = record("The brown <emphasis strength='none'>fo</emphasis>x jumps.");
  EXPECT_EQ(found.names(KAVREL_EVENT_WORD), "The brown fox jumps");
  EXPECT_EQ(found.names(KAVREL_EVENT_PHONEME), plain.names(KAVREL_EVENT_PHONEME));
}

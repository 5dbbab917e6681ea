// SPDX-License-Identifier: Apache-2.0
//
// The phones that are reported for the synthesiser's events.
#include "job/segment_builder.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "synth/voice_cache.h"

using kavrel::SegmentBuilder;
using kavrel::SynthAudio;

namespace {

struct PhoneEvent {
  std::string_view name;
  std::uint64_t sample;
  bool isSilent = false;
};

constexpr std::uint64_t kLength = 12000;

// The phones of a call with these events, each with its sample.
std::string reported(const std::vector<PhoneEvent>& events) {
  SynthAudio audio;
  std::vector<std::int16_t> samples(kLength, 8000);
  for (std::size_t at = 0; at < events.size(); ++at) {
    audio.addPhone(events[at].name, static_cast<std::int64_t>(events[at].sample));
    const std::uint64_t end = at + 1 < events.size() ? events[at + 1].sample : kLength;
    for (std::uint64_t i = events[at].sample; events[at].isSilent && i < end; ++i) samples[i] = 0;
  }
  audio.addSamples(std::move(samples));
  audio.adjust({});
  kavrel::Step step;
  step.kind = kavrel::Step::Kind::Call;
  step.sentence = std::make_shared<const kavrel::Sentence>();
  step.call.voice = &kavrel::defaultVoice();
  SegmentBuilder builder;
  std::string phones;
  for (const kavrel::TimedEvent& event : builder.build(step, std::move(audio)).events) {
    if (event.type != KAVREL_EVENT_PHONEME) continue;
    phones += (phones.empty() ? "" : " ") + event.text + "@" + std::to_string(event.sample);
  }
  return phones;
}

}  // namespace

TEST(SegmentBuilder, ReportsSilencesOfFiftyMillisecondsAsPauses) {
  EXPECT_EQ(reported({{"k", 0}, {"æ", 2000}, {"t", 4000}, {"", 6000, true}}),
            "k@0 ae@2000 t@4000 pau@6000");
  EXPECT_EQ(reported({{"", 0, true}, {"k", 1500}}), "pau@0 k@1500");
}

TEST(SegmentBuilder, LeavesTheTimeOfShortSilencesToThePhoneBefore) {
  EXPECT_EQ(reported({{"æ", 0}, {"", 2000, true}, {"t", 3000}, {"", kLength, true}}),
            "ae@0 t@3000");
}

TEST(SegmentBuilder, LeavesTheTimeOfSoundsWithoutANameToThePhoneBefore) {
  EXPECT_EQ(reported({{"i", 0}, {"", 2000}, {"ɑː", 5000}}), "i@0 aa@5000");
}

TEST(SegmentBuilder, ReportsSeveralPhonesOfOneEventAtItsSample) {
  EXPECT_EQ(reported({{"aɪɚ", 0}, {"日", 4000}, {"ʲ", 6000}}), "ay@0 ah@0 r@0 pau@4000");
}

TEST(SegmentBuilder, FollowsSwitchesOfTheLanguageUntilTheCallEnds) {
  EXPECT_EQ(reported({{"a", 0}, {"(de)", 1000}, {"a", 1000}, {"(en-us)", 5000}, {"a", 6000}}),
            "ae@0 aa@1000 ae@6000");
}

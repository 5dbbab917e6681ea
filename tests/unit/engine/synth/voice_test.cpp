// SPDX-License-Identifier: Apache-2.0
//
// The project's voices, as loaded by the engine.
#include "synth/voice.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "synth/voice.h"
#include "synth/voice_cache.h"

using kavrel::Voice;

namespace {

constexpr int kRanges[] = {0, 25, 50, 75, 99};

}  // namespace

TEST(SynthVoices, AreAllLoaded) {
  std::string why;
  int count = 0;
  for (const auto& bundle : std::filesystem::directory_iterator(KAVREL_VOICES_DIR)) {
    const Voice* const voice = kavrel::loadVoice(bundle.path().string(), why);
    ASSERT_NE(voice, nullptr) << why;
    EXPECT_EQ(voice->name(), bundle.path().stem());
    ++count;
  }
  EXPECT_GT(count, 20);
}

TEST(SynthVoices, AreLikeCorinByDefault) {
  std::string why;
  const Voice* const corin = kavrel::loadVoice(KAVREL_VOICES_DIR "/Corin.SpeechVoice", why);
  ASSERT_NE(corin, nullptr) << why;
  const Voice& plain = kavrel::defaultVoice();
  EXPECT_EQ(plain.synthesiserName(), corin->synthesiserName());
  for (int hertz = 0; hertz < 250; ++hertz) {
    EXPECT_EQ(plain.rangeFor(hertz), corin->rangeFor(hertz)) << hertz;
    for (const int range : kRanges) {
      EXPECT_EQ(plain.pitchFor(hertz, range), corin->pitchFor(hertz, range)) << hertz;
    }
  }
}

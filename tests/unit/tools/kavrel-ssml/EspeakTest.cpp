// SPDX-License-Identifier: Apache-2.0
//
// Another speech system, the espeak-ng command, reads the documents of kavrel-ssml.
#include <cstdint>
#include <cstring>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "RunSsml.h"

namespace {

using program::Folder;
using ssmlprogram::outputOf;
using ssmlprogram::Strings;
using testing::AllOf;
using testing::DoubleNear;
using testing::Gt;
using testing::HasSubstr;
using testing::Lt;

const std::string kText = "one two three four five";

std::string espeak(const Strings& arguments, const std::string& input) {
  const program::Result result = program::run(KAVREL_ESPEAK_NG, arguments, input);
  EXPECT_EQ(result.status, 0) << result.err;
  return result.out;
}

// The phonemes that it speaks for a text with commands.
std::string phonemesOf(const std::string& text) {
  return espeak({"-m", "-q", "-x", "--stdin"}, outputOf({"--document"}, text));
}

struct Sound {
  double seconds = 0;
  int peak = 0;
};

// The samples that the command writes: 16-bit, 22050 Hz, after a header of 44 bytes.
Sound soundOf(const std::string& text) {
  constexpr std::size_t kHead = 44;
  const Folder folder;
  const std::string file = folder.file("speech.wav");
  espeak({"-m", "-w", file, "--stdin"}, outputOf({"--document"}, text));
  const std::string bytes = program::contentsOf(file);
  Sound sound;
  for (std::size_t at = kHead; at + 1 < bytes.size(); at += 2) {
    std::int16_t sample = 0;
    std::memcpy(&sample, bytes.data() + at, sizeof sample);
    sound.peak = std::max(sound.peak, std::abs(static_cast<int>(sample)));
    sound.seconds += 1.0 / 22050;
  }
  EXPECT_GT(sound.seconds, 0.1) << text;
  return sound;
}

TEST(Espeak, SpeaksOnlyTheText) {
  EXPECT_THAT(phonemesOf(kText), HasSubstr(espeak({"-v", "en-us", "-q", "-x", "--stdin"}, kText)));
}

TEST(Espeak, SpeaksNoMarkupOfAnyCommand) {
  const std::string plain = phonemesOf(kText);
  for (const char* command : {"[[rate 90]]", "[[volm 0.5]]", "[[pbas 60]]", "[[pmod 60]]",
                              "[[sync 5]]", "[[rset 0]]", "[[cmnt hi]]", "[[slcn 5]]"}) {
    EXPECT_EQ(phonemesOf(command + kText), plain) << command;
  }
}

TEST(Espeak, AppliesTheRate) {
  const double normal = soundOf(kText).seconds;
  EXPECT_THAT(soundOf("[[rate 90]]" + kText).seconds, Gt(normal * 1.6));
  EXPECT_THAT(soundOf("[[rate 270]]" + kText).seconds, Lt(normal * 0.85));
}

TEST(Espeak, AppliesTheVolume) {
  const int normal = soundOf(kText).peak;
  EXPECT_LT(soundOf("[[volm 0.5]]" + kText).peak, normal);
  EXPECT_EQ(soundOf("[[volm 0]]" + kText).peak, 0);
}

TEST(Espeak, AppliesTheSilence) {
  const double normal = soundOf(kText).seconds;
  EXPECT_THAT(soundOf("one [[slnc 2000]]two three four five").seconds,
              AllOf(Gt(normal + 1.8), Lt(normal + 2.8)));
}

TEST(Espeak, AppliesTheEmphasis) {
  const std::string text = "one [[emph +]]two [[emph -]]three four five";
  EXPECT_GT(soundOf(text).peak, soundOf(kText).peak);
}

TEST(Espeak, AppliesTheSpelling) {
  const std::string spelt = phonemesOf("[[char LTRL]]dog[[char NORM]] house");
  EXPECT_THAT(spelt, HasSubstr("d,i:"));
  EXPECT_THAT(spelt, HasSubstr("dZ'i:"));
  EXPECT_THAT(spelt, HasSubstr("h'aUs"));
}

TEST(Espeak, AppliesTheDigits) {
  const std::string digits = phonemesOf("[[nmbr LTRL]]call 123 [[nmbr NORM]]now");
  EXPECT_THAT(digits, HasSubstr("w,Vn_|t,u:_|Tr'i:"));
  EXPECT_EQ(digits.find("h'Vndr"), std::string::npos) << digits;
}

}  // namespace

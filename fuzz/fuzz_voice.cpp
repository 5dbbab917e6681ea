// SPDX-License-Identifier: Apache-2.0
//
// Checks that a voice's data file is either read or rejected with a message of one line, and that a
// voice that was read gives settings within bounds for every request. Input: the file.
#include <algorithm>
#include <array>
#include <limits>
#include <string>
#include <string_view>

#include "Fuzz.h"
#include "synth/voice.h"

namespace {

bool isOneLine(const std::string& text) {
  return !text.empty() && text.size() < 200 && std::none_of(text.begin(), text.end(), [](char c) {
    return static_cast<unsigned char>(c) < 0x20;
  });
}

bool isSetting(int value) {
  return value >= 0 && value <= 99;
}

void checkSettings(const kavrel::Voice& voice) {
  constexpr double kHuge = std::numeric_limits<double>::max();
  constexpr std::array kAsked = {0.0, 1e-300, 1.0, 50.0, 98.0, 196.0, 500.0, 1e9, kHuge};
  int before = 0;
  for (const double hertz : kAsked) {
    fuzz::require(isSetting(voice.rangeFor(hertz)), "the range is a setting");
    for (const int range : {0, 50, 99}) {
      fuzz::require(isSetting(voice.pitchFor(hertz, range)), "the pitch is a setting");
    }
    fuzz::require(voice.pitchFor(hertz, 50) >= before, "a higher pitch is a higher setting");
    before = voice.pitchFor(hertz, 50);
  }
}

void checkOtherVoices(const kavrel::Voice& voice) {
  for (const std::string_view script : {"Cyrl", "Grek", "Hani"}) {
    const std::string* const path = voice.voiceFor(script);
    if (path == nullptr) continue;
    fuzz::require(!path->starts_with('/') && path->find("/../") == std::string::npos,
                  "no path out of the folder of voices");
    fuzz::require(path->ends_with("kavrel.voice"), "the path of a voice file");
  }
  fuzz::require(voice.level() >= 0.05 && voice.level() <= 2, "a level within its limits");
  fuzz::require(!voice.writes(""), "no empty script");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kavrel::Voice voice;
  std::string why;
  if (!voice.parse(fuzz::viewOf(data, size), why)) {
    fuzz::require(isOneLine(why), "a message of one line");
    return 0;
  }
  fuzz::require(!voice.name().empty(), "a name");
  fuzz::require(voice.synthesiserName().find_first_of("/.\\") == std::string::npos,
                "no path into another folder");
  checkSettings(voice);
  checkOtherVoices(voice);
  return 0;
}

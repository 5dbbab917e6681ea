// SPDX-License-Identifier: Apache-2.0
//
// Reads a line of conversion settings. The line has these words in any order:
//
//   plain                        plain text instead of SSML
//   settings                     with a channel's settings, at their defaults
//   phones, spell, digits        speak phonemes, spell out, say digits
//   v50  w200.5  b53  a43  r3    volume, words per minute, pitch base, assumed base, range
//
// A word of the last two lines implies "settings"; so does any other word, which is otherwise
// ignored.
#pragma once

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

#include "Fuzz.h"
#include "SpeechMgrEnv.h"

namespace fuzz {

struct Request {
  bool plain = false;
  std::optional<SpeechMgrEnv> settings;
};

inline double realNumber(std::string_view text) {
  double value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

// Clamped to the range of the fixed-point numbers that clients use.
inline int wholeNumber(std::string_view text) {
  const double number = realNumber(text);
  if (number != number) return 0;
  return static_cast<int>(std::clamp(number, -32768.0, 32767.0));
}

inline void readSetting(std::string_view word, SpeechMgrEnv& settings) {
  const std::string_view number = word.substr(1);
  if (word == "phones") settings.speakPhones = true;
  if (word == "spell") settings.spellOut = true;
  if (word == "digits") settings.sayDigits = true;
  if (word[0] == 'v') settings.volume = realNumber(number);
  if (word[0] == 'w') settings.wpm = realNumber(number);
  if (word[0] == 'b') settings.pitchBase = wholeNumber(number);
  if (word[0] == 'a') settings.pitchAssumedBase = wholeNumber(number);
  if (word[0] == 'r') settings.pitchRange = wholeNumber(number);
}

inline Request readRequest(std::string_view line) {
  Request request;
  for (std::string_view word = takeWord(line); !word.empty(); word = takeWord(line)) {
    if (word == "plain") {
      request.plain = true;
      continue;
    }
    if (!request.settings) request.settings.emplace();
    readSetting(word, *request.settings);
  }
  return request;
}

}  // namespace fuzz

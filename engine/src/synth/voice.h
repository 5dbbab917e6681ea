// SPDX-License-Identifier: GPL-3.0-or-later
//
// Voices: what a voice folder's data file says, and the cache that owns every voice loaded.
//
// A voice never changes once it is loaded and lives until the process ends. All functions may be
// called on any thread.
//
// The data file is named kavrel.voice, has at most 64 KiB, and one "key = value" per line; "#"
// begins a comment. Every key stands there once, in any order, and no other:
//   format        1
//   name          for people
//   language      the synthesiser's name of the language, such as en-us
//   variant       the synthesiser's name of a variation of it, such as f2; may be empty or left out
//   pitch.offset, pitch.range, pitch.scale
//                 how this voice's pitch follows the synthesiser's settings P and R, both 0 to 99:
//                 median in Hz = offset + range * R + scale * 2^(P / 50)
//   pitch.spread  how far the pitch moves, from its 5th to its 95th percentile, in Hz for each step
//                 of R
//   pitch.lowest, pitch.highest
//                 the reach: the median in Hz at P = 0 and at P = 99, both with R = 50. They follow
//                 from the constants and are there for those who read the file; a file in which
//                 they do not follow, give or take a tenth, is damaged.
#pragma once

#include <set>
#include <span>
#include <string>
#include <string_view>

namespace kavrel {

class Voice {
 public:
  // A voice that speaks American English.
  Voice() = default;

  // Reads the text of a data file. False, with a message in `why`, when it is not one; the voice is
  // then of no use.
  bool parse(std::string_view text, std::string& why);

  const std::string& name() const { return m_name; }
  // Language and variant as the synthesiser takes them together.
  std::string synthesiserName() const;
  const std::string& language() const { return m_language; }
  const std::string& variant() const { return m_variant; }

  // The synthesiser's pitch setting, 0 to 99, that gives a median of `hertz` at range setting
  // `range`; the nearest one for what the voice cannot reach.
  int pitchFor(double hertz, int range) const;
  // The median in Hz where a text sets none.
  double ownPitch() const { return medianAt(kMiddleSetting); }
  // The synthesiser's range setting, 0 to 99, with which the pitch moves over `hertz`, the highest
  // and lowest twentieth left out.
  int rangeFor(double hertz) const;

 private:
  static constexpr int kMiddleSetting = 50;
  static constexpr int kHighestSetting = 99;

  struct Key;
  static std::span<const Key> keys();

  // False, with a message in `why`.
  bool readLine(std::string_view line, std::set<std::string_view>& seen, std::string& why);
  bool set(const Key& key, std::string_view value, std::string& why);
  bool isConsistent(std::string& why) const;

  // In Hz, with the range setting in the middle.
  double medianAt(int pitch) const;

  double m_format = 1;
  std::string m_name = "default";
  std::string m_language = "en-us";
  std::string m_variant;
  double m_offset = 19.3;
  double m_range = 0.272;
  double m_scale = 34.7;
  double m_spread = 0.54;
  double m_lowest = 68;
  double m_highest = 170;
};

// `text` for a message of one line: control characters become "?".
std::string printable(std::string_view text);

}  // namespace kavrel

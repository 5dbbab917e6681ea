// SPDX-License-Identifier: GPL-3.0-or-later
//
// Voices: what a voice folder's data file says, and the cache that owns every voice loaded.
//
// A voice never changes once it is loaded and lives until the process ends. All functions may be
// called on any thread.
//
// The data file is named kavrel.voice and has one "key = value" per line; "#" begins a comment.
// Keys:
//   format        1
//   name          for people
//   language      the synthesiser's name of the language, such as en-us
//   variant       the synthesiser's name of a variation of it, such as f2; may be empty
//   pitch.offset, pitch.range, pitch.scale
//                 how this voice's pitch follows the synthesiser's settings P and R, both 0 to 99:
//                 median in Hz = offset + range * R + scale * 2^(P / 50). Left out: a male voice's.
// Other keys are left alone.
#pragma once

#include <string>
#include <string_view>

namespace kavrel {

class Voice {
 public:
  // A voice that speaks American English.
  Voice() = default;

  // Reads the text of a data file. False, with a message in `why`, when it is not one.
  bool parse(std::string_view text, std::string& why);

  const std::string& name() const { return m_name; }
  // Language and variant as the synthesiser takes them together.
  std::string synthesiserName() const;
  const std::string& variant() const { return m_variant; }

  // The synthesiser's pitch setting, 0 to 99, that gives a median of `hertz` at range setting
  // `range`; the nearest one for what the voice cannot reach.
  int pitchFor(double hertz, int range) const;
  // The synthesiser's range setting, 0 to 99, with which the pitch moves over `hertz`, the highest
  // and lowest twentieth left out.
  int rangeFor(double hertz) const;

 private:
  bool set(std::string_view key, std::string_view value, std::string& why);

  std::string m_name = "default";
  std::string m_language = "en-us";
  std::string m_variant;
  double m_offset = 18;
  double m_range = 0.29;
  double m_scale = 35.5;
};

// The voice that a port without a voice speaks with.
const Voice& defaultVoice();

// The voice in `directory`, from the cache when its data file is as it was. Null, with a message in
// `why`, when there is none that the synthesiser can speak with.
const Voice* loadVoice(const std::string& directory, std::string& why);

}  // namespace kavrel

// SPDX-License-Identifier: Apache-2.0
//
// A voice: the contents of its data file, and the mapping of pitch to the synthesiser's settings.
//
// Threads: a voice does not change after parse(); its const functions may be called on any thread.
//
// The data file is called kavrel.voice and has at most 64 KiB. Each line is "key = value"; "#"
// begins a comment. Keys may be in any order. All keys are required but "variant", "level",
// "scripts" and "voice.SCRIPT"; a key that occurs twice or is unknown is an error:
//   format        1
//   name          for people
//   language      the synthesiser's name of the language, such as en-us
//   variant       the synthesiser's name of a variant of it, such as f2; may be empty or missing
//   pitch.offset, pitch.range, pitch.scale
//                 how this voice's pitch depends on the synthesiser's settings P and R, both 0 to
//                 99: median in Hz = offset + range * R + scale * 2^(P / 50). The range is negative
//                 for some tone languages, in which most tones fall
//   pitch.spread  how far the pitch moves, from its 5th to its 95th percentile, in Hz per step of R
//   pitch.lowest, pitch.highest
//                 the voice's limits: the median in Hz at P = 0 and at P = 99, both with R = 50.
//                 They follow from the constants and exist for readers of the file. A file in which
//                 they differ from the computed values by more than a tenth is damaged.
//   level         factor of the samples, 0.05 to 2, that brings the voice to the loudness of
//   others;
//                 1 if missing
//   scripts       the scripts that the language is written in, separated by blanks, as ISO 15924
//                 codes such as Latn; Latn if missing
//   voice.SCRIPT  such as voice.Cyrl: the data file of the voice that speaks words of that script
//                 within a text for this voice. The path is relative to the folder of this file and
//                 ends in /kavrel.voice. ".." may only be its first component, so that it cannot
//                 lead out of the folder in which this voice is installed
#pragma once

#include <functional>
#include <map>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace kavrel {

class Voice {
 public:
  // A voice that speaks American English.
  Voice() = default;

  // Reads the text of a data file. Returns false, with a message in `why`, if it is invalid; the
  // voice must not be used then.
  bool parse(std::string_view text, std::string& why);

  const std::string& name() const { return m_name; }
  // Language and variant in one name, in the synthesiser's notation.
  std::string synthesiserName() const;
  const std::string& language() const { return m_language; }
  const std::string& variant() const { return m_variant; }

  // Factor of the samples, which volumes are relative to.
  double level() const { return m_level; }

  // Returns whether the language is written in `script`, an ISO 15924 code such as Cyrl.
  bool writes(std::string_view script) const;
  // Returns the path of the data file, relative to the folder of this voice's, of the voice that
  // speaks words of `script` within a text for this voice; null if there is none.
  const std::string* voiceFor(std::string_view script) const;

  // The folder of the data file; empty for a voice that was not read from one. Set before the voice
  // is shared.
  const std::string& folder() const { return m_folder; }
  void setFolder(std::string folder) { m_folder = std::move(folder); }

  // Returns the synthesiser's pitch setting, 0 to 99, for a median of `hertz` at range setting
  // `range`. Values beyond the voice's limits are clamped.
  int pitchFor(double hertz, int range) const;
  // The median in Hz if a text sets none.
  double ownPitch() const { return medianAt(kMiddleSetting); }
  // Returns the synthesiser's range setting, 0 to 99, with which the pitch moves over `hertz` from
  // its 5th to its 95th percentile. Clamped.
  int rangeFor(double hertz) const;

 private:
  static constexpr int kMiddleSetting = 50;
  static constexpr int kHighestSetting = 99;

  struct Key;
  static std::span<const Key> keys();

  // These return false, with a message in `why`, if the line, value or file is invalid.
  bool readLine(std::string_view line, std::set<std::string_view>& seen, std::string& why);
  bool set(const Key& key, std::string_view value, std::string& why);
  bool setVoiceFor(std::string_view script, std::string_view path, std::string& why);
  bool isConsistent(std::string& why) const;

  // The median in Hz at pitch setting `pitch` and the middle range setting.
  double medianAt(int pitch) const;

  double m_format = 1;
  std::string m_name = "default";
  std::string m_language = "en-us";
  std::string m_variant;
  std::string m_folder;
  std::string m_scripts = "Latn";
  std::map<std::string, std::string, std::less<>> m_voices;  // by script
  double m_offset = 19.3;
  double m_range = 0.272;
  double m_scale = 34.7;
  double m_spread = 0.54;
  double m_lowest = 68;
  double m_highest = 170;
  double m_level = 1;
};

// Returns `text` for a message of one line: control characters are replaced with "?".
std::string printable(std::string_view text);

}  // namespace kavrel

// SPDX-License-Identifier: Apache-2.0
#include "synth/voice.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace kavrel {

namespace {

// Maximum bytes of a text value.
constexpr std::size_t kMaxValue = 63;
// Maximum bytes of a path.
constexpr std::size_t kMaxPath = 255;
// Maximum bytes of an unknown key in a message.
constexpr std::size_t kMaxQuoted = 32;
// How far the stated limits may differ from the computed ones: room for rounding.
constexpr double kReachTolerance = 0.1;
constexpr std::string_view kVoiceKey = "voice.";

// Voice files may have CR LF line ends.
std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

bool isControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7F;
}

std::string quoted(std::string_view text) {
  return '"' + printable(text.substr(0, kMaxQuoted)) + '"';
}

// The synthesiser builds file names from these, so no other characters are allowed: no path can
// escape its data folder.
bool isPlainName(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '_';
  });
}

// The form of an ISO 15924 code: Latn.
bool isScript(std::string_view text) {
  const auto isLower = [](char c) { return c >= 'a' && c <= 'z'; };
  return text.size() == 4 && text[0] >= 'A' && text[0] <= 'Z' &&
         std::all_of(text.begin() + 1, text.end(), isLower);
}

// Removes the first part of `text`, up to `separator`, and returns it without the separator.
std::string_view takePart(std::string_view& text, char separator) {
  const std::size_t end = std::min(text.find(separator), text.size());
  const std::string_view part = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return part;
}

bool areScripts(std::string_view text) {
  if (text.empty()) return false;
  while (!text.empty()) {
    const std::string_view script = takePart(text, ' ');
    if (!script.empty() && !isScript(script)) return false;
  }
  return true;
}

// A file kavrel.voice in this folder, in one next to it, or below.
bool isVoicePath(std::string_view path) {
  if (path.size() > kMaxPath || std::any_of(path.begin(), path.end(), isControl)) return false;
  if (path.starts_with("../")) path.remove_prefix(3);
  while (path.find('/') != std::string_view::npos) {
    const std::string_view folder = takePart(path, '/');
    if (folder.empty() || folder == "." || folder == "..") return false;
  }
  return path == "kavrel.voice";
}

// The whole text must be a finite number, in the classic locale.
bool readNumber(std::string_view text, double& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() && std::isfinite(number);
}

}  // namespace

// A key of the data file, and the member that stores its value.
struct Voice::Key {
  std::string_view name;
  bool required;
  // One of these two is set.
  std::string Voice::*text;
  double Voice::*number;
  // Limits of a number.
  double smallest;
  double largest;
};

std::span<const Voice::Key> Voice::keys() {
  static constexpr std::array<Key, 12> kKeys = {{
      {"format", true, nullptr, &Voice::m_format, 1, 1},
      {"name", true, &Voice::m_name, nullptr, 0, 0},
      {"language", true, &Voice::m_language, nullptr, 0, 0},
      {"variant", false, &Voice::m_variant, nullptr, 0, 0},
      {"scripts", false, &Voice::m_scripts, nullptr, 0, 0},
      {"pitch.offset", true, nullptr, &Voice::m_offset, -500, 500},
      {"pitch.range", true, nullptr, &Voice::m_range, -10, 10},
      {"pitch.scale", true, nullptr, &Voice::m_scale, 1, 500},
      {"pitch.spread", true, nullptr, &Voice::m_spread, 0.01, 20},
      {"pitch.lowest", true, nullptr, &Voice::m_lowest, 10, 2000},
      {"pitch.highest", true, nullptr, &Voice::m_highest, 10, 2000},
      {"level", false, nullptr, &Voice::m_level, 0.05, 2},
  }};
  return kKeys;
}

// Numbers are checked against the limits of their key, so that the pitch maths cannot overflow.
bool Voice::set(const Key& key, std::string_view value, std::string& why) {
  if (key.text != nullptr) {
    const bool isFit =
        value.size() <= kMaxValue && std::none_of(value.begin(), value.end(), isControl);
    if (isFit) this->*key.text = value;
    if (!isFit) why = std::string(key.name) + " is not a line of text of at most 63 bytes";
    return isFit;
  }
  double number = 0;
  const bool isNumber = readNumber(value, number);
  const bool isFit = isNumber && number >= key.smallest && number <= key.largest;
  if (isFit) this->*key.number = number;
  if (!isNumber) why = std::string(key.name) + " is not a number";
  if (isNumber && !isFit) why = std::string(key.name) + " is out of range";
  return isFit;
}

bool Voice::setVoiceFor(std::string_view script, std::string_view path, std::string& why) {
  const std::string key = std::string(kVoiceKey) + std::string(script);
  if (!isVoicePath(path)) {
    why = key + " is not a relative path to a file kavrel.voice";
    return false;
  }
  const bool isNew = m_voices.emplace(script, path).second;
  if (!isNew) why = "duplicate key " + key;
  return isNew;
}

// `line` has no comment and is not empty. `seen` collects the keys, for duplicates and missing
// ones.
bool Voice::readLine(std::string_view line, std::set<std::string_view>& seen, std::string& why) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) {
    why = "missing \"=\"";
    return false;
  }
  const std::string_view name = trimmed(line.substr(0, equals));
  const std::string_view value = trimmed(line.substr(equals + 1));
  if (name.starts_with(kVoiceKey) && isScript(name.substr(kVoiceKey.size()))) {
    return setVoiceFor(name.substr(kVoiceKey.size()), value, why);
  }
  const auto key = std::ranges::find(keys(), name, &Key::name);
  if (key == keys().end()) {
    why = "unknown key " + quoted(name);
    return false;
  }
  if (!seen.insert(key->name).second) {
    why = "duplicate key " + std::string(key->name);
    return false;
  }
  return set(*key, value, why);
}

// Checks what single lines cannot show.
bool Voice::isConsistent(std::string& why) const {
  const auto isReach = [](double stated, double computed) {
    return std::abs(stated - computed) <= kReachTolerance * computed;
  };
  if (m_name.empty()) {
    why = "name is empty";
  } else if (m_language.empty() || !isPlainName(m_language) || !isPlainName(m_variant)) {
    why = "language or variant is invalid";
  } else if (!areScripts(m_scripts)) {
    why = "scripts is not a list of codes such as Latn";
  } else if (!isReach(m_lowest, medianAt(0)) || !isReach(m_highest, medianAt(kHighestSetting))) {
    why = "pitch.lowest or pitch.highest does not match the other constants";
  } else {
    return true;
  }
  return false;
}

// Lines are numbered from 1 in messages.
bool Voice::parse(std::string_view text, std::string& why) {
  std::set<std::string_view> seen;
  for (int line = 1; !text.empty(); ++line) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view content = trimmed(text.substr(0, std::min(text.find('#'), end)));
    text.remove_prefix(std::min(end + 1, text.size()));
    if (content.empty() || readLine(content, seen, why)) continue;
    why.insert(0, "line " + std::to_string(line) + ": ");
    return false;
  }
  for (const Key& key : keys()) {
    if (!key.required || seen.contains(key.name)) continue;
    why = "missing key " + std::string(key.name);
    return false;
  }
  return isConsistent(why);
}

std::string printable(std::string_view text) {
  std::string line(text);
  std::replace_if(line.begin(), line.end(), isControl, '?');
  return line;
}

std::string Voice::synthesiserName() const {
  return m_variant.empty() ? m_language : m_language + '+' + m_variant;
}

bool Voice::writes(std::string_view script) const {
  for (std::string_view rest = m_scripts; !rest.empty();) {
    const std::string_view written = takePart(rest, ' ');
    if (!written.empty() && written == script) return true;
  }
  return false;
}

const std::string* Voice::voiceFor(std::string_view script) const {
  const auto found = m_voices.find(script);
  return found == m_voices.end() ? nullptr : &found->second;
}

double Voice::medianAt(int pitch) const {
  return m_offset + m_range * kMiddleSetting + m_scale * std::exp2(pitch / 50.0);
}

// Solves the formula of the data file for P.
int Voice::pitchFor(double hertz, int range) const {
  const double octaves = (hertz - m_offset - m_range * range) / m_scale;
  if (octaves <= 1) return 0;
  const double setting = std::min<double>(50 * std::log2(octaves), kHighestSetting);
  return static_cast<int>(std::lround(setting));
}

int Voice::rangeFor(double hertz) const {
  return static_cast<int>(std::lround(std::clamp<double>(hertz / m_spread, 0, kHighestSetting)));
}

}  // namespace kavrel

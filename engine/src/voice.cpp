// SPDX-License-Identifier: GPL-3.0-or-later
#include "voice.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <utility>

#include "annotations.h"
#include "synthesiser.h"

namespace kavrel {

namespace {

// A data file is a few lines; anything larger is something else.
constexpr std::size_t kMaxFileBytes = 65536;
// How far the pitch moves, from its 5th to its 95th percentile, against how far the range setting
// lifts its median: much the same for all voices.
constexpr double kSpreadPerLift = 2.2;

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// Names go into file names inside the synthesiser, so nothing but these is let through.
bool isPlainName(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '_';
  });
}

bool readNumber(std::string_view text, double& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() && std::isfinite(number);
}

bool readFile(const std::string& path, std::string& text, std::string& why) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rbe"),
                                                             &std::fclose);
  if (file == nullptr) {
    why = path + ": " + std::strerror(errno);
    return false;
  }
  text.resize(kMaxFileBytes + 1);
  text.resize(std::fread(text.data(), 1, text.size(), file.get()));
  if (std::ferror(file.get()) != 0) {
    why = path + ": cannot be read";
    return false;
  }
  if (text.size() > kMaxFileBytes) {
    why = path + ": is too long for a voice";
    return false;
  }
  return true;
}

}  // namespace

bool Voice::set(std::string_view key, std::string_view value, std::string& why) {
  if (key == "format" && value != "1") {
    why = "format " + std::string(value) + " is not known";
    return false;
  }
  if (key == "name") m_name = value;
  if (key == "language") m_language = value;
  if (key == "variant") m_variant = value;
  const std::pair<std::string_view, double*> numbers[] = {
      {"pitch.offset", &m_offset}, {"pitch.range", &m_range}, {"pitch.scale", &m_scale}};
  for (const auto& [name, place] : numbers) {
    if (key == name && !readNumber(value, *place)) {
      why = std::string(key) + " is not a number";
      return false;
    }
  }
  return true;
}

bool Voice::parse(std::string_view text, std::string& why) {
  std::set<std::string_view> seen;
  for (int line = 1; !text.empty(); ++line) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view content = trimmed(text.substr(0, std::min(text.find('#'), end)));
    text.remove_prefix(std::min(end + 1, text.size()));
    if (content.empty()) continue;
    const std::size_t equals = content.find('=');
    if (equals == std::string_view::npos) {
      why = "line " + std::to_string(line) + " has no \"=\"";
      return false;
    }
    const std::string_view key = trimmed(content.substr(0, equals));
    if (!set(key, trimmed(content.substr(equals + 1)), why)) return false;
    seen.insert(key);
  }
  for (const char* const key : {"format", "name", "language"}) {
    if (!seen.contains(key)) {
      why = std::string("has no ") + key;
      return false;
    }
  }
  if (m_language.empty() || !isPlainName(m_language) || !isPlainName(m_variant)) {
    why = "language or variant is not a name";
    return false;
  }
  if (m_scale <= 0 || m_range <= 0) {
    why = "pitch.scale or pitch.range is not above 0";
    return false;
  }
  return true;
}

std::string Voice::synthesiserName() const {
  return m_variant.empty() ? m_language : m_language + '+' + m_variant;
}

int Voice::pitchFor(double hertz, int range) const {
  const double octaves = (hertz - m_offset - m_range * range) / m_scale;
  if (octaves <= 1) return 0;
  return static_cast<int>(std::lround(std::min(50 * std::log2(octaves), 99.0)));
}

int Voice::rangeFor(double hertz) const {
  const double spread = kSpreadPerLift * m_range;
  return static_cast<int>(std::lround(std::clamp(hertz / spread, 0.0, 99.0)));
}

const Voice& defaultVoice() {
  static const Voice& voice = *new Voice;
  return voice;
}

namespace {

struct VoiceCache {
  Mutex lock;
  // By folder and by what its data file says, so that a folder that changes gives a new voice and
  // leaves the old one to those who speak with it.
  std::map<std::pair<std::string, std::string>, const Voice*> voices GUARDED_BY(lock);
};

VoiceCache& voiceCache() {
  static VoiceCache& cache = *new VoiceCache;
  return cache;
}

}  // namespace

const Voice* loadVoice(const std::string& directory, std::string& why) {
  const std::string path = directory + "/kavrel.voice";
  std::string text;
  if (!readFile(path, text, why)) return nullptr;
  VoiceCache& cache = voiceCache();
  const std::pair key(directory, text);
  {
    const Held held(cache.lock);
    if (const auto known = cache.voices.find(key); known != cache.voices.end()) {
      return known->second;
    }
  }
  auto voice = std::make_unique<Voice>();
  if (!voice->parse(text, why) || !Synthesiser::shared().hasVoice(*voice, why)) {
    why = path + ": " + why;
    return nullptr;
  }
  const Held held(cache.lock);
  const auto [place, added] = cache.voices.try_emplace(key, voice.get());
  if (added) (void)voice.release();
  return place->second;
}

}  // namespace kavrel

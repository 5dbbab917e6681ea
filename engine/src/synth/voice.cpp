// SPDX-License-Identifier: GPL-3.0-or-later
#include "synth/voice.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <map>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/threads/Mutex.h"
#include "synth/synthesiser.h"

namespace kavrel {

namespace {

// A data file is a few lines; anything larger is something else.
constexpr std::size_t kMaxFileBytes = 65536;
constexpr std::size_t kMaxValue = 63;
// How much of an unknown key a message quotes.
constexpr std::size_t kMaxQuoted = 32;
// The reach that a data file states must be that of its constants, as far as rounding lets it.
constexpr double kReachTolerance = 0.1;

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

bool isControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7F;
}

// For a message, which is one line: without control characters.
std::string printable(std::string_view text) {
  std::string line(text);
  std::replace_if(line.begin(), line.end(), isControl, '?');
  return line;
}

std::string quoted(std::string_view text) {
  return '"' + printable(text.substr(0, kMaxQuoted)) + '"';
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

// A file that is open for reading; -1 when it could not be opened, with errno set.
class OpenFile {
 public:
  // Without waiting: a pipe without a writer would be waited for.
  explicit OpenFile(const std::string& path)
      : m_file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {}
  ~OpenFile() {
    if (m_file >= 0) ::close(m_file);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  int number() const { return m_file; }

 private:
  int m_file;
};

// Opening can do things to a device, so what is no file is not even opened.
bool isFile(const std::string& path, std::string& why) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    why = std::strerror(errno);
    return false;
  }
  if (!S_ISREG(status.st_mode)) why = "is not a file";
  return S_ISREG(status.st_mode);
}

bool readFile(const std::string& path, std::string& text, std::string& why) {
  if (!isFile(path, why)) return false;
  const OpenFile file(path);
  text.resize(kMaxFileBytes + 1);
  std::size_t size = 0;
  ssize_t count = file.number() >= 0 ? 1 : -1;
  while (count > 0 && size < text.size()) {
    count = ::read(file.number(), text.data() + size, text.size() - size);
    if (count > 0) size += static_cast<std::size_t>(count);
    if (count < 0 && errno == EINTR) count = 1;
  }
  if (count < 0) {
    why = std::strerror(errno);
    return false;
  }
  text.resize(size);
  if (size > kMaxFileBytes) why = "is too long for a voice";
  return size <= kMaxFileBytes;
}

}  // namespace

struct Voice::Key {
  std::string_view name;
  bool required;
  // One of these is set: where the value goes.
  std::string Voice::*text;
  double Voice::*number;
  // For a number.
  double smallest;
  double largest;
};

std::span<const Voice::Key> Voice::keys() {
  static constexpr std::array<Key, 10> kKeys = {{
      {"format", true, nullptr, &Voice::m_format, 1, 1},
      {"name", true, &Voice::m_name, nullptr, 0, 0},
      {"language", true, &Voice::m_language, nullptr, 0, 0},
      {"variant", false, &Voice::m_variant, nullptr, 0, 0},
      {"pitch.offset", true, nullptr, &Voice::m_offset, -500, 500},
      {"pitch.range", true, nullptr, &Voice::m_range, 0.01, 10},
      {"pitch.scale", true, nullptr, &Voice::m_scale, 1, 500},
      {"pitch.spread", true, nullptr, &Voice::m_spread, 0.01, 20},
      {"pitch.lowest", true, nullptr, &Voice::m_lowest, 10, 2000},
      {"pitch.highest", true, nullptr, &Voice::m_highest, 10, 2000},
  }};
  return kKeys;
}

bool Voice::set(const Key& key, std::string_view value, std::string& why) {
  if (key.text != nullptr) {
    const bool isFit =
        value.size() <= kMaxValue && std::none_of(value.begin(), value.end(), isControl);
    if (isFit) this->*key.text = value;
    if (!isFit) why = std::string(key.name) + " is not a line of text";
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

bool Voice::readLine(std::string_view line, std::set<std::string_view>& seen, std::string& why) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) {
    why = "there is no \"=\"";
    return false;
  }
  const std::string_view name = trimmed(line.substr(0, equals));
  const auto key = std::ranges::find(keys(), name, &Key::name);
  if (key == keys().end()) {
    why = "the key " + quoted(name) + " is not known";
    return false;
  }
  if (!seen.insert(key->name).second) {
    why = std::string(key->name) + " is there twice";
    return false;
  }
  return set(*key, trimmed(line.substr(equals + 1)), why);
}

bool Voice::isSound(std::string& why) const {
  const auto isReach = [](double stated, double computed) {
    return std::abs(stated - computed) <= kReachTolerance * computed;
  };
  if (m_name.empty()) {
    why = "name is empty";
  } else if (m_language.empty() || !isPlainName(m_language) || !isPlainName(m_variant)) {
    why = "language or variant is not a name";
  } else if (!isReach(m_lowest, medianAt(0)) || !isReach(m_highest, medianAt(kHighestSetting))) {
    why = "pitch.lowest or pitch.highest is not what the other constants give";
  } else {
    return true;
  }
  return false;
}

bool Voice::parse(std::string_view text, std::string& why) {
  std::set<std::string_view> seen;
  for (int line = 1; !text.empty(); ++line) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view content = trimmed(text.substr(0, std::min(text.find('#'), end)));
    text.remove_prefix(std::min(end + 1, text.size()));
    if (content.empty() || readLine(content, seen, why)) continue;
    why = "line " + std::to_string(line) + ": " + why;
    return false;
  }
  for (const Key& key : keys()) {
    if (!key.required || seen.contains(key.name)) continue;
    why = "has no " + std::string(key.name);
    return false;
  }
  return isSound(why);
}

std::string Voice::synthesiserName() const {
  return m_variant.empty() ? m_language : m_language + '+' + m_variant;
}

double Voice::medianAt(int pitch) const {
  return m_offset + m_range * kMiddleSetting + m_scale * std::exp2(pitch / 50.0);
}

int Voice::pitchFor(double hertz, int range) const {
  const double octaves = (hertz - m_offset - m_range * range) / m_scale;
  if (octaves <= 1) return 0;
  const double setting = std::min<double>(50 * std::log2(octaves), kHighestSetting);
  return static_cast<int>(std::lround(setting));
}

int Voice::rangeFor(double hertz) const {
  return static_cast<int>(std::lround(std::clamp<double>(hertz / m_spread, 0, kHighestSetting)));
}

const Voice& defaultVoice() {
  static const Voice& voice = *new Voice;
  return voice;
}

namespace {

struct VoiceCache {
  base::Mutex lock;
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
  if (directory.empty()) {
    why = "the folder has no name";
    return nullptr;
  }
  const std::string path = directory + "/kavrel.voice";
  std::string text;
  if (!readFile(path, text, why)) {
    why = printable(path) + ": " + why;
    return nullptr;
  }
  VoiceCache& cache = voiceCache();
  const std::pair key(directory, text);
  {
    const base::ScopedLock held(cache.lock);
    if (const auto known = cache.voices.find(key); known != cache.voices.end()) {
      return known->second;
    }
  }
  auto voice = std::make_unique<Voice>();
  if (!voice->parse(text, why) || !Synthesiser::shared().hasVoice(*voice, why)) {
    why = printable(path) + ": " + why;
    return nullptr;
  }
  const base::ScopedLock held(cache.lock);
  const auto [place, added] = cache.voices.try_emplace(key, voice.get());
  if (added) (void)voice.release();
  return place->second;
}

}  // namespace kavrel

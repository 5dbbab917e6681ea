// SPDX-License-Identifier: Apache-2.0
#include "phone_lists/PhoneLists.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <span>
#include <sstream>

#include "synth/synth_protocol.h"
#include "synth/synthesiser.h"
#include "synth/voice.h"
#include "text/phones.h"

namespace phone_lists {

namespace {

using kavrel::SynthAudio;
using Names = std::vector<std::string>;

// The sounds that can stand for a phone, the nearest first. "|" separates two sounds.
struct Candidates {
  std::string_view phone;
  std::string_view sounds;
};
constexpr auto kCandidates = std::to_array<Candidates>({
    {"pau", "_:"},
    {"ae", "a & aa E A"},
    {"ey", "eI ei EI e: eI: e|j E|j e"},
    {"ao", "O: O o A"},
    {"ah", "V @ a# a"},
    {"i", "i: i I"},
    {"eh", "E e &"},
    {"ih", "I I# I2 i"},
    {"ay", "aI ai AI a|j a|i"},
    {"aa", "A: A a a: aa"},
    {"uw", "u: u U"},
    {"uh", "U u"},
    {"ow", "oU ou @U OU o: o|w o|u o"},
    {"aw", "aU au VU AU aU: a|w a|u"},
    {"oy", "OI oI oi OY Oi o|j o|i"},
    {"b", "b p"},
    {"ch", "tS tS; c t|S t|s"},
    {"d", "d d[ t"},
    {"dh", "D d[ d z"},
    {"f", "f P v p"},
    {"g", "g Q G k"},
    {"h", "h H x X C"},
    {"jh", "dZ dZ; J d|Z d|z"},
    {"k", "k q c g"},
    {"l", "l l^ L r"},
    {"m", "m n"},
    {"n", "n m"},
    {"ng", "N ng n|g n"},
    {"p", "p b"},
    {"r", "r R * l"},
    {"s", "s z"},
    {"sh", "S S; s. s"},
    {"t", "t t[ d"},
    {"th", "T t[ t s"},
    {"v", "v v# B w b"},
    {"w", "w w2 v v# u"},
    {"j", "j J^ i"},
    {"z", "z s"},
    {"zh", "Z Z; z. S z"},
});

[[noreturn]] void fail(const std::string& message) {
  std::fprintf(stderr, "phone lists: %s\n", message.c_str());
  std::exit(1);
}

std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) fail("cannot read " + path);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<Sample> readSamples() {
  std::vector<Sample> all;
  std::istringstream lines(contentsOf(KAVREL_SAMPLES));
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line.starts_with('#')) continue;
    all.push_back({line.substr(0, line.find('\t')), line.substr(line.rfind('\t') + 1)});
  }
  return all;
}

// Reads the names of all phones of all languages from the synthesiser's data: a count of tables;
// each has a header of 36 bytes, which begins with its count of phones, and 16 bytes per phone,
// which begin with its name.
std::set<std::string> readSounds() {
  constexpr std::size_t kTable = 36;
  constexpr std::size_t kPhone = 16;
  const std::string data = contentsOf(KAVREL_SPEECH_DATA_DIR "/espeak-ng-data/phontab");
  std::set<std::string> sounds;
  std::size_t at = 4;
  for (int table = 0; !data.empty() && table < static_cast<unsigned char>(data[0]); ++table) {
    if (at >= data.size()) fail("unknown form of phontab");
    const std::size_t phones = static_cast<unsigned char>(data[at]);
    at += kTable;
    for (std::size_t phone = 0; phone < phones && at < data.size(); ++phone, at += kPhone) {
      const std::string name = data.substr(at, 4);
      sounds.insert(name.substr(0, name.find('\0')));
    }
  }
  if (at != data.size()) fail("unknown form of phontab");
  sounds.erase("");
  return sounds;
}

const std::set<std::string>& allSounds() {
  static const std::set<std::string> all = readSounds();
  return all;
}

void addNames(const SynthAudio& audio, std::set<std::string>& names) {
  for (const SynthAudio::Event& event : audio.events()) {
    if (event.mark == 0 && !event.phone.empty()) names.insert(event.phone);
  }
}

// Speaks all sounds, each alone and between others. Each is a word of its own, since an unknown one
// can take the rest of its word with it.
void addAllSounds(std::string_view language, std::set<std::string>& names) {
  constexpr std::size_t kMost = 15;
  std::string text;
  std::size_t count = 0;
  const auto flush = [&] {
    addNames(speak(text, true, language), names);
    text.clear();
    count = 0;
  };
  for (const std::string& sound : allSounds()) {
    text += "[[" + sound + "]] [[t|" + sound + "|t]] ";
    if (++count == kMost) flush();
  }
  if (count > 0) flush();
}

bool isVowel(std::string_view phone) {
  return kavrel::isVowel(phone);
}

// The sound that a language has for a phone; empty if the usual one is right.
std::string soundFor(const Candidates& candidates, int stress, std::string_view usual,
                     std::string_view language) {
  const bool vowel = isVowel(candidates.phone);
  const Names wanted = {std::string(candidates.phone)};
  std::istringstream sounds(std::string(usual) + " " + std::string(candidates.sounds));
  std::string nearest;
  bool isFirst = true;
  for (std::string sound; sounds >> sound; isFirst = false) {
    const Names heard = phonesOfSound(sound, vowel, stress, language);
    if (heard == wanted) return isFirst ? "" : sound;
    const bool isNear = !heard.empty() && isVowel(heard.front()) == vowel;
    if (isNear && nearest.empty()) nearest = sound;
  }
  if (nearest.empty()) {
    fail("no sound for " + std::string(candidates.phone) + " in " + std::string(language));
  }
  return nearest == usual ? "" : nearest;
}

}  // namespace

const std::vector<Sample>& samples() {
  static const std::vector<Sample> all = readSamples();
  return all;
}

SynthAudio speak(std::string_view text, bool hasPhones, std::string_view language) {
  kavrel::Voice voice;
  std::string why;
  if (!voice.parse("format = 1\nname = Test\nlanguage = " + std::string(language) +
                       "\npitch.offset = 19.3\npitch.range = 0.272\npitch.scale = 34.7\n"
                       "pitch.spread = 0.54\npitch.lowest = 68\npitch.highest = 170\n",
                   why)) {
    fail(why);
  }
  kavrel::Synthesiser::Input input;
  input.text = kavrel::synth_protocol::wideOf(text).value_or(L"");
  input.hasPhones = hasPhones;
  SynthAudio audio;
  if (!kavrel::Synthesiser::shared().speak(input, voice, {}, audio, why)) fail(why);
  return audio;
}

Names phonesIn(const SynthAudio& audio, std::string_view language) {
  std::string spoken(language);
  Names phones;
  for (const SynthAudio::Event& event : audio.events()) {
    if (event.mark > 0 || event.phone.empty()) continue;
    if (const auto other = kavrel::languageOfEvent(event.phone); !other.empty()) {
      spoken = other;
      continue;
    }
    for (const std::string_view phone : kavrel::phonesOfEvent(event.phone, spoken)) {
      phones.emplace_back(phone);
    }
  }
  return phones;
}

Names phonesOfSound(std::string_view sound, bool vowel, int stress, std::string_view language) {
  const std::string name(sound);
  const std::string text =
      vowel ? "t|" + std::string(stress == 1 ? "'" : "%") + name + "|t" : name + "|a";
  Names phones = phonesIn(speak("[[" + text + "]] ", true, language), language);
  const auto isAround = [vowel](const std::string& phone) { return isVowel(phone) != vowel; };
  // An unknown name can take the sounds around it with it.
  if (phones.empty() || !isAround(phones.back()) || (vowel && !isAround(phones.front()))) return {};
  phones.erase(phones.begin(), std::ranges::find_if_not(phones, isAround));
  while (!phones.empty() && isAround(phones.back())) phones.pop_back();
  return phones;
}

std::set<std::string> eventNames(const Sample& sample) {
  std::set<std::string> names;
  addAllSounds(sample.language, names);
  addNames(speak(sample.text, false, sample.language), names);
  std::erase_if(names,
                [](const std::string& name) { return !kavrel::languageOfEvent(name).empty(); });
  return names;
}

std::string inputsOf(std::string_view language) {
  std::string inputs;
  for (const Candidates& candidates : kCandidates) {
    if (candidates.phone == "pau") continue;
    for (const int stress : {1, 0}) {
      const std::string_view usual = kavrel::usualInput(candidates.phone, stress);
      const std::string sound = soundFor(candidates, stress, usual, language);
      if (!sound.empty()) {
        inputs += (inputs.empty() ? "" : " ") + std::string(candidates.phone);
        if (isVowel(candidates.phone)) inputs += stress == 1 ? "1" : "0";
        inputs += "=" + sound;
      }
      if (!isVowel(candidates.phone)) break;
    }
  }
  return inputs;
}

}  // namespace phone_lists

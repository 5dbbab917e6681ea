// SPDX-License-Identifier: Apache-2.0
#include "document/Ipa.h"

#include <algorithm>
#include <array>
#include <vector>

namespace ssml {
namespace {

// As far as it decides where a syllable begins; Single consonants join no cluster.
enum class Sound { Vowel, Stop, Fricative, Glide, Single, Boundary };

struct Phone {
  std::string_view name;
  std::string_view ipa;
  Sound sound;
};

constexpr std::string_view kPause = "pau";
constexpr std::string_view kSchwa = "\u0259";
constexpr std::string_view kStress = "\u02C8";

constexpr auto kPhones = std::to_array<Phone>({
    {"pau", " ", Sound::Boundary},
    {".", ".", Sound::Boundary},
    {"ae", "\u00E6", Sound::Vowel},
    {"ey", "e\u026A", Sound::Vowel},
    {"ao", "\u0254", Sound::Vowel},
    {"ah", "\u028C", Sound::Vowel},
    {"i", "i", Sound::Vowel},
    {"eh", "\u025B", Sound::Vowel},
    {"ih", "\u026A", Sound::Vowel},
    {"ay", "a\u026A", Sound::Vowel},
    {"aa", "\u0251", Sound::Vowel},
    {"uw", "u", Sound::Vowel},
    {"uh", "\u028A", Sound::Vowel},
    {"ow", "o\u028A", Sound::Vowel},
    {"aw", "a\u028A", Sound::Vowel},
    {"oy", "\u0254\u026A", Sound::Vowel},
    {"b", "b", Sound::Stop},
    {"d", "d", Sound::Stop},
    {"g", "\u0261", Sound::Stop},
    {"p", "p", Sound::Stop},
    {"t", "t", Sound::Stop},
    {"k", "k", Sound::Stop},
    {"ch", "t\u0283", Sound::Single},
    {"jh", "d\u0292", Sound::Single},
    {"dh", "\u00F0", Sound::Single},
    {"v", "v", Sound::Single},
    {"z", "z", Sound::Single},
    {"zh", "\u0292", Sound::Single},
    {"h", "h", Sound::Single},
    {"m", "m", Sound::Single},
    {"n", "n", Sound::Single},
    {"ng", "\u014B", Sound::Single},
    {"f", "f", Sound::Fricative},
    {"s", "s", Sound::Fricative},
    {"sh", "\u0283", Sound::Fricative},
    {"th", "\u03B8", Sound::Fricative},
    {"l", "l", Sound::Glide},
    {"r", "\u0279", Sound::Glide},
    {"w", "w", Sound::Glide},
    {"j", "j", Sound::Glide},
});

struct Spoken {
  const Phone* phone;
  char stress;  // '0', '1', or NUL for none
};

// The longest phone that `text` begins with.
const Phone* longestAt(std::string_view text) {
  const Phone* best = nullptr;
  for (const Phone& phone : kPhones) {
    if (!text.starts_with(phone.name)) continue;
    if (best == nullptr || phone.name.size() > best->name.size()) best = &phone;
  }
  return best;
}

std::vector<Spoken> read(std::string_view phones) {
  std::vector<Spoken> spoken;
  while (!phones.empty()) {
    const Phone* phone = longestAt(phones);
    phones.remove_prefix(phone == nullptr ? 1 : phone->name.size());
    if (phone == nullptr) continue;
    char stress = '\0';
    if (phone->sound == Sound::Vowel && !phones.empty() && (phones[0] == '0' || phones[0] == '1')) {
      stress = phones[0];
      phones.remove_prefix(1);
    }
    spoken.push_back({phone, stress});
  }
  return spoken;
}

// Where the syllable of the vowel at `vowel` begins: with all consonants at the start of a word,
// else with one, or a cluster that words begin with.
std::size_t syllableStart(const std::vector<Spoken>& spoken, std::size_t vowel) {
  const auto sound = [&](std::size_t i) { return spoken[i].phone->sound; };
  const auto isConsonant = [&](std::size_t i) {
    return sound(i) != Sound::Vowel && sound(i) != Sound::Boundary;
  };
  std::size_t first = vowel;
  while (first > 0 && isConsonant(first - 1)) --first;
  if (first == vowel || first == 0 || sound(first - 1) == Sound::Boundary) return first;

  std::size_t start = vowel - 1;
  if (spoken[start].phone->name == "ng") return vowel;
  const auto precedes = [&](Sound before) { return start > first && sound(start - 1) == before; };
  if (sound(start) == Sound::Glide && (precedes(Sound::Stop) || precedes(Sound::Fricative))) {
    --start;
  }
  const std::string_view name = spoken[start].phone->name;
  const bool voiceless = name == "p" || name == "t" || name == "k";
  if (voiceless && start > first && spoken[start - 1].phone->name == "s") --start;
  return start;
}

}  // namespace

std::string toIpa(std::string_view phones) {
  const std::vector<Spoken> spoken = read(phones);
  std::vector<bool> stressed(spoken.size() + 1);
  for (std::size_t i = 0; i < spoken.size(); ++i) {
    if (spoken[i].stress == '1') stressed[syllableStart(spoken, i)] = true;
  }
  std::string ipa;
  for (std::size_t i = 0; i < spoken.size(); ++i) {
    const Phone& phone = *spoken[i].phone;
    if (phone.name == kPause) {
      if (!ipa.empty() && ipa.back() != ' ') ipa += phone.ipa;
      continue;
    }
    if (stressed[i]) ipa += kStress;
    const bool reduced = phone.name == "ah" && spoken[i].stress != '1';
    ipa += reduced ? kSchwa : phone.ipa;
  }
  if (ipa.ends_with(' ')) ipa.pop_back();
  return ipa;
}

}  // namespace ssml

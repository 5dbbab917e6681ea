// SPDX-License-Identifier: Apache-2.0
#include "document/Ipa.h"

#include <algorithm>
#include <array>
#include <vector>

namespace ssml {
namespace {

// Classes that decide where a syllable begins. A Single consonant is never part of a cluster.
enum class PhoneClass { Vowel, Stop, Fricative, Glide, Single, Boundary };

struct Phone {
  std::string_view name;
  std::string_view ipa;
  PhoneClass sound;
};

constexpr std::string_view kPause = "pau";
constexpr std::string_view kSchwa = "\u0259";
constexpr std::string_view kStress = "\u02C8";

constexpr auto kPhones = std::to_array<Phone>({
    {"pau", " ", PhoneClass::Boundary},
    {".", ".", PhoneClass::Boundary},
    {"ae", "\u00E6", PhoneClass::Vowel},
    {"ey", "e\u026A", PhoneClass::Vowel},
    {"ao", "\u0254", PhoneClass::Vowel},
    {"ah", "\u028C", PhoneClass::Vowel},
    {"i", "i", PhoneClass::Vowel},
    {"eh", "\u025B", PhoneClass::Vowel},
    {"ih", "\u026A", PhoneClass::Vowel},
    {"ay", "a\u026A", PhoneClass::Vowel},
    {"aa", "\u0251", PhoneClass::Vowel},
    {"uw", "u", PhoneClass::Vowel},
    {"uh", "\u028A", PhoneClass::Vowel},
    {"ow", "o\u028A", PhoneClass::Vowel},
    {"aw", "a\u028A", PhoneClass::Vowel},
    {"oy", "\u0254\u026A", PhoneClass::Vowel},
    {"b", "b", PhoneClass::Stop},
    {"d", "d", PhoneClass::Stop},
    {"g", "\u0261", PhoneClass::Stop},
    {"p", "p", PhoneClass::Stop},
    {"t", "t", PhoneClass::Stop},
    {"k", "k", PhoneClass::Stop},
    {"ch", "t\u0283", PhoneClass::Single},
    {"jh", "d\u0292", PhoneClass::Single},
    {"dh", "\u00F0", PhoneClass::Single},
    {"v", "v", PhoneClass::Single},
    {"z", "z", PhoneClass::Single},
    {"zh", "\u0292", PhoneClass::Single},
    {"h", "h", PhoneClass::Single},
    {"m", "m", PhoneClass::Single},
    {"n", "n", PhoneClass::Single},
    {"ng", "\u014B", PhoneClass::Single},
    {"f", "f", PhoneClass::Fricative},
    {"s", "s", PhoneClass::Fricative},
    {"sh", "\u0283", PhoneClass::Fricative},
    {"th", "\u03B8", PhoneClass::Fricative},
    {"l", "l", PhoneClass::Glide},
    {"r", "\u0279", PhoneClass::Glide},
    {"w", "w", PhoneClass::Glide},
    {"j", "j", PhoneClass::Glide},
});

// A phone of the input with its stress.
struct StressedPhone {
  const Phone* phone;
  char stress;  // '0', '1', or NUL for none
};

// Returns the longest phone at the beginning of `text` (maximal munch); null if there is none.
const Phone* longestAt(std::string_view text) {
  const Phone* best = nullptr;
  for (const Phone& phone : kPhones) {
    if (!text.starts_with(phone.name)) continue;
    if (best == nullptr || phone.name.size() > best->name.size()) best = &phone;
  }
  return best;
}

std::vector<StressedPhone> readPhones(std::string_view phones) {
  std::vector<StressedPhone> spoken;
  while (!phones.empty()) {
    const Phone* phone = longestAt(phones);
    // Blanks and unknown characters are skipped.
    phones.remove_prefix(phone == nullptr ? 1 : phone->name.size());
    if (phone == nullptr) continue;
    char stress = '\0';
    if (phone->sound == PhoneClass::Vowel && !phones.empty() &&
        (phones[0] == '0' || phones[0] == '1')) {
      stress = phones[0];
      phones.remove_prefix(1);
    }
    spoken.push_back({phone, stress});
  }
  return spoken;
}

// Returns the index at which the syllable of the vowel at `vowel` begins. At the start of a word it
// takes all consonants. Inside a word it takes the longest cluster that an English word can start
// with (maximal onset): one consonant, stop or fricative with glide, or "s" before p, t, k.
std::size_t syllableStart(const std::vector<StressedPhone>& spoken, std::size_t vowel) {
  const auto sound = [&](std::size_t i) { return spoken[i].phone->sound; };
  const auto isConsonant = [&](std::size_t i) {
    return sound(i) != PhoneClass::Vowel && sound(i) != PhoneClass::Boundary;
  };
  std::size_t first = vowel;
  while (first > 0 && isConsonant(first - 1)) --first;
  if (first == vowel || first == 0 || sound(first - 1) == PhoneClass::Boundary) return first;

  std::size_t start = vowel - 1;
  // No syllable starts with "ng".
  if (spoken[start].phone->name == "ng") return vowel;
  const auto precedes = [&](PhoneClass before) {
    return start > first && sound(start - 1) == before;
  };
  if (sound(start) == PhoneClass::Glide &&
      (precedes(PhoneClass::Stop) || precedes(PhoneClass::Fricative))) {
    --start;
  }
  const std::string_view name = spoken[start].phone->name;
  const bool voiceless = name == "p" || name == "t" || name == "k";
  if (voiceless && start > first && spoken[start - 1].phone->name == "s") --start;
  return start;
}

}  // namespace

// Finds the stressed syllables first: the mark comes before consonants that precede the vowel.
std::string toIpa(std::string_view phones) {
  const std::vector<StressedPhone> spoken = readPhones(phones);
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
    // The engine has one phone for the strut vowel and schwa; unstressed it is schwa.
    const bool reduced = phone.name == "ah" && spoken[i].stress != '1';
    ipa += reduced ? kSchwa : phone.ipa;
  }
  if (ipa.ends_with(' ')) ipa.pop_back();
  return ipa;
}

}  // namespace ssml

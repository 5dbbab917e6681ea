// SPDX-License-Identifier: Apache-2.0
#include "speech/Voices.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <string_view>
#include <utility>

#include "Failure.h"
#include "base/text/CaseFolding.h"
#include "base/text/Clusters.h"
#include "base/text/LanguageNames.h"
#include "base/text/Utf8.h"

namespace say {
namespace {

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = base::firstCharacter(text).length;
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

// Converts a Pascal string to UTF-8. Samples in letters that Mac OS Roman lacks are UTF-8 already.
// Returns an empty string if that fails.
std::string fromPascal(const unsigned char* text) {
  const auto* const bytes = reinterpret_cast<const char*>(text + 1);
  if (isUtf8(std::string_view(bytes, text[0]))) return {bytes, text[0]};
  const CFStringRef string =
      CFStringCreateWithPascalString(nullptr, text, kCFStringEncodingMacRoman);
  if (string == nullptr) return {};
  // A character of Mac OS Roman takes at most three bytes.
  std::array<char, 3 * 255 + 1> utf8{};
  CFStringGetCString(string, utf8.data(), utf8.size(), kCFStringEncodingUTF8);
  CFRelease(string);
  return utf8.data();
}

// A field that the Manager cannot fill stays empty.
NamedVoice describeVoice(const VoiceSpec& spec) {
  VoiceDescription description{};
  GetVoiceDescription(&spec, &description, sizeof description);
  VoiceLocaleName locale{};
  GetVoiceInfo(&spec, soVoiceLocaleName, &locale);
  return {spec, fromPascal(description.name), locale.identifier, fromPascal(description.comment)};
}

// Pads with blanks to `width` cells, at least with one blank.
std::string column(std::string text, std::size_t width) {
  const std::size_t cells = base::cellsOf(text);
  text.append(cells < width ? width - cells : 1, ' ');
  return text;
}

// ---- Names that users give

// Letters in one case, and "_" for "-": ru-RU and ru_RU are the same locale.
std::string folded(std::string_view name) {
  std::string result;
  while (!name.empty()) {
    const base::Utf8Character character = base::firstCharacter(name);
    const char32_t code = character.length == 0 ? U'?' : character.code;
    base::appendUtf8(result, code == '-' ? U'_' : base::foldCase(code));
    name.remove_prefix(std::max<std::size_t>(character.length, 1));
  }
  return result;
}

std::string languageOf(const std::string& locale) {
  return locale.substr(0, locale.find('_'));
}

bool isNamed(const std::string& language, const std::string& locale) {
  return language == folded(base::languageName(locale, "en")) ||
         language == folded(base::languageName(locale, locale));
}

// How well a voice fits to a name, from best to worst.
enum class Fit { Name, Locale, Language, None };

// A locale with an unknown region stands for its language.
Fit fitOf(const NamedVoice& voice, const std::string& name) {
  if (folded(voice.name) == name) return Fit::Name;
  const std::string locale = folded(voice.locale);
  if (locale == name) return Fit::Locale;
  const bool isLanguage = languageOf(locale) == languageOf(name) || isNamed(name, voice.locale);
  return isLanguage ? Fit::Language : Fit::None;
}

// The number of letters to insert, remove or change (Levenshtein distance). Names are short.
std::size_t distanceOf(std::string_view one, std::string_view other) {
  std::vector<std::size_t> row(other.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < one.size(); ++i) {
    std::size_t before = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < other.size(); ++j) {
      const std::size_t changed = before + (one[i] == other[j] ? 0 : 1);
      before = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, before + 1});
    }
  }
  return row.back();
}

bool isSimilar(const std::string& voice, const std::string& name) {
  constexpr std::size_t kFewLetters = 2;
  constexpr std::size_t kLongestName = 100;
  if (name.empty() || name.size() > kLongestName) return false;
  return voice.starts_with(name) || distanceOf(voice, name) <= kFewLetters;
}

std::string joined(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
  return list;
}

[[noreturn]] void rejectName(const std::string& name, const std::vector<NamedVoice>& voices) {
  std::vector<std::string> all;
  std::vector<std::string> similar;
  for (const NamedVoice& voice : voices) {
    all.push_back(voice.name);
    if (isSimilar(folded(voice.name), folded(name))) similar.push_back(voice.name);
  }
  const std::string problem = "unknown voice \"" + name + "\"; ";
  if (!similar.empty()) throw tool::Failure(problem + "similar names: " + joined(similar));
  throw tool::Failure(problem + "available voices: " + (all.empty() ? "none" : joined(all)));
}

bool isDefault(const NamedVoice& voice) {
  VoiceDescription description{};
  if (GetVoiceDescription(nullptr, &description, sizeof description) != noErr) return false;
  return description.voice.creator == voice.spec.creator && description.voice.id == voice.spec.id;
}

}  // namespace

// A voice can disappear between counting and reading; it is skipped then.
std::vector<NamedVoice> allVoices() {
  SInt16 count = 0;
  CountVoices(&count);
  std::vector<NamedVoice> voices;
  for (SInt16 index = 1; index <= count; ++index) {
    VoiceSpec spec{};
    if (GetIndVoice(index, &spec) == noErr) voices.push_back(describeVoice(spec));
  }
  return voices;
}

// Of several voices that fit equally well, the default voice, else the first one.
VoiceSpec voiceNamed(const std::string& name) {
  const std::vector<NamedVoice> voices = allVoices();
  const std::string wanted = folded(name);
  const NamedVoice* best = nullptr;
  Fit bestFit = Fit::None;
  for (const NamedVoice& voice : voices) {
    const Fit fit = fitOf(voice, wanted);
    const bool isBetter = fit < bestFit || (fit == bestFit && isDefault(voice));
    if (fit == Fit::None || !isBetter) continue;
    best = &voice;
    bestFit = fit;
  }
  if (best == nullptr) rejectName(name, voices);
  return best->spec;
}

std::string voiceList() {
  const std::vector<NamedVoice> voices = allVoices();
  std::size_t localeWidth = 8;
  for (const NamedVoice& voice : voices) localeWidth = std::max(localeWidth, voice.locale.size());
  std::string list;
  for (const NamedVoice& voice : voices) {
    list +=
        column(voice.name, 20) + column(voice.locale, localeWidth) + " # " + voice.sentence + '\n';
  }
  return list;
}

}  // namespace say

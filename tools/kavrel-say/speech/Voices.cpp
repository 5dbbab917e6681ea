// SPDX-License-Identifier: Apache-2.0
#include "speech/Voices.h"

#include <array>

#include <strings.h>

#include "Failure.h"
#include "base/text/Utf8.h"

namespace say {
namespace {

// Converts a Pascal string in Mac OS Roman to UTF-8. Returns an empty string if that fails.
std::string fromPascal(const unsigned char* text) {
  const CFStringRef string =
      CFStringCreateWithPascalString(nullptr, text, kCFStringEncodingMacRoman);
  if (string == nullptr) return {};
  // A character of Mac OS Roman takes at most three bytes.
  std::array<char, 3 * 255 + 1> bytes{};
  CFStringGetCString(string, bytes.data(), bytes.size(), kCFStringEncodingUTF8);
  CFRelease(string);
  return bytes.data();
}

// A field that the Manager cannot fill stays empty.
NamedVoice describeVoice(const VoiceSpec& spec) {
  VoiceDescription description{};
  GetVoiceDescription(&spec, &description, sizeof description);
  VoiceLocaleName locale{};
  GetVoiceInfo(&spec, soVoiceLocaleName, &locale);
  return {spec, fromPascal(description.name), locale.identifier, fromPascal(description.comment)};
}

// Pads with blanks to `width` characters, at least with one blank. Counts characters, not bytes.
std::string column(std::string text, std::size_t width) {
  const std::size_t characters = base::countCharacters(text);
  text.append(characters < width ? width - characters : 1, ' ');
  return text;
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

VoiceSpec voiceNamed(const std::string& name) {
  std::string names;
  for (const NamedVoice& voice : allVoices()) {
    if (strcasecmp(voice.name.c_str(), name.c_str()) == 0) return voice.spec;
    names += (names.empty() ? "" : ", ") + voice.name;
  }
  throw tool::Failure("unknown voice \"" + name +
                      "\"; available voices: " + (names.empty() ? "none" : names));
}

std::string voiceList() {
  std::string list;
  for (const NamedVoice& voice : allVoices()) {
    list += column(voice.name, 20) + column(voice.locale, 8) + " # " + voice.sentence + '\n';
  }
  return list;
}

}  // namespace say

// SPDX-License-Identifier: Apache-2.0
//
// VoiceCodes: locales of voices, and the platform's codes for them. Pure functions, safe on any
// thread.
//
// A locale is a language, and where needed its script, region and variants, joined by "_": en_US,
// eo, zh_Hant_TW, es_419, en_GB_scotland.
#pragma once

#include <string_view>

#include <MacTypes.h>

namespace platform {

struct VoiceCodes {
  SInt16 script;
  SInt16 language;  // -1 if there is none
  SInt16 region;    // -1 if there is none
};

// Returns whether `locale` has the form of a locale and at most 31 characters.
bool isLocale(std::string_view locale);

// Returns the codes of a locale. The script is the one that the locale names, else the usual one of
// the language; smRoman for unknown languages. Variants have the codes of their region, and regions
// that are not listed only those of their language. Western Armenian has the codes of Armenian,
// Lule Sami the language code of Sami, and Cantonese that of Chinese in traditional characters.
VoiceCodes codesOf(std::string_view locale);

// Returns what a VoiceLocale has room for: language and region if these are five characters, else
// the language.
std::string_view shortLocaleOf(std::string_view locale);

}  // namespace platform
